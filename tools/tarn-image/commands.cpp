#include "image/composite.h"
#include "image/dib_opencl.h"
#include "image/scale.h"
#include "tools/tarn-image/image_tool.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>

using namespace tarn;

namespace {

constexpr double MOST_PIXELS = INT32_MAX / Q14_ONE;

/// In 1/16384 pixel. Throws where that does not hold it.
LONG ToQ14(double value, const std::string& file) {
    if (!(std::abs(value) <= MOST_PIXELS))
        throw Complaint(file, "no place or size beyond 131071 pixels", EXIT_USAGE);
    return static_cast<LONG>(std::lround(value * Q14_ONE));
}

/// The picture's top row, and the bytes to the one below.
struct TopRow {
    uint8_t* first;
    int32_t stride;
};
TopRow TopRowOf(const OwnedDib& dib) {
    auto* bits = static_cast<uint8_t*>(QmDibBits(dib.get()));
    const auto stride = static_cast<int32_t>(QmDibStride(dib.get()));
    if (dib->biHeight < 0) return {bits, stride};
    return {bits + int64_t{stride} * (dib->biHeight - 1), -stride};
}

/// Rotations take pixels of whole bytes.
QMPIXELTYPE WholeBytes(QMPIXELTYPE type) {
    switch (type) {
    case QMPIXEL_GRAY1:
    case QMPIXEL_GRAY2:
    case QMPIXEL_GRAY4: return QMPIXEL_GRAY8;
    case QMPIXEL_PAL1:
    case QMPIXEL_PAL4:
    case QMPIXEL_PAL8: return QMPIXEL_RGB24;
    default: return IsVideo(type) ? QMPIXEL_RGB24 : type;
    }
}

/// The programs that the commands need, while it lives. Throws where there is no device.
class Device {
public:
    Device() {
        if (Failed(DibComposite_OpenCL_Initialize())) throw Complaint("", "no OpenCL device is there");
        if (Succeeded(DibCopy_OpenCL_Initialize())) return;
        DibComposite_OpenCL_Shutdown();
        throw Complaint("", "the OpenCL device does not take its programs");
    }
    ~Device() {
        DibCopy_OpenCL_Shutdown();
        DibComposite_OpenCL_Shutdown();
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
};
std::unique_ptr<Device> DeviceOf(const Options& o) {
    return o.device == "opencl" ? std::make_unique<Device>() : nullptr;
}

}  // namespace

int Info(const Options& o) {
    const OwnedDib dib = ReadImage(o.input);
    const QMPIXELTYPE type = QmGetPixelType(dib.get());
    uint8_t bits[4];
    const uint32_t all = QmGetPixelBitsPerChannel(type, bits);
    const uint32_t colors = HasTable(type) ? dib->biClrUsed : 0;
    if (o.json) {
        const nlohmann::json json = {{"file", o.input},
                                     {"width", dib->biWidth},
                                     {"height", std::abs(dib->biHeight)},
                                     {"type", NameOf(type)},
                                     {"bits_per_pixel", all},
                                     {"bits_per_channel", {bits[0], bits[1], bits[2], bits[3]}},
                                     {"colors", colors},
                                     {"bytes", dib->biSizeImage}};
        std::printf("%s\n", json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
        return EXIT_FINE;
    }
    std::printf("%s: %d x %d pixels, %s, %u bits a pixel", o.input.c_str(), dib->biWidth,
                std::abs(dib->biHeight), NameOf(type), all);
    if (colors) std::printf(", %u colors", colors);
    std::printf(", %u bytes\n", dib->biSizeImage);
    return EXIT_FINE;
}

int Convert(const Options& o) {
    OwnedDib dib = ReadImage(o.input);
    if (!o.type.empty()) dib = As(dib, TypeByName(o.type), o.output);
    WriteImage(o.output, dib, o.quality);
    return EXIT_FINE;
}

int Scale(const Options& o) {
    const OwnedDib dib = ReadImage(o.input);
    const QMPIXELTYPE working = WorkingType(dib);
    const OwnedDib src = ToWork(dib, working, o.input);
    if (o.size.x != std::floor(o.size.x) || o.size.y != std::floor(o.size.y) || o.size.x > MOST_PIXELS ||
        o.size.y > MOST_PIXELS)
        throw Complaint(o.output, "the size is of whole pixels, 131071 at most", EXIT_USAGE);
    OwnedDib dst =
        NewImage(working, static_cast<int32_t>(o.size.x), static_cast<int32_t>(o.size.y), o.output);
    const SIZE from{src->biWidth, std::abs(src->biHeight)}, to{dst->biWidth, dst->biHeight};
    const auto device = DeviceOf(o);
    if (device && o.filter == "bicubic")
        throw Complaint("", "the OpenCL device scales bilinearly", EXIT_USAGE);
    const QMCOMPOSITEPARAMS replace{sizeof replace, COMPOSITE_REPLACE, {}};
    const TopRow source = TopRowOf(src), target = TopRowOf(dst);
    const auto scale = o.filter == "bicubic" ? QmDibScale_BiCubic : QmDibScale_Bilinear;
    Check(device
              ? QmDibCompositeOCL(dst.get(), nullptr, nullptr, 0, src.get(), nullptr, nullptr, 0, &replace, 0)
              : scale(target.first, &to, target.stride, nullptr, source.first, &from, source.stride, nullptr,
                      working == QMPIXEL_RGBAFLOAT ? 16 : 4),
          o.output);
    WriteImage(o.output, FromWork(std::move(dst), QmGetPixelType(dib.get()), o.output), o.quality);
    return EXIT_FINE;
}

int Composite(const Options& o) {
    const OwnedDib base = ReadImage(o.input), over = ReadImage(o.over);
    const QMPIXELTYPE working = WorkingType(base);
    OwnedDib dst = ToWork(base, working, o.input);
    const OwnedDib src = ToWork(over, working, o.over);
    const double width = o.hasSize ? o.size.x : src->biWidth,
                 height = o.hasSize ? o.size.y : std::abs(src->biHeight);
    const RECT to{ToQ14(o.at.x, o.output), ToQ14(o.at.y, o.output), ToQ14(o.at.x + width, o.output),
                  ToQ14(o.at.y + height, o.output)};
    QMCOMPOSITEPARAMS params{sizeof params, o.mode, {}};
    const auto device = DeviceOf(o);
    if (device && ((to.left | to.top | to.right | to.bottom) & (Q14_ONE - 1)))
        throw Complaint("", "the OpenCL device places whole pixels", EXIT_USAGE);
    const auto composite = device ? QmDibCompositeOCL : QmDibComposite;
    Check(composite(dst.get(), nullptr, &to, 0, src.get(), nullptr, nullptr, 0, &params, COMPOSITE_SUBPIXEL),
          o.output);
    WriteImage(o.output, FromWork(std::move(dst), QmGetPixelType(base.get()), o.output), o.quality);
    return EXIT_FINE;
}

int Rotate(const Options& o) {
    OwnedDib dib = ReadImage(o.input);
    const QMPIXELTYPE type = WholeBytes(QmGetPixelType(dib.get()));
    if (type != QmGetPixelType(dib.get())) dib = As(dib, type, o.output);
    const int32_t width = dib->biWidth, height = std::abs(dib->biHeight);
    const bool isHalf = o.angle == "180";
    const OwnedDib dst = NewImage(type, isHalf ? width : height, isHalf ? height : width, o.output);
    const QMDIBREF to = Ref(dst), from = Ref(dib);
    const auto device = DeviceOf(o);
    const auto half = device ? QmDibRotate180OCL : QmDibRotate180;
    const auto quarter = device ? QmDibRotate90OCL : QmDibRotate90;
    if (isHalf)
        Check(half(&to, &from), o.output);
    else
        Check(quarter(&to, &from, o.angle == "90" ? DIB_ROTATE_CLOCKWISE : DIB_ROTATE_COUNTERCLOCKWISE),
              o.output);
    WriteImage(o.output, dst, o.quality);
    return EXIT_FINE;
}
