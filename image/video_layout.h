// Where the samples of video codes lie. Rows follow each other from the top, without gaps but those a code
// asks for.
#pragma once

#include "image/pixel_type.h"

namespace tarn {

enum class VideoKind : uint8_t {
    Planar,      ///< a plane each for Y, U and V
    SemiPlanar,  ///< Y, and U and V in turns
    Packed422,   ///< two Y, one U and one V in turns
    V210,        ///< six pixels in four words of 32 bits, rows in whole runs of 128 bytes
    Packed410,   ///< a word of 32 bits a pixel: U, Y and V of 10 bits from the lowest, and alpha of 2
};

struct VideoLayout {
    VideoKind kind;
    uint8_t depth;             ///< of a sample
    uint8_t shift;             ///< of the sample in its word
    uint8_t bytes;             ///< of that word
    uint8_t chromaX, chromaY;  ///< pixels that share a chroma sample, as powers of 2
    bool vFirst;               ///< the plane of V lies before that of U
    uint8_t y, u, v;           ///< Packed422: place of the samples among the four
};

/// Null for what is no video.
QM_API const VideoLayout* FindVideoLayout(QMPIXELTYPE type);

struct VideoPlanes {
    uint64_t total;      ///< bytes of the image
    uint64_t offset[3];  ///< of the first sample of Y, U and V
    uint64_t stride[3];  ///< bytes a row of each
};
/// Width and height are positive.
QM_API VideoPlanes PlacePlanes(const VideoLayout& layout, int32_t width, int32_t height);

}  // namespace tarn

extern "C" {
/// Bytes of a video image, and where the first samples of Y, U and V are, if `offsets` is given. Samples
/// within words count as at the beginning. 0 for what is no video or takes 4 GiB or more. [any-thread]
QM_API uint32_t QmYUVImageBytesAndOffsets(const BITMAPINFOHEADER* header, uint32_t offsets[3]);
}
