// What a media file holds, and everything about its structure that is not as it should be. Tolerant where the
// readers of riff.h and its kin are strict: it goes on behind a fault as long as something can be made of the
// file. [any-thread]
#pragma once

#include "mediafile/sample_coding.h"
#include "platform/file_handle.h"

#include <string>
#include <vector>

namespace tarn {

class ByteSource;

enum class MediaContainer {
    Unknown,
    Wave,
    Wave64,
    Aiff,
    Aifc,
    Rf64,  ///< wave with sizes of 64 bits
    Bw64,  ///< the same, as broadcasters have it
    Rifx,  ///< wave with big-endian numbers
};

constexpr bool IsAiff(MediaContainer c) { return c == MediaContainer::Aiff || c == MediaContainer::Aifc; }
constexpr bool IsLongWave(MediaContainer c) { return c == MediaContainer::Rf64 || c == MediaContainer::Bw64; }

struct MediaChunk {
    std::string id;  ///< four characters, what is not printable as '?'; of Wave64 a known name or the GUID
    uint64_t offset, size;  ///< of the header in the file; bytes of payload as stored
    uint32_t depth;         ///< 1 within a list
};

enum class MediaFault {
    Note,   ///< unusual, and every reader copes
    Error,  ///< readers differ, refuse it or lose something
};

struct MediaProblem {
    uint64_t offset;
    MediaFault fault;
    std::string text;
};

struct MediaContents {
    MediaContainer container = MediaContainer::Unknown;
    bool isOtherKind = false;  ///< a sound file by its header, of a kind that is not read here
    uint64_t fileBytes = 0;
    std::vector<MediaChunk> chunks;
    std::vector<MediaProblem> problems;

    QmWaveFormatBlock format{};  ///< valid with hasFormat
    bool hasFormat = false, hasData = false;
    uint64_t formatOffset = 0;  ///< of the format's payload
    uint64_t dataOffset = 0;    ///< of the first sample
    uint64_t dataBytes = 0;     ///< that are in the file
    uint64_t dataHeader = 0;    ///< of the data chunk's header
    bool isBigEndian = false;   ///< samples of more than a byte; the type tells it where it can
    SampleCoding coding;        ///< None with data where the samples are not read
    uint64_t frames = 0;        ///< whole ones; of codecs that are not read 0, or what the header tells

    bool HasErrors() const {
        for (const MediaProblem& p : problems)
            if (p.fault == MediaFault::Error) return true;
        return false;
    }
};

/// The file's position ends anywhere. Throws std::bad_alloc. A file of no known kind has one problem that
/// says so.
QM_API MediaContents InspectMedia(HQMFILE file);
QM_API MediaContents InspectMedia(const ByteSource& source);

/// "Wave", "Wave64", "AIFF", "AIFC", "RF64", "BW64", "RIFX".
QM_API const char* NameOf(MediaContainer container);

}  // namespace tarn
