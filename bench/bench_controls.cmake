add_executable(bench-controls ${CMAKE_CURRENT_SOURCE_DIR}/bench_controls.cpp)
target_link_libraries(bench-controls PRIVATE tarn-ui benchmark::benchmark)
