// The mix as a wave file.
#pragma once

#include "host/session/session.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

class EffectLibrary;

struct RenderOptions {
    double start = 0;  ///< seconds
    double end = 0;    ///< seconds; 0 is the end of the session
    size_t blockFrames = 4096;
    size_t threads = 0;                ///< 0 is one for each core
    EffectLibrary* effects = nullptr;  ///< must outlive the render
    /// Called now and then with the share that is done, 0 to 1; false stops the render. May be empty.
    std::function<bool(double done)> progress{};
};

struct RenderResult {
    bool finished = false;  ///< false when progress stopped it; there is no file then
    int64_t frames = 0;
    float peak = 0;                    ///< of the mix, 1.0 is full scale
    double loudnessLufs = kSilenceDb;  ///< integrated, EBU R 128; kSilenceDb where all is below its gate
    double truePeakDbtp = kSilenceDb;  ///< of the loudest channel, kSilenceDb at least
    int64_t clippedFrames = 0;         ///< frames that did not fit the file's range and were limited
    std::vector<std::string> problems;
};

struct RenderError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Renders the master's output to a wave file of 24 bits at the session's rate, with two channels or, in a
/// surround session, the six of 5.1. Samples are rounded to
/// the nearest step without dither, at 24 bits far below any converter's noise: what passes the mixer at
/// unity comes out bit for bit. The loop, the preview bus and what feeds it play no part. The file appears
/// under its name when it is whole. Throws SessionError or RenderError; an earlier file of that name stands
/// then. [any-thread but audio]
RenderResult RenderToFile(const Session& session, const std::filesystem::path& folder,
                          const std::filesystem::path& path, const RenderOptions& options = {});

}  // namespace host
