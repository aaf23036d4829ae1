# The library cache, the statistics and recent files, and the download views.
target_sources(fennic_library PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/LibraryCache.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LibraryStats.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Lately.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Downloads.cpp
)
