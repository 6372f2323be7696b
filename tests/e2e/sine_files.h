// Audio files of the tests' own, and how loud one is.
#pragma once

#include <filesystem>

inline constexpr int SINE_RATE = 48000;
inline constexpr double SINE_SECONDS = 4;

/// A stereo sine of 0.25.
void WriteSine(const std::filesystem::path& path, double hertz);
/// Of a render: 24 bits, stereo.
double RmsDb(const std::filesystem::path& path);
