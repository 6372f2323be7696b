// The rows of an image of any type, as 16-bit colours, or as luma and chroma of video. Internal to the
// library.
#pragma once

#include "image/rows/pixel_rows.h"
#include "image/rows/video_rows.h"

#include <optional>

namespace tarn {

class RowAccess {
public:
    /// `view` must outlive it. flags: DIB_COPY_, for video.
    RowAccess(const DibView& view, uint32_t flags) : m_view(view), m_colors(ColorsOf(view)) {
        if (const VideoLayout* layout = FindVideoLayout(view.type)) {
            m_video.emplace(view, *layout);
            m_matrix = YuvMatrix::For(flags, layout->depth);
        }
    }
    RowAccess(const RowAccess&) = delete;
    RowAccess& operator=(const RowAccess&) = delete;

    const VideoRows* Video() const { return m_video ? &*m_video : nullptr; }
    const YuvMatrix& Matrix() const { return m_matrix; }
    const RowColors& Colors() const { return m_colors; }
    /// Before rows are written to a type with a palette.
    void UseQuantizer(HQMQUANTIZER quantizer) { m_colors.quantizer = quantizer; }

    /// `yuv` has room for a row, where it is video.
    void ReadColors(int32_t y, Pixel64* out, PixelYuv* yuv) const {
        if (!m_video) return ReadRow(m_view, m_colors, m_view.Row(y), m_view.width, out);
        m_video->Read(y, yuv);
        m_matrix.ToColors(yuv, m_view.width, out);
    }
    /// Not for video.
    void WriteColors(int32_t y, const Pixel64* in) const {
        WriteRow(m_view, m_colors, m_view.Row(y), m_view.width, in);
    }

private:
    const DibView& m_view;
    RowColors m_colors;
    std::optional<VideoRows> m_video;
    YuvMatrix m_matrix{};
};

}  // namespace tarn
