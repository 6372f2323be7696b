add_executable(fuzz-midi fuzz_midi.cpp)
target_link_libraries(fuzz-midi PRIVATE tarn-flags tarn-host-midi)
target_link_options(fuzz-midi PRIVATE -fsanitize=fuzzer)
