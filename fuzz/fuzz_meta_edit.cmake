add_executable(fuzz-meta-edit fuzz_meta_edit.cpp)
target_link_libraries(fuzz-meta-edit PRIVATE tarn-flags tarn-kernel)
target_link_options(fuzz-meta-edit PRIVATE -fsanitize=fuzzer)
