#include "image/pictures.h"

#include "image/dib_copy.h"
#include "image/rows/dib_view.h"
#include "image/rows/pixel_rows.h"
#include "kernel/codes.h"
#include "platform/guarded.h"
#include "platform/memory.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

using namespace tarn;

namespace {

bool StartsWith(const void* bytes, size_t size, std::string_view magic) {
    return bytes && size >= magic.size() && std::memcmp(bytes, magic.data(), magic.size()) == 0;
}
bool IsPng(const void* bytes, size_t size) { return StartsWith(bytes, size, "\x89PNG\r\n\x1A\n"); }
bool IsJpeg(const void* bytes, size_t size) { return StartsWith(bytes, size, "\xFF\xD8\xFF"); }

HRESULT Describe(BITMAPINFOHEADER* header, QMPIXELTYPE type, uint64_t width, uint64_t height) {
    if (width == 0 || height == 0) return QM_E_UNKNOWN_FORMAT;
    if (width > DIB_MAX_SIDE || height > DIB_MAX_SIDE || width * height > PICTURE_MAX_PIXELS)
        return QM_E_TOO_LARGE;
    const HRESULT hr = QmDibInfo(nullptr, nullptr, header, type, static_cast<int32_t>(width),
                                 static_cast<int32_t>(height), nullptr, 0);
    return hr == E_INVALIDARG ? QM_E_TOO_LARGE : hr;
}

/// Bytes that libpng reads from, or writes to.
struct Source {
    const uint8_t* bytes;
    size_t left;
};
void ReadBytes(png_structp png, png_bytep to, size_t count) {
    auto* source = static_cast<Source*>(png_get_io_ptr(png));
    if (count > source->left) png_error(png, "truncated");
    std::memcpy(to, source->bytes, count);
    source->bytes += count;
    source->left -= count;
}
/// Memory of the writer; libpng's way back jumps over destructors, so that nothing here has any.
struct Sink {
    uint8_t* bytes;
    size_t size, room;
};
void WriteBytes(png_structp png, png_bytep from, size_t count) {
    auto* sink = static_cast<Sink*>(png_get_io_ptr(png));
    if (count > sink->room - sink->size) {
        const size_t room = std::max(sink->room * 2, sink->size + count + 4096);
        auto* grown = static_cast<uint8_t*>(MemResize(sink->bytes, sink->size, room));
        if (!grown) png_error(png, "out of memory");
        sink->bytes = grown;
        sink->room = room;
    }
    std::memcpy(sink->bytes + sink->size, from, count);
    sink->size += count;
}
void Silent(png_structp, png_const_charp) {}
[[noreturn]] void Return(png_structp png, png_const_charp) { png_longjmp(png, 1); }

struct PngReader {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, Return, Silent);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    PngReader() = default;
    ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;
};
struct Writer {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Return, Silent);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    Writer() = default;
    ~Writer() { png_destroy_write_struct(&png, &info); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
};

QMPIXELTYPE GrayOfDepth(int depth) {
    switch (depth) {
    case 1: return QMPIXEL_GRAY1;
    case 2: return QMPIXEL_GRAY2;
    case 4: return QMPIXEL_GRAY4;
    case 8: return QMPIXEL_GRAY8;
    default: return QMPIXEL_GRAY16;
    }
}

/// What an image of it is, and has libpng give its rows so.
QMPIXELTYPE TypeOf(png_structp png, png_infop info, bool isAsked) {
    const int color = png_get_color_type(png, info), depth = png_get_bit_depth(png, info);
    const bool hasAlpha = (color & PNG_COLOR_MASK_ALPHA) || png_get_valid(png, info, PNG_INFO_tRNS);
    if (!hasAlpha && color == PNG_COLOR_TYPE_PALETTE) {
        if (depth == 2 && isAsked) png_set_packing(png);
        return depth == 1 ? QMPIXEL_PAL1 : depth == 4 ? QMPIXEL_PAL4 : QMPIXEL_PAL8;
    }
    if (!hasAlpha && color == PNG_COLOR_TYPE_GRAY) {
        if (depth == 16 && isAsked) png_set_swap(png);
        return GrayOfDepth(depth);
    }
    if (isAsked) {
        png_set_expand(png);
        png_set_gray_to_rgb(png);
        if (depth == 16)
            png_set_swap(png);
        else
            png_set_bgr(png);
        if (depth == 16) png_set_add_alpha(png, 0xFFFF, PNG_FILLER_AFTER);
    }
    return depth == 16 ? QMPIXEL_RGBA64 : hasAlpha ? QMPIXEL_RGBA32 : QMPIXEL_RGB24;
}

/// The steps to the header, in a function without objects that a jump would leave behind.
bool ReadPngHeader(PngReader& reader, Source& source, bool isAsked, QMPIXELTYPE& type) {
    if (setjmp(png_jmpbuf(reader.png))) return false;
    png_set_read_fn(reader.png, &source, ReadBytes);
    png_set_user_limits(reader.png, DIB_MAX_SIDE, DIB_MAX_SIDE);
    png_read_info(reader.png, reader.info);
    type = TypeOf(reader.png, reader.info, isAsked);
    return true;
}
bool ReadPngPixels(PngReader& reader, uint8_t** rows, size_t rowBytes) {
    if (setjmp(png_jmpbuf(reader.png))) return false;
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    // What libpng writes is what was made room for, or nothing is written.
    if (png_get_rowbytes(reader.png, reader.info) != rowBytes) return false;
    png_read_image(reader.png, rows);
    png_read_end(reader.png, nullptr);
    return true;
}

int32_t PaletteOf(const PngReader& reader, RGBQUAD palette[256]) {
    png_colorp colors = nullptr;
    int count = 0;
    if (png_get_PLTE(reader.png, reader.info, &colors, &count) == 0) return 0;
    count = std::clamp(count, 0, 256);
    for (int i = 0; i < count; i++) palette[i] = {colors[i].blue, colors[i].green, colors[i].red, 0};
    return count;
}

HRESULT FromPng(OwnedDib& dib, const void* bytes, size_t size) {
    PngReader reader;
    if (!reader.info) return E_OUTOFMEMORY;
    Source source{static_cast<const uint8_t*>(bytes), size};
    QMPIXELTYPE type = QMPIXEL_UNKNOWN;
    if (!IsPng(bytes, size) || !ReadPngHeader(reader, source, true, type)) return QM_E_UNKNOWN_FORMAT;
    BITMAPINFOHEADER header;
    HRESULT hr = Describe(&header, type, png_get_image_width(reader.png, reader.info),
                          png_get_image_height(reader.png, reader.info));
    if (Failed(hr)) return hr;
    RGBQUAD palette[256];
    const int32_t colors = HasPalette(type) ? PaletteOf(reader, palette) : 0;
    BITMAPINFOHEADER* made = nullptr;
    hr = QmDibAlloc(&made, type, header.biWidth, header.biHeight, colors ? palette : nullptr, colors, 0, 0);
    if (Failed(hr)) return hr;
    dib.reset(made);
    DibView view;
    if (hr = ViewDib(made, nullptr, 0, view); Failed(hr)) return hr;
    std::vector<uint8_t*> rows(static_cast<size_t>(view.height));
    for (int32_t y = 0; y < view.height; y++) rows[static_cast<size_t>(y)] = view.Row(y);
    return ReadPngPixels(reader, rows.data(), DibRowBytes(type, view.width)) ? S_OK : QM_E_UNKNOWN_FORMAT;
}

struct Jpeg {
    std::unique_ptr<void, int (*)(tjhandle)> handle{tjInitDecompress(), tjDestroy};
    int width = 0, height = 0, subsampling = 0, colorspace = 0;

    bool ReadHeader(const void* bytes, size_t size) {
        return tjDecompressHeader3(handle.get(), static_cast<const unsigned char*>(bytes), size, &width,
                                   &height, &subsampling, &colorspace) == 0;
    }
    bool IsInk() const { return colorspace == TJCS_CMYK || colorspace == TJCS_YCCK; }
    QMPIXELTYPE Type() const { return colorspace == TJCS_GRAY ? QMPIXEL_GRAY8 : QMPIXEL_RGB24; }
};

/// Printer's colours, stored the other way round as all programs do, to those of a screen.
void ColorsOfInk(const DibView& view, const std::vector<uint8_t>& ink) {
    const uint8_t* from = ink.data();
    for (int32_t y = 0; y < view.height; y++) {
        uint8_t* to = view.Row(y);
        for (int32_t x = 0; x < view.width; x++, to += 3, from += 4)
            for (int c = 0; c < 3; c++) to[c] = static_cast<uint8_t>((from[2 - c] * from[3] + 127) / 255);
    }
}

HRESULT FromJpeg(OwnedDib& dib, const void* bytes, size_t size) {
    Jpeg jpeg;
    if (!jpeg.handle) return E_OUTOFMEMORY;
    if (!IsJpeg(bytes, size) || !jpeg.ReadHeader(bytes, size)) return QM_E_UNKNOWN_FORMAT;
    BITMAPINFOHEADER header;
    HRESULT hr =
        Describe(&header, jpeg.Type(), static_cast<uint64_t>(jpeg.width), static_cast<uint64_t>(jpeg.height));
    if (Failed(hr)) return hr;
    BITMAPINFOHEADER* made = nullptr;
    if (hr = QmDibAlloc(&made, jpeg.Type(), jpeg.width, jpeg.height, nullptr, 0, 0, 0); Failed(hr)) return hr;
    dib.reset(made);
    DibView view;
    if (hr = ViewDib(made, nullptr, 0, view); Failed(hr)) return hr;
    std::vector<uint8_t> ink(
        jpeg.IsInk() ? static_cast<size_t>(jpeg.width) * static_cast<size_t>(jpeg.height) * 4 : 0);
    // The image's rows from the lowest, as they lie in memory.
    auto* first = jpeg.IsInk() ? ink.data() : static_cast<uint8_t*>(QmDibBits(made));
    const int format = jpeg.IsInk() ? TJPF_CMYK : jpeg.Type() == QMPIXEL_GRAY8 ? TJPF_GRAY : TJPF_BGR;
    const int stride = jpeg.IsInk() ? jpeg.width * 4 : static_cast<int>(QmDibStride(made));
    const int flags = TJFLAG_LIMITSCANS | (jpeg.IsInk() ? 0 : TJFLAG_BOTTOMUP);
    if (tjDecompress2(jpeg.handle.get(), static_cast<const unsigned char*>(bytes), size, first, jpeg.width,
                      stride, jpeg.height, format, flags) != 0)
        return QM_E_UNKNOWN_FORMAT;
    if (jpeg.IsInk()) ColorsOfInk(view, ink);
    return S_OK;
}

/// The type that a picture is written from: one that libpng or libjpeg takes as it lies.
QMPIXELTYPE PngType(QMPIXELTYPE type) {
    if (HasPalette(type) || type == QMPIXEL_RGB24 || (type >= QMPIXEL_GRAY1 && type <= QMPIXEL_GRAY16))
        return type;
    if (type == QMPIXEL_GRAY32) return QMPIXEL_GRAY16;
    uint8_t bits[4];
    QmGetPixelBitsPerChannel(type, bits);
    if (*std::max_element(bits, bits + 4) > 8) return QMPIXEL_RGBA64;
    return bits[3] ? QMPIXEL_RGBA32 : QMPIXEL_RGB24;
}

/// The image as another type; `view` shows it, and `owned` has it when it is not the one that came.
HRESULT Converted(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, QMPIXELTYPE type,
                  OwnedDib& owned, DibView& view) {
    HRESULT hr = ViewDib(header, bits, stride, view);
    // RGBA32 may have its channels in other places than PNG is told.
    if (Failed(hr) || (view.type == type && type != QMPIXEL_RGBA32)) return hr;
    BITMAPINFOHEADER* made = nullptr;
    if (hr = QmDibAlloc(&made, type, view.width, view.height, nullptr, 0, 0, 0); Failed(hr)) return hr;
    owned.reset(made);
    const uint32_t matrix = view.height >= 720 ? DIB_COPY_BT709 : 0;
    if (hr = QmDibCopy(made, nullptr, 0, header, bits, stride, matrix); Failed(hr)) return hr;
    return ViewDib(made, nullptr, 0, view);
}

struct PngForm {
    int color, depth;
    png_color palette[256];
    int colors;
};
PngForm FormOf(const DibView& view) {
    uint8_t bits[4];
    QmGetPixelBitsPerChannel(view.type, bits);
    const int whole = static_cast<int>(QmGetPixelBitsPerChannel(view.type, nullptr));
    PngForm form{};
    if (HasPalette(view.type)) {
        form.color = PNG_COLOR_TYPE_PALETTE;
        form.depth = whole;
        const RowColors colors = ColorsOf(view);
        form.colors = 1 << whole;  // what the table lacks is black, as when it is read
        for (uint32_t i = 0; i < colors.colors; i++)
            form.palette[i] = {colors.palette[i].rgbRed, colors.palette[i].rgbGreen,
                               colors.palette[i].rgbBlue};
    } else if (bits[0] == 0) {
        form.color = PNG_COLOR_TYPE_GRAY;
        form.depth = whole;
    } else {
        form.color = bits[3] ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB;
        form.depth = bits[0];
    }
    return form;
}

bool WritePng(Writer& writer, Sink& sink, const DibView& view, const PngForm& form, uint8_t** rows) {
    if (setjmp(png_jmpbuf(writer.png))) return false;
    png_set_write_fn(writer.png, &sink, WriteBytes, nullptr);
    png_set_IHDR(writer.png, writer.info, static_cast<uint32_t>(view.width),
                 static_cast<uint32_t>(view.height), form.depth, form.color, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (form.colors) png_set_PLTE(writer.png, writer.info, form.palette, form.colors);
    png_write_info(writer.png, writer.info);
    if (form.depth == 16)
        png_set_swap(writer.png);
    else
        png_set_bgr(writer.png);
    png_write_image(writer.png, rows);
    png_write_end(writer.png, nullptr);
    return true;
}

}  // namespace

HRESULT QmDibPictureInfo(BITMAPINFOHEADER* header, const void* bytes, size_t size) {
    if (!header || !bytes) return E_POINTER;
    if (IsPng(bytes, size)) {
        PngReader reader;
        if (!reader.info) return E_OUTOFMEMORY;
        Source source{static_cast<const uint8_t*>(bytes), size};
        QMPIXELTYPE type = QMPIXEL_UNKNOWN;
        if (!ReadPngHeader(reader, source, false, type)) return QM_E_UNKNOWN_FORMAT;
        return Describe(header, type, png_get_image_width(reader.png, reader.info),
                        png_get_image_height(reader.png, reader.info));
    }
    Jpeg jpeg;
    if (!jpeg.handle) return E_OUTOFMEMORY;
    if (!IsJpeg(bytes, size) || !jpeg.ReadHeader(bytes, size)) return QM_E_UNKNOWN_FORMAT;
    return Describe(header, jpeg.Type(), static_cast<uint64_t>(jpeg.width),
                    static_cast<uint64_t>(jpeg.height));
}

template <class Make>
static HRESULT MakeDib(BITMAPINFOHEADER** dib, const void* bytes, size_t size, Make make) {
    if (!dib) return E_POINTER;
    *dib = nullptr;
    if (!bytes) return E_POINTER;
    return Guarded([&]() -> HRESULT {
        OwnedDib made;
        const HRESULT hr = make(made, bytes, size);
        if (Succeeded(hr)) *dib = made.release();
        return hr;
    });
}

HRESULT QmDibFromPng(BITMAPINFOHEADER** dib, const void* bytes, size_t size) {
    return MakeDib(dib, bytes, size, FromPng);
}

HRESULT QmDibFromJpeg(BITMAPINFOHEADER** dib, const void* bytes, size_t size) {
    return MakeDib(dib, bytes, size, FromJpeg);
}

HRESULT QmDibFromPicture(BITMAPINFOHEADER** dib, const void* bytes, size_t size) {
    return IsPng(bytes, size) ? QmDibFromPng(dib, bytes, size) : QmDibFromJpeg(dib, bytes, size);
}

HRESULT QmDibToPng(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, void** bytes,
                   size_t* size) {
    if (!bytes || !size) return E_POINTER;
    *bytes = nullptr;
    *size = 0;
    return Guarded([&]() -> HRESULT {
        OwnedDib owned;
        DibView view;
        HRESULT hr = Converted(header, bits, stride, PngType(QmGetPixelType(header)), owned, view);
        if (Failed(hr)) return hr;
        const PngForm form = FormOf(view);
        std::vector<uint8_t*> rows(static_cast<size_t>(view.height));
        for (int32_t y = 0; y < view.height; y++) rows[static_cast<size_t>(y)] = view.Row(y);
        Writer writer;
        if (!writer.info) return E_OUTOFMEMORY;
        Sink sink{};
        if (!WritePng(writer, sink, view, form, rows.data())) {
            MemFree(sink.bytes);
            return E_OUTOFMEMORY;
        }
        *bytes = sink.bytes;
        *size = sink.size;
        return S_OK;
    });
}

HRESULT QmDibToJpeg(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, int32_t quality,
                    void** bytes, size_t* size) {
    if (!bytes || !size) return E_POINTER;
    *bytes = nullptr;
    *size = 0;
    return Guarded([&]() -> HRESULT {
        const QMPIXELTYPE own = QmGetPixelType(header);
        const bool isGray = own >= QMPIXEL_GRAY1 && own <= QMPIXEL_GRAY32;
        OwnedDib owned;
        DibView view;
        HRESULT hr = Converted(header, bits, stride, isGray ? QMPIXEL_GRAY8 : QMPIXEL_RGB24, owned, view);
        if (Failed(hr)) return hr;
        const std::unique_ptr<void, int (*)(tjhandle)> jpeg(tjInitCompress(), tjDestroy);
        if (!jpeg) return E_OUTOFMEMORY;
        // Rows are given from the lowest address on.
        const bool isBottomUp = view.stride < 0;
        const uint8_t* first = isBottomUp ? view.Row(view.height - 1) : view.top;
        unsigned char* made = nullptr;
        unsigned long length = 0;
        const int result =
            tjCompress2(jpeg.get(), first, view.width, static_cast<int>(std::abs(view.stride)), view.height,
                        isGray ? TJPF_GRAY : TJPF_BGR, &made, &length, isGray ? TJSAMP_GRAY : TJSAMP_444,
                        std::clamp(quality, 1, 100), TJFLAG_ACCURATEDCT | (isBottomUp ? TJFLAG_BOTTOMUP : 0));
        const std::unique_ptr<unsigned char, void (*)(unsigned char*)> held(made, tjFree);
        // Sides beyond 65535 are not in the format.
        if (result != 0) return view.width > 65535 || view.height > 65535 ? QM_E_TOO_LARGE : E_OUTOFMEMORY;
        void* block = MemAlloc(length);
        if (!block) return E_OUTOFMEMORY;
        std::memcpy(block, made, length);
        *bytes = block;
        *size = length;
        return S_OK;
    });
}
