add_executable(bench-metadata bench_metadata.cpp)
target_link_libraries(bench-metadata PRIVATE tarn-flags tarn-kernel benchmark::benchmark_main)
target_compile_definitions(bench-metadata PRIVATE TARN_MEDIA="$<TARGET_FILE:tarn-media>")
add_dependencies(bench-metadata tarn-media)
