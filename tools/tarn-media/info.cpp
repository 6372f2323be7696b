// What is in a file, and what is wrong with it.
#include "audio/format_text.h"
#include "platform/text.h"
#include "tools/tarn-media/media_tool.h"

#include <nlohmann/json.hpp>

#include <cinttypes>
#include <cstdio>

using namespace tarn;

namespace {

std::string FormatText(const _qmwaveformat& format) {
    char16_t text[256];
    QmAudio_GetFormatText(&format, text, 256, FORMAT_TEXT_BIT_RATE);
    return Utf8FromUtf16(text);
}

const char* FaultName(MediaFault fault) { return fault == MediaFault::Error ? "error" : "note"; }

std::string Duration(uint64_t frames, uint32_t rate) {
    char text[64];
    const uint64_t millis = rate ? frames / rate * 1000 + frames % rate * 1000 / rate : 0;
    std::snprintf(text, sizeof text, "%" PRIu64 ":%02u:%02u.%03u", millis / 3600000,
                  static_cast<unsigned>(millis / 60000 % 60), static_cast<unsigned>(millis / 1000 % 60),
                  static_cast<unsigned>(millis % 1000));
    return text;
}

nlohmann::json ProblemsJson(const MediaContents& c) {
    auto problems = nlohmann::json::array();
    for (const MediaProblem& p : c.problems)
        problems.push_back({{"offset", p.offset}, {"fault", FaultName(p.fault)}, {"text", p.text}});
    return problems;
}

nlohmann::json ContentsJson(const std::string& file, const MediaContents& c) {
    nlohmann::json json = {{"file", file}, {"container", NameOf(c.container)}, {"bytes", c.fileBytes}};
    if (c.hasFormat) {
        const _qmwaveformat& f = c.format.format;
        json["format"] = {{"text", FormatText(f)},         {"tag", f.FormatTag()},
                          {"channels", f.channels},        {"rate", f.sampleRate},
                          {"bits", f.BitsPerSample()},     {"frame_bytes", f.blockAlign},
                          {"channel_mask", f.channelMask}, {"compressed", f.IsCompressed()}};
    }
    if (c.hasData) json["samples"] = {{"offset", c.dataOffset}, {"bytes", c.dataBytes}, {"frames", c.frames}};
    auto chunks = nlohmann::json::array();
    for (const MediaChunk& chunk : c.chunks)
        chunks.push_back(
            {{"id", chunk.id}, {"offset", chunk.offset}, {"size", chunk.size}, {"depth", chunk.depth}});
    json["chunks"] = chunks;
    json["problems"] = ProblemsJson(c);
    return json;
}

/// A name that is not UTF-8 gets replacement characters: JSON has no other way.
std::string Dumped(const nlohmann::json& json) {
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

void PrintProblems(const MediaContents& c) {
    for (const MediaProblem& p : c.problems)
        std::printf("%s at %" PRIu64 ": %s\n", FaultName(p.fault), p.offset, p.text.c_str());
}

void PrintContents(const std::string& file, const MediaContents& c) {
    std::printf("file       %s\ncontainer  %s, %" PRIu64 " bytes\n", file.c_str(), NameOf(c.container),
                c.fileBytes);
    if (c.hasFormat) std::printf("format     %s\n", FormatText(c.format.format).c_str());
    if (c.hasData && c.frames)
        std::printf("length     %" PRIu64 " frames, %s\n", c.frames,
                    Duration(c.frames, c.format.format.sampleRate).c_str());
    if (c.hasData) std::printf("samples    %" PRIu64 " bytes at %" PRIu64 "\n", c.dataBytes, c.dataOffset);
    std::printf("chunks         offset          size\n");
    for (const MediaChunk& chunk : c.chunks)
        std::printf("  %*s%-*s %10" PRIu64 "  %12" PRIu64 "\n", static_cast<int>(2 * chunk.depth), "",
                    static_cast<int>(8 - 2 * chunk.depth), chunk.id.c_str(), chunk.offset, chunk.size);
    PrintProblems(c);
}

/// Inspects and calls `print`.
template <class Print>
int Inspect(const InfoOptions& options, Print print) {
    const OwnedFile file = OpenFile(options.file, FILE_ACCESS_READ, FILE_OPEN_EXISTING);
    if (!file) return Complain(options.file, ReasonOf(MEDIA_E_OPEN));
    const MediaContents contents = InspectMedia(file.get());
    if (contents.container == MediaContainer::Unknown && !options.json) {
        const MediaProblem& reason = contents.problems.front();
        return Complain(options.file, "at " + std::to_string(reason.offset) + ": " + reason.text);
    }
    print(contents);
    return contents.container == MediaContainer::Unknown ? EXIT_UNREADABLE
           : contents.HasErrors()                        ? EXIT_FAULTY
                                                         : EXIT_FINE;
}

}  // namespace

int Info(const InfoOptions& options) {
    const int code = Inspect(options, [&](const MediaContents& c) {
        if (options.json)
            std::printf("%s\n", Dumped(ContentsJson(options.file, c)).c_str());
        else
            PrintContents(options.file, c);
    });
    return code == EXIT_FAULTY ? EXIT_FINE : code;
}

int Verify(const InfoOptions& options) {
    return Inspect(options, [&](const MediaContents& c) {
        if (options.json) return (void)std::printf("%s\n", Dumped(ProblemsJson(c)).c_str());
        PrintProblems(c);
        if (c.problems.empty()) std::printf("%s: no problem found\n", options.file.c_str());
    });
}
