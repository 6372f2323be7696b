// Pictures in files.
#include "image/bmp.h"
#include "image/pictures.h"
#include "kernel/codes.h"
#include "platform/file.h"
#include "platform/memory.h"
#include "tools/tarn-image/image_tool.h"

#include <algorithm>
#include <cctype>

using namespace tarn;

namespace {

constexpr size_t FILE_LIMIT = size_t{1} << 32;

using Block = std::unique_ptr<void, void (*)(void*)>;

struct Format {
    const char* extension;
    HRESULT (*write)(const BITMAPINFOHEADER* dib, int32_t quality, void** bytes, size_t* size);
};
HRESULT ToPng(const BITMAPINFOHEADER* dib, int32_t, void** bytes, size_t* size) {
    return QmDibToPng(dib, nullptr, 0, bytes, size);
}
HRESULT ToJpeg(const BITMAPINFOHEADER* dib, int32_t quality, void** bytes, size_t* size) {
    return QmDibToJpeg(dib, nullptr, 0, quality, bytes, size);
}
HRESULT ToBmp(const BITMAPINFOHEADER* dib, int32_t, void** bytes, size_t* size) {
    return QmDibToBmp(dib, nullptr, 0, bytes, size);
}
/// How a file of each kind begins.
struct Kind {
    std::string_view magic;
    const char* name;
    HRESULT (*read)(BITMAPINFOHEADER** dib, const void* bytes, size_t size);
};
constexpr Kind KINDS[] = {{"\x89PNG", "PNG", QmDibFromPng},
                          {"\xFF\xD8\xFF", "JPEG", QmDibFromJpeg},
                          {"BM", "bitmap", QmDibFromBmp}};

constexpr Format FORMATS[] = {
    {".png", ToPng}, {".jpg", ToJpeg}, {".jpeg", ToJpeg}, {".bmp", ToBmp}, {".dib", ToBmp}};

}  // namespace

std::string ExtensionOf(const std::string& file) {
    std::string extension = std::filesystem::path(file).extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

std::string ReadBytes(const std::string& file) {
    std::string bytes, error;
    if (!ReadWholeFile(file, FILE_LIMIT, bytes, error)) throw Complaint("", error);
    return bytes;
}

void WriteBytes(const std::string& file, std::string_view bytes) {
    std::string error;
    if (!ReplaceFile(file, bytes, error)) throw Complaint("", error);
}

OwnedDib ReadImage(const std::string& file) {
    const std::string bytes = ReadBytes(file);
    if (bytes.empty()) throw Complaint(file, "the file is empty");
    const auto* kind = std::ranges::find_if(KINDS, [&](const Kind& k) { return bytes.starts_with(k.magic); });
    if (kind == std::end(KINDS)) throw Complaint(file, "it is neither PNG, JPEG nor bitmap");
    BITMAPINFOHEADER* dib = nullptr;
    const HRESULT hr = kind->read(&dib, bytes.data(), bytes.size());
    if (hr == QM_E_UNKNOWN_FORMAT)
        throw Complaint(file,
                        std::string("the ") + kind->name + " is damaged, cut off or of an unknown form");
    if (hr == QM_E_TOO_LARGE)
        throw Complaint(file, "it has more than " + std::to_string(PICTURE_MAX_PIXELS) + " pixels");
    Check(hr, file);
    return OwnedDib(dib);
}

void WriteImage(const std::string& file, const OwnedDib& dib, int32_t quality) {
    const std::string extension = ExtensionOf(file);
    const auto* format =
        std::ranges::find(FORMATS, extension, [](const Format& f) { return std::string(f.extension); });
    if (format == std::end(FORMATS))
        throw Complaint(file, "the name must end in .png, .jpg, .jpeg, .bmp or .dib", EXIT_USAGE);
    void* bytes = nullptr;
    size_t size = 0;
    const HRESULT hr = format->write(dib.get(), quality, &bytes, &size);
    if (hr == QM_E_TOO_LARGE)
        throw Complaint(file, SizeText(dib->biWidth, dib->biHeight) + " are too many for a " + extension);
    Check(hr, file);
    const Block block(bytes, MemFree);
    WriteBytes(file, {static_cast<const char*>(bytes), size});
}
