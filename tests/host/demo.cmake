# The demo project. Renders it with the real synthesiser.
tarn_test(test-demo
  SOURCES
    demo_piece_test.cpp
    demo_project_test.cpp
    midi_file_test.cpp
  LIBS tarn-host-demo tarn-host-engine tarn-host-libs)
