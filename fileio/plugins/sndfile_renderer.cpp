#include "audio/audio_copy.h"
#include "fileio/extensions.h"
#include "fileio/meta_chunks.h"
#include "fileio/plugins/preset.h"
#include "fileio/plugins/sndfile_formats.h"
#include "fileio/plugins/sndfile_texts.h"
#include "mediafile/meta/meta_values.h"
#include "platform/counted.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <algorithm>
#include <vector>

using namespace tarn;

namespace sound {

namespace {

/// The renderer's own data in a template.
struct Settings {
    int32_t format = 0;  ///< libsndfile's number of kind and encoding
    /// 0 to 1, the higher the smaller; below 0 where the codec has none or bits are told.
    float compression = -1;
    uint32_t bitRate = 0;  ///< of MP3; 0 where it varies
};

struct KindRow {
    int kind;
    const char* extensions;
};
constexpr KindRow KINDS[] = {
    {SF_FORMAT_FLAC, "flac"},
    {SF_FORMAT_OGG | SF_FORMAT_VORBIS, "ogg;oga"},
    {SF_FORMAT_OGG | SF_FORMAT_OPUS, "opus"},
    {SF_FORMAT_MPEG, "mp3"},
    {SF_FORMAT_CAF, "caf"},
    {SF_FORMAT_AU, "au"},
};
/// Of two kinds with one container the encoding tells.
const KindRow* KindOf(int format) {
    const auto* row = std::ranges::find_if(KINDS, [&](const KindRow& k) {
        const int encoding = k.kind & SF_FORMAT_SUBMASK;
        return (k.kind & SF_FORMAT_TYPEMASK) == (format & SF_FORMAT_TYPEMASK) &&
               (encoding == 0 || encoding == (format & SF_FORMAT_SUBMASK));
    });
    return row == std::end(KINDS) ? nullptr : row;
}

constexpr int MP3 = SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, VORBIS = SF_FORMAT_OGG | SF_FORMAT_VORBIS,
              OPUS = SF_FORMAT_OGG | SF_FORMAT_OPUS, FLAC16 = SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
              FLAC24 = SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
constexpr float FLAC_LEVELS = 8;

struct PresetRow {
    const char16_t* name = nullptr;
    Settings settings;
    uint32_t rate = 0;  ///< 0: the source's
};
constexpr PresetRow PRESETS[] = {
    {u"FLAC, level 5", {FLAC16, 5 / FLAC_LEVELS, 0}},
    {u"FLAC, level 8", {FLAC16, 8 / FLAC_LEVELS, 0}},
    {u"FLAC, level 5, 24 Bit", {FLAC24, 5 / FLAC_LEVELS, 0}},
    {u"FLAC, level 8, 24 Bit", {FLAC24, 8 / FLAC_LEVELS, 0}},
    {u"Ogg Vorbis, quality 4", {VORBIS, 0.6f, 0}},
    {u"Ogg Vorbis, quality 6", {VORBIS, 0.4f, 0}},
    {u"Ogg Vorbis, quality 9", {VORBIS, 0.1f, 0}},
    {u"Opus", {OPUS, -1, 0}, 48000},
    {u"MP3, 128 kbps", {MP3, -1, 128000}},
    {u"MP3, 192 kbps", {MP3, -1, 192000}},
    {u"MP3, 320 kbps", {MP3, -1, 320000}},
    {u"MP3, variable", {MP3, 0.2f, 0}},
    {u"CAF, 24 Bit", {SF_FORMAT_CAF | SF_FORMAT_PCM_24, -1, 0}},
    {u"CAF, 32 Bit (IEEE Float)", {SF_FORMAT_CAF | SF_FORMAT_FLOAT, -1, 0}},
    {u"AU, 16 Bit", {SF_FORMAT_AU | SF_FORMAT_PCM_16, -1, 0}},
};

/// As which share of its range libsndfile takes a bit rate of MP3.
double Mp3Compression(uint32_t bitRate, int sampleRate) {
    struct Range {
        int highestRate;
        double least, most;
    };
    constexpr Range RANGES[] = {{15999, 8000, 64000}, {31999, 8000, 160000}, {INT32_MAX, 32000, 320000}};
    const Range& range =
        *std::ranges::find_if(RANGES, [&](const Range& r) { return sampleRate <= r.highestRate; });
    return std::clamp((range.most - bitRate) / (range.most - range.least), 0.0, 1.0);
}

class File final : public Counted<IQmRenderFile, IID_IQmRenderFile> {
public:
    HRESULT Begin(int descriptor, const Settings& settings, const _qmwaveformat& format) {
        SF_INFO info{};
        info.format = settings.format;
        info.channels = format.channels;
        info.samplerate = static_cast<int>(format.sampleRate);
        m_way = WayOf(format.sampleType);
        m_channels = format.channels;
        if (!m_way || !sf_format_check(&info)) return MEDIA_E_UNSUPPORTED_TYPE;
        m_sound = OpenSound(descriptor, SFM_WRITE, &info);
        if (!m_sound) return MEDIA_E_WRITE;
        double compression = settings.compression;
        if (settings.bitRate) {
            int mode = SF_BITRATE_MODE_CONSTANT;
            sf_command(m_sound.get(), SFC_SET_BITRATE_MODE, &mode, sizeof mode);
            compression = Mp3Compression(settings.bitRate, info.samplerate);
        } else if ((settings.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) {
            int mode = SF_BITRATE_MODE_VARIABLE;
            sf_command(m_sound.get(), SFC_SET_BITRATE_MODE, &mode, sizeof mode);
        }
        if (compression >= 0)
            sf_command(m_sound.get(), SFC_SET_COMPRESSION_LEVEL, &compression, sizeof compression);
        return S_OK;
    }

    HRESULT Write(const void* samples, uint32_t frames) override {
        if (!samples) return E_POINTER;
        if (!m_sound) return E_UNEXPECTED;
        return Guarded([&] {
            const void* pass = samples;
            if (m_way->type != m_way->passType) {
                m_wide.resize(size_t{frames} * m_channels * m_way->passBytes);
                QmAudio_GetCopyFunction2(m_way->passType, m_way->type)(
                    m_wide.data(), samples, static_cast<int64_t>(uint64_t{frames} * m_channels), 1.0f);
                pass = m_wide.data();
            }
            return m_way->write(m_sound.get(), pass, frames) == frames ? S_OK : MEDIA_E_WRITE;
        });
    }
    HRESULT SetMeta(IQmReadMeta* meta) override {
        if (!meta) return E_POINTER;
        if (!m_sound) return E_UNEXPECTED;
        return Guarded([&] {
            bool isLost = false;
            for (const MetaValue& value : ListMetaValues(ReadMeta(*meta))) {
                const auto* row =
                    std::ranges::find_if(TEXTS, [&](const TextRow& text) { return value.key == text.key; });
                isLost = isLost || row == std::end(TEXTS) ||
                         sf_set_string(m_sound.get(), row->which, value.text.c_str()) != 0;
            }
            return isLost ? S_FALSE : S_OK;
        });
    }
    HRESULT End() override {
        if (!m_sound) return E_UNEXPECTED;
        return sf_close(m_sound.release()) == 0 ? S_OK : MEDIA_E_WRITE;
    }

private:
    OwnedSound m_sound;
    const SampleWay* m_way = nullptr;
    uint32_t m_channels = 0;
    std::vector<uint8_t> m_wide;
};

class Renderer final : public Counted<IQmRenderFileClass, IID_IQmRenderFileClass> {
public:
    HRESULT Start(uint32_t) override { return S_OK; }
    HRESULT GetPreset(uint32_t index, tagQMTEMPLATExV2** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (index >= std::size(PRESETS)) return S_FALSE;
        const PresetRow& row = PRESETS[index];
        const _qmwaveformat format = FormatOf(TypeOfEncoding(row.settings.format), row.rate, 0);
        return MakePreset(RENDERER, row.name, format, row.settings.bitRate, row.settings, out);
    }
    HRESULT GetDefault(const char16_t* extension, const _qmwaveformat* source,
                       tagQMTEMPLATExV2** out) override {
        if (!extension || !source || !out) return E_POINTER;
        *out = nullptr;
        return Guarded([&]() -> HRESULT {
            const std::string ending = ExtensionOf(extension, true);
            const auto* kind = std::ranges::find_if(
                KINDS, [&](const KindRow& k) { return HasExtension(k.extensions, ending); });
            if (kind == std::end(KINDS)) kind = KINDS;
            const int coded = kind->kind & SF_FORMAT_SUBMASK;
            const int format = coded ? kind->kind : EncodingFor(kind->kind, source->sampleType);
            const bool isMp3 = kind->kind == SF_FORMAT_MPEG, isOpus = format == OPUS;
            constexpr uint32_t USUAL_BIT_RATE = 192000, OPUS_RATE = 48000;
            Settings settings{isMp3 ? MP3 : format, -1, isMp3 ? USUAL_BIT_RATE : 0};
            if (kind->kind == SF_FORMAT_FLAC) settings.compression = 5 / FLAC_LEVELS;
            if (format == VORBIS) settings.compression = 0.4f;
            const _qmwaveformat made =
                FormatOf(TypeOfEncoding(settings.format), isOpus ? OPUS_RATE : source->sampleRate,
                         source->channels, source->channelMask);
            return MakePreset(RENDERER, u"", made, settings.bitRate, settings, out);
        });
    }
    HRESULT CheckTemplate(const tagQMTEMPLATExV2* t) override {
        Settings settings{};
        SF_INFO info{};
        if (!DataOf(t, &settings) || t->renderer != RENDERER || t->audio.size == 0 || t->audio.streams != 1 ||
            !KindOf(settings.format) || !(settings.compression <= 1) ||
            t->audio.format.sampleType != TypeOfEncoding(settings.format))
            return MEDIA_E_BAD_TEMPLATE;
        const _qmwaveformat& format = t->audio.format;
        info.format = settings.format;
        info.channels = format.channels ? format.channels : 1;
        info.samplerate = format.sampleRate ? static_cast<int>(format.sampleRate) : 48000;
        return sf_format_check(&info) ? S_OK : MEDIA_E_BAD_TEMPLATE;
    }
    HRESULT GetExtensions(const tagQMTEMPLATExV2* t, char16_t* text, uint32_t capacity) override {
        Settings settings{};
        if (!text) return E_POINTER;
        if (!DataOf(t, &settings) || !KindOf(settings.format)) return MEDIA_E_BAD_TEMPLATE;
        return Guarded([&] {
            const std::u16string list = Utf16FromUtf8(KindOf(settings.format)->extensions);
            CopyText(text, capacity, list.c_str());
            return list.size() < capacity ? S_OK : MEDIA_E_NO_ROOM;
        });
    }
    HRESULT CreateFile(int32_t descriptor, const char16_t* path, const tagQMTEMPLATExV2* t,
                       const _qmwaveformat* format, IQmRenderFile** out) override {
        if (!path || !format || !out) return E_POINTER;
        *out = nullptr;
        if (const HRESULT hr = CheckTemplate(t); Failed(hr)) return hr;
        return Guarded([&] {
            Settings settings{};
            DataOf(t, &settings);
            const ComPtr<File> file(new File);
            const HRESULT hr = file->Begin(descriptor, settings, *format);
            return Failed(hr) ? hr : GiveOut(file.Get(), out);
        });
    }
};

}  // namespace

IQmRenderFileClass* MakeRenderer() { return new Renderer; }

}  // namespace sound
