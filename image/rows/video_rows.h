// Rows of video codes as 16-bit luma and chroma of every pixel, and the way from there to colours. Internal
// to the library.
#pragma once

#include "image/rows/dib_view.h"
#include "image/rows/pixel_rows.h"
#include "image/video_layout.h"

namespace tarn {

/// Samples at the top of 16 bits, whatever their depth.
struct PixelYuv {
    uint16_t y, u, v, alpha;
};

/// Between colours and video: BT.601 or BT.709, video or full range.
struct YuvMatrix {
    float lumaOffset, lumaScale;               ///< of 16-bit luma, to colours of 0 to 65535
    float redV, greenU, greenV, blueU;         ///< what chroma adds to those
    float redWeight, greenWeight, blueWeight;  ///< of luma
    float chromaU, chromaV;                    ///< from differences of colour to 16-bit chroma

    /// flags: DIB_COPY_BT709 and DIB_COPY_FULL_RANGE.
    static YuvMatrix For(uint32_t flags, uint32_t depth);

    void ToColors(const PixelYuv* from, int32_t pixels, Pixel64* to) const;
    void FromColors(const Pixel64* from, int32_t pixels, PixelYuv* to) const;
};

class VideoRows {
public:
    VideoRows(const DibView& view, const VideoLayout& layout);

    /// Chroma is repeated for the pixels that share it.
    void Read(int32_t y, PixelYuv* out) const;
    /// How many rows Write takes at once; fewer at the end of the image.
    int32_t RowsAtOnce() const { return 1 << m_layout.chromaY; }
    /// Rows one behind the other, from a multiple of RowsAtOnce. Chroma is averaged.
    void Write(int32_t y, int32_t rows, const PixelYuv* in) const;

    /// First samples of Y, U and V of a row.
    const uint8_t* Samples(int channel, int32_t y) const;

private:
    uint32_t Sample(int channel, int32_t x, int32_t y) const;
    void SetSample(int channel, int32_t x, int32_t y, uint16_t value) const;
    bool IsPackedWord() const { return m_layout.kind == VideoKind::Packed410; }

    const VideoLayout& m_layout;
    int32_t m_width;
    uint8_t* m_base;
    VideoPlanes m_planes;
    size_t m_step[3];
};

}  // namespace tarn
