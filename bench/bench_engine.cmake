add_executable(bench-engine ${CMAKE_CURRENT_SOURCE_DIR}/bench_engine.cpp)
target_link_libraries(bench-engine PRIVATE tarn-flags tarn-host-engine tarn-host-libs benchmark::benchmark)
