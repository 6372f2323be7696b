// Pictures and texts of films, as plug-ins read them.
#pragma once

#include "tools/tarn-media/media_tool.h"

struct FrameOptions {
    std::string input, output;
    uint64_t frame = 0;
    uint32_t stream = 0;  ///< among those of its type, from 0
    bool force = false;
};
/// A picture of the film as a PNG.
int SaveFrame(const FrameOptions& options);

struct TextsOptions {
    std::string input;
    uint32_t stream = 0;
};
/// The texts with their times on standard output, as SubRip files have them.
int PrintTexts(const TextsOptions& options);
