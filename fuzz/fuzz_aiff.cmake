add_executable(fuzz-aiff fuzz_aiff.cpp)
target_link_libraries(fuzz-aiff PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-aiff PRIVATE -fsanitize=fuzzer)
