#include "controls/scope_plot.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace {
constexpr float kQuarter = 0.7853982f, kHalf = 1.5707964f, kThreeQuarters = 2.3561945f, kTwoPi = 6.2831855f,
                kRootHalf = 0.70710677f, kRoot = 1.4142135f;

// What is beyond any image, or no number, stays beyond it and fits an integer.
int32_t Trunc(float v) { return static_cast<int32_t>(v > -1e6f ? std::min(v, 1e6f) : -1e6f); }

// The pixel after a point, by the intensity before it: a share of what is missing to the brightest is added.
using Table = std::array<uint32_t, 256>;
constexpr Table Lights(uint32_t share) {
    Table table{};
    for (uint32_t i = 0; i < 256; i++) {
        const uint32_t lit = i < kScopeBrightest ? i + (kScopeBrightest - i) / share : i;
        table[i] = lit << 24 | lit << 8 | lit / 4;
    }
    return table;
}
constexpr Table kCentre = Lights(2), kNeighbour = Lights(4);

void Light(uint32_t& pixel, const Table& table) { pixel = table[pixel >> 24]; }

float Heard(float v) { return (std::bit_cast<uint32_t>(v) & 0x7F800000) < 0x2F800000 ? 0 : v; }
float Limited(float v) { return std::clamp(v, -1.0f, 1.0f); }
}  // namespace

void ScopePlot::Resize(int32_t width, int32_t height, const RECT& plot) {
    m_width = std::max(width, 0);
    m_height = std::max(height, 0);
    m_plot = plot;
    m_grid.clear();
    m_pixels.assign(static_cast<size_t>(m_width) * static_cast<size_t>(m_height), 0);
}

void ScopePlot::Clear() {
    std::ranges::fill(m_pixels, 0);
    ShowGrid();
}

void ScopePlot::SetGrid(std::vector<uint32_t> offsets, uint32_t color) {
    m_grid = std::move(offsets);
    m_gridColor = color & 0xFFFFFF;
    Clear();
}

void ScopePlot::ShowGrid() {
    const uint32_t dimmest = m_gridColor >> 8 & 0xFF;
    for (const uint32_t at : m_grid) {
        uint32_t& pixel = m_pixels[at];
        if (pixel >> 24 <= dimmest) pixel = (pixel & 0xFF000000) | m_gridColor;
    }
}

void ScopePlot::Fade(float factor) {
    if (!(factor > 0)) {
        for (int32_t y = std::max(m_plot.top, 0); y < std::min(m_plot.bottom, m_height); y++) {
            const auto row = m_pixels.begin() + static_cast<ptrdiff_t>(y) * m_width;
            std::fill(row + std::max(m_plot.left, 0), row + std::clamp(m_plot.right, 0, m_width), 0u);
        }
        return ShowGrid();
    }
    if (factor != m_fade) {
        m_fade = factor;
        for (uint32_t i = 0; i < 256; i++)
            m_faded[i] = static_cast<uint8_t>(std::min(static_cast<float>(i) * factor + 0.5f, 255.0f));
    }
    const auto fade = [this](uint32_t& pixel) {
        pixel = static_cast<uint32_t>(m_faded[pixel >> 24]) << 24 |
                static_cast<uint32_t>(m_faded[pixel >> 16 & 0xFF]) << 16 |
                static_cast<uint32_t>(m_faded[pixel >> 8 & 0xFF]) << 8 | m_faded[pixel & 0xFF];
    };
    // Most of the image is dark: eight pixels at a time are passed over.
    constexpr size_t kStep = 8;
    size_t i = 0;
    for (; i + kStep <= m_pixels.size(); i += kStep) {
        uint32_t any = 0;
        for (size_t k = 0; k < kStep; k++) any |= m_pixels[i + k];
        for (size_t k = 0; any >> 24 && k < kStep; k++)
            if (m_pixels[i + k] >> 24) fade(m_pixels[i + k]);
    }
    for (; i < m_pixels.size(); i++)
        if (m_pixels[i] >> 24) fade(m_pixels[i]);
    ShowGrid();
}

void ScopePlot::LightInside(int32_t x, int32_t y, bool centre) {
    if (x < 0 || y < 0 || x >= m_width || y >= m_height) return;
    Light(*Pixel(x, y), centre ? kCentre : kNeighbour);
}

void ScopePlot::Point(int32_t x, int32_t y) {
    if (x > 0 && y > 0 && x < m_width - 1 && y < m_height - 1) {
        uint32_t* pixel = Pixel(x, y);
        Light(*pixel, kCentre);
        Light(pixel[-1], kNeighbour);
        Light(pixel[1], kNeighbour);
        Light(pixel[-m_width], kNeighbour);
        Light(pixel[m_width], kNeighbour);
        return;
    }
    LightInside(x, y, true);
    LightInside(x - 1, y, false);
    LightInside(x + 1, y, false);
    LightInside(x, y - 1, false);
    LightInside(x, y + 1, false);
}

void ScopePlot::VerticalLine(int32_t x, int32_t y1, int32_t y2) {
    const int32_t from = std::max(std::min(y1, y2), 0), to = std::min(std::max(y1, y2), m_height - 1);
    const auto column = [&](int32_t at, const Table& table) {
        if (at < 0 || at >= m_width || from > to) return;
        uint32_t* pixel = Pixel(at, from);
        for (int32_t y = from; y <= to; y++, pixel += m_width) Light(*pixel, table);
    };
    column(x, kCentre);
    column(x - 1, kNeighbour);
    column(x + 1, kNeighbour);
}

void ScopePlot::Line(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    if (x1 == x2) return VerticalLine(x1, y1, y2);
    const float slope = static_cast<float>(y2 - y1) / static_cast<float>(x2 - x1);
    if (std::abs(slope) > 1) {
        for (int32_t y = y1; y < y2; y++) Point(x1 + Trunc(static_cast<float>(y - y1) / slope + 0.5f), y);
    } else {
        const int32_t step = x2 > x1 ? 1 : -1;
        for (int32_t x = x1; x != x2; x += step)
            Point(x, Trunc(static_cast<float>(y1) + static_cast<float>(x - x1) * slope + 0.5f));
    }
    Point(x2, y2);
}

void ScopePlot::Circular(float l, float r, const ScopeMath& math) {
    const int32_t w = m_plot.right - m_plot.left, h = m_plot.bottom - m_plot.top;
    const int32_t cx = m_plot.left + w / 2, cy = m_plot.top + h * 17 / 32;
    l = Limited(l);
    r = Limited(r);
    if (l == 0 && r == 0) return Point(cx, cy);
    const float radius = math.sqrt(l * l + r * r);
    float a = math.atan2(r, l) + kQuarter;
    if (a > kPi) a -= kTwoPi;
    if (a >= -kThreeQuarters && a <= -kQuarter) return;
    const float f = std::clamp(radius * 0.49497473f + 0.1f, 0.1f, 0.8f);
    const auto wide = static_cast<float>(w) / 2;
    const float outer = 0.9f * wide, inner = wide - wide * f, cosine = math.cos(a), sine = math.sin(a);
    Line(Trunc(outer * cosine) + cx, cy - Trunc(outer * sine), Trunc(inner * cosine) + cx,
         cy - Trunc(inner * sine));
}

void ScopePlot::Linear(float l, float r, const ScopeMath& math) {
    const int32_t w = m_plot.right - m_plot.left, h = m_plot.bottom - m_plot.top, cx = m_plot.left + w / 2;
    l = Limited(l);
    r = Limited(r);
    if (l == 0 && r == 0) return Point(cx, m_plot.bottom);
    const float radius = math.sqrt(l * l + r * r);
    float t = (math.atan2(r, l) - kQuarter) / kPi;
    if (t < -0.5f) t += 1;
    if (t > 0.5f) t -= 1;
    const int32_t x = Trunc(-2 * t * (static_cast<float>(w) / 2) + 0.5f) + cx;
    VerticalLine(x, m_plot.bottom - Trunc(radius / kRoot * static_cast<float>(h) + 0.5f), m_plot.bottom);
}

void ScopePlot::Lissajous(float l, float r, uint32_t style, const ScopeMath& math) {
    const auto w = static_cast<float>(m_plot.right - m_plot.left),
               h = static_cast<float>(m_plot.bottom - m_plot.top);
    if (!(style & (SCOPES_ROTATED | SCOPES_MIRROR)))
        return Point(m_plot.left + Trunc((w * l + w) / 2), m_plot.top + Trunc((h - h * r) / 2));
    const float radius = math.sqrt(l * l + r * r);
    float a = math.atan2(r, l);
    if (style & SCOPES_MIRROR && ((a >= kThreeQuarters && a <= kPi) || (a >= -kPi && a <= -kQuarter)))
        a = kHalf - a;
    if (style & SCOPES_ROTATED) a += kQuarter;
    Point(m_plot.left + Trunc((math.cos(a) * radius * kRootHalf * w + w) / 2),
          m_plot.top + Trunc((h - math.sin(a) * radius * kRootHalf * h) / 2));
}

void ScopePlot::Add(const SCOPESAMPLES& s, uint32_t style) {
    const ScopeMath& math = style & SCOPES_FAST ? kFastScopeMath : kExactScopeMath;
    for (int64_t i = 0; i < s.pairs; i++) {
        const float* frame = s.samples + i * s.stride;
        const float l = Heard(frame[s.first]), r = Heard(frame[s.second]);
        if (!std::isfinite(l) || !std::isfinite(r)) continue;
        if (style & SCOPES_POLAR_CIRCULAR)
            Circular(l, r, math);
        else if (style & SCOPES_POLAR_LINEAR)
            Linear(l, r, math);
        else
            Lissajous(l, r, style, math);
    }
}
