# Full scan of a synthetic home against a bare readdir+statx loop (bench_scan FOLDER).
add_executable(bench_scan ${CMAKE_CURRENT_LIST_DIR}/ScanBench.cpp)
target_link_libraries(bench_scan PRIVATE fennic_bench_support fennic_library)
