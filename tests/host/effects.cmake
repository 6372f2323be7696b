# Effects of other makers, on Debian's example plug-ins and broken ones of our own.
tarn_test(test-host-effects
  SOURCES
    effects/lv2_effect_test.cpp
  LIBS tarn-host-effects tarn-host-libs)
