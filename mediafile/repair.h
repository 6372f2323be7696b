// A damaged media file made whole again in its place. [any-thread]
#pragma once

#include "mediafile/inspect.h"
#include "mediafile/media_codes.h"

struct MediaRepair {
    std::vector<std::string> changes;  ///< what was done, a line each; empty when nothing had to be
    uint64_t frames = 0;               ///< whole frames that the file has afterwards
};

/// Sizes in headers are set right, the format's dependent fields too; where nothing is left of the header, a
/// new one is written over it. No sample moves. A null hint is PCM 44100 Hz, 16 bits, stereo; it is used only
/// where the file does not tell. MEDIA_E_UNKNOWN_FORMAT when the file gives no hold; then nothing was
/// written.
QM_API HRESULT RepairMedia(HQMFILE file, const WAVEFORMATEX* hint, MediaRepair* repair);
