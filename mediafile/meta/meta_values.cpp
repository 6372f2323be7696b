#include "mediafile/meta/meta_values.h"

#include "mediafile/meta/broadcast.h"
#include "mediafile/meta/id3.h"
#include "mediafile/meta/ixml.h"
#include "mediafile/meta/meta_records.h"
#include "platform/text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace tarn {

namespace {

using Bytes = std::span<const uint8_t>;
using MetaValues = std::vector<MetaValue>;

bool IsUtf8(Bytes bytes) {
    const std::string text(bytes.begin(), bytes.end());
    return Utf8FromUtf16(Utf16FromUtf8(text)) == text &&
           Utf16FromUtf8(text).find(u'\xFFFD') == std::u16string::npos;
}

std::string Quoted(const std::string& id) { return "'" + id + "'"; }
bool IsIndex(const std::string& text, size_t* index) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *index);
    return error == std::errc() && end == text.data() + text.size() && *index > 0;
}
template <class Number>
bool IsNumber(const std::string& text, Number* value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value);
    return error == std::errc() && end == text.data() + text.size();
}
/// "a.b.c" to "a" and "b.c".
std::pair<std::string, std::string> SplitKey(const std::string& key) {
    const size_t dot = key.find('.');
    return dot == key.npos ? std::pair(key, std::string())
                           : std::pair(key.substr(0, dot), key.substr(dot + 1));
}

/// Items of a list with their ids, to be changed one by one.
struct Item {
    uint32_t id;
    MetaBytes payload;
};
std::vector<Item> Items(const MetaBytes& list) {
    std::vector<Item> items;
    ForEachChunk(list, [&](uint32_t id, Bytes payload) {
        items.push_back({id, {payload.begin(), payload.end()}});
    });
    return items;
}
MetaBytes ListOf(const std::vector<Item>& items) {
    MetaWriter list;
    for (const Item& item : items) list.Chunk(item.id, item.payload);
    return std::move(list.Bytes());
}
void SetOrRemove(MetaDocument& document, const std::string& id, MetaBytes payload) {
    payload.empty() ? document.Remove(id) : document.Set(id, std::move(payload));
}
MetaBytes Terminated(const std::string& text) {
    const std::string bytes = MetaTextTo(text);
    MetaBytes payload(bytes.begin(), bytes.end());
    payload.push_back(0);
    return payload;
}

// Summary: info.INAM

void ListInfo(const MetaDocument&, const MetaBlock& block, MetaValues& out) {
    for (const Item& item : Items(block.payload))
        out.push_back({"info." + IdText(item.id), MetaTextFrom(item.payload)});
}
std::string SetInfo(MetaDocument& document, const std::string& name, const std::string& text) {
    if (name.size() != 4) return "an item of the summary has four characters";
    if (IsAiff(document.container))
        return "AIFF has no summary; text.NAME, text.AUTH and text.ANNO are its texts";
    std::vector<Item> items = Items(document.PayloadOf("LIST:INFO"));
    const auto found = std::ranges::find(items, IdOf(name), &Item::id);
    if (text.empty()) {
        if (found != items.end()) items.erase(found);
    } else if (found != items.end()) {
        found->payload = Terminated(text);
    } else {
        items.push_back({IdOf(name), Terminated(text)});
    }
    SetOrRemove(document, "LIST:INFO", ListOf(items));
    return {};
}

// Broadcast extension: bext.Description

std::string Hundredths(int16_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%.2f", value / 100.0);
    return text;
}
std::string Hex(Bytes bytes) {
    std::string text;
    for (const uint8_t b : bytes) {
        char two[3];
        std::snprintf(two, sizeof two, "%02X", b);
        text += two;
    }
    return text;
}
bool FromHex(const std::string& text, MetaBytes* bytes) {
    bytes->clear();
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        unsigned value = 0;
        const auto [end, error] = std::from_chars(&text[i], &text[i] + 2, value, 16);
        if (error != std::errc() || end != &text[i] + 2) return false;
        bytes->push_back(static_cast<uint8_t>(value));
    }
    return text.size() % 2 == 0;
}
Bytes View(const std::string& text) { return {reinterpret_cast<const uint8_t*>(text.data()), text.size()}; }

void ListBext(const MetaDocument&, const MetaBlock& block, MetaValues& out) {
    const BroadcastInfo info = ReadBroadcastInfo(block.payload);
    for (const BroadcastField& field : BroadcastFields()) {
        if (field.text)
            out.push_back({std::string("bext.") + field.name, MetaTextFrom(View(info.*field.text))});
        if (field.loudness && info.*field.loudness != BroadcastInfo::NO_LOUDNESS)
            out.push_back({std::string("bext.") + field.name, Hundredths(info.*field.loudness)});
    }
    out.push_back({"bext.TimeReference", std::to_string(info.timeReference)});
    out.push_back({"bext.Version", std::to_string(info.version)});
    if (std::ranges::any_of(info.umid, [](uint8_t b) { return b != 0; }))
        out.push_back({"bext.UMID", Hex(info.umid)});
    if (!info.codingHistory.empty())
        out.push_back({"bext.CodingHistory", MetaTextFrom(View(info.codingHistory))});
}

std::string SetLoudness(BroadcastInfo& info, const BroadcastField& field, const std::string& text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty()) return info.*field.loudness = BroadcastInfo::NO_LOUDNESS, std::string();
    if (error != std::errc() || end != text.data() + text.size() || !(value >= -99.99 && value <= 99.99))
        return "a loudness lies between -99.99 and 99.99";
    info.*field.loudness = static_cast<int16_t>(value * 100 + (value < 0 ? -0.5 : 0.5));
    info.version = std::max<uint16_t>(info.version, 2);
    return {};
}

std::string SetBextField(BroadcastInfo& info, const std::string& name, const std::string& text) {
    for (const BroadcastField& field : BroadcastFields()) {
        if (name != field.name) continue;
        if (field.loudness) return SetLoudness(info, field, text);
        const std::string bytes = MetaTextTo(text);
        if (bytes.size() > field.bytes)
            return "it holds " + std::to_string(field.bytes) + " bytes, the text has " +
                   std::to_string(bytes.size());
        return info.*field.text = bytes, std::string();
    }
    if (name == "TimeReference")
        return IsNumber(text, &info.timeReference) ? "" : "a number of frames since midnight is needed";
    if (name == "Version")
        return IsNumber(text, &info.version) && info.version <= 2 ? "" : "versions are 0, 1 and 2";
    if (name == "CodingHistory") return info.codingHistory = MetaTextTo(text), std::string();
    MetaBytes umid;
    if (name != "UMID") return "there is no such field";
    if (!FromHex(text, &umid) || umid.size() > sizeof info.umid)
        return "a UMID is 32 or 64 bytes in hexadecimal";
    umid.resize(sizeof info.umid);
    std::ranges::copy(umid, info.umid);
    info.version = std::max<uint16_t>(info.version, 1);
    return {};
}
std::string SetBext(MetaDocument& document, const std::string& name, const std::string& text) {
    const MetaBytes old = document.PayloadOf("bext");
    BroadcastInfo info = ReadBroadcastInfo(old);
    if (old.empty()) info.version = BroadcastInfo::VERSION;
    const std::string history = info.codingHistory;
    if (std::string refusal = SetBextField(info, name, text); !refusal.empty()) return refusal;
    MetaBytes payload = BroadcastBytes(info);
    // What the fixed part has beyond its fields, and behind the history, stays.
    if (old.size() >= BEXT_FIXED_BYTES) {
        constexpr size_t RESERVED = 422;
        const size_t from = info.version >= 2 ? RESERVED : info.version == 1 ? 412 : 348;
        std::copy(old.begin() + static_cast<ptrdiff_t>(from), old.begin() + BEXT_FIXED_BYTES,
                  payload.begin() + static_cast<ptrdiff_t>(from));
        if (history == info.codingHistory) {
            payload.resize(BEXT_FIXED_BYTES);
            payload.insert(payload.end(), old.begin() + BEXT_FIXED_BYTES, old.end());
        }
    }
    document.Set("bext", std::move(payload));
    return {};
}

// iXML: ixml.SCENE

void ListIxml(const MetaDocument&, const MetaBlock& block, MetaValues& out) {
    IxmlContent content;
    std::string error;
    if (!ExtractIxmlContent(block.payload, &content, &error))
        return out.push_back({"ixml", "no XML: " + error, false});
    for (const IxmlValue& value : content.Values()) out.push_back({"ixml." + value.path, value.text});
}
std::string SetIxml(MetaDocument& document, const std::string& path, const std::string& text) {
    IxmlContent content;
    std::string error;
    if (!ExtractIxmlContent(document.PayloadOf("iXML"), &content, &error))
        return "the old content is no XML: " + error;
    if (!content.Set(path, text))
        return "no node can stand there; repeated ones are numbered from 1 on, without gaps";
    if (MetaBytes bytes = content.Bytes(); !bytes.empty()) document.Set("iXML", std::move(bytes));
    return {};
}

// Markers: cue.1.label

void ListCues(const MetaDocument& document, const MetaBlock& block, MetaValues& out) {
    if (block.id == "LIST:adtl") return;
    size_t number = 1;
    for (const MediaCue& cue : MetaCues(document)) {
        const std::string key = "cue." + std::to_string(number++) + ".";
        out.push_back({key + "position", std::to_string(cue.position)});
        if (cue.length) out.push_back({key + "length", std::to_string(*cue.length)});
        if (!cue.label.empty()) out.push_back({key + "label", Utf8FromUtf16(cue.label)});
        if (!cue.note.empty()) out.push_back({key + "note", Utf8FromUtf16(cue.note)});
    }
}

/// The text, or the length, of one cue; all else that the list has stays.
void SetLabel(MetaDocument& document, const char* kind, uint32_t cue, MetaBytes behindId) {
    std::vector<Item> items = Items(document.PayloadOf("LIST:adtl"));
    const auto found = std::ranges::find_if(items, [&](const Item& item) {
        return item.id == IdOf(kind) && item.payload.size() >= 4 &&
               FromLittleEndian<uint32_t>(item.payload.data()) == cue;
    });
    if (behindId.empty()) {
        if (found != items.end()) items.erase(found);
    } else if (found != items.end()) {
        const size_t kept = kind[1] == 't' ? 4 : behindId.size();  // of a region the length alone
        found->payload.resize(std::max(found->payload.size(), size_t{4} + kept));
        if (kind[1] != 't') found->payload.resize(4 + kept);
        std::copy_n(behindId.begin(), kept, found->payload.begin() + 4);
    } else {
        MetaWriter payload;
        payload.Put(cue).Raw(behindId.data(), behindId.size());
        items.push_back({IdOf(kind), std::move(payload.Bytes())});
    }
    SetOrRemove(document, "LIST:adtl", ListOf(items));
}

std::string SetMark(MetaDocument& document, size_t number, const std::string& field,
                    const std::string& text) {
    std::vector<MediaCue> cues = MetaCues(document);
    if (number > cues.size() + 1) return "there are " + std::to_string(cues.size()) + " markers";
    if (number > cues.size()) {
        uint32_t id = 0;
        for (const MediaCue& cue : cues) id = std::max(id, cue.id);
        cues.push_back({id + 1, 0, {}, {}, {}, 0});
    }
    MediaCue& cue = cues[number - 1];
    if (field == "position" && text.empty()) {
        cues.erase(cues.begin() + static_cast<ptrdiff_t>(number - 1));
    } else if (field == "position") {
        if (!IsNumber(text, &cue.position)) return "a position is a number of frames";
    } else if (field == "label") {
        cue.label = Utf16FromUtf8(text);
        if (MetaTextTo(text).size() > 255) return "a marker of an AIFF file has a name of 255 bytes at most";
    } else {
        return "markers of an AIFF file have a position and a label";
    }
    SetMetaCues(document, cues);
    return {};
}

std::string SetCue(MetaDocument& document, const std::string& key, const std::string& text) {
    const auto [number, field] = SplitKey(key);
    size_t index = 0;
    if (!IsIndex(number, &index)) return "markers are numbered from 1: cue.1.label";
    if (IsAiff(document.container)) return SetMark(document, index, field, text);
    MetaBytes payload = document.PayloadOf("cue ");
    if (payload.size() < 4) payload.resize(4);
    const size_t count =
        std::min<size_t>(FromLittleEndian<uint32_t>(payload.data()), (payload.size() - 4) / CUE_BYTES);
    if (index > count + 1) return "there are " + std::to_string(count) + " markers";
    const auto at = [&](size_t n) { return payload.begin() + static_cast<ptrdiff_t>(4 + n * CUE_BYTES); };
    if (index > count) {
        if (text.empty()) return {};
        uint32_t id = 0;
        for (size_t n = 0; n < count; n++) id = std::max(id, FromLittleEndian<uint32_t>(&*at(n)));
        const MediaCue fresh{id + 1, 0, {}, {}, {}, 0};
        const MetaBytes one = MediaCueBytes(std::span(&fresh, 1));
        payload.insert(at(count), one.begin() + 4, one.end());
        ToLittleEndian(payload.data(), static_cast<uint32_t>(count + 1));
    }
    const auto id = FromLittleEndian<uint32_t>(&*at(index - 1));
    if (field == "position" && text.empty()) {
        payload.erase(at(index - 1), at(index));
        ToLittleEndian(payload.data(), static_cast<uint32_t>(count - 1));
        for (const auto& kind : {"labl", "note", "ltxt"}) SetLabel(document, kind, id, {});
        SetOrRemove(document, "cue ", count > 1 ? payload : MetaBytes());
        return {};
    }
    uint32_t value = 0;
    if ((field == "position" || (field == "length" && !text.empty())) && !IsNumber(text, &value))
        return "a " + field + " is a number of frames";
    if (field == "position") {
        ToLittleEndian(&*at(index - 1) + 4, value);
        ToLittleEndian(&*at(index - 1) + 20, value);
    } else if (field == "length") {
        MetaWriter region;
        if (!text.empty()) region.Put(value).Put(FourCC("rgn ")).Put(uint64_t{0});
        SetLabel(document, "ltxt", id, std::move(region.Bytes()));
    } else if (field == "label") {
        SetLabel(document, "labl", id, text.empty() ? MetaBytes() : Terminated(text));
    } else if (field == "note") {
        SetLabel(document, "note", id, text.empty() ? MetaBytes() : Terminated(text));
    } else {
        return "a marker has a position, a length, a label and a note";
    }
    document.Set("cue ", std::move(payload));
    return {};
}

// Texts of AIFF: text.NAME, text.ANNO.2

constexpr const char* AIFF_TEXTS[] = {"NAME", "AUTH", "(c) ", "ANNO"};

std::string TextKey(const std::string& id) { return id == "(c) " ? "(c)" : id; }
void ListText(const MetaDocument& document, const MetaBlock& block, MetaValues& out) {
    size_t number = 1, count = 0;
    for (const MetaBlock& other : document.blocks) {
        if (other.id != block.id) continue;
        count++;
        if (&other < &block) number++;
    }
    std::string key = "text." + TextKey(block.id);
    if (count > 1) key.append(".").append(std::to_string(number));
    out.push_back({std::move(key), MetaTextFrom(block.payload), number == 1});
}
std::string SetText(MetaDocument& document, const std::string& name, const std::string& text) {
    for (const char* id : AIFF_TEXTS) {
        if (name != TextKey(id) && name != TextKey(id) + ".1") continue;
        if (!IsAiff(document.container)) return "texts of an AIFF file; a wave has info.INAM and its like";
        const std::string bytes = MetaTextTo(text);
        SetOrRemove(document, id, {bytes.begin(), bytes.end()});
        return {};
    }
    return "the texts are NAME, AUTH, (c) and ANNO";
}

// Records of numbers: smpl.MIDIUnityNote, inst.Gain

void ListRecord(const MetaDocument&, const MetaBlock& block, MetaValues& out) { ListMetaRecord(block, out); }
template <const char* PREFIX>
std::string SetRecord(MetaDocument& document, const std::string& name, const std::string& text) {
    return SetMetaRecord(document, PREFIX, name, text);
}
constexpr char SMPL[] = "smpl", INST[] = "inst", PLST[] = "plst", AIFF_INST[] = "instrument", CHNA[] = "chna",
               ACID[] = "acid";

// Texts that are one chunk

void ListAxml(const MetaDocument&, const MetaBlock& block, MetaValues& out) {
    out.push_back({"axml", MetaTextFrom(block.payload)});
}
std::string SetAxml(MetaDocument& document, const std::string&, const std::string& text) {
    SetOrRemove(document, "axml", {text.begin(), text.end()});
    return {};
}

void ListId3(const MetaDocument&, const MetaBlock& block, MetaValues& out) { ListId3Frames(block, out); }
void ListComments(const MetaDocument&, const MetaBlock& block, MetaValues& out) {
    ListAiffComments(block, out);
}

std::string SetComment(MetaDocument& document, const std::string& number, const std::string& text) {
    size_t index = 0;
    return IsIndex(number, &index) ? SetAiffComment(document, index, text) : "comments are numbered from 1";
}

struct EditedKind {
    const char* name;
    const char* id;  ///< of the block
    void (*list)(const MetaDocument&, const MetaBlock&, MetaValues&);
    std::string (*set)(MetaDocument&, const std::string& rest, const std::string& text);
};
constexpr EditedKind EDITED_KINDS[] = {
    {"bext", "bext", ListBext, SetBext},
    {"info", "LIST:INFO", ListInfo, SetInfo},
    {"ixml", "iXML", ListIxml, SetIxml},
    {"cue", "cue ", ListCues, SetCue},
    {"cue", "LIST:adtl", ListCues, SetCue},
    {"cue", "MARK", ListCues, SetCue},
    {"text", "NAME", ListText, SetText},
    {"text", "AUTH", ListText, SetText},
    {"text", "(c) ", ListText, SetText},
    {"text", "ANNO", ListText, SetText},
    {"comment", "COMT", ListComments, SetComment},
    {"smpl", "smpl", ListRecord, SetRecord<SMPL>},
    {"inst", "inst", ListRecord, SetRecord<INST>},
    {"plst", "plst", ListRecord, SetRecord<PLST>},
    {"instrument", "INST", ListRecord, SetRecord<AIFF_INST>},
    {"acid", "acid", ListRecord, SetRecord<ACID>},
    {"chna", "chna", ListRecord, SetRecord<CHNA>},
    {"axml", "axml", ListAxml, SetAxml},
    {"id3", "id3 ", ListId3, SetId3Frame},
    {"id3", "ID3 ", ListId3, SetId3Frame},
};

const EditedKind* KindOf(const MetaBlock& block) {
    const auto* kind =
        std::ranges::find_if(EDITED_KINDS, [&](const EditedKind& k) { return block.id == k.id; });
    return kind == std::end(EDITED_KINDS) ? nullptr : kind;
}

}  // namespace

std::string MetaTextFrom(Bytes bytes) {
    const std::string text = AnsiUpToZero(bytes);
    return IsUtf8(View(text)) ? text : Utf8FromUtf16(Utf16FromWindows1252(text));
}
std::string MetaTextTo(const std::string& text) {
    const std::string ansi = Windows1252FromUtf16(Utf16FromUtf8(text));
    return MetaTextFrom(View(ansi)) == text ? ansi : text;
}

std::vector<MetaValue> ListMetaValues(const MetaDocument& document) {
    MetaValues values;
    for (const MetaBlock& block : document.blocks) {
        if (const EditedKind* kind = KindOf(block))
            kind->list(document, block, values);
        else
            values.push_back({"chunk." + block.id, std::to_string(block.payload.size()) + " bytes", false});
    }
    return values;
}

std::string SetMetaValue(MetaDocument& document, const std::string& key, const std::string& text) {
    const auto [name, rest] = SplitKey(key);
    for (const EditedKind& kind : EDITED_KINDS)
        if (name == kind.name) return kind.set(document, rest, text);
    return "there is no kind " + Quoted(name);
}

std::vector<std::string> MetaKinds() {
    std::vector<std::string> names;
    for (const EditedKind& kind : EDITED_KINDS)
        if (names.empty() || std::ranges::find(names, kind.name) == names.end())
            names.emplace_back(kind.name);
    return names;
}
bool IsMetaKind(const std::string& name, const MetaBlock& block) {
    const EditedKind* kind = KindOf(block);
    return block.id == name || (kind && name == kind->name);
}
void StripMetaKind(MetaDocument& document, const std::string& name) {
    std::erase_if(document.blocks, [&](const MetaBlock& block) { return IsMetaKind(name, block); });
}

std::vector<MediaCue> MetaCues(const MetaDocument& document) {
    std::vector<MediaCue> cues;
    if (document.Find("MARK")) return ReadAiffMarkers(document.PayloadOf("MARK"));
    ReadMediaCues(document.PayloadOf("cue "), document.PayloadOf("LIST:adtl"), SIZE_MAX, &cues);
    return cues;
}
void SetMetaCues(MetaDocument& document, std::span<const MediaCue> cues) {
    if (IsAiff(document.container))
        return SetOrRemove(document, "MARK", cues.empty() ? MetaBytes() : AiffMarkerBytes(cues));
    SetOrRemove(document, "cue ", cues.empty() ? MetaBytes() : MediaCueBytes(cues));
    SetOrRemove(document, "LIST:adtl", MediaLabelBytes(cues));
}

}  // namespace tarn
