#include "audio/codec_names.h"

#include "audio/format_text.h"

#include <algorithm>
#include <span>

namespace {

struct NameRow {
    uint16_t tag;
    const char16_t* name;
};

constexpr NameRow LONG_NAMES[] = {
    {0x3, u"IEEE Float"},
    {0x50, u"MPEG Audio"},
    {0x55, u"MPEG Layer 3"},
    {0x92, u"Dolby AC3"},
    {0x161, u"Windows Media Audio 9"},
    {0x162, u"Windows Media Audio 9 Professional"},
    {0x163, u"Windows Media Audio Lossless"},
    {0x674F, u"Ogg Vorbis 1"},
    {0x6750, u"Ogg Vorbis 2"},
    {0x6751, u"Ogg Vorbis 3"},
    {0x676F, u"Ogg Vorbis 1+"},
    {0x6770, u"Ogg Vorbis 2+"},
    {0x6771, u"Ogg Vorbis 3+"},
    {0xA106, u"MPEG-4 Advanced Audio Coding"},
    {0xFE00, u"PCM Unpacked"},
    {0xFE01, u"PCM Signed"},
    {0xFE02, u"PCM Big Endian"},
    {0xFE03, u"PCM Right Aligned"},
};

constexpr NameRow SHORT_NAMES[] = {
    {0x1, u"PCM"},
    {0x2, u"ADPCM"},
    {0x3, u"Float"},
    {0x6, u"ALaw"},
    {0x7, u"uLaw"},
    {0xA, u"WMA Voice"},
    {0xB, u"RT Voice"},
    {0x22, u"TrueSpeech"},
    {0x50, u"MPEG"},
    {0x55, u"MP3"},
    {0x62, u"Voxware"},
    {0x92, u"AC3"},
    {0x160, u"MS Audio"},
    {0x161, u"WMA"},
    {0x162, u"WMA Pro"},
    {0x163, u"WMA Lossless"},
    {0x164, u"WMA SPDIF"},
    {0x200, u"ADPCM"},
    {0x216, u"DV"},
    {0x401, u"IMC"},
    {0x500, u"On2 VP7"},
    {0x501, u"On2 VP6"},
    {0x2000, u"AC3"},
    {0x2001, u"Dolby DTS"},
    {0x2002, u"RealAudio"},
    {0x2004, u"RealAudio G2"},
    {0x2005, u"RealAudio Music"},
    {0x2006, u"RealAudio 10"},
    {0x2007, u"RealAudio 10"},
    {0x3313, u"AVIS"},
    {0x6771, u"Ogg"},
    {0xA106, u"AAC"},
    {0xAAC0, u"LC-AAC"},
    {0xAAC1, u"HE-AAC"},
    {0xAAC2, u"HE-AAC V2"},
    {0xF1AC, u"FLAC"},
    {0xFE00, u"PCM"},
    {0xFE01, u"PCM"},
    {0xFE02, u"PCM"},
    {0xFE03, u"PCM"},
    {0xFFCA, u"DV"},
};

struct CanonicalRow {
    uint16_t tag, canonical;
};

constexpr CanonicalRow CANONICAL[] = {
    {0x14, 2},        {0x17, 2},        {0x40, 2},        {0xD8, 0xFFCA},
    {0xFF, 0xA106},   {0x180, 0xA106},  {0x215, 0x216},   {0x2003, 0x2002},
    {0x4143, 0xA106}, {0x674F, 0x6771}, {0x6750, 0x6771}, {0x6751, 0x6771},
    {0x676F, 0x6771}, {0x6770, 0x6771}, {0x6771, 0x6771}, {0x706D, 0xA106},
};

template <class Row, size_t N>
constexpr bool IsSorted(const Row (&rows)[N]) {
    return std::ranges::is_sorted(rows, {}, &Row::tag);
}
static_assert(IsSorted(LONG_NAMES) && IsSorted(SHORT_NAMES) && IsSorted(CANONICAL));

template <class Row>
const Row* Find(std::span<const Row> rows, uint32_t tag) {
    const auto at = std::ranges::lower_bound(rows, tag, {}, &Row::tag);
    return at != rows.end() && at->tag == tag ? &*at : nullptr;
}

const char16_t* NameOf(std::span<const NameRow> rows, uint32_t tag) {
    const NameRow* row = Find(rows, tag);
    return row ? row->name : nullptr;
}

}  // namespace

const char16_t* LongCodecName(uint32_t tag) { return NameOf(LONG_NAMES, tag); }
const char16_t* ShortCodecName(uint32_t tag) { return NameOf(SHORT_NAMES, tag); }

uint32_t QmAudio_ConvertToCanonicalWaveFormatTag(uint32_t tag) {
    const CanonicalRow* row = Find(std::span<const CanonicalRow>(CANONICAL), tag);
    return row ? row->canonical : tag;
}
