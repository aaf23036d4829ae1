# The library cache, statistics, recent files and download views.
fennic_add_test(cache_tests
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/LibraryCacheTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LibraryStatsTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/LatelyTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/DownloadsTest.cpp
  LIBS fennic_library)
