#include "mediafile/meta/broadcast.h"
#include "mediafile/meta/ixml.h"
#include "mediafile/meta/meta_records.h"
#include "mediafile/meta/meta_values.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <set>

namespace tarn {

namespace {

using Findings = std::vector<std::string>;
using Bytes = std::span<const uint8_t>;

bool IsPrintableAscii(const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return (c >= ' ' && c <= '~') || c == '\r' || c == '\n'; });
}
/// "9" stands for a digit, "?" for any character.
bool IsLike(const std::string& text, const char* pattern) {
    size_t i = 0;
    for (; i < text.size() && pattern[i]; i++) {
        const char c = text[i];
        if (pattern[i] == '9' ? !std::isdigit(static_cast<unsigned char>(c))
                              : pattern[i] != '?' && pattern[i] != c)
            return false;
    }
    return i == text.size() && !pattern[i];
}
bool AreZeros(Bytes bytes) {
    return std::ranges::all_of(bytes, [](uint8_t b) { return b == 0; });
}

void CheckBext(const MetaDocument&, const MetaBlock& block, uint64_t, Findings& found) {
    constexpr size_t UMID = 348, LOUDNESS = 412, RESERVED = 422;
    const Bytes bytes = block.payload;
    const auto add = [&](const std::string& text) { found.push_back("bext: " + text + " (EBU Tech 3285)"); };
    if (bytes.size() < BEXT_FIXED_BYTES)
        return add(std::to_string(bytes.size()) + " bytes, the fixed part has 602");
    const BroadcastInfo info = ReadBroadcastInfo(bytes);
    if (info.version > BroadcastInfo::VERSION)
        add("version " + std::to_string(info.version) + " is not published");
    for (const BroadcastField& field : BroadcastFields()) {
        if (field.text && !IsPrintableAscii(info.*field.text))
            add(std::string(field.name) + " has characters beyond ASCII");
        if (!field.loudness || info.version < 2) continue;
        const int value = info.*field.loudness;
        if (value != BroadcastInfo::NO_LOUDNESS && (value < -9999 || value > 9999))
            add(std::string(field.name) + " lies outside -99.99 to 99.99");
    }
    if (!info.date.empty() && !IsLike(info.date, "9999?99?99"))
        add("OriginationDate is no yyyy-mm-dd: '" + info.date + "'");
    if (!info.time.empty() && !IsLike(info.time, "99?99?99"))
        add("OriginationTime is no hh:mm:ss: '" + info.time + "'");
    if (info.version == 0 && !AreZeros(bytes.subspan(UMID, 64))) add("a UMID stands in a chunk of version 0");
    if (info.version < 2 && !AreZeros(bytes.subspan(LOUDNESS, RESERVED - LOUDNESS)))
        add("loudness stands in a chunk of version " + std::to_string(info.version));
    if (!AreZeros(bytes.subspan(RESERVED, BEXT_FIXED_BYTES - RESERVED))) add("reserved bytes are not zero");
    if (!info.codingHistory.empty() && !info.codingHistory.ends_with("\r\n"))
        add("the coding history does not end with CR LF");
    if (!IsPrintableAscii(info.codingHistory)) add("the coding history has characters beyond ASCII");
}

void CheckIxml(const MetaDocument&, const MetaBlock& block, uint64_t, Findings& found) {
    IxmlContent content;
    std::string error;
    if (!ExtractIxmlContent(block.payload, &content, &error))
        return found.push_back("iXML: no XML: " + error);
    for (const std::string& text : IxmlDeviations(content)) found.push_back("iXML: " + text);
    bool hasVersion = false;
    for (const IxmlValue& value : content.Values()) hasVersion = hasVersion || value.path == "IXML_VERSION";
    if (!hasVersion) found.push_back("iXML: there is no IXML_VERSION");
}

void CheckCues(const MetaDocument& document, const MetaBlock& block, uint64_t frames, Findings& found) {
    const Bytes bytes = block.payload;
    const uint64_t told = bytes.size() < 4 ? 0 : FromLittleEndian<uint32_t>(bytes.data());
    if (bytes.size() < 4 || bytes.size() - 4 != told * 24)
        found.push_back("cue: it tells of " + std::to_string(told) + " markers and has " +
                        std::to_string(bytes.size()) + " bytes");
    std::set<uint32_t> ids;
    for (const MediaCue& cue : MetaCues(document)) {
        const std::string name = "cue: marker " + std::to_string(cue.id);
        if (!ids.insert(cue.id).second) found.push_back(name + " stands there twice");
        if (cue.position > frames) found.push_back(name + " lies behind the samples");
        if (cue.length && uint64_t{cue.position} + *cue.length > frames)
            found.push_back(name + " ends behind the samples");
    }
}
void CheckLabels(const MetaDocument& document, const MetaBlock& block, uint64_t, Findings& found) {
    std::set<uint32_t> ids;
    for (const MediaCue& cue : MetaCues(document)) ids.insert(cue.id);
    const bool isWhole = ForEachChunk(block.payload, [&](uint32_t id, Bytes payload) {
        const bool isText = id == FourCC("labl") || id == FourCC("note");
        if (!isText && id != FourCC("ltxt")) return;
        if (payload.size() < 4) return found.push_back("adtl: an item is too short for its marker");
        const auto cue = FromLittleEndian<uint32_t>(payload.data());
        if (!ids.contains(cue))
            found.push_back("adtl: a text belongs to marker " + std::to_string(cue) + ", which is not there");
        if (isText && (payload.size() < 5 || payload.back() != 0))
            found.push_back("adtl: a text does not end with a zero");
    });
    if (!isWhole) found.push_back("adtl: its items do not fill it");
}

void CheckInfo(const MetaDocument&, const MetaBlock& block, uint64_t, Findings& found) {
    std::set<uint32_t> ids;
    const bool isWhole = ForEachChunk(block.payload, [&](uint32_t id, Bytes payload) {
        const std::string name = "INFO: '" + std::string(reinterpret_cast<const char*>(&id), 4) + "'";
        if (!ids.insert(id).second) found.push_back(name + " stands there twice");
        if (payload.empty() || payload.back() != 0) found.push_back(name + " does not end with a zero");
    });
    if (!isWhole) found.push_back("INFO: its items do not fill it");
}

void CheckSampler(const MetaDocument&, const MetaBlock& block, uint64_t frames, Findings& found) {
    constexpr size_t HEAD = 36, LOOP = 24;
    const Bytes bytes = block.payload;
    if (bytes.size() < HEAD)
        return found.push_back("smpl: " + std::to_string(bytes.size()) + " bytes, the fixed part has 36");
    const auto loops = FromLittleEndian<uint32_t>(&bytes[28]), own = FromLittleEndian<uint32_t>(&bytes[32]);
    if (HEAD + uint64_t{loops} * LOOP + own > bytes.size())
        found.push_back("smpl: it tells of more loops than it has");
    if (FromLittleEndian<uint32_t>(&bytes[12]) > 127) found.push_back("smpl: the unity note is above 127");
    for (uint64_t n = 0; n < loops && HEAD + (n + 1) * LOOP <= bytes.size(); n++) {
        const auto start = FromLittleEndian<uint32_t>(&bytes[HEAD + n * LOOP + 8]),
                   end = FromLittleEndian<uint32_t>(&bytes[HEAD + n * LOOP + 12]);
        if (start > end || end >= std::max<uint64_t>(frames, 1))
            found.push_back("smpl: loop " + std::to_string(n + 1) + " lies outside the samples");
    }
}

void CheckChna(const MetaDocument&, const MetaBlock& block, uint64_t, Findings& found) {
    const Bytes bytes = block.payload;
    const uint64_t uids = bytes.size() < 4 ? 0 : FromLittleEndian<uint16_t>(&bytes[2]);
    if (bytes.size() < 4 + uids * 40)
        found.push_back("chna: it tells of " + std::to_string(uids) +
                        " tracks and is too short (ITU-R BS.2088)");
}
void CheckAxml(const MetaDocument&, const MetaBlock& block, uint64_t, Findings& found) {
    pugi::xml_document xml;
    const pugi::xml_parse_result result = xml.load_buffer(block.payload.data(), block.payload.size());
    if (!result)
        found.push_back("axml: no XML: " + std::string(result.description()) + " at " +
                        std::to_string(result.offset));
}

struct ChunkCheck {
    const char* id;
    void (*check)(const MetaDocument&, const MetaBlock&, uint64_t frames, Findings&);
};
constexpr ChunkCheck CHECKS[] = {{"bext", CheckBext},        {"iXML", CheckIxml},      {"cue ", CheckCues},
                                 {"LIST:adtl", CheckLabels}, {"LIST:INFO", CheckInfo}, {"smpl", CheckSampler},
                                 {"chna", CheckChna},        {"axml", CheckAxml}};

}  // namespace

std::vector<std::string> MetaDeviations(const MetaDocument& document, uint64_t frames) {
    Findings found;
    std::set<std::string> seen;
    for (const MetaBlock& block : document.blocks)
        for (const ChunkCheck& check : CHECKS) {
            if (block.id != check.id) continue;
            if (!seen.insert(block.id).second)
                found.push_back(block.id + ": it stands there twice");
            else
                check.check(document, block, frames, found);
        }
    return found;
}

}  // namespace tarn
