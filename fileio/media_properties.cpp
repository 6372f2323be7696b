#include "fileio/media_properties.h"

#include "fileio/find_stream.h"
#include "platform/text.h"

#include <cstdio>

namespace tarn {

namespace {

/// Null where it has none.
template <class Stream>
ComPtr<Stream> StreamOf(IQmReadFile& file, const GUID& iid, uint32_t which) {
    ComPtr<Stream> stream;
    uint32_t seen = 0;
    FindStream(file, iid, which, &stream, &seen);
    return stream;
}

std::string FormatName(IQmReadFile& file) {
    char16_t text[128] = {};
    file.GetFormatName(text, std::size(text) - 1);  // it may end without a zero
    return Utf8FromUtf16(text);
}

struct AudioFacts {
    QmWaveFormatBlock format{};
    uint64_t frames = 0;
};
struct AudioProperty {
    std::string_view name;
    uint64_t (*value)(const AudioFacts&);
};
constexpr AudioProperty AUDIO_PROPERTIES[] = {
    {"SamplingRate", [](const AudioFacts& f) -> uint64_t { return f.format.format.sampleRate; }},
    {"Channels", [](const AudioFacts& f) -> uint64_t { return f.format.format.channels; }},
    {"BitDepth", [](const AudioFacts& f) -> uint64_t { return f.format.format.BitsPerSample(); }},
    {"SamplingCount", [](const AudioFacts& f) { return f.frames; }},
    {"Duration",
     [](const AudioFacts& f) {
         const uint64_t rate = f.format.format.sampleRate;
         return rate ? f.frames / rate * 1000 + f.frames % rate * 1000 / rate : 0;
     }},
};

struct VideoProperty {
    std::string_view name;
    double (*value)(const FIOVIDEOFORMAT&);
};
constexpr VideoProperty VIDEO_PROPERTIES[] = {
    {"Width", [](const FIOVIDEOFORMAT& f) -> double { return f.width; }},
    {"Height", [](const FIOVIDEOFORMAT& f) -> double { return f.height; }},
    {"FrameCount", [](const FIOVIDEOFORMAT& f) { return static_cast<double>(f.frames); }},
    {"FrameRate", [](const FIOVIDEOFORMAT& f) { return f.scale ? double{1} * f.rate / f.scale : 0; }},
    {"Duration",
     [](const FIOVIDEOFORMAT& f) {
         return f.rate ? 1000.0 * static_cast<double>(f.frames) * f.scale / f.rate : 0;
     }},
};

}  // namespace

std::optional<std::string> AudioPropertyOf(IQmReadFile& file, uint32_t stream, std::string_view name) {
    const auto audio = StreamOf<IQmReadAudioStream>(file, IID_IQmReadAudioStream, stream);
    if (!audio) return {};
    if (name == "Format") return FormatName(file);
    AudioFacts facts;
    if (audio->GetFormat(&facts.format.format, sizeof facts.format) != S_OK ||
        audio->GetFrames(&facts.frames) != S_OK)
        return {};
    for (const AudioProperty& row : AUDIO_PROPERTIES)
        if (row.name == name) return std::to_string(row.value(facts));
    return {};
}

std::optional<std::string> VideoPropertyOf(IQmReadFile& file, uint32_t stream, std::string_view name) {
    const auto video = StreamOf<IQmReadVideoStream>(file, IID_IQmReadVideoStream, stream);
    FIOVIDEOFORMAT format{};
    if (!video || video->GetFormat(&format) != S_OK) return {};
    format.codec[std::size(format.codec) - 1] = 0;
    if (name == "Format") return Utf8FromUtf16(format.codec);
    for (const VideoProperty& row : VIDEO_PROPERTIES) {
        if (row.name != name) continue;
        char text[40];
        std::snprintf(text, sizeof text, "%.10g", row.value(format));
        return text;
    }
    return {};
}

}  // namespace tarn
