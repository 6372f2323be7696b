#include "audio/audio_copy.h"
#include "fileio/meta_chunks.h"
#include "fileio/plugins/sndfile_formats.h"
#include "fileio/plugins/sndfile_texts.h"
#include "fileio/plugins/sound_renderer.h"
#include "mediafile/meta/meta_values.h"

#include <cmath>

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
constexpr float FLAC_LEVELS = 8, QUALITIES = 10, VARIABLE_MP3 = 0.2f;
constexpr uint32_t OPUS_RATE = 48000, HIGHEST_MP3_RATE = 48000;

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
    {u"Opus", {OPUS, 0.8f, 0}, OPUS_RATE},
    {u"MP3, 128 kbps", {MP3, -1, 128000}},
    {u"MP3, 192 kbps", {MP3, -1, 192000}},
    {u"MP3, 320 kbps", {MP3, -1, 320000}},
    {u"MP3, variable", {MP3, VARIABLE_MP3, 0}},
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

class RenderedFile final : public Counted<IQmRenderFile, IID_IQmRenderFile> {
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
        return Guarded([&]() -> HRESULT {
            // Encoders take what they get at once onto their stack.
            constexpr uint32_t MOST = 1 << 13;
            const auto* from = static_cast<const uint8_t*>(samples);
            const size_t frame = size_t{QmAudio_BytesFromSampleType(m_way->type)} * m_channels;
            for (uint32_t done = 0; done < frames;) {
                const uint32_t part = std::min(frames - done, MOST);
                if (!WritePart(from + done * frame, part)) return MEDIA_E_WRITE;
                done += part;
            }
            return S_OK;
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
    bool WritePart(const void* samples, uint32_t frames) {
        const void* pass = samples;
        if (m_way->type != m_way->passType) {
            m_wide.resize(size_t{frames} * m_channels * m_way->passBytes);
            QmAudio_GetCopyFunction2(m_way->passType, m_way->type)(
                m_wide.data(), samples, static_cast<int64_t>(uint64_t{frames} * m_channels), 1.0f);
            pass = m_wide.data();
        }
        return m_way->write(m_sound.get(), pass, frames) == frames;
    }

    OwnedSound m_sound;
    const SampleWay* m_way = nullptr;
    uint32_t m_channels = 0;
    std::vector<uint8_t> m_wide;
};

class Renderer final : public SoundRenderer<Settings> {
public:
    Renderer() : SoundRenderer(RENDERER) {}

protected:
    const char16_t* Preset(uint32_t index, Parts* parts) const override {
        if (index >= std::size(PRESETS)) return nullptr;
        const PresetRow& row = PRESETS[index];
        *parts = {FormatOf(TypeOfEncoding(row.settings.format), row.rate, 0), row.settings.bitRate,
                  row.settings};
        return row.name;
    }
    Parts Default(const std::string& ending, const _qmwaveformat& source) const override {
        const auto* kind =
            std::ranges::find_if(KINDS, [&](const KindRow& k) { return HasExtension(k.extensions, ending); });
        if (kind == std::end(KINDS)) kind = KINDS;
        const int coded = kind->kind & SF_FORMAT_SUBMASK;
        const int format = coded ? kind->kind : EncodingFor(kind->kind, source.sampleType);
        const bool isMp3 = kind->kind == SF_FORMAT_MPEG;
        constexpr uint32_t USUAL_BIT_RATE = 192000;
        Settings settings{isMp3 ? MP3 : format, -1, isMp3 ? USUAL_BIT_RATE : 0};
        if (kind->kind == SF_FORMAT_FLAC) settings.compression = 5 / FLAC_LEVELS;
        if (format == VORBIS) settings.compression = 0.4f;
        if (format == OPUS) settings.compression = 0.8f;
        const uint32_t rate = format == OPUS ? OPUS_RATE
                              : isMp3        ? std::min(source.sampleRate, HIGHEST_MP3_RATE)
                                             : source.sampleRate;
        return {FormatOf(TypeOfEncoding(settings.format), rate, source.channels, source.channelMask),
                settings.bitRate, settings};
    }
    bool IsPossible(const Parts& parts) const override {
        const Settings& settings = parts.settings;
        const _qmwaveformat& format = parts.format;
        if (!KindOf(settings.format) || !(settings.compression <= 1) ||
            format.sampleType != TypeOfEncoding(settings.format))
            return false;
        SF_INFO info{};
        info.format = settings.format;
        info.channels = format.channels ? format.channels : 1;
        info.samplerate = format.sampleRate ? static_cast<int>(format.sampleRate) : 48000;
        return sf_format_check(&info) != 0;
    }
    std::string Extensions(const Settings& settings) const override {
        const KindRow* kind = KindOf(settings.format);
        return kind ? kind->extensions : std::string();
    }
    std::vector<FIOTEMPLATEFIELD> Fields(const Parts& parts) const override {
        const Settings& settings = parts.settings;
        const _qmwaveformat& f = parts.format;
        const int kind = KindOf(settings.format)->kind;
        const bool isMp3 = kind == SF_FORMAT_MPEG, isCodec = isMp3 || kind & SF_FORMAT_SUBMASK;
        std::vector<FIOTEMPLATEFIELD> fields;
        std::vector<uint32_t> types, rates = USUAL_RATES, channels = USUAL_CHANNELS;
        for (const QMSAMPLETYPE type : {QMSAMPLE_PCM16, QMSAMPLE_PCM24, QMSAMPLE_PCM32, QMSAMPLE_FLOAT32})
            if (!isCodec && TypeOfEncoding(EncodingFor(kind, type)) == type) types.push_back(type);
        if (isMp3) rates = {0, 32000, 44100, 48000}, channels = {0, 1, 2};
        if (kind == OPUS) rates = {16000, 24000, OPUS_RATE};
        if (!types.empty()) fields.push_back(FieldOf(FIO_FIELD_TYPE, f.sampleType, types));
        fields.push_back(FieldOf(FIO_FIELD_RATE, f.sampleRate, rates));
        fields.push_back(FieldOf(FIO_FIELD_CHANNELS, f.channels, channels));
        const std::vector<uint32_t> steps = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
        if (isMp3)
            fields.push_back(FieldOf(FIO_FIELD_BIT_RATE, settings.bitRate,
                                     {0, 96000, 128000, 160000, 192000, 224000, 256000, 320000}));
        if (kind == VORBIS || kind == OPUS || (isMp3 && settings.bitRate == 0))
            fields.push_back(FieldOf(FIO_FIELD_QUALITY, Steps(1 - settings.compression, QUALITIES), steps));
        if (kind == SF_FORMAT_FLAC)
            fields.push_back(FieldOf(FIO_FIELD_LEVEL, Steps(settings.compression, FLAC_LEVELS),
                                     {steps.begin(), steps.begin() + 9}));
        return fields;
    }
    void Change(uint32_t field, uint32_t value, Parts& parts) const override {
        Settings& settings = parts.settings;
        const auto step = static_cast<float>(value);
        if (field == FIO_FIELD_TYPE)
            settings.format = EncodingFor(KindOf(settings.format)->kind, parts.format.sampleType);
        if (field == FIO_FIELD_QUALITY) settings.compression = 1 - step / QUALITIES;
        if (field == FIO_FIELD_LEVEL) settings.compression = step / FLAC_LEVELS;
        if (field != FIO_FIELD_BIT_RATE) return;
        settings.bitRate = value;
        settings.compression = value ? -1 : VARIABLE_MP3;
    }
    HRESULT Begin(int descriptor, const std::string&, const Settings& settings, const _qmwaveformat& format,
                  IQmRenderFile** out) const override {
        const ComPtr<RenderedFile> file(new RenderedFile);
        const HRESULT hr = file->Begin(descriptor, settings, format);
        return Failed(hr) ? hr : GiveOut(file.Get(), out);
    }

private:
    static uint32_t Steps(float share, float all) {
        return static_cast<uint32_t>(std::lround(std::clamp(share, 0.0f, 1.0f) * all));
    }
};

}  // namespace

IQmRenderFileClass* MakeRenderer() { return new Renderer; }

}  // namespace sound
