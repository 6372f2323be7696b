# The peers' rows stand where their libraries do.
find_package(fmt QUIET)
add_executable(bench-print bench_print.cpp)
target_link_libraries(bench-print PRIVATE tarn-flags tarn-kernel ICU::uc ICU::i18n benchmark::benchmark_main)
if(fmt_FOUND)
  target_link_libraries(bench-print PRIVATE fmt::fmt)
  target_compile_definitions(bench-print PRIVATE TARN_BENCH_FMT)
endif()
