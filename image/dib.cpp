#include "image/dib.h"

#include "image/rows/dib_view.h"
#include "image/video_layout.h"
#include "platform/memory.h"

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

using namespace tarn;

namespace {

/// Lies before the header of a block, and keeps the pixels of images without a table at multiples of 16.
struct BlockHead {
    uint64_t imageBytes;
    char tag[32];
};
static_assert((sizeof(BlockHead) + sizeof(BITMAPINFOHEADER)) % 16 == 0);

std::atomic<uint32_t> liveBlocks;
std::atomic<uint64_t> liveBytes;

const BlockHead* HeadOf(const BITMAPINFOHEADER* dib) { return reinterpret_cast<const BlockHead*>(dib) - 1; }

uint64_t Stride(uint32_t bits, int32_t width) {
    return ((uint64_t{bits} * static_cast<uint64_t>(width) + 31) >> 3) & ~uint64_t{3};
}

bool IsSide(int32_t side) { return side > 0 && side <= DIB_MAX_SIDE; }

}  // namespace

HRESULT QmDibInfo(uint32_t* headerBytes, uint32_t* imageBytes, BITMAPINFOHEADER* header, QMPIXELTYPE type,
                  int32_t width, int32_t height, const RGBQUAD* palette, int32_t colorCount) {
    uint32_t compression = 0;
    const uint32_t bits = QmPixelTypeToBitAttribs(type, &compression, nullptr, 0, nullptr);
    if (bits == 0 || (!headerBytes && !imageBytes && !header)) return E_INVALIDARG;
    // The lowest height has no positive counterpart.
    if (!IsSide(width) || height == std::numeric_limits<int32_t>::min() || !IsSide(std::abs(height)))
        return E_INVALIDARG;
    const int32_t rows = std::abs(height);
    const VideoLayout* video = FindVideoLayout(type);
    const uint64_t image =
        video ? PlacePlanes(*video, width, rows).total : Stride(bits, width) * static_cast<uint64_t>(rows);
    uint64_t colors = static_cast<uint64_t>(std::max(colorCount, 0));
    if (colors == 0 && !palette && bits <= 8) colors = (uint64_t{1} << bits) - 1;
    const uint64_t head = sizeof(BITMAPINFOHEADER) +
                          (compression == BI_BITFIELDS ? 3 * sizeof(uint32_t) : colors * sizeof(RGBQUAD));
    if (head + image > std::numeric_limits<uint32_t>::max()) return E_INVALIDARG;
    if (headerBytes) *headerBytes = static_cast<uint32_t>(head);
    if (imageBytes) *imageBytes = static_cast<uint32_t>(image);
    if (header) {
        *header = {};
        header->biSize = sizeof *header;
        header->biWidth = width;
        header->biHeight = height;
        header->biPlanes = 1;
        header->biBitCount = static_cast<uint16_t>(bits);
        header->biCompression = compression;
        header->biSizeImage = static_cast<uint32_t>(image);
        header->biClrUsed = static_cast<uint32_t>(colors);
    }
    return S_OK;
}

HRESULT QmDibAlloc(BITMAPINFOHEADER** dib, QMPIXELTYPE type, int32_t width, int32_t height,
                   const RGBQUAD* palette, int32_t colorCount, int32_t flags, uintptr_t tag) {
    if (!dib) return E_INVALIDARG;
    *dib = nullptr;
    BITMAPINFOHEADER header;
    uint32_t headerBytes = 0, imageBytes = 0;
    const HRESULT hr =
        QmDibInfo(&headerBytes, &imageBytes, &header, type, width, height, palette, colorCount);
    if (Failed(hr)) return hr;
    auto* head = static_cast<BlockHead*>(MemAlloc(sizeof(BlockHead) + size_t{headerBytes} + imageBytes));
    if (!head) return E_OUTOFMEMORY;
    head->imageBytes = imageBytes;
    if (flags >= 0) {
        if (tag == 0) tag = reinterpret_cast<uintptr_t>(__builtin_return_address(0));
        std::snprintf(head->tag, sizeof head->tag, "QmDA:%" PRIxPTR, tag);
    }
    auto* made = reinterpret_cast<BITMAPINFOHEADER*>(head + 1);
    *made = header;
    if (header.biCompression == BI_BITFIELDS) {
        uint32_t masks[3];
        QmPixelTypeToBitAttribs(type, nullptr, masks, 0, nullptr);
        std::memcpy(made + 1, masks, sizeof masks);
    } else if (palette && header.biClrUsed) {
        std::memcpy(made + 1, palette, header.biClrUsed * sizeof(RGBQUAD));
    }
    liveBlocks.fetch_add(1, std::memory_order_relaxed);
    liveBytes.fetch_add(imageBytes, std::memory_order_relaxed);
    *dib = made;
    return S_OK;
}

void QmDibFree(BITMAPINFOHEADER* dib) {
    if (!dib) return;
    auto* head = reinterpret_cast<BlockHead*>(dib) - 1;
    liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    liveBytes.fetch_sub(head->imageBytes, std::memory_order_relaxed);
    MemFree(head);
}

void* QmDibBits(const BITMAPINFOHEADER* header) {
    if (!header) return nullptr;
    size_t before = sizeof *header;
    if (header->biCompression == BI_BITFIELDS)
        before += 3 * sizeof(uint32_t);
    else if (header->biClrUsed)
        before += size_t{header->biClrUsed} * sizeof(RGBQUAD);
    else if (header->biCompression == BI_RGB && header->biBitCount <= 8)
        before += (size_t{1} << header->biBitCount) * sizeof(RGBQUAD);
    return const_cast<uint8_t*>(reinterpret_cast<const uint8_t*>(header)) + before;
}

uint32_t QmDibStride(const BITMAPINFOHEADER* header) {
    const QMPIXELTYPE type = QmGetPixelType(header);
    if (type == QMPIXEL_UNKNOWN || !IsSide(header->biWidth)) return 0;
    const VideoLayout* video = FindVideoLayout(type);
    const uint64_t stride = video ? PlacePlanes(*video, header->biWidth, 1).stride[0]
                                  : Stride(QmGetPixelBitsPerChannel(type, nullptr), header->biWidth);
    return stride > std::numeric_limits<int32_t>::max() ? 0 : static_cast<uint32_t>(stride);
}

void QmDibGetUsage(uint32_t* blocks, uint64_t* bytes) {
    *blocks = liveBlocks.load(std::memory_order_relaxed);
    *bytes = liveBytes.load(std::memory_order_relaxed);
}

const char* QmDibGetTag(const BITMAPINFOHEADER* dib) { return HeadOf(dib)->tag; }

uint64_t tarn::DibRowBytes(QMPIXELTYPE type, int32_t width) {
    return IsVideo(type)
               ? 0
               : (uint64_t{QmGetPixelBitsPerChannel(type, nullptr)} * static_cast<uint64_t>(width) + 7) / 8;
}

HRESULT tarn::ViewDib(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, DibView& view) {
    if (!header) return E_POINTER;
    const uint32_t own = QmDibStride(header);
    if (own == 0 || header->biHeight == std::numeric_limits<int32_t>::min() ||
        !IsSide(std::abs(header->biHeight)))
        return E_INVALIDARG;
    view.type = QmGetPixelType(header);
    view.header = header;
    view.width = header->biWidth;
    view.height = std::abs(header->biHeight);
    const int64_t distance = stride == 0 ? own : stride;
    if (IsVideo(view.type) ? distance != own
                           : static_cast<uint64_t>(std::abs(distance)) < DibRowBytes(view.type, view.width))
        return E_INVALIDARG;
    auto* first = static_cast<uint8_t*>(const_cast<void*>(bits ? bits : QmDibBits(header)));
    const bool isTopDown = header->biHeight < 0 || IsVideo(view.type);
    view.top = isTopDown ? first : first + distance * (view.height - 1);
    view.stride = isTopDown ? distance : -distance;
    return S_OK;
}
