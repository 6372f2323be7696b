add_executable(fuzz-mriff fuzz_mriff.cpp)
target_link_libraries(fuzz-mriff PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-mriff PRIVATE -fsanitize=fuzzer)
