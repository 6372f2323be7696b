add_executable(fuzz-meta fuzz_meta.cpp)
target_link_libraries(fuzz-meta PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-meta PRIVATE -fsanitize=fuzzer)
