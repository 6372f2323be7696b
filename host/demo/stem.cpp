#include "host/demo/stem.h"

#include "platform/file.h"
#include "platform/process.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

using namespace tarn;

namespace fs = std::filesystem;

namespace host {
namespace {
constexpr int kChannels = 2;
constexpr double kFadeSeconds = 0.05;
constexpr float kSilentPeak = 1e-4f;  ///< a reverb hisses a little under this with nothing to play

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

[[noreturn]] void Fail(const fs::path& path, const std::string& reason) {
    throw std::runtime_error(path.string() + ": " + reason);
}

SoundFile OpenSound(const fs::path& path, int mode, SF_INFO& info) {
    SoundFile file(sf_open(path.c_str(), mode, &info), &sf_close);
    if (!file) Fail(path, sf_strerror(nullptr));
    return file;
}

/// The first `frames` frames of a stereo file; silence where it is shorter.
std::vector<float> ReadStereo(const fs::path& path, int sampleRate, size_t frames) {
    SF_INFO info{};
    const SoundFile file = OpenSound(path, SFM_READ, info);
    if (info.channels != kChannels || info.samplerate != sampleRate)
        Fail(path, "is not stereo at the rate asked for");
    std::vector<float> samples(frames * kChannels);
    sf_readf_float(file.get(), samples.data(), static_cast<sf_count_t>(frames));
    if (sf_error(file.get()) != SF_ERR_NO_ERROR) Fail(path, sf_strerror(file.get()));
    return samples;
}

void WriteStereo(const fs::path& path, int sampleRate, const std::vector<float>& samples) {
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = kChannels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    SoundFile file = OpenSound(path, SFM_WRITE, info);
    const auto count = static_cast<sf_count_t>(samples.size());
    if (sf_write_float(file.get(), samples.data(), count) != count) Fail(path, sf_strerror(file.get()));
    if (sf_close(file.release()) != 0) Fail(path, "cannot be closed");
}

/// Brings the peak to kStemPeakDb and fades what still sounds at the end. False for silence.
bool Level(std::vector<float>& samples, int sampleRate) {
    float peak = 0;
    for (float s : samples) peak = std::max(peak, std::abs(s));
    if (!(peak > kSilentPeak) || !std::isfinite(peak)) return false;
    const auto gain = static_cast<float>(std::pow(10.0, kStemPeakDb / 20) / peak);
    for (float& s : samples) s *= gain;
    const size_t fade = std::min(samples.size() / kChannels, static_cast<size_t>(kFadeSeconds * sampleRate));
    for (size_t i = 0; i < fade * kChannels; i++) {
        const size_t frame = i / kChannels;
        samples[samples.size() - 1 - i] *= static_cast<float>(frame) / static_cast<float>(fade);
    }
    return true;
}
}  // namespace

void RenderStem(const MidiSong& song, size_t part, int sampleRate, const Synthesiser& synthesiser,
                const fs::path& stem) {
    MidiSong solo = song;
    solo.tracks = {song.tracks.at(part)};
    const fs::path notes = fs::path(stem).replace_extension(".mid"),
                   raw = fs::path(stem).replace_extension(".raw.wav");
    std::string error;
    if (!ReplaceFile(notes, FormatMidi(solo), error)) throw std::runtime_error(error);

    // Nobody's own configuration, no shell, no input; floating-point samples cannot clip.
    if (!RunProgram({synthesiser.program, "-f", "/dev/null", "-q", "-n", "-i", "-r",
                     std::to_string(sampleRate), "-g", "0.5", "-T", "wav", "-O", "float", "-F", raw.string(),
                     synthesiser.soundFont.string(), notes.string()},
                    error))
        throw std::runtime_error(stem.filename().string() + ": " + error);

    const double seconds = song.end / (song.ticksPerQuarter * song.tempo / 60);
    std::vector<float> samples =
        ReadStereo(raw, sampleRate, static_cast<size_t>(std::llround(seconds * sampleRate)));
    fs::remove(raw);
    if (!Level(samples, sampleRate)) Fail(stem, "the synthesiser played nothing");
    WriteStereo(stem, sampleRate, samples);
}

}  // namespace host
