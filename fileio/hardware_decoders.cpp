#include "fileio/hardware_decoders.h"

#include "platform/file.h"

namespace tarn {

namespace fs = std::filesystem;

namespace {
struct Decoder {
    const char* vendor;  ///< the number of its maker on the bus
    HardwareDecoder decoder;
};
constexpr Decoder DECODERS[] = {
    {"0x10de", {FIO_DECODER_NVIDIA, "NVDEC", "NVIDIA GPU"}},
    {"0x1002", {FIO_DECODER_AMD, "UVD/VCN", "AMD GPU"}},
    {"0x8086", {FIO_DECODER_INTEL, "Quick Sync", "Intel GPU"}},
};
}  // namespace

std::vector<HardwareDecoder> DetectHardwareDecoders(const fs::path& devices) {
    std::vector<std::string> vendors;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(devices, ignored)) {
        // Render nodes alone: a card without one has no decoder that a program reaches.
        if (!entry.path().filename().string().starts_with("renderD")) continue;
        std::string vendor, error;
        if (!ReadWholeFile(entry.path() / "device" / "vendor", 4096, vendor, error)) continue;
        vendors.push_back(vendor.substr(0, vendor.find('\n')));
    }
    std::vector<HardwareDecoder> found = {{FIO_DECODER_NONE, "None", ""}};
    for (const Decoder& row : DECODERS)
        for (const std::string& vendor : vendors)
            if (vendor == row.vendor) {
                if (found.size() == 1) found.push_back({FIO_DECODER_AUTO, "Auto", ""});
                found.push_back(row.decoder);
                break;
            }
    return found;
}

}  // namespace tarn
