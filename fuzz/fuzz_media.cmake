add_executable(fuzz-media fuzz_media.cpp)
target_link_libraries(fuzz-media PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-media PRIVATE -fsanitize=fuzzer)
