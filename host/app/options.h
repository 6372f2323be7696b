// The command line of the reference host.
#pragma once

#include "host/app/gesture.h"
#include "host/contract/project.h"

#include <QSize>

#include <optional>
#include <string>
#include <vector>

namespace host {

inline constexpr QSize DEFAULT_WINDOW_SIZE{1280, 660};

struct Options {
    std::string session;  ///< empty: a new one
    bool headless = false;
    std::optional<double> seconds;  ///< how long a scripted run plays, and how much of the project it renders
    std::string screenshot, surfaceScreenshot, render, report;
    std::string renderTemplate;  ///< by its name; empty: what the file's ending makes of the mix
    std::vector<Gesture> gestures;
    HostFace face;  ///< which form of the plug-ins is shown
    bool listEffects = false;
    bool rescanEffects = false;  ///< try those again that could not be used
    std::string device;          ///< part of its name
    bool nullDevice = false;
    std::optional<std::string>
        midi;                   ///< "alsa", "jack" or "none"; not given: what runs, and nothing for scripts
    uint32_t lcid = 0;          ///< of the language; 0 leaves it to the settings
    std::optional<QSize> size;  ///< of the window
    bool lightTheme = false;
    double scale = 0;  ///< device pixels a logical pixel; 0 leaves it to the screen

    /// Whether the run ends by itself instead of waiting for a person.
    bool IsScripted() const {
        return headless || seconds || !screenshot.empty() || !surfaceScreenshot.empty() || !render.empty() ||
               !report.empty() || !gestures.empty();
    }
};

/// Reads the command line. Returns the exit code when the run is over: after --help, and for a bad line with
/// the reason on stderr.
std::optional<int> ParseOptions(int argc, char** argv, Options* options);

}  // namespace host
