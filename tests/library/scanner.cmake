# The scanner against real temporary trees; the synthetic home generator is built in too, so
# that a generated home can be checked against its own plan.
fennic_add_test(scanner_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/ScannerTest.cpp ${CMAKE_CURRENT_LIST_DIR}/CaptureDateTest.cpp
          ${PROJECT_SOURCE_DIR}/bench/support/SyntheticHome.cpp
  LIBS fennic_library fennic_organise PkgConfig::EXIV2 PkgConfig::PLIST)
target_include_directories(scanner_tests PRIVATE ${PROJECT_SOURCE_DIR}/bench)
