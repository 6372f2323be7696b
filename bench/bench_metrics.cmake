add_executable(bench-metrics bench_metrics.cpp)
target_link_libraries(bench-metrics PRIVATE tarn-flags tarn-kernel SQLite::SQLite3 benchmark::benchmark_main)
