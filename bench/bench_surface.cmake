add_executable(bench-surface ${CMAKE_CURRENT_SOURCE_DIR}/bench_surface.cpp)
target_link_libraries(bench-surface PRIVATE tarn-flags tarn-host-contract tarn-host-engine tarn-host-session
  tarn-host-libs tarn-kernel benchmark::benchmark)
target_compile_definitions(bench-surface PRIVATE TARN_SURFACE_MODULE="$<TARGET_FILE:mixsurface>")
add_dependencies(bench-surface mixsurface)
