#include "tools/tarn-image/image_tool.h"

#include "image/composite.h"
#include "image/dib_copy.h"
#include "image/palette.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

using namespace tarn;

namespace {

struct StatusText {
    HRESULT status;
    const char* text;
};
constexpr StatusText STATUS_TEXTS[] = {
    {E_OUTOFMEMORY, "out of memory"},
    {E_INVALIDARG, "an image of this type or size cannot be made"},
    {E_NOTIMPL, "there is no such mode"},
    {E_FAIL, "the OpenCL device does not do this"},
};

/// Divides the colours of premultiplied floats by their alpha.
void Unmultiply(const OwnedDib& floats) {
    auto* p = static_cast<float*>(QmDibBits(floats.get()));
    for (uint32_t i = 0; i < floats->biSizeImage / sizeof(float); i += 4)
        for (int c = 0; c < 3 && p[i + 3] > 0; c++) p[i + static_cast<uint32_t>(c)] /= p[i + 3];
}

}  // namespace

int Complaint::Print() const {
    const char* between = m_file.empty() ? "" : ": ";
    std::fprintf(stderr, "tarn-image: %s%s%s\n", m_file.c_str(), between, m_reason.c_str());
    return m_code;
}

void Check(HRESULT status, const std::string& file) {
    if (Succeeded(status)) return;
    const auto* row = std::ranges::find(STATUS_TEXTS, status, &StatusText::status);
    throw Complaint(file, row == std::end(STATUS_TEXTS) ? "status " + std::to_string(status) : row->text);
}

bool HasTable(QMPIXELTYPE type) {
    return type == QMPIXEL_PAL1 || type == QMPIXEL_PAL4 || type == QMPIXEL_PAL8;
}

std::string SizeText(int32_t width, int32_t height) {
    return std::to_string(width) + " x " + std::to_string(std::abs(height)) + " pixels";
}

OwnedDib NewImage(QMPIXELTYPE type, int32_t width, int32_t height, const std::string& file) {
    BITMAPINFOHEADER* dib = nullptr;
    const HRESULT hr = QmDibAlloc(&dib, type, width, height, nullptr, 0, 0, 0);
    if (hr == E_INVALIDARG) throw Complaint(file, SizeText(width, height) + " do not fit an image's 4 GiB");
    Check(hr, file);
    return OwnedDib(dib);
}

OwnedDib As(const OwnedDib& dib, QMPIXELTYPE type, const std::string& file, uint32_t flags) {
    BITMAPINFOHEADER* made = nullptr;
    RGBQUAD palette[256];
    int32_t colors = 0;
    if (HasTable(type)) {
        colors = 1 << QmGetPixelBitsPerChannel(type, nullptr);
        Check(QmDibQuantizePalette(dib.get(), nullptr, 0, palette, &colors), file);
    }
    Check(QmDibAlloc(&made, type, dib->biWidth, dib->biHeight, colors ? palette : nullptr, colors, 0, 0),
          file);
    OwnedDib owned(made);
    Check(QmDibCopy(made, nullptr, 0, dib.get(), nullptr, 0, flags), file);
    return owned;
}

QMPIXELTYPE WorkingType(const OwnedDib& dib) {
    uint8_t bits[4];
    QmGetPixelBitsPerChannel(QmGetPixelType(dib.get()), bits);
    return *std::max_element(bits, bits + 4) > 8 ? QMPIXEL_RGBAFLOAT : QMPIXEL_RGBA32_ALT;
}

OwnedDib ToWork(const OwnedDib& dib, QMPIXELTYPE working, const std::string& file) {
    OwnedDib made = As(dib, working, file);
    const SIZE size{made->biWidth, std::abs(made->biHeight)};
    if (working == QMPIXEL_RGBAFLOAT)
        Check(QmDibPremultiply(QmDibBits(made.get()), &size, static_cast<int32_t>(QmDibStride(made.get())),
                               nullptr, 16),
              file);
    return made;
}

OwnedDib FromWork(OwnedDib worked, QMPIXELTYPE type, const std::string& file) {
    if (QmGetPixelType(worked.get()) == QMPIXEL_RGBAFLOAT) Unmultiply(worked);
    // A colour table that suited the picture need not suit this one, and a few bits of alpha would not be
    // enough.
    return As(worked, HasTable(type) ? QMPIXEL_RGBA32 : type, file);
}

QMPIXELTYPE TypeByName(const std::string& name) {
    size_t count = 0;
    const PixelTypeName* names = PixelTypeNames(&count);
    const auto* row =
        std::find_if(names, names + count, [&](const PixelTypeName& n) { return name == n.name; });
    return row == names + count ? QMPIXEL_UNKNOWN : row->type;
}

const char* NameOf(QMPIXELTYPE type) {
    size_t count = 0;
    const PixelTypeName* names = PixelTypeNames(&count);
    const auto* row =
        std::find_if(names, names + count, [&](const PixelTypeName& n) { return type == n.type; });
    return row == names + count ? "unknown" : row->name;
}

std::string TypeNames() {
    size_t count = 0;
    const PixelTypeName* names = PixelTypeNames(&count);
    std::string all;
    for (size_t i = 0; i < count; i++) all += (all.empty() ? "" : ", ") + std::string(names[i].name);
    return all;
}
