#include "tools/tarn-gallery/recording.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>

namespace {
constexpr sf_count_t kLimit = 600;        // seconds
constexpr double kVuSeconds = 0.3 / 4.6;  // 99 % of a step after 300 ms
}  // namespace

bool ReadRecording(const std::filesystem::path& path, Recording& out, std::string& error) {
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (!file) {
        error = path.string() + ": " + sf_strerror(nullptr);
        return false;
    }
    const sf_count_t limit = std::min(info.frames, kLimit * info.samplerate);
    std::vector<float> block(static_cast<size_t>(info.channels) * 4096);
    out.rate = info.samplerate;
    out.samples.clear();
    sf_count_t left = limit, n = 0;
    while (left > 0 && (n = sf_readf_float(file.get(), block.data(), std::min<sf_count_t>(left, 4096))) > 0) {
        for (sf_count_t i = 0; i < n; i++)
            for (int side = 0; side < 2; side++) {
                const float v =
                    block[static_cast<size_t>(i * info.channels + std::min(side, info.channels - 1))];
                out.samples.push_back(std::isfinite(v) ? v : 0);
            }
        left -= n;
    }
    if (out.Frames() > 0) return true;
    error = path.string() + ": no samples";
    return false;
}

std::filesystem::path DefaultRecording() {
    const char* data = std::getenv("XDG_DATA_HOME");
    const char* home = std::getenv("HOME");
    const std::filesystem::path base =
        data && *data ? data : std::filesystem::path(home ? home : "") / ".local/share";
    for (const std::filesystem::path& path :
         {base / "Tarn/demo/audio/Keys.wav",
          std::filesystem::path("/usr/share/sounds/alsa/Front_Center.wav")}) {
        std::error_code ignored;
        if (std::filesystem::exists(path, ignored)) return path;
    }
    return {};
}

Levels Walk::Advance(unsigned milliseconds, const float** frames, size_t* count) {
    const auto wanted = static_cast<size_t>(m_recording.rate) * milliseconds / 1000;
    *count = std::min(wanted, m_recording.Frames() - m_at);
    *frames = m_recording.samples.data() + 2 * m_at;
    Levels levels{};
    const double weight = 1 - std::exp(-1 / (kVuSeconds * m_recording.rate));
    for (size_t i = 0; i < *count; i++)
        for (size_t side = 0; side < 2; side++) {
            const float v = std::abs((*frames)[2 * i + side]);
            levels.peak[side] = std::max(levels.peak[side], v);
            m_average[side] += weight * (static_cast<double>(v) - m_average[side]);
        }
    // The mean of a rectified sine is 2 / pi of its amplitude.
    for (size_t side = 0; side < 2; side++)
        levels.average[side] = static_cast<float>(m_average[side] * std::numbers::pi / 2);
    m_at = (m_at + *count) % m_recording.Frames();
    return levels;
}
