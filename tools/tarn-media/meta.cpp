// What files tell beside their samples: shown, set, copied, taken away, exported, imported, checked.
#include "tools/tarn-media/meta.h"

#include "mediafile/meta/meta_carry.h"
#include "mediafile/meta/meta_retime.h"
#include "mediafile/meta/meta_values.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <map>
#include <mutex>
#include <stdexcept>

using namespace tarn;

namespace {

using nlohmann::json;

struct OpenMedia {
    OwnedFile file;
    FileStamp stamp;
    MediaContents contents;
    MetaDocument document;
};

/// Throws std::runtime_error with the reason.
OpenMedia Open(const std::string& path) {
    OpenMedia media{OpenFile(path, FILE_ACCESS_READ, FILE_OPEN_EXISTING), {}, {}, {}};
    if (!media.file) throw std::runtime_error(ReasonOf(MEDIA_E_OPEN));
    media.stamp = StampOf(media.file.get());
    const FileSource source(media.file.get());
    media.contents = InspectMedia(source);
    if (media.contents.container == MediaContainer::Unknown)
        throw std::runtime_error("at " + std::to_string(media.contents.problems.front().offset) + ": " +
                                 media.contents.problems.front().text);
    media.document = ReadMetaDocument(source, media.contents);
    return media;
}

bool IsAsked(const std::vector<std::string>& kinds, const MetaBlock& block) {
    return kinds.empty() ||
           std::ranges::any_of(kinds, [&](const std::string& kind) { return IsMetaKind(kind, block); });
}
MetaDocument OfKinds(MetaDocument document, const std::vector<std::string>& kinds) {
    std::erase_if(document.blocks, [&](const MetaBlock& block) { return !IsAsked(kinds, block); });
    return document;
}

std::string Hex(const MetaBytes& bytes) {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t b : bytes) (text += DIGITS[b >> 4]) += DIGITS[b & 15];
    return text;
}
MetaBytes FromHex(const std::string& text) {
    const auto digit = [](char c) {
        return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
    };
    MetaBytes bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        const int high = digit(text[i]), low = digit(text[i + 1]);
        if (high < 0 || low < 0) break;
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    if (bytes.size() * 2 != text.size()) throw std::runtime_error("a payload is no hexadecimal text");
    return bytes;
}

json Described(const OpenMedia& media, const std::vector<std::string>& kinds, bool withBytes) {
    const MetaDocument document = OfKinds(media.document, kinds);
    json values = json::object(), blocks = json::array();
    for (const MetaValue& value : ListMetaValues(document)) values[value.key] = value.text;
    for (const MetaBlock& block : document.blocks) {
        json one = {{"id", block.id}, {"bytes", block.payload.size()}};
        if (withBytes) one["hex"] = Hex(block.payload);
        blocks.push_back(std::move(one));
    }
    return {{"container", NameOf(media.contents.container)}, {"values", values}, {"blocks", blocks}};
}

/// Line breaks and controls of a value would be taken for others' lines.
std::string OneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        if (c == '\n')
            line += "\\n";
        else if (c == '\r')
            line += "\\r";
        else if (static_cast<unsigned char>(c) >= ' ' || c == '\t')
            line += c;
        else
            line += '?';
    }
    return line;
}

uint32_t Crc(HQMFILE file, const MediaContents& contents) {
    constexpr uint32_t PIECE = 1 << 20, POLYNOMIAL = 0xEDB88320;
    uint32_t table[256], crc = UINT32_MAX;
    for (uint32_t n = 0; n < 256; n++) {
        table[n] = n;
        for (int bit = 0; bit < 8; bit++) table[n] = (table[n] >> 1) ^ (table[n] & 1 ? POLYNOMIAL : 0);
    }
    std::vector<uint8_t> piece(PIECE);
    const FileSource source(file);
    for (uint64_t done = 0; done < contents.dataBytes;) {
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(PIECE, contents.dataBytes - done));
        if (!source.Read(contents.dataOffset + done, piece.data(), count))
            throw std::runtime_error(ReasonOf(MEDIA_E_READ));
        for (uint32_t i = 0; i < count; i++) crc = table[(crc ^ piece[i]) & 0xFF] ^ (crc >> 8);
        done += count;
    }
    return ~crc;
}

/// Everything that changes a file goes through here: plans, and carries out in place or on a copy.
class Edit {
public:
    Edit(const MetaOptions& options, std::string path)
        : m_options(options), m_path(std::move(path)), m_media(Open(m_path)) {}

    MetaDocument& Document() { return m_media.document; }
    const OpenMedia& Media() const { return m_media; }

    FileResult Run() {
        FileResult result;
        const FileSource source(m_media.file.get());
        const MetaEditPlan plan = PlanMetaEdit(source, m_media.contents, m_media.document);
        if (plan.IsRefused()) throw std::runtime_error(plan.refusal + "; nothing was changed");
        for (const MediaEdit& write : plan.writes) {
            char line[160];
            std::snprintf(line, sizeof line, "%s at %" PRIu64 ": %s\n",
                          m_options.dryRun ? "would write" : "wrote", write.offset, write.what.c_str());
            result.text += line;
            result.json["writes"].push_back(
                {{"offset", write.offset}, {"bytes", write.bytes.size()}, {"what", write.what}});
        }
        if (plan.writes.empty()) result.text = "nothing to change\n";
        result.text = m_path + ": " + result.text;
        if (m_options.dryRun || (plan.writes.empty() && m_options.output.empty())) return result;
        const uint32_t before = m_options.checksum ? Crc(m_media.file.get(), m_media.contents) : 0;
        m_options.output.empty() ? InPlace(plan) : Copy(plan);
        if (m_options.checksum) Compare(before, result);
        return result;
    }

private:
    void InPlace(const MetaEditPlan& plan) {
        const OwnedFile file = OpenToEdit(m_path, m_media.stamp);
        if (Failed(ApplyMetaEdit(file.get(), plan)) || !QmFile_Flush(file.get()))
            throw std::runtime_error(ReasonOf(MEDIA_E_WRITE));
    }
    void Copy(const MetaEditPlan& plan) {
        NewFile out(m_options.output, m_options.force);
        CopyContent(m_media.file.get(), out.File());
        if (Failed(ApplyMetaEdit(out.File(), plan))) throw std::runtime_error(ReasonOf(MEDIA_E_WRITE));
        if (StampOf(m_media.file.get()) != m_media.stamp)
            throw std::runtime_error("another program has written it meanwhile; nothing was written");
        out.Commit();
    }
    void Compare(uint32_t before, FileResult& result) {
        const std::string written = m_options.output.empty() ? m_path : m_options.output;
        const OpenMedia after = Open(written);
        const uint32_t now = Crc(after.file.get(), after.contents);
        char text[80];
        std::snprintf(text, sizeof text, "samples %08" PRIx32 " before, %08" PRIx32 " after\n", before, now);
        result.text += text;
        result.json["samples"] = {before, now};
        if (before != now) throw std::runtime_error("the samples are not what they were");
    }

    const MetaOptions& m_options;
    const std::string m_path;
    OpenMedia m_media;
};

bool IsSetting(const std::string& argument) {
    const size_t equals = argument.find('='), dot = argument.find('.');
    const std::string kind = argument.substr(0, std::min(equals, dot));
    const std::vector<std::string> kinds = MetaKinds();
    return equals != argument.npos && std::ranges::find(kinds, kind) != kinds.end();
}

void SetAll(MetaDocument& document, const json& values) {
    for (const auto& [key, value] : values.items()) {
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        const std::string refusal = SetMetaValue(document, key, text);
        if (!refusal.empty()) throw std::runtime_error(key + ": " + refusal);
    }
}

}  // namespace

int MetaShow(const MetaOptions& options) {
    const bool isJson = options.json && !options.batch.jsonLines;
    std::map<std::string, json> all;
    std::mutex mutex;
    const int code = RunBatch(options.batch, [&](const std::string& file) {
        const OpenMedia media = Open(file);
        FileResult result;
        result.json = Described(media, options.kinds, false);
        if (isJson) {
            const std::scoped_lock lock(mutex);
            (all[file] = result.json)["file"] = file;
            return result;
        }
        result.text = file + " (" + NameOf(media.contents.container) + ")\n";
        for (const MetaValue& value : ListMetaValues(OfKinds(media.document, options.kinds)))
            result.text += "  " + value.key + " = " + OneLine(value.text) + "\n";
        return result;
    });
    if (!isJson) return code;
    json list = json::array();
    for (auto& [file, one] : all) list.push_back(std::move(one));
    std::printf("%s\n", JsonText(list.size() == 1 ? list[0] : list, false).c_str());
    return code;
}

int MetaSet(MetaOptions options) {
    std::vector<std::string> settings;
    std::erase_if(options.batch.files, [&](const std::string& argument) {
        if (!IsSetting(argument)) return false;
        settings.push_back(argument);
        return true;
    });
    if (settings.empty()) return Complain("meta set", "what? KEY=VALUE, such as info.INAM=Title", EXIT_USAGE);
    if (!options.output.empty() && options.batch.files.size() != 1)
        return Complain(options.output, "--output takes one file", EXIT_USAGE);
    return RunBatch(options.batch, [&](const std::string& file) {
        Edit edit(options, file);
        for (const std::string& setting : settings) {
            const size_t equals = setting.find('=');
            const std::string key = setting.substr(0, equals);
            const std::string refusal = SetMetaValue(edit.Document(), key, setting.substr(equals + 1));
            if (!refusal.empty()) throw std::runtime_error(key + ": " + refusal + "; nothing was changed");
        }
        return edit.Run();
    });
}

int MetaCopy(const MetaOptions& options) {
    return RunBatch(options.batch, [&](const std::string& file) {
        const OpenMedia from = Open(options.from);
        Edit edit(options, file);
        MetaCarried carried =
            CarryMetadata(OfKinds(from.document, options.kinds), edit.Media().contents.container);
        RetimeMetadata(carried.document, {from.contents.format.format.sampleRate,
                                          edit.Media().contents.format.format.sampleRate});
        // In the place of those of the same id; of several, all.
        for (const MetaBlock& block : carried.document.blocks) edit.Document().Remove(block.id);
        for (MetaBlock& block : carried.document.blocks) edit.Document().blocks.push_back(std::move(block));
        FileResult result = edit.Run();
        for (const MetaLoss& loss : carried.losses) {
            result.text += "not carried: '" + loss.id + "': " + loss.reason + "\n";
            result.json["not_carried"].push_back({{"id", loss.id}, {"reason", loss.reason}});
        }
        return result;
    });
}

int MetaStrip(const MetaOptions& options) {
    return RunBatch(options.batch, [&](const std::string& file) {
        Edit edit(options, file);
        if (options.kinds.empty()) edit.Document().blocks.clear();
        for (const std::string& kind : options.kinds) StripMetaKind(edit.Document(), kind);
        return edit.Run();
    });
}

int MetaExport(const MetaOptions& options) {
    return RunBatch(options.batch, [&](const std::string& file) {
        FileResult result;
        result.json = Described(Open(file), options.kinds, true);
        result.json["file"] = file;
        result.text = JsonText(result.json, false) + "\n";
        return result;
    });
}

int MetaImport(const MetaOptions& options) {
    return RunBatch(options.batch, [&](const std::string& file) {
        constexpr size_t MOST = size_t{1} << 30;
        std::string text, error;
        if (!ReadWholeFile(options.from, MOST, text, error)) throw std::runtime_error(error);
        const json in = json::parse(text, nullptr, false);
        if (!in.is_object()) throw std::runtime_error(options.from + " is no JSON object");
        Edit edit(options, file);
        json old = json::object();
        if (in.contains("blocks")) {
            const std::string container = in.value("container", NameOf(edit.Media().contents.container));
            MetaDocument document;
            document.container = edit.Media().contents.container;
            for (const MediaContainer kind :
                 {MediaContainer::Aiff, MediaContainer::Wave64, MediaContainer::Wave})
                if (container == NameOf(kind)) document.container = kind;
            for (const json& block : in["blocks"])
                if (block.contains("hex"))
                    document.blocks.push_back(
                        {block.value("id", ""), FromHex(block.value("hex", "")), MetaBlock::NEW, true});
            for (const MetaValue& value : ListMetaValues(document)) old[value.key] = value.text;
            MetaCarried carried = CarryMetadata(document, edit.Media().contents.container);
            for (const MetaBlock& block : carried.document.blocks) edit.Document().Remove(block.id);
            for (MetaBlock& block : carried.document.blocks)
                edit.Document().blocks.push_back(std::move(block));
        }
        // Values that were edited, or all where there are no blocks.
        json values = json::object();
        const json told = in.value("values", json::object());
        for (const auto& [key, value] : told.items())
            if (!old.contains(key) || old[key] != value) values[key] = value;
        SetAll(edit.Document(), values);
        return edit.Run();
    });
}

int MetaCheck(const MetaOptions& options) {
    return RunBatch(options.batch, [&](const std::string& file) {
        const OpenMedia media = Open(file);
        FileResult result;
        const std::vector<std::string> found = MetaDeviations(media.document, media.contents.frames);
        result.json["deviations"] = found;
        for (const std::string& text : found) result.text += file + ": " + text + "\n";
        if (found.empty()) result.text = file + ": no deviation found\n";
        result.code = found.empty() ? EXIT_FINE : EXIT_FAULTY;
        return result;
    });
}
