// What is in a file, and what is wrong with it.
#include "tools/tarn-media/info.h"
#include "audio/format_text.h"
#include "mediafile/sample_reader.h"
#include "platform/text.h"
#include "tools/tarn-media/file_plugins.h"

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
    if (const char* codec = NameOf(c.coding.codec)) json["format"]["codec"] = codec;
    if (c.hasData) json["samples"] = {{"offset", c.dataOffset}, {"bytes", c.dataBytes}, {"frames", c.frames}};
    auto chunks = nlohmann::json::array();
    for (const MediaChunk& chunk : c.chunks)
        chunks.push_back(
            {{"id", chunk.id}, {"offset", chunk.offset}, {"size", chunk.size}, {"depth", chunk.depth}});
    json["chunks"] = chunks;
    json["problems"] = ProblemsJson(c);
    return json;
}

std::string ProblemsText(const MediaContents& c) {
    std::string text;
    for (const MediaProblem& p : c.problems)
        text += std::string(FaultName(p.fault)) + " at " + std::to_string(p.offset) + ": " + p.text + "\n";
    return text;
}

template <class... Values>
std::string Line(const char* format, Values... values) {
    char text[400];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string ContentsText(const std::string& file, const MediaContents& c) {
    std::string text = "file       " + file + "\n";
    text += Line("container  %s, %" PRIu64 " bytes\n", NameOf(c.container), c.fileBytes);
    if (c.hasFormat) text += "format     " + FormatText(c.format.format) + "\n";
    if (const char* codec = NameOf(c.coding.codec)) text += std::string("codec      ") + codec + "\n";
    if (c.hasData && c.frames)
        text += Line("length     %" PRIu64 " frames, %s\n", c.frames,
                     Duration(c.frames, c.format.format.sampleRate).c_str());
    if (c.hasData) text += Line("samples    %" PRIu64 " bytes at %" PRIu64 "\n", c.dataBytes, c.dataOffset);
    text += "chunks         offset          size\n";
    for (const MediaChunk& chunk : c.chunks)
        text += Line("  %*s%-*s %10" PRIu64 "  %12" PRIu64 "\n", static_cast<int>(2 * chunk.depth), "",
                     static_cast<int>(8 - 2 * chunk.depth), chunk.id.c_str(), chunk.offset, chunk.size);
    return text + ProblemsText(c);
}

/// Inspects and calls `describe`, which fills in what there is to say; of a file that this library does not
/// read itself `otherwise`, which says whether it could.
template <class Otherwise, class Describe>
int Inspect(const InfoOptions& options, Otherwise otherwise, Describe describe) {
    return RunBatch(options.batch, [&](const std::string& name) {
        FileResult result;
        const OwnedFile file = OpenFile(name, FILE_ACCESS_READ, FILE_OPEN_EXISTING);
        if (!file) return FileResult{EXIT_UNREADABLE, {}, ReasonOf(MEDIA_E_OPEN)};
        const MediaContents contents = InspectMedia(file.get());
        const bool isKnown = contents.container != MediaContainer::Unknown;
        result.code = !isKnown ? EXIT_UNREADABLE : contents.HasErrors() ? EXIT_FAULTY : EXIT_FINE;
        if (!isKnown && otherwise(name, file, result)) {
            if (options.json) result.text = JsonText(result.json, false) + "\n";
            return result;
        }
        if (!isKnown && !options.json) {
            const MediaProblem& reason = contents.problems.front();
            const std::string plugins = result.error.empty() ? "" : "; " + result.error;
            result.error = "at " + std::to_string(reason.offset) + ": " + reason.text + plugins;
            return result;
        }
        describe(name, contents, result);
        if (options.json) result.text = JsonText(result.json, false) + "\n";
        if (result.json.is_array()) result.json = {{"problems", std::move(result.json)}};
        return result;
    });
}

}  // namespace

int Info(const InfoOptions& options) {
    InfoOptions all = options;
    all.batch.endings = EndingsOfReaders;
    return Inspect(all, DescribeByPlugin,
                   [&](const std::string& file, const MediaContents& c, FileResult& result) {
                       result.json = ContentsJson(file, c);
                       result.text = ContentsText(file, c);
                       if (result.code == EXIT_FAULTY) result.code = EXIT_FINE;
                   });
}

int Verify(const InfoOptions& options) {
    const auto none = [](const std::string&, const OwnedFile&, FileResult&) { return false; };
    return Inspect(options, none, [&](const std::string& file, const MediaContents& c, FileResult& result) {
        result.json = ProblemsJson(c);
        result.text = c.problems.empty() ? file + ": no problem found\n" : ProblemsText(c);
    });
}
