#include "mediafile/meta/meta_records.h"

#include "platform/text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <ctime>

namespace tarn {

namespace {

struct Field {
    const char* name;
    uint32_t at;
    int bytes;  ///< of a number, negative where it has a sign; 0 for a text
    uint32_t textBytes = 0;
};
/// A record, and behind it others of another kind, as many as a field of the first tells.
struct Record {
    const char *name, *id;
    bool isBigEndian;
    uint32_t bytes;
    std::span<const Field> fields;
    const char* entries = nullptr;  ///< what one is called
    uint32_t countAt = 0, countBytes = 0, entryBytes = 0;
    std::span<const Field> entryFields = {};
};

constexpr Field SMPL_FIELDS[] = {
    {"Manufacturer", 0, 4},       {"Product", 4, 4},      {"SamplePeriod", 8, 4}, {"MIDIUnityNote", 12, 4},
    {"MIDIPitchFraction", 16, 4}, {"SMPTEFormat", 20, 4}, {"SMPTEOffset", 24, 4}};
constexpr Field LOOP_FIELDS[] = {{"id", 0, 4},   {"type", 4, 4},      {"start", 8, 4},
                                 {"end", 12, 4}, {"fraction", 16, 4}, {"count", 20, 4}};
constexpr Field INST_FIELDS[] = {{"UnshiftedNote", 0, 1}, {"FineTune", 1, -1}, {"Gain", 2, -1},
                                 {"LowNote", 3, 1},       {"HighNote", 4, 1},  {"LowVelocity", 5, 1},
                                 {"HighVelocity", 6, 1}};
constexpr Field PLAY[] = {{"cue", 0, 4}, {"length", 4, 4}, {"repeats", 8, 4}};
constexpr Field AIFF_INST_FIELDS[] = {{"BaseNote", 0, 1},    {"Detune", 1, -1},      {"LowNote", 2, 1},
                                      {"HighNote", 3, 1},    {"LowVelocity", 4, 1},  {"HighVelocity", 5, 1},
                                      {"Gain", 6, -2},       {"SustainMode", 8, 2},  {"SustainBegin", 10, 2},
                                      {"SustainEnd", 12, 2}, {"ReleaseMode", 14, 2}, {"ReleaseBegin", 16, 2},
                                      {"ReleaseEnd", 18, 2}};
constexpr Field ACID_FIELDS[] = {{"Flags", 0, 4},
                                 {"RootNote", 4, 2},
                                 {"Beats", 12, 4},
                                 {"MeterDenominator", 16, 2},
                                 {"MeterNumerator", 18, 2}};
constexpr Field CHNA_HEAD[] = {{"Tracks", 0, 2}};
constexpr Field CHNA_FIELDS[] = {
    {"track", 0, 2}, {"uid", 2, 0, 12}, {"format", 14, 0, 14}, {"pack", 28, 0, 11}};

const Record RECORDS[] = {
    {"smpl", "smpl", false, 36, SMPL_FIELDS, "loop", 28, 4, 24, LOOP_FIELDS},
    {"inst", "inst", false, 7, INST_FIELDS},
    {"plst", "plst", false, 4, {}, "entry", 0, 4, 12, PLAY},
    {"instrument", "INST", true, 20, AIFF_INST_FIELDS},
    {"acid", "acid", false, 24, ACID_FIELDS},
    {"chna", "chna", false, 4, CHNA_HEAD, "entry", 2, 2, 40, CHNA_FIELDS},
};

uint64_t Number(const uint8_t* at, uint32_t bytes, bool isBig) {
    uint64_t value = 0;
    for (uint32_t i = 0; i < bytes; i++) value |= uint64_t{at[isBig ? bytes - 1 - i : i]} << (8 * i);
    return value;
}
void PutNumber(uint8_t* at, uint32_t bytes, bool isBig, uint64_t value) {
    for (uint32_t i = 0; i < bytes; i++)
        at[isBig ? bytes - 1 - i : i] = static_cast<uint8_t>(value >> (8 * i));
}

std::string TextOf(const Field& field, const uint8_t* record, bool isBig) {
    if (field.bytes == 0) return MetaTextFrom({record + field.at, field.textBytes});
    const auto width = static_cast<uint32_t>(std::abs(field.bytes));
    const uint64_t value = Number(record + field.at, width, isBig);
    if (field.bytes > 0) return std::to_string(value);
    const uint32_t unused = 64 - 8 * width;
    return std::to_string(static_cast<int64_t>(value << unused) >> unused);
}
std::string SetField(const Field& field, uint8_t* record, bool isBig, const std::string& text) {
    if (field.bytes == 0) {
        const std::string bytes = MetaTextTo(text);
        if (bytes.size() > field.textBytes) return "it holds " + std::to_string(field.textBytes) + " bytes";
        std::fill_n(record + field.at, field.textBytes, 0);
        std::ranges::copy(bytes, record + field.at);
        return {};
    }
    int64_t value = 0;
    const auto width = static_cast<uint32_t>(std::abs(field.bytes));
    const int64_t span = int64_t{1} << (8 * width), least = field.bytes < 0 ? -span / 2 : 0,
                  most = least + span - 1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < least || value > most)
        return "a number from " + std::to_string(least) + " to " + std::to_string(most) + " is needed";
    PutNumber(record + field.at, width, isBig, static_cast<uint64_t>(value));
    return {};
}

size_t EntriesOf(const Record& record, std::span<const uint8_t> payload) {
    if (!record.entries || payload.size() < record.bytes) return 0;
    const uint64_t told = Number(&payload[record.countAt], record.countBytes, record.isBigEndian);
    return static_cast<size_t>(std::min<uint64_t>(told, (payload.size() - record.bytes) / record.entryBytes));
}

const Field* FindField(std::span<const Field> fields, const std::string& name) {
    const auto found = std::ranges::find_if(fields, [&](const Field& f) { return name == f.name; });
    return found == fields.end() ? nullptr : &*found;
}

}  // namespace

void ListMetaRecord(const MetaBlock& block, std::vector<MetaValue>& out) {
    for (const Record& record : RECORDS) {
        if (block.id != record.id) continue;
        const std::string prefix = std::string(record.name) + ".";
        if (block.payload.size() < record.bytes)
            return out.push_back(
                {record.name, std::to_string(block.payload.size()) + " bytes, which is too short", false});
        for (const Field& field : record.fields)
            out.push_back({prefix + field.name, TextOf(field, block.payload.data(), record.isBigEndian)});
        for (size_t n = 0; n < EntriesOf(record, block.payload); n++)
            for (const Field& field : record.entryFields)
                out.push_back({prefix + record.entries + "." + std::to_string(n + 1) + "." + field.name,
                               TextOf(field, &block.payload[record.bytes + n * record.entryBytes],
                                      record.isBigEndian)});
    }
}

std::string SetMetaRecord(MetaDocument& document, const std::string& kind, const std::string& name,
                          const std::string& text) {
    const Record& record = *std::ranges::find_if(RECORDS, [&](const Record& r) { return kind == r.name; });
    if (record.isBigEndian != IsAiff(document.container)) return "this container has no such chunk";
    MetaBytes payload = document.PayloadOf(record.id);
    if (payload.size() < record.bytes) payload.resize(record.bytes);
    std::string refusal = "there is no such field";
    if (const Field* field = FindField(record.fields, name)) {
        refusal = SetField(*field, payload.data(), record.isBigEndian, text);
    } else if (record.entries && name.starts_with(std::string(record.entries) + ".")) {
        const std::string rest = name.substr(std::string(record.entries).size() + 1);
        size_t number = 0;
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        const size_t count = EntriesOf(record, payload);
        if (error != std::errc() || number == 0 || number > count + 1)
            return "there are " + std::to_string(count) + " of them, counted from 1";
        if (number > count) {
            const auto at =
                payload.begin() + static_cast<ptrdiff_t>(record.bytes + count * record.entryBytes);
            payload.insert(at, record.entryBytes, 0);
            PutNumber(&payload[record.countAt], record.countBytes, record.isBigEndian, count + 1);
        }
        const Field* entryField = *end == '.' ? FindField(record.entryFields, end + 1) : nullptr;
        if (entryField)
            refusal = SetField(*entryField, &payload[record.bytes + (number - 1) * record.entryBytes],
                               record.isBigEndian, text);
    }
    if (refusal.empty()) document.Set(record.id, std::move(payload));
    return refusal;
}

std::vector<MediaCue> ReadAiffMarkers(std::span<const uint8_t> payload) {
    std::vector<MediaCue> cues;
    if (payload.size() < 2) return cues;
    size_t count = FromBigEndian<uint16_t>(payload.data());
    payload = payload.subspan(2);
    for (; count > 0 && payload.size() >= 7; count--) {
        MediaCue cue;
        cue.id = FromBigEndian<uint16_t>(payload.data());
        cue.position = FromBigEndian<uint32_t>(payload.data() + 2);
        const size_t length = payload[6], taken = 6 + length + (length % 2 == 0 ? 2 : 1);
        const auto name = payload.subspan(7, std::min(length, payload.size() - 7));
        cue.label = Utf16FromUtf8(MetaTextFrom(name));
        cues.push_back(std::move(cue));
        payload = payload.subspan(std::min(taken, payload.size()));
    }
    return cues;
}

MetaBytes AiffMarkerBytes(std::span<const MediaCue> cues) {
    constexpr size_t MOST_NAME = 255, MOST = UINT16_MAX;
    cues = cues.first(std::min(cues.size(), MOST));
    MetaWriter out;
    out.PutBig(static_cast<uint16_t>(cues.size()));
    // Ids of 16 bits that are above 0; where one is not, all are numbered anew.
    const bool areFit =
        std::ranges::all_of(cues, [](const MediaCue& c) { return c.id > 0 && c.id <= INT16_MAX; });
    uint16_t number = 0;
    for (const MediaCue& cue : cues) {
        std::string name = MetaTextTo(Utf8FromUtf16(cue.label)).substr(0, MOST_NAME);
        out.PutBig(areFit ? static_cast<uint16_t>(cue.id) : ++number).PutBig(cue.position);
        out.Put(static_cast<uint8_t>(name.size()));
        if (name.size() % 2 == 0) name += '\0';
        out.Text(name);
    }
    return std::move(out.Bytes());
}

void ListAiffComments(const MetaBlock& block, std::vector<MetaValue>& out) {
    constexpr size_t HEAD = 8;  // a time, a marker, a length
    std::span<const uint8_t> rest = block.payload;
    if (rest.size() < 2) return;
    size_t count = FromBigEndian<uint16_t>(rest.data());
    rest = rest.subspan(2);
    for (size_t number = 1; number <= count && rest.size() >= HEAD; number++) {
        const size_t length = FromBigEndian<uint16_t>(rest.data() + 6);
        const auto text = rest.subspan(HEAD, std::min(length, rest.size() - HEAD));
        out.push_back({"comment." + std::to_string(number), MetaTextFrom(text)});
        rest = rest.subspan(std::min(rest.size(), HEAD + length + (length & 1)));
    }
}

std::string SetAiffComment(MetaDocument& document, size_t number, const std::string& text) {
    constexpr size_t HEAD = 8, MOST = UINT16_MAX;
    constexpr int64_t EPOCH = 2082844800;  // seconds from the beginning of 1904 to that of 1970
    if (!IsAiff(document.container)) return "comments of an AIFF file; a wave has info.ICMT";
    const std::string bytes = MetaTextTo(text);
    if (bytes.size() > MOST) return "a comment has 65535 bytes at most";
    const MetaBytes old = document.PayloadOf("COMT");
    std::vector<MetaBytes> comments;
    std::span<const uint8_t> rest = old;
    size_t count = rest.size() < 2 ? 0 : FromBigEndian<uint16_t>(rest.data());
    rest = rest.subspan(std::min<size_t>(2, rest.size()));
    for (; count > 0 && rest.size() >= HEAD; count--) {
        const size_t length = FromBigEndian<uint16_t>(rest.data() + 6);
        const size_t taken = std::min(rest.size(), HEAD + length + (length & 1));
        comments.emplace_back(rest.begin(), rest.begin() + static_cast<ptrdiff_t>(taken));
        rest = rest.subspan(taken);
    }
    if (number > comments.size() + 1 || (number > comments.size() && comments.size() == MOST))
        return "there are " + std::to_string(comments.size()) + " comments";
    if (number > comments.size() && text.empty()) return {};
    if (number > comments.size()) {
        comments.emplace_back(HEAD);
        ToBigEndian(comments.back().data(), static_cast<uint32_t>(std::time(nullptr) + EPOCH));
    }
    MetaBytes& comment = comments[number - 1];
    comment.resize(HEAD);
    ToBigEndian(&comment[6], static_cast<uint16_t>(bytes.size()));
    comment.insert(comment.end(), bytes.begin(), bytes.end());
    comment.resize(comment.size() + (comment.size() & 1));
    if (text.empty()) comments.erase(comments.begin() + static_cast<ptrdiff_t>(number - 1));
    if (comments.empty()) return document.Remove("COMT"), std::string();
    MetaWriter all;
    all.PutBig(static_cast<uint16_t>(comments.size()));
    for (const MetaBytes& one : comments) all.Raw(one.data(), one.size());
    document.Set("COMT", std::move(all.Bytes()));
    return {};
}

}  // namespace tarn
