// What templates tell, and how they are told apart.
#include "audio/format_text.h"
#include "fileio/template.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <openssl/evp.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <memory>

using namespace tarn;

namespace {

constexpr char HASH_LEAD_IN[] = "Fileio2007 V2 Template Data";
constexpr std::u16string_view AUDIO_LINE = u"Audio: ", VIDEO_LINE = u"Video: ";

/// What makes a template what it is, piece by piece; of a sound block.
template <class Work>
void ForContent(const tagQMTEMPLATExV2& t, bool withTexts, Work work) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&t);
    constexpr size_t FROM = offsetof(tagQMTEMPLATExV2, audio);
    work(bytes + FROM, offsetof(tagQMTEMPLATExV2, textChars) - FROM);
    work(t.Data(), t.dataSize);
    if (!withTexts || t.textChars == 0) return;
    for (const std::u16string& text : {TemplateName(t), TemplateNotes(t)})
        work(reinterpret_cast<const uint8_t*>(text.data()), text.size() * sizeof(char16_t));
}

bool HasAudio(const tagQMTEMPLATExV2& t) { return t.audio.size != 0 && t.audio.streams != 0; }
bool HasVideo(const tagQMTEMPLATExV2& t) { return t.video.size != 0 && t.video.streams != 0; }

/// A copy of which no size is beyond the block.
_qmwaveformat FormatOf(const tagQMTEMPLATExV2& t) {
    _qmwaveformat format = t.audio.format;
    format.size = sizeof format;
    format.extraSize = 0;
    return format;
}

struct TemplateValue {
    FIO_TEMPLATE_INFO which;
    uint32_t (*value)(const tagQMTEMPLATExV2&);
};
constexpr TemplateValue AUDIO_VALUES[] = {
    {FIO_TEMPLATE_STREAMS, [](const tagQMTEMPLATExV2& t) { return t.audio.streams; }},
    {FIO_TEMPLATE_BIT_RATE, [](const tagQMTEMPLATExV2& t) { return t.audio.bitRate; }},
    {FIO_TEMPLATE_QUALITY, [](const tagQMTEMPLATExV2& t) { return t.audio.quality; }},
    {FIO_TEMPLATE_FLAGS, [](const tagQMTEMPLATExV2& t) { return t.audio.flags; }},
    {FIO_TEMPLATE_SAMPLE_TYPE,
     [](const tagQMTEMPLATExV2& t) -> uint32_t { return t.audio.format.sampleType; }},
    {FIO_TEMPLATE_TAG, [](const tagQMTEMPLATExV2& t) { return FormatOf(t).FormatTag(); }},
    {FIO_TEMPLATE_RATE, [](const tagQMTEMPLATExV2& t) -> uint32_t { return t.audio.format.sampleRate; }},
    {FIO_TEMPLATE_BITS, [](const tagQMTEMPLATExV2& t) { return FormatOf(t).BitsPerSample(); }},
    {FIO_TEMPLATE_CHANNELS, [](const tagQMTEMPLATExV2& t) -> uint32_t { return t.audio.format.channels; }},
    {FIO_TEMPLATE_CHANNEL_MASK,
     [](const tagQMTEMPLATExV2& t) -> uint32_t { return t.audio.format.channelMask; }},
    {FIO_TEMPLATE_BLOCK_ALIGN,
     [](const tagQMTEMPLATExV2& t) -> uint32_t { return t.audio.format.blockAlign; }},
    {FIO_TEMPLATE_BYTES_PER_SECOND,
     [](const tagQMTEMPLATExV2& t) -> uint32_t { return t.audio.format.avgBytesPerSec; }},
};
constexpr TemplateValue VIDEO_VALUES[] = {
    {FIO_TEMPLATE_STREAMS, [](const tagQMTEMPLATExV2& t) { return t.video.streams; }},
    {FIO_TEMPLATE_BIT_RATE, [](const tagQMTEMPLATExV2& t) { return t.video.bitRate; }},
    {FIO_TEMPLATE_WIDTH, [](const tagQMTEMPLATExV2& t) { return t.video.width; }},
    {FIO_TEMPLATE_HEIGHT, [](const tagQMTEMPLATExV2& t) { return t.video.height; }},
    {FIO_TEMPLATE_FRAME_RATE, [](const tagQMTEMPLATExV2& t) { return t.video.rate; }},
    {FIO_TEMPLATE_FRAME_SCALE, [](const tagQMTEMPLATExV2& t) { return t.video.scale; }},
};

std::u16string AudioText(const tagQMTEMPLATExV2& t) {
    _qmwaveformat format = FormatOf(t);
    std::u16string text;
    char16_t part[128];
    // What is the source's has no words of its own.
    if (format.sampleRate && format.channels) {
        QmAudio_GetFormatText(&format, part, std::size(part), FORMAT_TEXT_BIT_RATE);
        text = part;
    } else if (format.sampleType) {
        QmAudio_GetSampleTypeText(format.sampleType, part, std::size(part));
        text = part;
    }
    if (t.audio.bitRate)
        text +=
            (text.empty() ? u"" : u", ") + Utf16FromUtf8(std::to_string(t.audio.bitRate / 1000)) + u" kbps";
    return text;
}

std::u16string VideoText(const tagQMTEMPLATExV2& t) {
    return Utf16FromUtf8(std::to_string(t.video.width) + "x" + std::to_string(t.video.height));
}

struct FreeDigest {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

}  // namespace

extern "C" {

uint32_t QmFio_GetTemplateDataCRC32(const tagQMTEMPLATExV2* settings, BOOL withTexts) {
    if (!IsSoundTemplate(settings)) return 0;
    uLong crc = crc32(0, nullptr, 0);
    Guarded([&] {
        ForContent(*settings, withTexts != 0, [&](const uint8_t* bytes, size_t count) {
            if (count) crc = crc32(crc, bytes, static_cast<uInt>(count));
        });
        return S_OK;
    });
    return static_cast<uint32_t>(crc);
}

HRESULT QmFio_InitGUIDFromTemplateMD5DataHash(GUID* id, const tagQMTEMPLATExV2* settings, BOOL withTexts) {
    if (!id) return E_POINTER;
    if (!settings) return MEDIA_E_NO_TEMPLATE;
    if (!IsSoundTemplate(settings)) return MEDIA_E_BAD_TEMPLATE;
    return Guarded([&]() -> HRESULT {
        const std::unique_ptr<EVP_MD_CTX, FreeDigest> md5(EVP_MD_CTX_new());
        // A system that permits no MD5 says so here.
        if (!md5 || EVP_DigestInit_ex(md5.get(), EVP_md5(), nullptr) != 1) return E_FAIL;
        EVP_DigestUpdate(md5.get(), HASH_LEAD_IN, sizeof HASH_LEAD_IN - 1);
        ForContent(*settings, withTexts != 0,
                   [&](const uint8_t* bytes, size_t count) { EVP_DigestUpdate(md5.get(), bytes, count); });
        uint8_t digest[EVP_MAX_MD_SIZE];
        if (EVP_DigestFinal_ex(md5.get(), digest, nullptr) != 1) return E_FAIL;
        std::memcpy(id, digest, sizeof *id);
        return S_OK;
    });
}

HRESULT QmFio_GetTemplateInfo(const tagQMTEMPLATExV2* settings, uint32_t mask, void* value, uint32_t size,
                              uint32_t which) {
    if (!settings || !value || size != sizeof(uint32_t)) return E_INVALIDARG;
    if (which < FIO_TEMPLATE_STREAMS || which > FIO_TEMPLATE_INFO_LAST) return E_INVALIDARG;
    if (!IsSoundTemplate(settings)) return MEDIA_E_BAD_TEMPLATE;
    const bool isAudio = (mask & FIO_TEMPLATE_AUDIO) && HasAudio(*settings),
               isVideo = (mask & FIO_TEMPLATE_VIDEO) && HasVideo(*settings);
    uint32_t number = 0;
    const std::span<const TemplateValue> rows = isAudio   ? std::span<const TemplateValue>(AUDIO_VALUES)
                                                : isVideo ? std::span<const TemplateValue>(VIDEO_VALUES)
                                                          : std::span<const TemplateValue>();
    for (const TemplateValue& row : rows)
        if (row.which == which) number = row.value(*settings);
    std::memcpy(value, &number, sizeof number);
    return rows.empty() ? S_FALSE : S_OK;
}

HRESULT QmFio_GetTemplateInfoText(const tagQMTEMPLATExV2* settings, char16_t* text, uint32_t capacity) {
    if (!text) return E_POINTER;
    if (!settings) return MEDIA_E_NO_TEMPLATE;
    if (!IsSoundTemplate(settings)) return MEDIA_E_BAD_TEMPLATE;
    return Guarded([&]() -> HRESULT {
        std::u16string lines;
        if (HasAudio(*settings)) lines.append(AUDIO_LINE).append(AudioText(*settings)) += u'\n';
        if (HasVideo(*settings)) lines.append(VIDEO_LINE).append(VideoText(*settings)) += u'\n';
        if (!lines.empty()) lines.pop_back();
        if (lines.size() >= capacity) return MEDIA_E_NO_ROOM;
        CopyText(text, capacity, lines.c_str());
        return S_OK;
    });
}

HRESULT QmFio_GetTemplateBitrate(const tagQMTEMPLATExV2* settings, uint32_t mask, uint32_t* rate) {
    if (!rate) return E_POINTER;
    *rate = 0;
    if (!settings) return MEDIA_E_NO_TEMPLATE;
    if (!IsSoundTemplate(settings)) return MEDIA_E_BAD_TEMPLATE;
    uint64_t sum = 0;
    if ((mask & FIO_TEMPLATE_AUDIO) && HasAudio(*settings)) {
        const _qmwaveformat& f = settings->audio.format;
        // A renderer that packs losslessly cannot know.
        const bool isTold = settings->audio.bitRate != 0;
        sum += isTold ? settings->audio.bitRate : uint64_t{f.avgBytesPerSec} * 8;
    }
    if ((mask & FIO_TEMPLATE_VIDEO) && HasVideo(*settings)) sum += settings->video.bitRate;
    *rate = static_cast<uint32_t>(std::min<uint64_t>(sum, UINT32_MAX));
    return sum ? S_OK : S_FALSE;
}

const char16_t* QmFio_SkipDescriptionInTemplateNotesText(const char16_t* text) {
    if (!text) return nullptr;
    std::u16string_view rest(text);
    for (;;) {
        const bool isDescription = rest.starts_with(AUDIO_LINE) || rest.starts_with(VIDEO_LINE);
        const bool isEmpty = rest.data() != text && !rest.empty() && (rest[0] == u'\n' || rest[0] == u'\r');
        if (!isDescription && !isEmpty) return rest.data();
        const size_t end = isEmpty ? 0 : rest.find(u'\n');
        rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
    }
}

}  // extern "C"
