add_executable(bench-ui ${CMAKE_CURRENT_SOURCE_DIR}/bench_ui.cpp)
target_link_libraries(bench-ui PRIVATE tarn-ui benchmark::benchmark)
