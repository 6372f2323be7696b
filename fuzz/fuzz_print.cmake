add_executable(fuzz-print fuzz_print.cpp)
target_link_libraries(fuzz-print PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-print PRIVATE -fsanitize=fuzzer)
