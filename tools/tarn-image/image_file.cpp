// Pictures in files.
#include "image/bmp.h"
#include "image/pictures.h"
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
    BITMAPINFOHEADER* dib = nullptr;
    const auto read = bytes.starts_with("BM") ? QmDibFromBmp : QmDibFromPicture;
    Check(read(&dib, bytes.data(), bytes.size()), file);
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
    Check(format->write(dib.get(), quality, &bytes, &size), file);
    const Block block(bytes, MemFree);
    WriteBytes(file, {static_cast<const char*>(bytes), size});
}
