add_executable(bench-list bench_list.cpp)
target_link_libraries(bench-list PRIVATE tarn-flags tarn-kernel benchmark::benchmark_main)
