// Images of one size, each in three states, rendered from SVG at the scale of whatever they are drawn on, or
// finished ones.
//
// The sources are drawn in key colours; a list is made with the colours that take their place, one set a
// state. An image is rendered when it is first drawn, and again when the scale has changed.
#pragma once

#include "platform/types.h"

#include <QByteArray>
#include <QImage>
#include <QPixmap>

#include <array>
#include <span>
#include <string_view>
#include <vector>

class QPainter;

enum class ImageState { Normal, Hot, Disabled };

/// What the key colours of a source become.
struct ImageColors {
    COLORREF ink;     ///< for #ffffff, the lines
    COLORREF accent;  ///< for #00ffff, the second tone
    COLORREF shade;   ///< for #808080, the first tone at half strength
};

/// Colours by state: normal, hot, disabled.
using ImageTheme = std::array<ImageColors, 3>;

class ImageList {
public:
    /// Names of SVG files in the module's icons, without the suffix.
    ImageList(std::span<const std::string_view> names, SIZE size, const ImageTheme& theme);
    /// Finished images side by side, a strip a state; a strip may have more pixels than its images have.
    ImageList(const std::array<QImage, 3>& strips, SIZE size);

    int32_t Count() const { return static_cast<int32_t>(m_rendered.size()); }
    SIZE Size() const { return m_size; }
    /// False when a source is missing or is not an SVG: such an image draws nothing.
    bool IsComplete() const;

    /// Draws at the left top corner; an index out of range draws nothing.
    void Draw(QPainter& painter, int32_t index, POINT at, ImageState state = ImageState::Normal) const;
    /// A pixmap of the image at that many device pixels a logical pixel.
    QPixmap Pixmap(int32_t index, ImageState state, qreal scale) const;

private:
    SIZE m_size;
    ImageTheme m_theme{};
    std::vector<QByteArray> m_sources;
    std::array<QImage, 3> m_strips;  ///< in place of sources
    mutable std::vector<std::array<QPixmap, 3>> m_rendered;
    mutable qreal m_scale = 0;
};
