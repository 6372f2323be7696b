#include "tools/tarn-media/file_plugins.h"

#include "audio/format_text.h"
#include "fileio/convert/sample_source.h"
#include "fileio/template_list.h"
#include "platform/counted.h"
#include "platform/text.h"

#include <cstdio>

using namespace tarn;

namespace {

class ErrorLog final : public Counted<IQmFioLogger, IID_IQmFioLogger> {
public:
    void Log(const char16_t* line) override { std::fprintf(stderr, "%s\n", Utf8FromUtf16(line).c_str()); }
};

std::string Text(const char16_t* text) { return Utf8FromUtf16(text); }

std::vector<FIOPLUGINSTATE> StatesOf(IQmFileIOMgrForApp& manager) {
    std::vector<FIOPLUGINSTATE> states;
    for (FIOPLUGINSTATE state{};
         Succeeded(manager.GetPluginInfo(static_cast<uint32_t>(states.size()), &state));)
        states.push_back(state);
    return states;
}

nlohmann::json StateJson(const FIOPLUGINSTATE& s) {
    return {{"name", Text(s.info.name)},
            {"library", Text(s.library)},
            {"reads", Text(s.info.readExtensions)},
            {"renders", Text(s.info.renderExtensions)},
            {"group", s.group},
            {"cached", s.isFromCache != 0},
            {"loaded", s.isLoaded != 0},
            {"failure", Text(s.failure)}};
}

std::string StateText(const FIOPLUGINSTATE& s) {
    const std::string where =
        s.group < 0 ? "in this process" : "in a process of its own (group " + std::to_string(s.group) + ")";
    std::string text = (s.info.name[0] ? Text(s.info.name) : Text(s.library)) + "\n";
    const auto row = [&](const char* title, const std::string& value) {
        char line[16];
        std::snprintf(line, sizeof line, "  %-9s", title);
        if (!value.empty()) text += line + value + "\n";
    };
    row("reads", Text(s.info.readExtensions));
    row("renders", Text(s.info.renderExtensions));
    row("runs", where + (s.isFromCache ? ", known from before" : ", asked now"));
    row("library", Text(s.library));
    row("failure", Text(s.failure));
    return text;
}

struct TemplateRow {
    std::string name, extensions, info;
};
std::vector<TemplateRow> TemplatesOf(IQmFileIOMgrForApp& manager, const GUID& renderer) {
    std::vector<TemplateRow> rows;
    ComPtr<IQmRenderFileClass> code;
    if (renderer == GUID{} || Failed(manager.GetRendererClass(renderer, code.Out()))) return rows;
    tQMLIST record{};
    HQMLIST list = &record;
    QmList_CreateExZ(&list, 0, -1, -1, QMLIST_HEAP | QMLIST_IN_PLACE, 0, 0, 0);
    QmFio_GetTemplateList(&manager, &renderer, list);
    for (const tagQMTEMPLATExV2* t : QmList_Pointers<tagQMTEMPLATExV2>(list)) {
        char16_t extensions[256] = {}, info[256] = {};
        code->GetExtensions(t, extensions, std::size(extensions) - 1);
        QmFio_GetTemplateInfoText(t, info, std::size(info));
        rows.push_back({Text(TemplateName(*t).c_str()), Text(extensions), Text(info)});
    }
    QmList_Destroy(list);
    return rows;
}

nlohmann::json AudioJson(IQmReadAudioStream& stream) {
    QmWaveFormatBlock block{};
    uint64_t frames = 0;
    if (Failed(stream.GetFormat(&block.format, sizeof block)) || Failed(stream.GetFrames(&frames)))
        return {{"type", "audio"}};
    const _qmwaveformat& f = block.format;
    char16_t text[256];
    QmAudio_GetFormatText(&f, text, std::size(text), FORMAT_TEXT_BIT_RATE);
    return {{"type", "audio"},
            {"format", Text(text)},
            {"rate", f.sampleRate},
            {"channels", f.channels},
            {"bits", f.BitsPerSample()},
            {"frames", frames},
            {"length", Duration(frames, f.sampleRate)}};
}

nlohmann::json VideoJson(IQmReadVideoStream& stream) {
    FIOVIDEOFORMAT f{};
    if (Failed(stream.GetFormat(&f))) return {{"type", "video"}};
    f.codec[std::size(f.codec) - 1] = 0;
    return {{"type", "video"}, {"codec", Text(f.codec)}, {"width", f.width},  {"height", f.height},
            {"rate", f.rate},  {"scale", f.scale},       {"frames", f.frames}};
}

nlohmann::json StreamJson(IQmReadFile& file, uint32_t index) {
    ComPtr<IQmReadAudioStream> audio;
    if (file.GetStream(index, IID_IQmReadAudioStream, audio.OutVoid()) == S_OK && audio)
        return AudioJson(*audio);
    ComPtr<IQmReadVideoStream> video;
    if (file.GetStream(index, IID_IQmReadVideoStream, video.OutVoid()) == S_OK && video)
        return VideoJson(*video);
    return {{"type", "text"}};
}

std::string StreamText(const nlohmann::json& s) {
    const std::string type = s.value("type", "");
    if (type != "text" && s.size() == 1) return type + "      cannot be read\n";
    if (type == "audio")
        return "audio      " + s["format"].get<std::string>() + "\nlength     " +
               std::to_string(s["frames"].get<uint64_t>()) + " frames, " + s["length"].get<std::string>() +
               "\n";
    if (type != "video") return "text\n";
    char text[128];
    const uint32_t scale = s["scale"];
    std::snprintf(text, sizeof text, "video      %s, %u x %u, %.3f frames a second, %llu frames\n",
                  s["codec"].get<std::string>().c_str(), s["width"].get<uint32_t>(),
                  s["height"].get<uint32_t>(),
                  scale ? static_cast<double>(s["rate"].get<uint32_t>()) / scale : 0.0,
                  static_cast<unsigned long long>(s["frames"].get<uint64_t>()));
    return text;
}

}  // namespace

std::u16string PathOf(HQMFILE file) {
    return Utf16FromUtf8("/proc/self/fd/" + std::to_string(QmFile_Descriptor(file)));
}

bool DescribeByPlugin(const std::string& name, const OwnedFile& file, FileResult& result) {
    IQmFileIOMgrForApp& manager = FileManager();
    GUID reader{};
    ComPtr<IQmReadFile> opened;
    const std::u16string path = name == STANDARD_STREAM ? PathOf(file.get()) : WideFromPath(name);
    if (const HRESULT hr = manager.OpenReaderEx(path.c_str(), &reader, opened.Out()); Failed(hr)) {
        result.error = hr == MEDIA_E_UNSUPPORTED_FORMAT ? "no plug-in reads it" : ReasonOfStatus(hr);
        return false;
    }
    char16_t kind[128] = {};
    uint32_t count = 0;
    opened->GetFormatName(kind, std::size(kind) - 1);  // it may end without a zero
    opened->GetStreamCount(&count);
    std::string plugin;
    for (const FIOPLUGINSTATE& s : StatesOf(manager))
        if (s.info.reader == reader) plugin = Text(s.info.name);
    const int64_t bytes = QmFile_Size(file.get());
    result.json = {{"file", name}, {"container", Text(kind)}, {"bytes", bytes}, {"plugin", plugin}};
    result.text = "file       " + name + "\ncontainer  " + Text(kind) + ", " + std::to_string(bytes) +
                  " bytes\nread by    " + plugin + "\n";
    auto streams = nlohmann::json::array();
    for (uint32_t i = 0; i < std::min(count, FIO_MOST_STREAMS); i++) {
        streams.push_back(StreamJson(*opened, i));
        result.text += StreamText(streams.back());
    }
    result.json["streams"] = streams;
    result.code = EXIT_FINE;
    return true;
}

std::string EndingsOfReaders() {
    std::string endings;
    for (const FIOPLUGINSTATE& s : StatesOf(FileManager())) endings += Text(s.info.readExtensions) + ";";
    return endings;
}

int ListPlugins(const PluginsOptions& options) {
    ComPtr<IQmFioLogger> log(options.log ? new ErrorLog : nullptr);
    const ComPtr<IQmFileIOMgrForApp> manager =
        MakeFileManager(options.fresh ? uint32_t{FIO_INIT_NO_CACHE} : 0, log.Get());
    auto all = nlohmann::json::array();
    std::string text;
    for (const FIOPLUGINSTATE& state : StatesOf(*manager)) {
        nlohmann::json json = StateJson(state);
        text += StateText(state);
        if (options.templates)
            for (const TemplateRow& row : TemplatesOf(*manager, state.info.renderer)) {
                json["templates"].push_back(
                    {{"name", row.name}, {"extensions", row.extensions}, {"info", row.info}});
                text += "    \"" + row.name + "\"  " + row.extensions + "\n";
            }
        all.push_back(std::move(json));
    }
    std::fputs(options.json ? (JsonText(all, false) + "\n").c_str() : text.c_str(), stdout);
    return EXIT_FINE;
}
