# The library cache (save, load, file size, resident memory) and LibraryStats + Lately
# (bench_cache [--files N]).
add_executable(bench_cache ${CMAKE_CURRENT_LIST_DIR}/CacheBench.cpp)
target_link_libraries(bench_cache PRIVATE fennic_bench_support fennic_library)
