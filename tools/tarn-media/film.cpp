#include "tools/tarn-media/film.h"

#include "fileio/convert/file_manager.h"
#include "fileio/convert/sample_source.h"
#include "fileio/find_stream.h"
#include "image/pictures.h"
#include "platform/memory.h"
#include "platform/text.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

using namespace tarn;

namespace {

void Check(HRESULT hr) {
    if (Failed(hr)) throw std::runtime_error(ReasonOfStatus(hr));
}

/// The n-th stream of a type. Throws std::runtime_error.
template <class Stream>
ComPtr<Stream> StreamOf(const std::string& path, const GUID& iid, uint32_t which, const char* what) {
    ComPtr<IQmReadFile> file;
    Check(FileManager().OpenReader(WideFromPath(path).c_str(), file.Out()));
    ComPtr<Stream> stream;
    uint32_t seen = 0;
    const HRESULT hr = FindStream(*file, iid, which, &stream, &seen);
    Check(hr);
    if (hr == S_OK) return stream;
    throw std::runtime_error("has " + std::to_string(seen) + " streams of " + what);
}

std::string TimeText(int64_t time) {
    constexpr int64_t MILLISECOND = 10000;  // of 100 ns
    const int64_t millis = std::max<int64_t>(time, 0) / MILLISECOND;
    char text[48];
    std::snprintf(text, sizeof text, "%02lld:%02d:%02d,%03d", static_cast<long long>(millis / 3600000),
                  static_cast<int>(millis / 60000 % 60), static_cast<int>(millis / 1000 % 60),
                  static_cast<int>(millis % 1000));
    return text;
}

}  // namespace

int SaveFrame(const FrameOptions& options) try {
    const auto stream =
        StreamOf<IQmReadVideoStream>(options.input, IID_IQmReadVideoStream, options.stream, "pictures");
    FIOVIDEOFORMAT format{};
    Check(stream->GetFormat(&format));
    constexpr uint32_t MOST = 1 << 15;
    if (format.width == 0 || format.height == 0 || format.width > MOST || format.height > MOST)
        Check(MEDIA_E_UNSUPPORTED_FORMAT);
    const auto width = static_cast<int32_t>(format.width), height = static_cast<int32_t>(format.height);
    BITMAPINFOHEADER* made = nullptr;
    Check(QmDibAlloc(&made, QMPIXEL_RGBA32, width, -height, nullptr, 0, 0, 0));
    const OwnedDib dib(made);
    const HRESULT hr = stream->ReadFrame(options.frame, QmDibBits(made), 4 * format.width * format.height);
    if (hr == S_FALSE) throw std::runtime_error("has " + std::to_string(format.frames) + " pictures");
    Check(hr);
    void* bytes = nullptr;
    size_t size = 0;
    Check(QmDibToPng(made, QmDibBits(made), 4 * width, &bytes, &size));
    const std::unique_ptr<void, decltype(&MemFree)> png(bytes, MemFree);
    NewFile out(options.output, options.force);
    if (!QmFile_Write(out.File(), bytes, static_cast<uint32_t>(size), nullptr)) Check(MEDIA_E_WRITE);
    out.Commit();
    return EXIT_FINE;
} catch (const std::runtime_error& e) {
    return Complain(options.input, e.what());
}

int PrintTexts(const TextsOptions& options) try {
    const auto stream =
        StreamOf<IQmReadTextStream>(options.input, IID_IQmReadTextStream, options.stream, "texts");
    std::u16string text(1 << 14, 0);
    for (int number = 1;; number++) {
        int64_t start = 0, end = 0;
        const HRESULT hr = stream->ReadNext(&start, &end, text.data(), static_cast<uint32_t>(text.size()));
        if (hr == S_FALSE) return EXIT_FINE;
        Check(hr);
        std::printf("%d\n%s --> %s\n%s\n\n", number, TimeText(start).c_str(), TimeText(end).c_str(),
                    Utf8FromUtf16(text.c_str()).c_str());
    }
} catch (const std::runtime_error& e) {
    return Complain(options.input, e.what());
}
