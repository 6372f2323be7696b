#include "image/bmp.h"

#include "image/dib_copy.h"
#include "image/pictures.h"
#include "image/rows/dib_view.h"
#include "kernel/codes.h"
#include "platform/memory.h"

#include <cstdlib>
#include <cstring>
#include <limits>

using namespace tarn;

namespace {

#pragma pack(push, 2)
struct FileHeader {
    char magic[2];
    uint32_t size;
    uint16_t reserved[2];
    uint32_t offset;  ///< of the pixels
};
#pragma pack(pop)
static_assert(sizeof(FileHeader) == 14);

/// What stands between the head and the pixels of an image of this type.
size_t TableBytes(const BITMAPINFOHEADER& header) {
    const auto* none = reinterpret_cast<const uint8_t*>(&header);
    return static_cast<size_t>(static_cast<uint8_t*>(QmDibBits(&header)) - none) - sizeof header;
}

constexpr uint32_t MOST_TABLE_COLORS = 256;

}  // namespace

HRESULT QmDibFromBmp(BITMAPINFOHEADER** dib, const void* bytes, size_t size) {
    if (!dib) return E_POINTER;
    *dib = nullptr;
    if (!bytes) return E_POINTER;
    // The head, and the table or masks at most, where their alignment is known.
    struct {
        FileHeader file;
        BITMAPINFOHEADER head;
        uint8_t table[MOST_TABLE_COLORS * sizeof(RGBQUAD)];
    } start{};
    constexpr size_t HEADS = sizeof(FileHeader) + sizeof(BITMAPINFOHEADER);
    if (size < HEADS || std::memcmp(bytes, "BM", 2) != 0) return QM_E_UNKNOWN_FORMAT;
    const auto* from = static_cast<const uint8_t*>(bytes);
    std::memcpy(&start.file, from, sizeof start.file);
    std::memcpy(&start.head, from + sizeof start.file, sizeof start.head);
    BITMAPINFOHEADER& head = start.head;
    // Later forms of the head are longer, and begin as this one does; their masks stand where its do.
    const uint32_t headBytes = head.biSize;
    if (headBytes < sizeof head || headBytes > 124 || head.biClrUsed > MOST_TABLE_COLORS)
        return QM_E_UNKNOWN_FORMAT;
    const size_t table = TableBytes(head);
    const size_t tableAt =
        sizeof start.file + (head.biCompression == BI_BITFIELDS ? sizeof head : size_t{headBytes});
    if (table > sizeof start.table || tableAt + table > size) return QM_E_UNKNOWN_FORMAT;
    std::memcpy(start.table, from + tableAt, table);

    const QMPIXELTYPE type = QmGetPixelType(&head);
    if (type == QMPIXEL_UNKNOWN || head.biHeight == std::numeric_limits<int32_t>::min())
        return QM_E_UNKNOWN_FORMAT;
    uint32_t headerBytes = 0, imageBytes = 0;
    const auto* colors =
        head.biCompression == BI_RGB ? reinterpret_cast<const RGBQUAD*>(start.table) : nullptr;
    const auto count = static_cast<int32_t>(colors ? table / sizeof(RGBQUAD) : 0);
    HRESULT hr =
        QmDibInfo(&headerBytes, &imageBytes, nullptr, type, head.biWidth, head.biHeight, colors, count);
    if (Failed(hr)) return head.biWidth <= 0 || head.biHeight == 0 ? QM_E_UNKNOWN_FORMAT : QM_E_TOO_LARGE;
    if (start.file.offset > size || size - start.file.offset < imageBytes) return QM_E_UNKNOWN_FORMAT;
    BITMAPINFOHEADER* made = nullptr;
    hr = QmDibAlloc(&made, type, head.biWidth, head.biHeight, count ? colors : nullptr, count, 0, 0);
    if (Failed(hr)) return hr;
    // By way of the file's own masks, which may tell another order than ours.
    hr = QmDibCopy(made, nullptr, 0, &head, from + start.file.offset, 0, 0);
    if (Failed(hr)) {
        QmDibFree(made);
        return hr;
    }
    *dib = made;
    return S_OK;
}

HRESULT QmDibToBmp(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, void** bytes,
                   size_t* size) {
    if (!bytes || !size) return E_POINTER;
    *bytes = nullptr;
    *size = 0;
    DibView view;
    if (const HRESULT hr = ViewDib(header, bits, stride, view); Failed(hr)) return hr;
    uint32_t imageBytes = 0;
    const HRESULT hr =
        QmDibInfo(nullptr, &imageBytes, nullptr, view.type, view.width, header->biHeight, nullptr, 0);
    if (Failed(hr)) return hr;
    const size_t before = sizeof *header + TableBytes(*header),
                 length = sizeof(FileHeader) + before + imageBytes;
    if (length > std::numeric_limits<uint32_t>::max()) return QM_E_TOO_LARGE;
    auto* made = static_cast<uint8_t*>(MemAlloc(length));
    if (!made) return E_OUTOFMEMORY;
    const FileHeader file{
        {'B', 'M'}, static_cast<uint32_t>(length), {}, static_cast<uint32_t>(length - imageBytes)};
    std::memcpy(made, &file, sizeof file);
    std::memcpy(made + sizeof file, header, before);
    uint8_t* pixels = made + file.offset;
    if (IsVideo(view.type)) {
        std::memcpy(pixels, view.top, imageBytes);
    } else {
        const size_t own = QmDibStride(header), used = DibRowBytes(view.type, view.width);
        for (int32_t y = 0; y < view.height; y++) {
            const int32_t row = header->biHeight < 0 ? y : view.height - 1 - y;
            std::memcpy(pixels + own * static_cast<size_t>(row), view.Row(y), used);
        }
    }
    *bytes = made;
    *size = length;
    return S_OK;
}
