add_executable(fuzz-list fuzz_list.cpp)
target_link_libraries(fuzz-list PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-list PRIVATE -fsanitize=fuzzer)
