// Wave, RF64, BW64, Wave64 and AIFF files through the plug-ins' interfaces.
#pragma once

#include "fileio/plugin.h"

namespace wave {

inline constexpr GUID READER = tarn::Guid("{2F6E4B10-94C7-4B0D-8E1A-6A0B5D3C9E01}");
inline constexpr GUID RENDERER = tarn::Guid("{2F6E4B11-94C7-4B0D-8E1A-6A0B5D3C9E01}");
inline constexpr char16_t READ_EXTENSIONS[] = u"wav;wave;bwf;rf64;bw64;w64;aif;aiff;aifc";

/// Without a reference yet.
IQmReadFileClass* MakeReader();

}  // namespace wave
