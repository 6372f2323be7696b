add_executable(bench-controlmap ${CMAKE_CURRENT_SOURCE_DIR}/bench_controlmap.cpp)
target_link_libraries(bench-controlmap PRIVATE tarn-flags tarn-controlmap benchmark::benchmark)
