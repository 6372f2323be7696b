# The host: session, engine, its side of the contract.
tarn_test(test-host
  SOURCES
    engine_fixture.cpp
    engine_file_test.cpp
    engine_mix_test.cpp
    engine_render_test.cpp
    session_save_test.cpp
    session_test.cpp
    test_session.cpp
  LIBS tarn-host-engine tarn-host-libs)
