add_executable(fuzz-function-table fuzz_function_table.cpp)
target_link_libraries(fuzz-function-table PRIVATE tarn-flags tarn-controlmap)
target_link_options(fuzz-function-table PRIVATE -fsanitize=fuzzer)
