#include "audio/copy/stereo_loops.h"

constexpr StereoTables STEREO_AVX512 = MakeStereoTables();
