add_executable(fuzz-session fuzz_session.cpp)
target_link_libraries(fuzz-session PRIVATE tarn-flags tarn-host-session)
target_link_options(fuzz-session PRIVATE -fsanitize=fuzzer)
