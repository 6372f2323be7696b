pkg_check_modules(BENCH_SNDFILE REQUIRED IMPORTED_TARGET sndfile)
add_executable(bench-chunks bench_chunks.cpp)
target_link_libraries(bench-chunks PRIVATE tarn-flags tarn-kernel PkgConfig::BENCH_SNDFILE benchmark::benchmark_main)
