#include "audio/format_text.h"

#include "audio/codec_names.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/print/print.h"

#include <algorithm>
#include <iterator>

using namespace tarn;

namespace {

constexpr uint32_t PART_LENGTH = 64;

void Print(char16_t* out, uint32_t length, const QMLANGSTRINGID& text, uint32_t value) {
    QmCchPrintF(out, length, nullptr, KernelText(text), value);
}

void CopyText(char16_t* out, uint32_t length, const char16_t* text) {
    QmCchPrintF(out, length, nullptr, u"%s", text);
}

struct ChannelsRow {
    uint32_t mask = 0, channels = 0;
    const QMLANGSTRINGID& text;
    bool withLfe = false;
};

const ChannelsRow CHANNELS[] = {
    {0x0, 1, KS_Audio_Mono},
    {0x0, 2, KS_Audio_Stereo},
    {0x3, 2, KS_Audio_Stereo},
    {0x3F, 6, KS_Audio_Surround_51},
    {0x60F, 6, KS_Audio_Surround_51},
    {0xFF, 8, KS_Audio_Surround_71},
    {0x4, 1, KS_Audio_Layout_C},
    {0xC, 2, KS_Audio_Layout_C, true},
    {0xB, 3, KS_Audio_Layout_LR, true},
    {0x7, 3, KS_Audio_Layout_LCR},
    {0xF, 4, KS_Audio_Layout_LCR, true},
    {0x13, 3, KS_Audio_Layout_LRS},
    {0x1B, 4, KS_Audio_Layout_LRS, true},
    {0x17, 4, KS_Audio_Layout_LCRS},
    {0x1F, 5, KS_Audio_Layout_LCRS, true},
    {0x33, 4, KS_Audio_Layout_LRLsRs},
    {0x3B, 5, KS_Audio_Layout_LRLsRs, true},
    {0x37, 5, KS_Audio_Layout_LCRLsRs},
};

/// The channels as the attributes name them: fewer layouts than the list has.
void AttributeChannels(uint32_t channels, uint32_t mask, char16_t* out, uint32_t length) {
    const bool isSurround = (channels == 6 && (mask == 0x3F || mask == 0x60F)) ||
                            (channels == 8 && (mask == 0xFF || mask == 0x63F));
    const QMLANGSTRINGID* text = channels == 1   ? &KS_Audio_Mono
                                 : channels == 2 ? &KS_Audio_Stereo
                                 : isSurround
                                     ? (channels == 6 ? &KS_Audio_Surround_51 : &KS_Audio_Surround_71)
                                     : &KS_Audio_Channels;
    Print(out, length, *text, channels);
}

struct TypeTextRow {
    QMSAMPLETYPE type;
    const QMLANGSTRINGID& text;
    uint16_t bits, shortDepth, depth;
};

const TypeTextRow TYPE_TEXTS[] = {
    {QMSAMPLE_PCM8, KS_Audio_Bit, 8, 8, 8},
    {QMSAMPLE_PCM16, KS_Audio_Bit, 16, 16, 16},
    {QMSAMPLE_PCM24, KS_Audio_Bit, 24, 24, 24},
    {QMSAMPLE_PCM32, KS_Audio_Bit, 32, 32, 32},
    {QMSAMPLE_FLOAT32, KS_Audio_Bit_Float, 32, 24, 32},
    {QMSAMPLE_FLOAT64, KS_Audio_Bit_Float, 64, 53, 64},
    {QMSAMPLE_PCM24IN32, KS_Audio_Bit_Unpacked, 24, 24, 24},
    {QMSAMPLE_SIGNED8, KS_Audio_Bit_Signed, 8, 8, 8},
    {QMSAMPLE_BE16, KS_Audio_Bit_BigEndian, 16, 16, 16},
    {QMSAMPLE_BE24, KS_Audio_Bit_BigEndian, 24, 24, 24},
    {QMSAMPLE_BE32, KS_Audio_Bit_BigEndian, 32, 32, 32},
    {QMSAMPLE_RA16, KS_Audio_Bit_RightAligned, 16, 16, 32},
    {QMSAMPLE_RA24, KS_Audio_Bit_RightAligned, 24, 24, 32},
};

const TypeTextRow* TypeText(QMSAMPLETYPE type) {
    const auto* row = std::ranges::find(TYPE_TEXTS, type, &TypeTextRow::type);
    return row == std::end(TYPE_TEXTS) ? nullptr : row;
}

/// A text of parts with the list separator between.
class PartList {
public:
    PartList(char16_t* out, uint32_t length) : m_out(out), m_length(length) { CopyText(out, length, u""); }

    void Add(const char16_t* part) {
        if (!*part) return;
        uint32_t written = 0;
        QmCchPrintF(m_out + m_at, m_length - m_at, &written, m_at ? u"$, %s" : u"%s", part);
        m_at += written;
    }

private:
    char16_t* m_out;
    uint32_t m_length, m_at = 0;
};

bool IsPlainCodec(uint32_t tag) { return tag == WAVE_TAG_PCM || tag == WAVE_TAG_IEEE_FLOAT; }

void AddFormat(PartList& parts, const _qmwaveformat& format, uint32_t flags) {
    char16_t part[PART_LENGTH] = u"";
    const uint64_t bitRate = uint64_t{format.avgBytesPerSec} * 8;
    if ((flags & FORMAT_TEXT_BIT_RATE) && format.IsForeign() &&
        bitRate != uint64_t{format.bitsPerSample} * format.channels * format.sampleRate) {
        QmCchPrintF(part, PART_LENGTH, nullptr, KernelText(KS_Audio_BitRate),
                    static_cast<double>(bitRate) / 1000);
        parts.Add(part);
    }
    Print(part, PART_LENGTH, KS_Audio_Hertz, format.sampleRate);
    parts.Add(part);

    part[0] = 0;
    if (format.IsForeign() && format.bitsPerSample)
        Print(part, PART_LENGTH, KS_Audio_Bit, format.bitsPerSample);
    else if (flags & FORMAT_TEXT_BIT_DEPTH)
        QmAudio_GetBitDepthText(format.sampleType, part, PART_LENGTH, 1);
    else
        QmAudio_GetSampleTypeText(format.sampleType, part, PART_LENGTH);
    parts.Add(part);

    QmAudio_GetChannelsText(format.channels, format.channelMask, part, PART_LENGTH);
    parts.Add(part);

    const uint32_t tag = format.FormatTag();
    if ((flags & FORMAT_TEXT_NO_CODEC) || ((flags & FORMAT_TEXT_BIT_DEPTH) && IsPlainCodec(tag))) return;
    if (QmAudio_GetCompressionTypeName(tag, part, PART_LENGTH, !(flags & FORMAT_TEXT_LONG_CODEC)) == 0)
        parts.Add(part);
}

}  // namespace

extern "C" {

int32_t QmAudio_GetCompressionTypeName(uint32_t tag, char16_t* out, uint32_t length, BOOL shortName) {
    const char16_t* name = shortName ? nullptr : LongCodecName(tag);
    if (!name) name = ShortCodecName(tag);
    if (!name) name = ShortCodecName(QmAudio_ConvertToCanonicalWaveFormatTag(tag));
    if (name) {
        CopyText(out, length, name);
        return 0;
    }
    char16_t number[PART_LENGTH];
    QmCchPrintF(number, PART_LENGTH, nullptr, u"0x%d", tag);
    if (shortName)
        CopyText(out, length, number);
    else
        QmCchPrintF(out, length, nullptr, KernelText(KS_Audio_Compression), number);
    return 1;
}

HRESULT QmAudio_GetTagText(uint32_t tag, char16_t* out, uint32_t length) {
    const QMLANGSTRINGID* text = nullptr;
    switch (tag) {
    case WAVE_TAG_PCM: text = &KS_Audio_Tag_Pcm; break;
    case WAVE_TAG_IEEE_FLOAT: text = &KS_Audio_Tag_Float; break;
    case WAVE_TAG_PCM_UNPACKED: text = &KS_Audio_Tag_Unpacked; break;
    case WAVE_TAG_PCM_SIGNED: text = &KS_Audio_Tag_Signed; break;
    case WAVE_TAG_PCM_BIG_ENDIAN: text = &KS_Audio_Tag_BigEndian; break;
    case WAVE_TAG_PCM_RIGHT_ALIGNED: text = &KS_Audio_Tag_OtherPcm; break;
    }
    CopyText(out, length, KernelText(text ? *text : KS_Audio_Unknown));
    return text ? S_OK : E_FAIL;
}

void QmAudio_GetChannelsText(uint32_t channels, uint32_t mask, char16_t* out, uint32_t length) {
    const auto* row = std::ranges::find_if(
        CHANNELS, [&](const ChannelsRow& r) { return r.mask == mask && r.channels == channels; });
    if (row == std::end(CHANNELS)) return Print(out, length, KS_Audio_Channels, channels);
    QmCchPrintF(out, length, nullptr, u"%s%s", KernelText(row->text),
                row->withLfe ? KernelText(KS_Audio_Layout_Lfe) : u"");
}

void QmAudio_GetSampleTypeText(QMSAMPLETYPE type, char16_t* out, uint32_t length) {
    if (const TypeTextRow* row = TypeText(type))
        Print(out, length, row->text, row->bits);
    else
        CopyText(out, length, u"");
}

void QmAudio_GetBitDepthText(QMSAMPLETYPE type, char16_t* out, uint32_t length, BOOL isShort) {
    if (const TypeTextRow* row = TypeText(type))
        Print(out, length, KS_Audio_Bit, isShort ? row->shortDepth : row->depth);
    else
        CopyText(out, length, u"");
}

HRESULT QmAudio_GetAttribsText(const WAVEFORMATEX* wfx, char16_t* out, uint32_t length) {
    if (QmAudio_IsCompressed(wfx)) {
        CopyText(out, length, KernelText(KS_Audio_Unknown));
        return E_FAIL;
    }
    const bool isExtensible = wfx->wFormatTag == WAVE_TAG_EXTENSIBLE;
    const uint32_t mask =
        isExtensible ? reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(wfx)->dwChannelMask : 0;
    char16_t channels[PART_LENGTH];
    AttributeChannels(wfx->nChannels, mask, channels, PART_LENGTH);
    const bool isFloat = QmAudio_GetWaveFormatTag(wfx) == WAVE_TAG_IEEE_FLOAT;
    QmCchPrintF(out, length, nullptr, KernelText(isFloat ? KS_Audio_Attributes_Float : KS_Audio_Attributes),
                wfx->nSamplesPerSec, wfx->wBitsPerSample, channels);
    return S_OK;
}

void QmAudio_GetFormatText(const _qmwaveformat* format, char16_t* out, uint32_t length, uint32_t flags) {
    if (length == 0) return;
    PartList parts(out, length);
    if (format->IsForeign() && (flags & FORMAT_TEXT_AS_PCM)) {
        _qmwaveformat pcm{};
        pcm.Init(format->sampleRate, format->bitsPerSample <= 16 ? QMSAMPLE_PCM16 : QMSAMPLE_PCM24,
                 format->channels, format->channelMask, sizeof pcm);
        return AddFormat(parts, pcm, flags);
    }
    if (format->IsForeign() && (flags & FORMAT_TEXT_ATTRIBUTES)) {
        const _qmwaveformat_wfxplus copy(*format);
        QmAudio_GetAttribsText(&copy.wfx.Format, out, length);
        return;
    }
    AddFormat(parts, *format, flags);
}

}  // extern "C"
