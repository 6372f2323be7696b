# The plug-ins are found at run time.
add_executable(bench-fileio bench_fileio.cpp)
target_link_libraries(bench-fileio PRIVATE tarn-flags tarn-kernel benchmark::benchmark_main)
target_compile_definitions(bench-fileio PRIVATE OWN_PLUGINS="${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/fileio")
add_dependencies(bench-fileio file-plugins)
