#include "image/video_layout.h"

#include <limits>

using namespace tarn;

namespace {

struct LayoutRow {
    QMPIXELTYPE type;
    VideoLayout layout;
};

// Samples of 10 and 12 bits lie in the high bits of their words, but for PL10, the three-plane form of P010,
// where they are plain numbers.
constexpr LayoutRow LAYOUTS[] = {
    {QMPIXEL_UYVY, {VideoKind::Packed422, 8, 0, 1, 1, 0, false, 1, 0, 2}},
    {QMPIXEL_YUYV, {VideoKind::Packed422, 8, 0, 1, 1, 0, false, 0, 1, 3}},
    {QMPIXEL_Y210, {VideoKind::Packed422, 10, 6, 2, 1, 0, false, 0, 1, 3}},
    {QMPIXEL_Y41B, {VideoKind::Planar, 8, 0, 1, 2, 0, false, 0, 0, 0}},
    {QMPIXEL_I420, {VideoKind::Planar, 8, 0, 1, 1, 1, false, 0, 0, 0}},
    {QMPIXEL_YV12, {VideoKind::Planar, 8, 0, 1, 1, 1, true, 0, 0, 0}},
    {QMPIXEL_YV16, {VideoKind::Planar, 8, 0, 1, 1, 0, true, 0, 0, 0}},
    {QMPIXEL_YV24, {VideoKind::Planar, 8, 0, 1, 0, 0, true, 0, 0, 0}},
    {QMPIXEL_PL10, {VideoKind::Planar, 10, 0, 2, 1, 1, false, 0, 0, 0}},
    {QMPIXEL_NV12, {VideoKind::SemiPlanar, 8, 0, 1, 1, 1, false, 0, 0, 0}},
    {QMPIXEL_P010, {VideoKind::SemiPlanar, 10, 6, 2, 1, 1, false, 0, 0, 0}},
    {QMPIXEL_P012, {VideoKind::SemiPlanar, 12, 4, 2, 1, 1, false, 0, 0, 0}},
    {QMPIXEL_P210, {VideoKind::SemiPlanar, 10, 6, 2, 1, 0, false, 0, 0, 0}},
    {QMPIXEL_P212, {VideoKind::SemiPlanar, 12, 4, 2, 1, 0, false, 0, 0, 0}},
    {QMPIXEL_P216, {VideoKind::SemiPlanar, 16, 0, 2, 1, 0, false, 0, 0, 0}},
    {QMPIXEL_P410, {VideoKind::SemiPlanar, 10, 6, 2, 0, 0, false, 0, 0, 0}},
    {QMPIXEL_P412, {VideoKind::SemiPlanar, 12, 4, 2, 0, 0, false, 0, 0, 0}},
    {QMPIXEL_V210, {VideoKind::V210, 10, 0, 4, 1, 0, false, 0, 0, 0}},
    {QMPIXEL_A410, {VideoKind::Packed410, 10, 0, 4, 0, 0, false, 0, 0, 0}},
};

}  // namespace

const VideoLayout* tarn::FindVideoLayout(QMPIXELTYPE type) {
    for (const LayoutRow& row : LAYOUTS)
        if (row.type == type) return &row.layout;
    return nullptr;
}

VideoPlanes tarn::PlacePlanes(const VideoLayout& layout, int32_t width, int32_t height) {
    const auto w = static_cast<uint64_t>(width), h = static_cast<uint64_t>(height);
    const uint64_t chromaWidth = (w + (1u << layout.chromaX) - 1) >> layout.chromaX;
    const uint64_t chromaHeight = (h + (1u << layout.chromaY) - 1) >> layout.chromaY;
    const uint64_t bytes = layout.bytes;
    switch (layout.kind) {
    case VideoKind::Planar: {
        const uint64_t plane = w * h * bytes, chroma = chromaWidth * chromaHeight * bytes;
        const uint64_t u = layout.vFirst ? plane + chroma : plane, v = layout.vFirst ? plane : plane + chroma;
        return {plane + 2 * chroma, {0, u, v}, {w * bytes, chromaWidth * bytes, chromaWidth * bytes}};
    }
    case VideoKind::SemiPlanar: {
        const uint64_t plane = w * h * bytes, stride = 2 * chromaWidth * bytes;
        return {plane + stride * chromaHeight, {0, plane, plane + bytes}, {w * bytes, stride, stride}};
    }
    case VideoKind::Packed422: {
        const uint64_t stride = 4 * chromaWidth * bytes;
        return {stride * h, {layout.y * bytes, layout.u * bytes, layout.v * bytes}, {stride, stride, stride}};
    }
    case VideoKind::V210: {
        const uint64_t stride = (w + 47) / 48 * 128;
        return {stride * h, {}, {stride, stride, stride}};
    }
    case VideoKind::Packed410: return {w * 4 * h, {}, {w * 4, w * 4, w * 4}};
    }
    return {};
}

uint32_t QmYUVImageBytesAndOffsets(const BITMAPINFOHEADER* header, uint32_t offsets[3]) {
    const VideoLayout* layout = FindVideoLayout(QmGetPixelType(header));
    if (!layout || header->biWidth <= 0 || header->biHeight == 0 ||
        header->biHeight == std::numeric_limits<int32_t>::min())
        return 0;
    const VideoPlanes planes =
        PlacePlanes(*layout, header->biWidth, header->biHeight < 0 ? -header->biHeight : header->biHeight);
    if (planes.total > std::numeric_limits<uint32_t>::max()) return 0;
    if (offsets)
        for (int i = 0; i < 3; i++) offsets[i] = static_cast<uint32_t>(planes.offset[i]);
    return static_cast<uint32_t>(planes.total);
}
