#include "audio/copy/stereo_loops.h"

constexpr StereoTables STEREO_AVX2 = MakeStereoTables();
