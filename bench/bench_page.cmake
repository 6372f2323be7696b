add_executable(bench-page bench_page.cpp)
target_link_libraries(bench-page PRIVATE tarn-ui tarn-plugin tarn-console test-fake-host test-page-driver test-page benchmark::benchmark
  GTest::gtest)
