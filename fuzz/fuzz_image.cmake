add_executable(fuzz-image fuzz_image.cpp)
target_link_libraries(fuzz-image PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-image PRIVATE -fsanitize=fuzzer)
