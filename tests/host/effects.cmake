# Effects of other makers, on Debian's example plug-ins and faulty ones of our own.
find_package(Qt6 REQUIRED COMPONENTS Test)
foreach(plugin faulty aborts_at_load)
  add_library(test-plugin-${plugin} MODULE effects/plugins/${plugin}.cpp)
  target_link_libraries(test-plugin-${plugin} PRIVATE tarn-flags)
endforeach()

tarn_test(test-host-effects
  SOURCES
    effects/lv2_effect_test.cpp
    effects/lv2_library_test.cpp
    engine_fixture.cpp
    test_session.cpp
  LIBS tarn-host-demo tarn-host-effects tarn-host-engine tarn-host-libs
  DEFS
    FAULTY_LIBRARY="$<TARGET_FILE:test-plugin-faulty>"
    ABORTING_LIBRARY="$<TARGET_FILE:test-plugin-aborts_at_load>")
tarn_test(test-host-app QT
  SOURCES
    effects/effect_editor_test.cpp
    keys_test.cpp
  LIBS tarn-host-app Qt6::Test)
add_dependencies(test-host-effects tarn-effect-scan test-plugin-faulty test-plugin-aborts_at_load)
