add_executable(fuzz-effect-state fuzz_effect_state.cpp)
target_link_libraries(fuzz-effect-state PRIVATE tarn-flags tarn-host-effects)
target_link_options(fuzz-effect-state PRIVATE -fsanitize=fuzzer)
