// New wave, RF64, Wave64 and AIFF files through the plug-ins' interfaces.
#pragma once

#include "fileio/plugins/wave_reader.h"

namespace wave {

inline constexpr char16_t RENDER_EXTENSIONS[] = u"wav;w64;aif;aiff;aifc;rf64;bw64";

/// Without a reference yet.
IQmRenderFileClass* MakeRenderer();

}  // namespace wave
