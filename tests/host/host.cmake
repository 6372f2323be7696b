# The host: session, engine, its side of the contract.
tarn_test(test-host
  SOURCES
    contract_parts_test.cpp
    contract_test.cpp
    engine_fixture.cpp
    engine_file_test.cpp
    engine_midi_test.cpp
    engine_mix_test.cpp
    engine_play_test.cpp
    engine_render_test.cpp
    engine_route_test.cpp
    live_edit_test.cpp
    midi_message_test.cpp
    play_head_test.cpp
    seats_test.cpp
    session_save_test.cpp
    session_test.cpp
    test_effects.cpp
    test_session.cpp
  LIBS tarn-host-contract tarn-host-demo tarn-host-engine tarn-host-libs)

# Replaces the allocator, which the sanitizers do as well.
if(NOT TARN_SANITIZE)
  tarn_test(test-host-realtime
    SOURCES
      engine_fixture.cpp
      realtime_test.cpp
      test_effects.cpp
      test_session.cpp
    LIBS tarn-host-engine tarn-host-libs ${CMAKE_DL_LIBS})
else()
  set_property(GLOBAL APPEND PROPERTY TARN_TEST_SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/realtime_test.cpp)
endif()
