#include "audio/audio_copy.h"
#include "fileio/plugins/sndfile_formats.h"
#include "fileio/plugins/sndfile_texts.h"
#include "fileio/plugins/sound_reader.h"
#include "mediafile/meta/meta_values.h"

#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace tarn;
using namespace std::string_view_literals;

namespace sound {

namespace {

constexpr int MOST_CHANNELS = 1024, HIGHEST_RATE = 10000000;
constexpr sf_count_t MOST_FRAMES = sf_count_t{1} << 48;  ///< what a stream without an end tells is more

struct Opened {
    explicit Opened(int file) : descriptor(::fcntl(file, F_DUPFD_CLOEXEC, 0)) {}
    ~Opened() {
        if (descriptor >= 0) ::close(descriptor);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    bool Open() {
        at = 0;
        info = {};
        sound.reset();
        if (::lseek(descriptor, 0, SEEK_SET) == 0) sound = OpenSound(descriptor, SFM_READ, &info);
        return sound && FindEnd();
    }
    /// MPEG audio ends before the frames that its header tells, by what the coder needs to begin.
    bool FindEnd() {
        constexpr sf_count_t NEAR_END = 1 << 14, PIECE = 4096;
        if ((info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_MPEG || !info.seekable) return true;
        std::vector<float> samples(PIECE * static_cast<size_t>(std::max(info.channels, 1)));
        sf_count_t end = std::max<sf_count_t>(info.frames - NEAR_END, 0);
        if (sf_seek(sound.get(), end, SEEK_SET) != end) return true;
        for (sf_count_t got = PIECE; got > 0 && end < info.frames; end += got)
            got = sf_readf_float(sound.get(), samples.data(), PIECE);
        info.frames = std::min(end, info.frames);
        return sf_seek(sound.get(), 0, SEEK_SET) == 0;
    }
    /// Some codecs can only be read from their start on.
    bool MoveTo(uint64_t frame) {
        if (sound && frame == at) return true;
        if (sound && info.seekable && sf_seek(sound.get(), static_cast<sf_count_t>(frame), SEEK_SET) >= 0)
            return at = frame, true;
        if ((frame < at || !sound) && !Open()) return false;
        constexpr uint64_t PIECE = 4096;
        std::vector<float> skipped(PIECE * static_cast<size_t>(info.channels));
        while (at < frame) {
            const auto part = static_cast<sf_count_t>(std::min(PIECE, frame - at));
            const sf_count_t got = sf_readf_float(sound.get(), skipped.data(), part);
            if (got <= 0) return false;
            at += static_cast<uint64_t>(got);
        }
        return true;
    }

    const int descriptor;
    OwnedSound sound;
    SF_INFO info{};
    const SampleWay* way = nullptr;
    uint64_t at = 0;  ///< of the next frame that is read
};

class Stream final : public SoundStream {
public:
    explicit Stream(std::shared_ptr<Opened> file) : m_file(std::move(file)) {}

    HRESULT GetFormat(_qmwaveformat* format, uint32_t capacity) override {
        if (!format) return E_POINTER;
        format->Init(static_cast<uint32_t>(m_file->info.samplerate), m_file->way->type,
                     static_cast<uint32_t>(m_file->info.channels), 0, capacity);
        return S_OK;
    }

protected:
    uint64_t Frames() const override { return static_cast<uint64_t>(m_file->info.frames); }
    HRESULT ReadInside(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) override {
        Opened& f = *m_file;
        if (!f.MoveTo(frame)) return MEDIA_E_READ;
        const auto channels = static_cast<size_t>(f.info.channels);
        const bool isDirect = f.way->type == f.way->passType;
        if (!isDirect) m_wide.resize(size_t{frames} * channels * f.way->passBytes);
        const sf_count_t read = f.way->read(f.sound.get(), isDirect ? samples : m_wide.data(), frames);
        *got = static_cast<uint32_t>(std::clamp<sf_count_t>(read, 0, frames));
        f.at = frame + *got;
        if (!isDirect)
            QmAudio_GetCopyFunction2(f.way->type, f.way->passType)(
                samples, m_wide.data(), static_cast<int64_t>(*got * channels), 1.0f);
        return *got < frames ? MEDIA_E_READ : S_OK;
    }

private:
    const std::shared_ptr<Opened> m_file;
    std::vector<uint8_t> m_wide;
};

class File final : public SoundFile<Stream, Opened> {
public:
    using SoundFile::SoundFile;

protected:
    std::string Name(const Opened& file) const override { return NameOfFormat(file.info.format); }
    MetaDocument Metadata(const Opened& file) const override {
        MetaDocument document;
        document.container = MediaContainer::Wave;
        for (const TextRow& row : TEXTS)
            if (const char* text = !file.sound ? nullptr : sf_get_string(file.sound.get(), row.which))
                SetMetaValue(document, row.key, text);
        return document;
    }
};

constexpr std::string_view SIGNATURES[] = {
    "RIFF"sv,
    "RF64"sv,
    "riff"sv,
    "FORM"sv,
    "fLaC"sv,
    "OggS"sv,
    "caff"sv,
    ".snd"sv,
    "dns."sv,
    "ID3"sv,
    "NIST_1A"sv,
    "Creative Voice File"sv,
    "2BIT"sv,
    "PVF1"sv,
    "Extended Instrument:"sv,
    "\x64\xA3\x01\0"sv,
    "\0\x01\xA3\x64"sv,
    " paf"sv,
    "fap "sv,
};

/// The first frame of MPEG audio, with no number in it that cannot be.
bool IsMpeg(const uint8_t* head) {
    const bool isSync = head[0] == 0xFF && (head[1] & 0xE0) == 0xE0;
    const int version = head[1] >> 3 & 3, layer = head[1] >> 1 & 3, rate = head[2] >> 4,
              frequency = head[2] >> 2 & 3;
    return isSync && version != 1 && layer != 0 && rate != 0 && rate != 15 && frequency != 3;
}

class Reader final : public Counted<IQmReadFileClass, IID_IQmReadFileClass> {
public:
    HRESULT Start(uint32_t) override { return S_OK; }
    HRESULT Recognize(const void* head, uint32_t bytes) override {
        if (!head || bytes < 4) return S_FALSE;
        const std::string_view text(static_cast<const char*>(head), bytes);
        const bool isKnown =
            std::ranges::any_of(SIGNATURES, [&](std::string_view s) { return text.starts_with(s); });
        return isKnown || IsMpeg(static_cast<const uint8_t*>(head)) ? S_OK : S_FALSE;
    }
    HRESULT OpenFile(int32_t descriptor, const char16_t*, IQmReadFile** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        return Guarded([&]() -> HRESULT {
            auto opened = std::make_shared<Opened>(descriptor);
            const SF_INFO& info = opened->info;
            if (!opened->Open() || info.frames < 0 || info.frames > MOST_FRAMES || info.channels < 1 ||
                info.channels > MOST_CHANNELS || info.samplerate < 1 || info.samplerate > HIGHEST_RATE)
                return MEDIA_E_UNSUPPORTED_FORMAT;
            opened->way = WayOf(TypeOfEncoding(info.format));
            return GiveOut(new File(std::move(opened)), out);
        });
    }
};

}  // namespace

IQmReadFileClass* MakeReader() { return new Reader; }

}  // namespace sound
