# The peers' rows stand where their libraries do.
find_package(PkgConfig QUIET)
pkg_check_modules(bench_swresample QUIET IMPORTED_TARGET libswresample libavutil)
add_executable(bench-audio bench_audio.cpp)
target_link_libraries(bench-audio PRIVATE tarn-flags tarn-kernel benchmark::benchmark)
if(bench_swresample_FOUND)
  target_link_libraries(bench-audio PRIVATE PkgConfig::bench_swresample)
  target_compile_definitions(bench-audio PRIVATE TARN_BENCH_SWRESAMPLE)
endif()
