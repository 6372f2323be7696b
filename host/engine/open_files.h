// How many audio files the tracks may hold open, so that all of them together stay within what the system
// grants the process.
#pragma once

#include <cstddef>

namespace host {

/// Takes all that the system grants; to be called once, by a program, before it opens anything.
void RaiseOpenFileLimit();

/// A track's part in them, for as long as the track is there.
class OpenFileShare {
public:
    OpenFileShare();
    ~OpenFileShare();
    OpenFileShare(const OpenFileShare&) = delete;
    OpenFileShare& operator=(const OpenFileShare&) = delete;

    /// Files that each track may keep open between two reads; 0 where there are more tracks than files. The
    /// more tracks there are, the fewer. [any-thread but audio]
    static size_t Files();
};

}  // namespace host
