// Images on any bytes: pictures and bitmaps as they are read, headers with tables or masks as they may be
// told, and composites with any rectangles and strides. The first byte chooses.
#include "image/bmp.h"
#include "image/composite.h"
#include "image/dib_copy.h"
#include "image/palette.h"
#include "image/pictures.h"
#include "image/scale.h"
#include "platform/memory.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

using namespace tarn;

namespace {

constexpr uint64_t SMALL =
    1 << 16;  ///< pixels, so that time goes into what is odd and not into what is large

template <class T>
T Taken(const uint8_t*& data, size_t& size) {
    T value{};
    const size_t count = std::min(size, sizeof value);
    std::memcpy(&value, data, count);
    data += count;
    size -= count;
    return value;
}

void Picture(const uint8_t* data, size_t size) {
    BITMAPINFOHEADER info;
    if (Failed(QmDibPictureInfo(&info, data, size)) ||
        uint64_t(info.biWidth) * uint64_t(std::abs(info.biHeight)) > SMALL)
        return;
    BITMAPINFOHEADER* dib = nullptr;
    if (Failed(QmDibFromPicture(&dib, data, size)) != (dib == nullptr)) std::abort();
    const OwnedDib owned(dib);
    void* png = nullptr;
    size_t length = 0;
    if (dib && (QmDibToPng(dib, nullptr, 0, &png, &length) != S_OK || !png)) std::abort();
    MemFree(png);
}

/// What is read can be written, and is the same when it is read again.
void Bitmap(const uint8_t* data, size_t size) {
    BITMAPINFOHEADER* dib = nullptr;
    const HRESULT hr = QmDibFromBmp(&dib, data, size);
    if (Failed(hr) != (dib == nullptr)) std::abort();
    const OwnedDib owned(dib);
    if (!dib) return;
    void* bytes = nullptr;
    size_t length = 0;
    if (QmDibToBmp(dib, nullptr, 0, &bytes, &length) != S_OK) std::abort();
    BITMAPINFOHEADER* again = nullptr;
    if (QmDibFromBmp(&again, bytes, length) != S_OK) std::abort();
    const OwnedDib ownedAgain(again);
    MemFree(bytes);
    if (std::memcmp(QmDibBits(dib), QmDibBits(again), dib->biSizeImage) != 0) std::abort();
    RGBQUAD palette[256];
    int32_t colors = 16;
    QmDibQuantizePalette(dib, nullptr, 0, palette, &colors);
}

void Copies(const uint8_t* data, size_t size) {
    size_t count = 0;
    const PixelTypeName* names = PixelTypeNames(&count);
    const auto from = names[Taken<uint8_t>(data, size) % count].type,
               to = names[Taken<uint8_t>(data, size) % count].type;
    const int32_t width = Taken<uint8_t>(data, size) % 70 + 1, height = Taken<int8_t>(data, size) % 40;
    const auto flags = Taken<uint8_t>(data, size);
    BITMAPINFOHEADER *src = nullptr, *dst = nullptr;
    if (Failed(QmDibAlloc(&src, from, width, height, nullptr, 0, 0, 0))) return;
    const OwnedDib ownedSrc(src);
    QmDibAlloc(&dst, to, width, height, nullptr, 0, 0, 0);
    const OwnedDib ownedDst(dst);
    std::memcpy(QmDibBits(src), data, std::min<size_t>(size, src->biSizeImage));
    if (QmDibCopy(dst, nullptr, 0, src, nullptr, 0, flags) != S_OK) std::abort();
}

void Composites(const uint8_t* data, size_t size) {
    const auto mode = Taken<int8_t>(data, size);
    const bool isFloat = Taken<uint8_t>(data, size) % 2;
    const auto side = [&] { return LONG{Taken<uint8_t>(data, size) % 40 + 1}; };
    const SIZE dstSize{side(), side()}, srcSize{side(), side()};
    const auto bytes = isFloat ? 16u : 4u;
    const auto stride = [&](SIZE s) {
        return static_cast<int32_t>(s.cx) * static_cast<int32_t>(bytes) + Taken<uint8_t>(data, size) % 8 * 4;
    };
    const int32_t dstStride = stride(dstSize), srcStride = stride(srcSize);
    const auto dstRect = Taken<RECT>(data, size), srcRect = Taken<RECT>(data, size);
    const auto flags = Taken<uint32_t>(data, size);
    // Of their exact size, and each from its last row on where a bit says so.
    std::vector<uint8_t> dst(static_cast<size_t>(dstStride * (dstSize.cy - 1)) +
                             static_cast<size_t>(dstSize.cx) * bytes),
        src(static_cast<size_t>(srcStride * (srcSize.cy - 1)) + static_cast<size_t>(srcSize.cx) * bytes);
    std::memcpy(src.data(), data, std::min(size, src.size()));
    const bool isUp = flags & 1;
    uint8_t* first = dst.data() + (isUp ? dstStride * (dstSize.cy - 1) : 0);
    const int32_t step = isUp ? -dstStride : dstStride;
    const QMCOMPOSITEPARAMS params{sizeof params, mode, {}};
    const RECT *to = flags & 2 ? nullptr : &dstRect, *from = flags & 4 ? nullptr : &srcRect;
    const uint32_t form = flags >> 3 & 3;
    if (form == 0)
        QmDibCompositeSP(first, &dstSize, step, to, src.data(), &srcSize, srcStride, from, bytes, &params);
    else if (form == 1)
        QmDibCompositeUnscaled(first, &dstSize, step, to, src.data(), &srcSize, srcStride, from, bytes,
                               &params);
    else
        (form == 2 ? QmDibScale_BiCubicSubPixel : QmDibScale_BiCubic)(first, &dstSize, step, to, src.data(),
                                                                      &srcSize, srcStride, from, bytes);
    QmDibPremultiply(first, &dstSize, step, to, bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    constexpr void (*TARGETS[])(const uint8_t*, size_t) = {Picture, Bitmap, Copies, Composites};
    TARGETS[data[0] % std::size(TARGETS)](data + 1, size - 1);
    return 0;
}
