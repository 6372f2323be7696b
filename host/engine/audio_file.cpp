#include "host/engine/audio_file.h"

#include <sndfile.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace host {

namespace {

constexpr size_t kReadFrames = 1024;
constexpr int kMaxFileChannels = 64;
constexpr int kMinFileRate = 1000, kMaxFileRate = 1000000;

// A float file may hold anything; one NaN would stay in a bus's sum and meter.
float Tame(float x) {
    constexpr float limit = 1000.0f;
    if (!(x > -limit)) return x != x ? 0.0f : -limit;
    return x < limit ? x : limit;
}

}  // namespace

struct AudioFile::Handle {
    int fd = -1;
    SNDFILE* file = nullptr;
    ~Handle() {
        if (file) sf_close(file);
        if (fd >= 0) ::close(fd);
    }
};

AudioFile::AudioFile(const std::filesystem::path& path) : m_handle(std::make_unique<Handle>()) {
    // A pipe that nobody writes must not keep us waiting.
    m_handle->fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status;
    if (m_handle->fd < 0 || ::fstat(m_handle->fd, &status) != 0) {
        if (errno == ENOENT) throw AudioFileError("no such file");
        const bool limit = errno == EMFILE || errno == ENFILE;
        throw AudioFileError(
            limit ? "the system grants no more open files" : std::generic_category().message(errno), limit);
    }
    if (!S_ISREG(status.st_mode)) throw AudioFileError("not a file");

    SF_INFO info{};
    m_handle->file = sf_open_fd(m_handle->fd, SFM_READ, &info, SF_FALSE);
    if (!m_handle->file) {
        std::string why = sf_strerror(nullptr);
        while (!why.empty() && (why.back() == '\n' || why.back() == '.')) why.pop_back();
        throw AudioFileError(why);
    }
    if (!info.seekable) throw AudioFileError("cannot be positioned");
    if (info.channels < 1 || info.channels > kMaxFileChannels)
        throw AudioFileError("has " + std::to_string(info.channels) + " channels");
    if (info.samplerate < kMinFileRate || info.samplerate > kMaxFileRate)
        throw AudioFileError("has a sample rate of " + std::to_string(info.samplerate) + " Hz");
    m_sampleRate = info.samplerate;
    m_channels = info.channels;
    m_frames = std::max<int64_t>(0, info.frames);
    m_block.resize(kReadFrames * static_cast<size_t>(m_channels));
}

AudioFile::~AudioFile() = default;

void AudioFile::Read(int64_t frame, size_t n, float* left, float* right) {
    const auto silence = [&](size_t from, size_t to) {
        std::fill(left + from, left + to, 0.0f);
        std::fill(right + from, right + to, 0.0f);
    };
    const int64_t end = frame + static_cast<int64_t>(n);
    const auto from = static_cast<size_t>(std::clamp<int64_t>(0, frame, end) - frame);
    const auto to = static_cast<size_t>(std::clamp<int64_t>(m_frames, frame, end) - frame);
    if (from >= to) return silence(0, n);
    silence(0, from);
    const size_t done = ReadInside(frame + static_cast<int64_t>(from), to - from, left + from, right + from);
    silence(from + done, n);
}

size_t AudioFile::ReadInside(int64_t frame, size_t n, float* left, float* right) {
    if (m_at != frame) {
        m_at = -1;
        if (sf_seek(m_handle->file, frame, SF_SEEK_SET) != frame) {
            if (m_fault.empty()) m_fault = "frame " + std::to_string(frame) + " cannot be reached";
            return 0;
        }
        m_at = frame;
    }
    const size_t stride = static_cast<size_t>(m_channels), second = m_channels > 1 ? 1 : 0;
    for (size_t done = 0; done < n;) {
        const size_t want = std::min(n - done, kReadFrames);
        const auto got = static_cast<size_t>(std::max<sf_count_t>(
            0, sf_readf_float(m_handle->file, m_block.data(), static_cast<sf_count_t>(want))));
        for (size_t i = 0; i < got; i++) {
            left[done + i] = Tame(m_block[i * stride]);
            right[done + i] = Tame(m_block[i * stride + second]);
        }
        done += got;
        m_at += static_cast<int64_t>(got);
        if (got < want) {
            if (m_fault.empty()) m_fault = "cannot be read beyond frame " + std::to_string(m_at);
            m_at = -1;
            return done;
        }
    }
    return n;
}

}  // namespace host
