add_executable(fuzz-parse fuzz_parse.cpp)
target_link_libraries(fuzz-parse PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-parse PRIVATE -fsanitize=fuzzer)
