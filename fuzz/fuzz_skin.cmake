add_executable(fuzz-skin fuzz_skin.cpp)
target_link_libraries(fuzz-skin PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-skin PRIVATE -fsanitize=fuzzer)
