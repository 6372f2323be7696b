// Which video decoders the machine's graphics hardware has, by what the system itself has found.
#pragma once

#include "fileio/manager.h"

#include <filesystem>
#include <vector>

namespace tarn {

struct HardwareDecoder {
    FIO_DECODERS kind;
    const char* name;   ///< "NVDEC"
    const char* maker;  ///< "NVIDIA GPU"
};

/// In the order of preference: none, automatic where there is anything to choose, then what is there. The
/// folder is that of the system's graphics devices.
std::vector<HardwareDecoder> DetectHardwareDecoders(const std::filesystem::path& devices = "/sys/class/drm");

}  // namespace tarn
