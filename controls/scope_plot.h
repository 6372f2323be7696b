// The plot of a phase scope: pairs of samples as points in an image, which fade. A pixel is 0xIIRRGGBB with
// the point's intensity on top; green is the intensity, blue a quarter of it. No window in sight.
// [any-thread]
#pragma once

#include "controls/scope_math.h"
#include "platform/types.h"

#include <vector>

inline constexpr uint32_t SCOPES_XY = 0, SCOPES_ROTATED = 1, SCOPES_MIRROR = 2, SCOPES_POLAR_LINEAR = 4,
                          SCOPES_POLAR_CIRCULAR = 8, SCOPES_FAST = 0x100;
/// Points never get brighter than this by other points.
inline constexpr uint32_t kScopeBrightest = 220;

/// Samples of one update.
struct SCOPESAMPLES {
    const float* samples;
    int32_t pairs;
    int32_t first, second;  ///< index of the two values in a frame
    int32_t stride;         ///< floats a frame
};

class ScopePlot {
public:
    /// Clears all. `plot` lies within the image; both in device pixels.
    void Resize(int32_t width, int32_t height, const RECT& plot);
    bool IsSize(int32_t width, int32_t height) const { return width == m_width && height == m_height; }
    void Clear();

    /// Lines under the points: pixels that show this colour where no point is brighter.
    void SetGrid(std::vector<uint32_t> offsets, uint32_t color);
    /// Darkens all by a factor above 0; else fills the plot with black.
    void Fade(float factor);
    void Add(const SCOPESAMPLES& samples, uint32_t style);

    void Point(int32_t x, int32_t y);
    /// Both ends included, in either order.
    void VerticalLine(int32_t x, int32_t y1, int32_t y2);

    int32_t Width() const { return m_width; }
    int32_t Height() const { return m_height; }
    const RECT& Plot() const { return m_plot; }
    const uint32_t* Pixels() const { return m_pixels.data(); }
    uint32_t At(int32_t x, int32_t y) const {
        return m_pixels[static_cast<size_t>(y) * static_cast<size_t>(m_width) + static_cast<size_t>(x)];
    }

private:
    uint32_t* Pixel(int32_t x, int32_t y) {
        return &m_pixels[static_cast<size_t>(y) * static_cast<size_t>(m_width) + static_cast<size_t>(x)];
    }
    void LightInside(int32_t x, int32_t y, bool centre);
    void Line(int32_t x1, int32_t y1, int32_t x2, int32_t y2);
    void Circular(float l, float r, const ScopeMath& math);
    void Linear(float l, float r, const ScopeMath& math);
    void Lissajous(float l, float r, uint32_t style, const ScopeMath& math);
    void ShowGrid();

    std::vector<uint32_t> m_pixels, m_grid;
    uint32_t m_gridColor = 0;
    int32_t m_width = 0, m_height = 0;
    RECT m_plot{};
    float m_fade = -1;
    uint8_t m_faded[256] = {};
};
