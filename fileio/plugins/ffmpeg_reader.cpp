// The plug-in of what FFmpeg's libraries read: sound, pictures and texts of MP4, MOV, Matroska, WebM and
// more.
#include "audio/audio_copy.h"
#include "fileio/plugins/ffmpeg_decoder.h"
#include "fileio/plugins/plugin_entry.h"
#include "fileio/plugins/sound_reader.h"
#include "mediafile/meta/meta_values.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

extern "C" {
#include <libavutil/log.h>
#include <libswscale/swscale.h>
}

using namespace tarn;

namespace film {

namespace {

constexpr GUID READER = Guid("{C1B2A390-52D7-4E6B-8A8C-91D3E07F4B03}");
constexpr char16_t EXTENSIONS[] = u"mp4;m4a;m4v;mov;mkv;mka;webm;avi;mts;m2ts;ts;mpg;mpeg;vob;flv;wmv;wma;"
                                  u"asf;aac;ac3;eac3;dts;3gp;ape;wv;tta;mpc;ra;rm;"
                                  u"amr;dsf;mp3;ogg;opus;flac";

constexpr AVRational MICROSECONDS{1, AV_TIME_BASE};

/// The file that all its streams open for themselves.
struct File {
    explicit File(int file) : descriptor(::fcntl(file, F_DUPFD_CLOEXEC, 0)) {}
    ~File() {
        if (descriptor >= 0) ::close(descriptor);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    const int descriptor;
    Container container;
    std::vector<int> streams;  ///< those that can be decoded
};
using SharedFile = std::shared_ptr<File>;

std::string TagOf(const AVDictionary* tags, const char* key) {
    const AVDictionaryEntry* entry = av_dict_get(tags, key, nullptr, 0);
    return entry && entry->value ? entry->value : "";
}

HRESULT StreamName(const AVStream& stream, char16_t* text, uint32_t capacity) {
    return Guarded([&] {
        std::string name = TagOf(stream.metadata, "title");
        if (name.empty()) name = TagOf(stream.metadata, "language");
        CopyText(text, capacity, Utf16FromUtf8(name).c_str());
        return name.empty() ? S_FALSE : S_OK;
    });
}

struct SampleRow {
    AVSampleFormat format;  ///< side by side; the planar one is made of it
    QMSAMPLETYPE type;
};
constexpr SampleRow SAMPLES[] = {
    {AV_SAMPLE_FMT_U8, QMSAMPLE_PCM8},     {AV_SAMPLE_FMT_S16, QMSAMPLE_PCM16},
    {AV_SAMPLE_FMT_S32, QMSAMPLE_PCM32},   {AV_SAMPLE_FMT_FLT, QMSAMPLE_FLOAT32},
    {AV_SAMPLE_FMT_DBL, QMSAMPLE_FLOAT64},
};
QMSAMPLETYPE TypeOf(int format) {
    const auto packed = av_get_packed_sample_fmt(static_cast<AVSampleFormat>(format));
    const auto* row = std::ranges::find(SAMPLES, packed, &SampleRow::format);
    return row == std::end(SAMPLES) ? QMSAMPLE_UNKNOWN : row->type;
}

class AudioStream final : public SoundStream {
public:
    bool Open(SharedFile file, int index) {
        m_file = std::move(file);
        if (!m_decoder.Open(m_file->descriptor, index)) return false;
        const AVCodecParameters& p = *m_decoder.Stream().codecpar;
        const QMSAMPLETYPE decoded = TypeOf(m_decoder.Codec().sample_fmt);
        m_channels = static_cast<uint32_t>(std::max(p.ch_layout.nb_channels, 0));
        m_rate = static_cast<uint32_t>(std::max(p.sample_rate, 0));
        if (!decoded || m_channels == 0 || m_channels > 64 || m_rate == 0) return false;
        // Integers of 24 bits come in words of 32.
        m_decodedType = decoded;
        const int bits = std::max(m_decoder.Codec().bits_per_raw_sample, p.bits_per_raw_sample);
        m_type = decoded == QMSAMPLE_PCM32 && bits == 24 ? QMSAMPLE_PCM24 : decoded;
        m_frameBytes = QmAudio_BytesFromSampleType(decoded) * m_channels;
        const AVStream& stream = m_decoder.Stream();
        const AVRational clock{1, static_cast<int>(m_rate)};
        // The first sample that comes is frame 0, whatever time the container begins at.
        const AVFrame* first = m_decoder.Next();
        if (!first) return false;
        m_start = first->pts != AV_NOPTS_VALUE          ? first->pts
                  : stream.start_time != AV_NOPTS_VALUE ? stream.start_time
                                                        : 0;
        if (!TakeBlock(*first)) return false;
        m_frames = stream.duration > 0
                       ? av_rescale_q(stream.duration, stream.time_base, clock)
                       : av_rescale_q(std::max<int64_t>(m_file->container.Format().duration, 0), MICROSECONDS,
                                      clock);
        const bool countsFrames = stream.time_base.den == clock.den && stream.time_base.num == 1;
        FindEnd(index, stream.duration <= 0 || !countsFrames);
        // One channel needs no place.
        const bool hasPlaces = p.ch_layout.order == AV_CHANNEL_ORDER_NATIVE && m_channels > 1;
        m_layout = hasPlaces ? static_cast<uint32_t>(p.ch_layout.u.mask) : 0;
        return m_frames > 0;
    }

    HRESULT GetName(char16_t* text, uint32_t capacity) override {
        return StreamName(m_decoder.Stream(), text, capacity);
    }
    HRESULT GetFormat(_qmwaveformat* format, uint32_t capacity) override {
        if (!format) return E_POINTER;
        format->Init(m_rate, m_type, m_channels, m_layout, capacity);
        return S_OK;
    }

protected:
    uint64_t Frames() const override { return static_cast<uint64_t>(m_frames); }
    HRESULT ReadInside(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) override {
        m_wide.assign(size_t{frames} * m_frameBytes, 0);
        if (m_type == QMSAMPLE_PCM8) std::ranges::fill(m_wide, uint8_t{0x80});
        if (!MoveTo(static_cast<int64_t>(frame))) return MEDIA_E_READ;
        // Where the last frames are fewer than the header tells there is silence.
        for (uint32_t done = 0; done < frames;) {
            const int64_t at = static_cast<int64_t>(frame) + done;
            if (at >= m_blockEnd && !NextBlock()) break;
            if (at < m_blockAt) {  // a gap
                done += static_cast<uint32_t>(std::min<int64_t>(frames - done, m_blockAt - at));
                continue;
            }
            if (at >= m_blockEnd) continue;
            const auto part = static_cast<uint32_t>(std::min<int64_t>(frames - done, m_blockEnd - at));
            std::memcpy(&m_wide[size_t{done} * m_frameBytes],
                        &m_block[static_cast<size_t>(at - m_blockAt) * m_frameBytes],
                        size_t{part} * m_frameBytes);
            done += part;
        }
        QmAudio_GetCopyFunction2(m_type, m_decodedType)(samples, m_wide.data(), int64_t{frames} * m_channels,
                                                        1.0f);
        *got = frames;
        return S_OK;
    }

private:
    bool MoveTo(int64_t frame) {
        const int64_t near = int64_t{m_rate} * 10;
        if (frame >= m_blockAt && frame < m_blockEnd + near) return true;
        if (frame == 0 && m_blockEnd == 0) return true;
        // Some codecs need what is before a place to be right there.
        const int64_t from = std::max<int64_t>(frame - m_rate / 5, 0);
        const AVRational clock{1, static_cast<int>(m_rate)};
        m_block.clear();
        m_blockAt = m_blockEnd = frame == 0 ? 0 : -1;
        return m_decoder.SeekBefore(m_start + av_rescale_q(from, clock, m_decoder.Stream().time_base));
    }
    /// By its time; below 0 where that is not told.
    int64_t PlaceOf(const AVFrame& f) const {
        const AVRational clock{1, static_cast<int>(m_rate)};
        return f.pts == AV_NOPTS_VALUE ? -1
                                       : av_rescale_q(f.pts - m_start, m_decoder.Stream().time_base, clock);
    }
    /// What containers tell of their length is too coarse to lose nothing at the end, or counts frames that
    /// are not there, so that is looked at.
    void FindEnd(int index, bool mayBeLater) {
        Decoder tail;
        if (!tail.Open(m_file->descriptor, index)) return;
        const int64_t from = m_frames - int64_t{m_rate} * 3;
        const AVRational clock{1, static_cast<int>(m_rate)};
        if (from > 0 && !tail.SeekBefore(m_start + av_rescale_q(from, clock, tail.Stream().time_base)))
            return;
        int64_t end = from > 0 ? -1 : 0, left = int64_t{m_rate} * 60;
        const AVFrame* f = tail.Next();
        for (; f && left > 0; f = tail.Next()) {
            if (end < 0) end = PlaceOf(*f);
            if (end >= 0) end += f->nb_samples;
            left -= f->nb_samples;
        }
        const bool isEnd = !f && end > 0;
        if (isEnd && (mayBeLater || end < m_frames)) m_frames = end;
    }
    bool NextBlock() {
        const AVFrame* f = m_decoder.Next();
        return f && TakeBlock(*f);
    }
    bool TakeBlock(const AVFrame& frame) {
        const AVFrame* const f = &frame;
        if (f->nb_samples <= 0 || TypeOf(f->format) != m_decodedType ||
            f->ch_layout.nb_channels != static_cast<int>(m_channels))
            return false;
        const int64_t told = PlaceOf(*f);
        // Clocks of a millisecond are too coarse to tell a frame; what follows without a gap goes on.
        const bool goesOn = m_blockEnd >= 0 && (told < 0 || std::abs(told - m_blockEnd) <= m_rate / 500 + 1);
        m_blockAt = goesOn ? m_blockEnd : std::max<int64_t>(told, 0);
        const auto count = static_cast<size_t>(f->nb_samples);
        m_blockEnd = m_blockAt + f->nb_samples;
        m_block.resize(count * m_frameBytes);
        const size_t width = m_frameBytes / m_channels;
        if (!av_sample_fmt_is_planar(static_cast<AVSampleFormat>(f->format))) {
            std::memcpy(m_block.data(), f->extended_data[0], m_block.size());
            return true;
        }
        for (uint32_t c = 0; c < m_channels; c++)
            for (size_t i = 0; i < count; i++)
                std::memcpy(&m_block[i * m_frameBytes + c * width], f->extended_data[c] + i * width, width);
        return true;
    }

    SharedFile m_file;
    Decoder m_decoder;
    QMSAMPLETYPE m_type = QMSAMPLE_UNKNOWN, m_decodedType = QMSAMPLE_UNKNOWN;
    uint32_t m_channels = 0, m_rate = 0, m_frameBytes = 0, m_layout = 0;
    int64_t m_start = 0, m_frames = 0;
    int64_t m_blockAt = 0, m_blockEnd = 0;  ///< frames of the block; -1 where they are not known yet
    std::vector<uint8_t> m_block, m_wide;
};

class VideoStream final : public Counted<IQmReadVideoStream, IID_IQmReadStream, IID_IQmReadVideoStream> {
public:
    ~VideoStream() override { sws_freeContext(m_scaler); }
    bool Open(SharedFile file, int index) {
        m_file = std::move(file);
        if (!m_decoder.Open(m_file->descriptor, index)) return false;
        const AVStream& stream = m_decoder.Stream();
        const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
        constexpr int MOST = 16384;
        const AVCodecParameters& p = *stream.codecpar;
        if (p.width < 1 || p.height < 1 || p.width > MOST || p.height > MOST || rate.num < 1 || rate.den < 1)
            return false;
        m_start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
        const int64_t length = stream.duration > 0
                                   ? stream.duration
                                   : av_rescale_q(std::max<int64_t>(m_file->container.Format().duration, 0),
                                                  MICROSECONDS, stream.time_base);
        m_told = {static_cast<uint32_t>(p.width),
                  static_cast<uint32_t>(p.height),
                  static_cast<uint32_t>(rate.num),
                  static_cast<uint32_t>(rate.den),
                  static_cast<uint64_t>(stream.nb_frames > 0
                                            ? stream.nb_frames
                                            : av_rescale_q(length, stream.time_base, av_inv_q(rate))),
                  {}};
        CopyText(m_told.codec, std::size(m_told.codec), Utf16FromUtf8(avcodec_get_name(p.codec_id)).c_str());
        return true;
    }
    HRESULT GetType(uint32_t* type) override { return type ? (*type = FIO_STREAM_VIDEO, S_OK) : E_POINTER; }
    HRESULT GetName(char16_t* text, uint32_t capacity) override {
        return StreamName(m_decoder.Stream(), text, capacity);
    }
    HRESULT GetFormat(FIOVIDEOFORMAT* format) override {
        return format ? (*format = m_told, S_OK) : E_POINTER;
    }
    HRESULT ReadFrame(uint64_t frame, void* pixels, uint32_t bytes) override {
        if (!pixels) return E_POINTER;
        if (uint64_t{bytes} < uint64_t{4} * m_told.width * m_told.height) return E_INVALIDARG;
        if (m_told.frames && frame >= m_told.frames) return S_FALSE;
        const AVRational rate{static_cast<int>(m_told.rate), static_cast<int>(m_told.scale)};
        const AVRational clock = m_decoder.Stream().time_base;
        const int64_t time = m_start + av_rescale_q(static_cast<int64_t>(frame), av_inv_q(rate), clock);
        const int64_t half = av_rescale_q(1, av_inv_q(rate), clock) / 2;
        if ((frame < m_next || frame > m_next + rate.num / rate.den * 2) && !m_decoder.SeekBefore(time))
            return MEDIA_E_READ;
        for (;;) {
            const AVFrame* f = m_decoder.Next();
            if (!f) return S_FALSE;
            const int64_t shown = f->best_effort_timestamp;
            if (shown != AV_NOPTS_VALUE && shown + half < time) continue;
            m_next = frame + 1;
            return Convert(*f, static_cast<uint8_t*>(pixels));
        }
    }

private:
    HRESULT Convert(const AVFrame& f, uint8_t* pixels) {
        const auto width = static_cast<int>(m_told.width), height = static_cast<int>(m_told.height);
        m_scaler = sws_getCachedContext(m_scaler, f.width, f.height, static_cast<AVPixelFormat>(f.format),
                                        width, height, AV_PIX_FMT_BGRA, SWS_BILINEAR | SWS_ACCURATE_RND,
                                        nullptr, nullptr, nullptr);
        if (!m_scaler) return MEDIA_E_READ;
        uint8_t* planes[4] = {pixels};
        const int strides[4] = {width * 4};
        return sws_scale(m_scaler, f.data, f.linesize, 0, f.height, planes, strides) > 0 ? S_OK
                                                                                         : MEDIA_E_READ;
    }

    SharedFile m_file;
    Decoder m_decoder;
    FIOVIDEOFORMAT m_told{};
    int64_t m_start = 0;
    uint64_t m_next = 0;
    SwsContext* m_scaler = nullptr;
};

/// The words of a line of the decoders' own form: fields, and signs for how it looks.
std::string PlainText(std::string_view line) {
    constexpr int FIELDS = 8;
    for (int i = 0; i < FIELDS && line.find(',') != line.npos; i++) line.remove_prefix(line.find(',') + 1);
    std::string text;
    while (!line.empty()) {
        const size_t close = line.front() == '{' ? line.find('}') : line.npos;
        if (close != line.npos) {
            line.remove_prefix(close + 1);
            continue;
        }
        const std::string_view sign = line.substr(0, 2);
        const bool isBreak = sign == "\\N" || sign == "\\n", isSpace = sign == "\\h";
        text += isBreak ? '\n' : isSpace ? ' ' : line.front();
        line.remove_prefix(isBreak || isSpace ? 2 : 1);
    }
    while (text.ends_with('\n') || text.ends_with('\r')) text.pop_back();
    return text;
}

bool IsText(AVCodecID codec) {
    const AVCodecDescriptor* known = avcodec_descriptor_get(codec);
    return known && known->props & AV_CODEC_PROP_TEXT_SUB;
}

class TextStream final : public Counted<IQmReadTextStream, IID_IQmReadStream, IID_IQmReadTextStream> {
public:
    bool Open(SharedFile file, int index) {
        m_file = std::move(file);
        return m_decoder.Open(m_file->descriptor, index);
    }
    HRESULT GetType(uint32_t* type) override { return type ? (*type = FIO_STREAM_TEXT, S_OK) : E_POINTER; }
    HRESULT GetName(char16_t* text, uint32_t capacity) override {
        return StreamName(m_decoder.Stream(), text, capacity);
    }
    HRESULT ReadNext(int64_t* start, int64_t* end, char16_t* text, uint32_t capacity) override {
        if (!start || !end || !text) return E_POINTER;
        return Guarded([&] {
            constexpr int64_t UNITS = 10;  // of 100 ns in a microsecond
            std::string words;
            while (words.empty()) {
                AVSubtitle shown{};
                if (!m_decoder.NextText(&shown, start, end)) return S_FALSE;
                for (unsigned i = 0; i < shown.num_rects; i++) {
                    const AVSubtitleRect& part = *shown.rects[i];
                    const std::string line = part.ass ? PlainText(part.ass) : part.text ? part.text : "";
                    if (!line.empty()) words += (words.empty() ? "" : "\n") + line;
                }
                avsubtitle_free(&shown);
            }
            *start *= UNITS;
            *end *= UNITS;
            CopyText(text, capacity, Utf16FromUtf8(words).c_str());
            return S_OK;
        });
    }

private:
    SharedFile m_file;
    Decoder m_decoder;
};

struct TextRow {
    const char *tag, *key;
};
constexpr TextRow TEXTS[] = {{"title", "info.INAM"},     {"artist", "info.IART"},  {"album", "info.IPRD"},
                             {"comment", "info.ICMT"},   {"date", "info.ICRD"},    {"genre", "info.IGNR"},
                             {"copyright", "info.ICOP"}, {"encoder", "info.ISFT"}, {"track", "info.ITRK"}};

class ReadFile final : public Counted<IQmReadFile, IID_IQmReadFile> {
public:
    explicit ReadFile(SharedFile file) : m_file(std::move(file)) {}
    HRESULT GetFormatName(char16_t* text, uint32_t capacity) override {
        return Guarded([&] {
            CopyText(text, capacity, Utf16FromUtf8(m_file->container.Format().iformat->long_name).c_str());
            return S_OK;
        });
    }
    HRESULT GetStreamCount(uint32_t* count) override {
        return count ? (*count = static_cast<uint32_t>(m_file->streams.size()), S_OK) : E_POINTER;
    }
    HRESULT GetStream(uint32_t index, const GUID& iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (index >= m_file->streams.size()) return E_INVALIDARG;
        return Guarded([&] {
            const int which = m_file->streams[index];
            switch (m_file->container.Format().streams[which]->codecpar->codec_type) {
            case AVMEDIA_TYPE_VIDEO: return Give(new VideoStream, which, iid, out);
            case AVMEDIA_TYPE_SUBTITLE: return Give(new TextStream, which, iid, out);
            default: return Give(new AudioStream, which, iid, out);
            }
        });
    }
    HRESULT GetMeta(const GUID& iid, void** out) override {
        return GiveMeta(iid, out, [&] {
            MetaDocument document;
            document.container = MediaContainer::Wave;
            for (const TextRow& row : TEXTS)
                if (const std::string text = TagOf(m_file->container.Format().metadata, row.tag);
                    !text.empty())
                    SetMetaValue(document, row.key, text);
            return document;
        });
    }

private:
    template <class Stream>
    HRESULT Give(Stream* made, int which, const GUID& iid, void** out) {
        const ComPtr<Stream> stream(made);
        const HRESULT hr = stream->QueryInterface(iid, out);
        if (Failed(hr) || stream->Open(m_file, which)) return hr;
        stream->Release();
        *out = nullptr;
        return MEDIA_E_UNSUPPORTED_FORMAT;
    }

    const SharedFile m_file;
};

class Reader final : public Counted<IQmReadFileClass, IID_IQmReadFileClass> {
public:
    HRESULT Start(uint32_t) override {
        av_log_set_level(AV_LOG_QUIET);
        return S_OK;
    }
    HRESULT Recognize(const void* head, uint32_t bytes) override {
        if (!head || bytes < 12) return S_FALSE;
        return Guarded([&] {
            std::vector<uint8_t> padded(size_t{bytes} + AVPROBE_PADDING_SIZE);
            std::memcpy(padded.data(), head, bytes);
            AVProbeData probe{"", padded.data(), static_cast<int>(bytes), nullptr};
            int score = AVPROBE_SCORE_EXTENSION;  // what is less sure is for the ending to tell
            return av_probe_input_format2(&probe, 1, &score) ? S_OK : S_FALSE;
        });
    }
    HRESULT OpenFile(int32_t descriptor, const char16_t*, IQmReadFile** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        return Guarded([&]() -> HRESULT {
            const auto file = std::make_shared<File>(descriptor);
            if (file->descriptor < 0 || !file->container.Open(file->descriptor))
                return MEDIA_E_UNSUPPORTED_FORMAT;
            const AVFormatContext& format = file->container.Format();
            for (unsigned i = 0; i < format.nb_streams; i++) {
                const AVCodecParameters& p = *format.streams[i]->codecpar;
                const bool isRead = p.codec_type == AVMEDIA_TYPE_AUDIO ||
                                    p.codec_type == AVMEDIA_TYPE_VIDEO || IsText(p.codec_id);
                const bool isCover = format.streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC;
                if (isRead && !isCover && avcodec_find_decoder(p.codec_id))
                    file->streams.push_back(static_cast<int>(i));
            }
            if (file->streams.empty()) return MEDIA_E_UNSUPPORTED_FORMAT;
            return GiveOut(new ReadFile(file), out);
        });
    }
};

}  // namespace

}  // namespace film

QMFIOPLUG_EXPORT HRESULT QmFioPlug_GetInfo(uint32_t, FIOPLUGININFO* info) {
    // Not in the program's process: its decoders are many, and files come from anywhere.
    return FillPluginInfo(info, 0, film::READER, GUID{},
                          {u"Film and compressed sound", film::EXTENSIONS, u""});
}

QMFIOPLUG_EXPORT HRESULT QmFioPlug_CreateClass(const GUID* classId, const GUID* iid, void** out) {
    if (!classId || !iid || !out) return E_POINTER;
    *out = nullptr;
    if (*classId != film::READER) return E_NOINTERFACE;
    return CreatePluginClass([] { return new film::Reader; }, *iid, out);
}
