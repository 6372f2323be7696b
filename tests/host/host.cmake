# The host: session, engine, its side of the contract.
tarn_test(test-host
  SOURCES
    session_save_test.cpp
    session_test.cpp
    test_session.cpp
  LIBS tarn-host-engine tarn-host-libs)
