// Recordings of every kind into a session: what the engine plays as it is, and wave files made of all else.
#pragma once

#include "fileio/manager.h"
#include "host/contract/project.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace host {

struct ImportResult {
    size_t tracks = 0;                  ///< added
    std::vector<std::string> problems;  ///< of the files that were left out, a line each
    bool cancelled = false;             ///< then nothing was added and nothing is left
};

/// A new track for each file, which plays it from `start` seconds on; all of them are one step to take back.
/// A file that the engine does not play, or whose channels it would leave out, is made into a stereo wave
/// file of its own rate in the folder "Imported" beside the session, and in the user's data folder while the
/// session has no file. `progress` is called with 0..1 and ends the work by false. [any-thread]
ImportResult ImportRecordings(Project& project, IQmFileIOMgrForApp& manager,
                              const std::vector<std::filesystem::path>& files, double start,
                              const std::function<bool(double)>& progress = {});

}  // namespace host
