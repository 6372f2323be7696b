// Audio files as stereo samples at any place, at their own rate or at the project's.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

/// Why a file cannot be played; what() is one line without the file's name.
struct AudioFileError : std::runtime_error {
    explicit AudioFileError(const std::string& why, bool passing = false)
        : std::runtime_error(why), mayPass(passing) {}

    bool mayPass;  ///< it is not the file's fault, and later it may be played
};

/// A file at its own sample rate. A mono file fills both sides; of more than two channels the first two are
/// taken. Samples are finite and at most 1000 in magnitude whatever the file holds. One user at a time.
/// [disk-thread]
class AudioFile {
public:
    explicit AudioFile(const std::filesystem::path& path);  ///< Throws AudioFileError.
    ~AudioFile();
    AudioFile(const AudioFile&) = delete;
    AudioFile& operator=(const AudioFile&) = delete;

    int SampleRate() const { return m_sampleRate; }
    int Channels() const { return m_channels; }
    int64_t Frames() const { return m_frames; }

    /// Fills n frames from `frame` on; what lies before the start or after the end is silence, and so is what
    /// cannot be read, see Fault.
    void Read(int64_t frame, size_t n, float* left, float* right);

    /// Empty, or the first reason why frames that should be there could not be read.
    const std::string& Fault() const { return m_fault; }

private:
    struct Handle;
    size_t ReadInside(int64_t frame, size_t n, float* left, float* right);

    std::unique_ptr<Handle> m_handle;
    int m_sampleRate = 0;
    int m_channels = 0;
    int64_t m_frames = 0;
    int64_t m_at = 0;
    std::vector<float> m_block;
    std::string m_fault;
};

/// The same file at another rate. What a frame sounds like depends on its place alone and not on how it was
/// reached: the file is converted in blocks that begin where input and output frames coincide.
class FileAtRate {
public:
    /// Throws AudioFileError.
    FileAtRate(const std::filesystem::path& path, int sampleRate);
    ~FileAtRate();

    int64_t Frames() const { return m_frames; }  ///< at the rate asked for
    int Channels() const { return m_file.Channels(); }
    const std::string& Fault() const { return m_file.Fault(); }
    void Read(int64_t frame, size_t n, float* left, float* right);  ///< as AudioFile's

private:
    struct Converter;

    AudioFile m_file;
    int64_t m_frames = 0;
    std::unique_ptr<Converter> m_converter;  ///< null where the rates are equal
};

}  // namespace host
