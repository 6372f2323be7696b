// A recording in memory, and what meters and scopes are told of a stretch of it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Interleaved stereo; a file of one channel fills both sides, of more than two the first two are taken.
struct Recording {
    std::vector<float> samples;
    int rate = 48000;

    size_t Frames() const { return samples.size() / 2; }
};

/// At most ten minutes. On failure `error` names the file and the reason.
bool ReadRecording(const std::filesystem::path& path, Recording& out, std::string& error);
/// The recording of the demo session where it was made, else one that is part of the system; empty without
/// either.
std::filesystem::path DefaultRecording();

/// Linear levels of a stretch of the recording, left and right.
struct Levels {
    float peak[2];
    float average[2];  ///< of 300 ms, as a VU meter sees it: a sine of amplitude 1 gives 1
};

/// Walks through a recording, round and round.
class Walk {
public:
    Walk(const Recording& recording, double fromSecond)
        : m_recording(recording),
          m_at(static_cast<size_t>(fromSecond * recording.rate) % recording.Frames()) {}

    /// Frames for that many milliseconds more, in one piece: shorter where the recording starts anew.
    Levels Advance(unsigned milliseconds, const float** frames, size_t* count);

private:
    const Recording& m_recording;
    size_t m_at;
    double m_average[2] = {};
};
