// The programs of the device, by family.
#pragma once

namespace tarn {

enum class KernelFamily { Composite, Copy, Interlace, Help, Yuv };
inline constexpr int KERNEL_FAMILIES = 5;

/// OpenCL C 1.2 in parts, one behind the other; the last may be null.
struct KernelSourceText {
    const char* part[3];
};
KernelSourceText KernelSource(KernelFamily family);

}  // namespace tarn
