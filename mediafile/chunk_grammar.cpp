#include "mediafile/chunk_grammar.h"

#include "mediafile/byte_order.h"
#include "mediafile/riff.h"
#include "mediafile/riff64.h"
#include "platform/guid_text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace tarn {

namespace {

bool IsPrintable(const uint8_t* id) {
    for (int i = 0; i < 4; i++)
        if (id[i] < ' ' || id[i] > '~') return false;
    return true;
}

std::string PrintableId(const uint8_t* id) {
    std::string text(reinterpret_cast<const char*>(id), 4);
    for (char& c : text)
        if (c < ' ' || c > '~') c = '?';
    return text;
}

/// Of wave and AIFF files together: what a chunk behind or before the samples is told from samples by.
/// Sorted.
constexpr auto KNOWN_IDS = [] {
    std::array ids = {
        FourCC("fmt "), FourCC("data"), FourCC("LIST"), FourCC("JUNK"), FourCC("junk"), FourCC("FLLR"),
        FourCC("PAD "), FourCC("bext"), FourCC("iXML"), FourCC("fact"), FourCC("cue "), FourCC("smpl"),
        FourCC("inst"), FourCC("plst"), FourCC("PEAK"), FourCC("id3 "), FourCC("ID3 "), FourCC("DISP"),
        FourCC("axml"), FourCC("chna"), FourCC("levl"), FourCC("link"), FourCC("cart"), FourCC("umid"),
        FourCC("ltxt"), FourCC("acid"), FourCC("strc"), FourCC("minf"), FourCC("elm1"), FourCC("regn"),
        FourCC("ResU"), FourCC("ds64"), FourCC("UNFO"), FourCC("afsp"), FourCC("CSET"), FourCC("_PMX"),
        FourCC("aXML"), FourCC("bxml"), FourCC("sxml"), FourCC("LGWV"), FourCC("AFAn"), FourCC("wavl"),
        FourCC("slnt"), FourCC("afr "), FourCC("mext"), FourCC("DGDA"), FourCC("COMM"), FourCC("SSND"),
        FourCC("FVER"), FourCC("MARK"), FourCC("COMT"), FourCC("INST"), FourCC("MIDI"), FourCC("AESD"),
        FourCC("APPL"), FourCC("NAME"), FourCC("AUTH"), FourCC("(c) "), FourCC("ANNO"), FourCC("SAXL"),
        FourCC("CHAN"), FourCC("basc"), FourCC("trns"), FourCC("cate")};
    std::ranges::sort(ids);
    return ids;
}();

bool IsKnownId(const uint8_t* id) {
    return std::ranges::binary_search(KNOWN_IDS, FromLittleEndian<uint32_t>(id));
}

struct KnownLabel {
    const GUID& guid;
    const char* name;
};
const KnownLabel KNOWN_LABELS[] = {{W64_RIFF, "riff"}, {W64_LIST, "list"}, {W64_WAVE, "wave"},
                                   {W64_FMT, "fmt "},  {W64_DATA, "data"}, {W64_JUNK, "junk"}};

std::string LabelText(const uint8_t* bytes) {
    GUID guid;
    std::memcpy(&guid, bytes, sizeof guid);
    for (const KnownLabel& label : KNOWN_LABELS)
        if (label.guid == guid) return label.name;
    return GuidText(guid);
}

/// The labels that were made from four characters share the rest.
bool IsKnownLabel(const uint8_t* bytes) {
    return std::memcmp(bytes + 4, reinterpret_cast<const uint8_t*>(&W64_FMT) + 4, 12) == 0 ||
           LabelText(bytes)[0] != '{';
}
bool IsPlausibleLabel(const uint8_t* bytes) {
    for (int i = 0; i < 16; i++)
        if (bytes[i] != bytes[0]) return true;  // neither zeros nor ones
    return false;
}

}  // namespace

namespace {
constexpr ChunkGrammar FourCharacters(const char* form, bool isBigEndian, const char* format,
                                      const char* samples) {
    return {8,    12,     2,      4,      4,       4,           isBigEndian, false,      4,
            form, "LIST", "JUNK", format, samples, PrintableId, IsKnownId,   IsPrintable};
}
}  // namespace

const ChunkGrammar WAVE_GRAMMAR = FourCharacters("RIFF", false, "fmt ", "data");
const ChunkGrammar RF64_GRAMMAR = FourCharacters("RF64", false, "fmt ", "data");
const ChunkGrammar BW64_GRAMMAR = FourCharacters("BW64", false, "fmt ", "data");
const ChunkGrammar RIFX_GRAMMAR = FourCharacters("RIFX", true, "fmt ", "data");
const ChunkGrammar AIFF_GRAMMAR = FourCharacters("FORM", true, "COMM", "SSND");
const ChunkGrammar WAVE64_GRAMMAR = {24,
                                     40,
                                     8,
                                     16,
                                     16,
                                     8,
                                     false,
                                     true,
                                     0,
                                     &W64_RIFF,
                                     &W64_LIST,
                                     &W64_JUNK,
                                     "fmt ",
                                     "data",
                                     LabelText,
                                     IsKnownLabel,
                                     IsPlausibleLabel};

uint64_t ChunkGrammar::ReadSize(const uint8_t* bytes) const {
    if (sizeBytes == 8) return FromLittleEndian<uint64_t>(bytes);
    return isBigEndian ? FromBigEndian<uint32_t>(bytes) : FromLittleEndian<uint32_t>(bytes);
}
void ChunkGrammar::WriteSize(uint8_t* bytes, uint64_t stored) const {
    if (sizeBytes == 8) return ToLittleEndian(bytes, stored);
    const auto size = static_cast<uint32_t>(stored);
    isBigEndian ? ToBigEndian(bytes, size) : ToLittleEndian(bytes, size);
}
void ChunkGrammar::MakeHead(uint8_t* chunkHeader, const void* label, uint64_t payload) const {
    std::memcpy(chunkHeader, label, sizeAt);
    WriteSize(chunkHeader + sizeAt, Stored(payload));
}

bool ChunkGrammar::Payload(const uint8_t* chunkHeader, uint64_t* payload) const {
    const uint64_t stored = ReadSize(chunkHeader + sizeAt);
    const uint64_t own = sizeHasHeader ? header : 0;
    *payload = stored - std::min(stored, own);
    return stored >= own && stored <= uint64_t{INT64_MAX};
}

uint64_t ChunkGrammar::LargestPayload() const {
    return sizeBytes == 8 ? uint64_t{INT64_MAX} / 2 : IsAiff() ? UINT32_MAX - 1 : RIFF_LARGEST;
}

MediaContainer ContainerOf(const uint8_t* head, uint32_t got) {
    const auto is = [&](const char* id, uint32_t at) {
        return got >= at + 4 && std::memcmp(head + at, id, 4) == 0;
    };
    if (is("WAVE", 8))
        for (const auto& [id, container] :
             {std::pair("RIFF", MediaContainer::Wave), std::pair("RF64", MediaContainer::Rf64),
              std::pair("BW64", MediaContainer::Bw64), std::pair("RIFX", MediaContainer::Rifx)})
            if (is(id, 0)) return container;
    if (is("FORM", 0) && is("AIFF", 8)) return MediaContainer::Aiff;
    if (is("FORM", 0) && is("AIFC", 8)) return MediaContainer::Aifc;
    if (got >= WAVE64_GRAMMAR.first && LabelText(head) == "riff" && LabelText(head + 24) == "wave")
        return MediaContainer::Wave64;
    return MediaContainer::Unknown;
}

const ChunkGrammar& GrammarOf(MediaContainer container) {
    switch (container) {
    case MediaContainer::Wave: return WAVE_GRAMMAR;
    case MediaContainer::Wave64: return WAVE64_GRAMMAR;
    case MediaContainer::Rf64: return RF64_GRAMMAR;
    case MediaContainer::Bw64: return BW64_GRAMMAR;
    case MediaContainer::Rifx: return RIFX_GRAMMAR;
    default: return AIFF_GRAMMAR;
    }
}

}  // namespace tarn
