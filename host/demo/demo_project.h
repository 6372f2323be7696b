// The demo project: a folder with demo.tarn and demo-surround.tarn, their sound in audio/ and the notes in
// midi/.
#pragma once

#include "host/demo/stem.h"

#include <filesystem>

namespace host {

struct DemoSources {
    Synthesiser synthesiser;
    std::filesystem::path speech = "/usr/share/sounds/alsa/Front_Center.wav";
};

inline constexpr const char* kDemoSessionFile = "demo.tarn";
inline constexpr const char* kDemoSurroundFile = "demo-surround.tarn";  ///< the same in 5.1

/// Makes the project in the folder, which is created when missing, and returns true; does nothing and returns
/// false when it is there, complete and made from the same sources, unless `force`. Files get their names
/// only when they are whole, and an interrupted run is made good by the next. Two runs on one folder take
/// turns. Throws std::runtime_error with one line that names the file or program at fault. [worker]
bool MakeDemoProject(const std::filesystem::path& folder, const DemoSources& sources, bool force);

}  // namespace host
