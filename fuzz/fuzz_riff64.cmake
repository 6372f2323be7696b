add_executable(fuzz-riff64 fuzz_riff64.cpp)
target_link_libraries(fuzz-riff64 PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-riff64 PRIVATE -fsanitize=fuzzer)
