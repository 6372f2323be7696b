add_executable(fuzz-riff fuzz_riff.cpp)
target_link_libraries(fuzz-riff PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-riff PRIVATE -fsanitize=fuzzer)
