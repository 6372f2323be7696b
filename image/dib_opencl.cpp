#include "image/dib_opencl.h"

#include "image/dib_copy.h"
#include "image/opencl/device.h"
#include "image/rows/filter_views.h"
#include "image/rows/image_rows.h"
#include "image/rows/resample.h"
#include "image/rows/video_rows.h"
#include "platform/guarded.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace tarn;

namespace {

using Call = DeviceCall;

/// What is told before anything else, and for what the device does not do.
HRESULT WithDevice(KernelFamily family, auto work) {
    return Guarded([&]() -> HRESULT {
        Call call(family);
        return call ? work(call) : E_FAIL;
    });
}

/// Uploads the destination, has `run` change it there, and takes it back.
HRESULT Change(Call& call, const DibView& dst, uint32_t bytes, auto run) {
    DeviceBuffer buffer;
    if (!call.Upload(dst, bytes, buffer)) return E_FAIL;
    return run(ImageArgument(buffer, dst, bytes)) && call.Download(dst, bytes, buffer) ? S_OK : E_FAIL;
}
/// The same, with another image that it is made from.
HRESULT ChangeBy(Call& call, const DibView& dst, const DibView& src, uint32_t bytes, auto run) {
    DeviceBuffer from;
    if (!call.Upload(src, bytes, from)) return E_FAIL;
    return Change(call, dst, bytes,
                  [&](const ImageArgument& image) { return run(image, ImageArgument(from, src, bytes)); });
}

constexpr int32_t LAST_DEVICE_MODE = 4, LAYER_UNDER = 5, LAYER_CUTOUT = 6;

HRESULT Layer(const QMDIBREF* dst, const QMDIBREF* src, int32_t mode, int32_t weight) {
    return WithDevice(KernelFamily::Composite, [&](Call& call) -> HRESULT {
        DibView to, from;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
        return ChangeBy(call, to, from, bytes, [&](const ImageArgument& d, const ImageArgument& s) {
            return call.Run(bytes == 4 ? "layer8" : "layerF", to.width, to.height, d, s, mode, weight);
        });
    });
}

HRESULT Fits(const QMCOMPOSITEPARAMS* params) {
    if (!params) return E_POINTER;
    return params->cbSize < sizeof *params || params->mode < 0 || params->mode > LAST_DEVICE_MODE ? E_FAIL
                                                                                                  : S_OK;
}

HRESULT Rotate(const QMDIBREF* dst, const QMDIBREF* src, bool isTurned, int32_t turn) {
    return WithDevice(KernelFamily::Copy, [&](Call& call) -> HRESULT {
        DibView to, from;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewForRotation(dst, src, isTurned, to, from, bytes); Failed(hr)) return hr;
        const auto size = static_cast<int32_t>(bytes);
        return ChangeBy(call, to, from, bytes, [&](const ImageArgument& d, const ImageArgument& s) {
            return call.Run("turned", from.width, from.height, d, s, size, turn, from.width, from.height);
        });
    });
}

cl_int8 Ends(int32_t dstLow, int32_t dstHigh, int32_t srcLow, int32_t srcHigh, const ResampleAxis& axis) {
    return {{dstLow, dstHigh, srcLow, srcHigh, axis.srcFirst, axis.srcLast}};
}

/// The rectangle in whole pixels, fractions cut, as Q14 again.
bool WholeRect(const RECT* rect, const DibView& view, bool isSubpixel, RECT& out) {
    if (rect && isSubpixel) {
        const auto cut = [](LONG v) { return v & ~(Q14_ONE - 1); };
        out = {cut(rect->left), cut(rect->top), cut(rect->right), cut(rect->bottom)};
        return true;
    }
    const RECT whole = rect ? *rect : view.Whole();
    return ShiftedUp(&whole, out);
}

HRESULT CompositeOn(Call& call, const DibView& dst, const DibView& src, const QMSUBPIXELPARAM& p,
                    uint32_t bytes, int32_t mode) {
    const ResampleAxis x(p.dst.left, p.dst.right, p.src.left, p.src.right),
        y(p.dst.top, p.dst.bottom, p.src.top, p.src.bottom);
    const cl_int8 across = Ends(p.dst.left, p.dst.right, p.src.left, p.src.right, x),
                  down = Ends(p.dst.top, p.dst.bottom, p.src.top, p.src.bottom, y);
    return ChangeBy(call, dst, src, bytes, [&](const ImageArgument& d, const ImageArgument& s) {
        return call.Run(bytes == 4 ? "composite8" : "compositeF", x.count, y.count, d, s, across, down,
                        x.first, y.first, mode);
    });
}

uint32_t PairBytes(QMPIXELTYPE dst, QMPIXELTYPE src) {
    const auto isByte = [](QMPIXELTYPE t) { return t == QMPIXEL_RGBA32 || t == QMPIXEL_RGBA32_ALT; };
    if (isByte(dst) && isByte(src)) return 4;
    return dst == QMPIXEL_RGBAFLOAT && src == QMPIXEL_RGBAFLOAT ? 16 : 0;
}

}  // namespace

HRESULT DibComposite_OpenCL_Initialize() {
    return Guarded([] { return UseFamily(KernelFamily::Composite); });
}
void DibComposite_OpenCL_Shutdown() { ReleaseFamily(KernelFamily::Composite); }
HRESULT DibCopy_OpenCL_Initialize() {
    return Guarded([] { return UseFamily(KernelFamily::Copy); });
}
void DibCopy_OpenCL_Shutdown() { ReleaseFamily(KernelFamily::Copy); }
HRESULT DibInterlace_OpenCL_Initialize() {
    return Guarded([] { return UseFamily(KernelFamily::Interlace); });
}
void DibInterlace_OpenCL_Shutdown() { ReleaseFamily(KernelFamily::Interlace); }
HRESULT VidHelp_OpenCL_Initialize() {
    return Guarded([] { return UseFamily(KernelFamily::Help); });
}
void VidHelp_OpenCL_Shutdown() { ReleaseFamily(KernelFamily::Help); }
HRESULT YUV_OpenCL_Initialize() {
    return Guarded([] { return UseFamily(KernelFamily::Yuv); });
}
void YUV_OpenCL_Shutdown() { ReleaseFamily(KernelFamily::Yuv); }

HRESULT QmOpenCL_GetDeviceText(char* text, size_t capacity) {
    if (!text || capacity == 0) return E_INVALIDARG;
    return Guarded([&]() -> HRESULT {
        const std::string device = DeviceText();
        const size_t length = std::min(device.size(), capacity - 1);
        std::memcpy(text, device.data(), length);
        text[length] = 0;
        return S_OK;
    });
}

HRESULT QmDibCompositeOCL(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect,
                          int32_t dstStride, const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                          const RECT* srcRect, int32_t srcStride, const QMCOMPOSITEPARAMS* params,
                          uint32_t flags) {
    return WithDevice(KernelFamily::Composite, [&](Call& call) -> HRESULT {
        DibView dst, src;
        if (const HRESULT hr = ViewDib(dstHeader, dstBits, dstStride, dst); Failed(hr)) return hr;
        if (const HRESULT hr = ViewDib(srcHeader, srcBits, srcStride, src); Failed(hr)) return hr;
        const uint32_t bytes = PairBytes(dst.type, src.type);
        if (bytes == 0) return E_INVALIDARG;
        if (const HRESULT hr = Fits(params); Failed(hr)) return hr;
        RECT to, from;
        const bool isSubpixel = (flags & COMPOSITE_SUBPIXEL) != 0;
        if (!WholeRect(dstRect, dst, isSubpixel, to) || !WholeRect(srcRect, src, isSubpixel, from))
            return E_INVALIDARG;
        const SIZE dstSize = dst.Size(), srcSize = src.Size();
        QMSUBPIXELPARAM p;
        if (!QmPrepareSubpixelParam(&p, dst.top, &dstSize, 0, &to, src.top, &srcSize, 0, &from)) return S_OK;
        return CompositeOn(call, dst, src, p, bytes, params->mode);
    });
}

HRESULT QmDibCompositeTransformOCL(const QMDIBREF* dst, const QMDIBREF* src, const QMDIBTRANSFORM* transform,
                                   const QMCOMPOSITEPARAMS* params) {
    return WithDevice(KernelFamily::Composite, [&](Call& call) -> HRESULT {
        if (!dst || !src || !transform) return E_POINTER;
        DibView to, from;
        if (const HRESULT hr = ViewDib(dst->header, dst->bits, dst->stride, to); Failed(hr)) return hr;
        if (const HRESULT hr = ViewDib(src->header, src->bits, src->stride, from); Failed(hr)) return hr;
        const uint32_t bytes = PairBytes(to.type, from.type);
        if (bytes == 0) return E_INVALIDARG;
        if (const HRESULT hr = Fits(params); Failed(hr)) return hr;
        const QMDIBTRANSFORM& t = *transform;
        const cl_float8 matrix = {{t.a, t.b, t.c, t.d, t.e, t.f}};
        const cl_int2 size = {{from.width, from.height}};
        const cl_int mode = params->mode, isFloat = bytes == 16;
        return ChangeBy(call, to, from, bytes, [&](const ImageArgument& d, const ImageArgument& s) {
            return call.Run("transform", to.width, to.height, d, s, size, matrix, mode, isFloat);
        });
    });
}

HRESULT QmDibCompositeLayerFXOCL(const QMDIBREF* dst, const QMDIBREF* src, const QMCOMPOSITEPARAMS* params,
                                 int32_t opacity) {
    // Before a device is asked for, nothing is said of the arguments.
    if (const HRESULT hr = Fits(params); Failed(hr)) return DeviceText().empty() ? E_FAIL : hr;
    return Layer(dst, src, params->mode, std::clamp(opacity, 0, Q14_ONE));
}

HRESULT QmDibFrameOCL(const QMDIBREF* dib, int32_t width, uint32_t color) {
    return WithDevice(KernelFamily::Copy, [&](Call& call) -> HRESULT {
        DibView view;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewAlike({{dib, &view}}, bytes); Failed(hr)) return hr;
        if (width < 0) return E_INVALIDARG;
        const auto channel = [=](int shift) { return static_cast<float>(color >> shift & 0xFF) / 255.0f; };
        const cl_float4 value = {{channel(16), channel(8), channel(0), channel(24)}};
        const cl_int isFloat = bytes == 16;
        const int32_t edge = std::min(width, DIB_MAX_SIDE);
        return Change(call, view, bytes, [&](const ImageArgument& d) {
            return call.Run("frame", view.width, view.height, d, view.width, view.height, edge, value,
                            isFloat);
        });
    });
}

HRESULT QmDibOverOCL(const QMDIBREF* dst, const QMDIBREF* src) {
    return Layer(dst, src, COMPOSITE_OVER, FULL_WEIGHT);
}
HRESULT QmDibUnderOCL(const QMDIBREF* dst, const QMDIBREF* src) {
    return Layer(dst, src, LAYER_UNDER, FULL_WEIGHT);
}
HRESULT QmDibCutoutOCL(const QMDIBREF* dst, const QMDIBREF* src) {
    return Layer(dst, src, LAYER_CUTOUT, FULL_WEIGHT);
}

HRESULT QmDibWeightedCrossFadeOCL(const QMDIBREF* dst, const QMDIBREF* a, const QMDIBREF* b, int32_t weight) {
    return WithDevice(KernelFamily::Help, [&](Call& call) -> HRESULT {
        DibView to, first, second;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewAlike({{dst, &to}, {a, &first}, {b, &second}}, bytes); Failed(hr))
            return hr;
        if (weight < 0 || weight > 256) return E_INVALIDARG;
        const cl_int isFloat = bytes == 16;
        DeviceBuffer other;
        if (!call.Upload(second, bytes, other)) return E_FAIL;
        return ChangeBy(call, to, first, bytes, [&](const ImageArgument& d, const ImageArgument& s) {
            return call.Run("fade", to.width, to.height, d, s, ImageArgument(other, second, bytes), weight,
                            isFloat);
        });
    });
}

HRESULT QmDibFieldBlendOCL(const QMDIBREF* dst, const QMDIBREF* src) {
    return WithDevice(KernelFamily::Interlace, [&](Call& call) -> HRESULT {
        DibView to, from;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
        const cl_int isFloat = bytes == 16;
        return ChangeBy(call, to, from, bytes, [&](const ImageArgument& d, const ImageArgument& s) {
            return call.Run("fields", to.width, to.height, d, s, to.height, isFloat);
        });
    });
}

HRESULT QmDibCopyInterlaceOCL(const QMDIBREF* dst, const QMDIBREF* src, uint32_t field) {
    return WithDevice(KernelFamily::Interlace, [&](Call& call) -> HRESULT {
        DibView to, from;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
        if (field > 1) return E_INVALIDARG;
        const cl_int isFloat = bytes == 16, which = static_cast<cl_int>(field);
        return ChangeBy(call, to, from, bytes, [&](const ImageArgument& d, const ImageArgument& s) {
            return call.Run("interlace", to.width, to.height, d, s, which, isFloat);
        });
    });
}

HRESULT QmDibBlurOCL(const QMDIBREF* dst, const QMDIBREF* src, int32_t across, int32_t down) {
    return WithDevice(KernelFamily::Help, [&](Call& call) -> HRESULT {
        DibView to, from;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
        if (across < 0 || across > DIB_MAX_BLUR || down < 0 || down > DIB_MAX_BLUR) return E_INVALIDARG;
        const auto count = static_cast<cl_uint>((2 * across + 1) * (2 * down + 1));
        DeviceBuffer sums;
        if (!sums.Create(uint64_t{16} * static_cast<uint64_t>(to.width) * static_cast<uint64_t>(to.height)))
            return E_FAIL;
        const bool isByte = bytes == 4;
        return ChangeBy(call, to, from, bytes, [&](const ImageArgument& d, const ImageArgument& s) {
            return call.Run(isByte ? "blurAcross8" : "blurAcrossF", to.width, to.height, s, sums.Get(),
                            to.width, across) &&
                   call.Run(isByte ? "blurDown8" : "blurDownF", to.width, to.height, d, sums.Get(), to.width,
                            to.height, down, count);
        });
    });
}

HRESULT QmDibDesaturateOCL(const QMDIBREF* dib, int32_t amount) {
    return WithDevice(KernelFamily::Help, [&](Call& call) -> HRESULT {
        DibView view;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewAlike({{dib, &view}}, bytes); Failed(hr)) return hr;
        if (amount < 0 || amount > 256) return E_INVALIDARG;
        const cl_int isFloat = bytes == 16;
        return Change(call, view, bytes, [&](const ImageArgument& d) {
            return call.Run("desaturate", view.width, view.height, d, amount, isFloat);
        });
    });
}

HRESULT QmDibRotate90OCL(const QMDIBREF* dst, const QMDIBREF* src, uint32_t direction) {
    if (direction > DIB_ROTATE_COUNTERCLOCKWISE) return DeviceText().empty() ? E_FAIL : E_INVALIDARG;
    return Rotate(dst, src, true, static_cast<int32_t>(direction));
}

HRESULT QmDibRotate180OCL(const QMDIBREF* dst, const QMDIBREF* src) { return Rotate(dst, src, false, 2); }

HRESULT QmDibCopyOCL(const QMDIBREF* dst, const QMDIBREF* src, uint32_t flags) {
    return WithDevice(KernelFamily::Yuv, [&](Call& call) -> HRESULT {
        if (!dst || !src) return E_POINTER;
        DibView to, from;
        if (const HRESULT hr = ViewDib(dst->header, dst->bits, dst->stride, to); Failed(hr)) return hr;
        if (const HRESULT hr = ViewDib(src->header, src->bits, src->stride, from); Failed(hr)) return hr;
        if (to.width != from.width || to.height != from.height) return E_INVALIDARG;
        const VideoLayout* layout = FindVideoLayout(from.type);
        if (PairBytes(to.type, to.type) != 4 || to.header->biCompression == BI_BITFIELDS || !layout ||
            layout->depth != 8 || layout->chromaX != 1 || layout->kind == VideoKind::Packed422)
            return E_FAIL;
        const VideoPlanes planes = PlacePlanes(*layout, from.width, from.height);
        const YuvFixed f = YuvFixed::From(YuvMatrix::For(flags, layout->depth));
        const cl_int8 fixed = {{f.lumaOffset, f.luma, f.redV, f.greenU, f.greenV, f.blueU}};
        const auto u = static_cast<cl_long>(planes.offset[1]), v = static_cast<cl_long>(planes.offset[2]);
        const auto lumaStride = static_cast<cl_int>(planes.stride[0]),
                   stride = static_cast<cl_int>(planes.stride[1]);
        const cl_int step = layout->kind == VideoKind::SemiPlanar ? 2 : 1, down = layout->chromaY;
        DeviceBuffer samples;
        if (!call.Upload(from.top, planes.total, samples)) return E_FAIL;
        return Change(call, to, 4, [&](const ImageArgument& d) {
            return call.Run("video", to.width, to.height, d, samples.Get(), u, v, lumaStride, stride, step,
                            down, fixed);
        });
    });
}
