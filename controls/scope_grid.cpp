#include "controls/scope_grid.h"

#include "kernel/ui/ui_fonts.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {
constexpr float kScopeTicks[] = {-1, 0, 1};
constexpr LONG kLeastSpacing = 6;

void Halve(std::vector<int32_t>& marks, int32_t from, int32_t to, int32_t least) {
    const int32_t half = (to - from) / 2;
    if (half < least) return;
    marks.push_back(from + half);
    Halve(marks, from, from + half, least);
    Halve(marks, from + half, to, least);
}

class Grid {
public:
    explicit Grid(const ScopePlot& plot)
        : m_plot(plot), m_set(static_cast<size_t>(plot.Width()) * static_cast<size_t>(plot.Height())) {}

    void Set(int32_t x, int32_t y) {
        if (x < 0 || y < 0 || x >= m_plot.Width() || y >= m_plot.Height()) return;
        m_set[static_cast<size_t>(y) * static_cast<size_t>(m_plot.Width()) + static_cast<size_t>(x)] = true;
    }
    void Line(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
        const int32_t steps = std::max({std::abs(x2 - x1), std::abs(y2 - y1), 1});
        for (int32_t i = 0; i <= steps; i++)
            Set(x1 + static_cast<int32_t>(std::lround(static_cast<double>(x2 - x1) * i / steps)),
                y1 + static_cast<int32_t>(std::lround(static_cast<double>(y2 - y1) * i / steps)));
    }
    /// The upper part of a circle that the circular display uses.
    void Arc(int32_t cx, int32_t cy, double radius) {
        constexpr double kFrom = -0.7853982, kTo = 3.9269908;
        const int steps = std::max(static_cast<int>(radius * 5), 1);
        for (int i = 0; i <= steps; i++) {
            const double a = kFrom + (kTo - kFrom) * i / steps;
            Set(cx + static_cast<int32_t>(std::lround(radius * std::cos(a))),
                cy - static_cast<int32_t>(std::lround(radius * std::sin(a))));
        }
    }
    std::vector<uint32_t> Offsets() const {
        std::vector<uint32_t> offsets;
        for (size_t i = 0; i < m_set.size(); i++)
            if (m_set[i]) offsets.push_back(static_cast<uint32_t>(i));
        return offsets;
    }

private:
    const ScopePlot& m_plot;
    std::vector<bool> m_set;
};

std::vector<int32_t> Marks(const tQMSCOPE& s, size_t list, int32_t length, double scale) {
    const bool own = s.ticks[list];
    const LONG least = std::max(QmGetUIFontSize(UIFONT_SMALL).cy, kLeastSpacing);
    return ScopeMarks(own ? s.ticks[list] : kScopeTicks,
                      own ? s.tickCounts[list] : static_cast<uint32_t>(std::size(kScopeTicks)), length,
                      static_cast<int32_t>(std::lround(least * scale)));
}

void DrawPolarCircular(Grid& grid, const RECT& plot) {
    const int32_t w = plot.right - plot.left, h = plot.bottom - plot.top;
    const int32_t cx = plot.left + w / 2, cy = plot.top + h * 17 / 32;
    for (const double share : {0.2, 0.55, 0.9}) grid.Arc(cx, cy, share * w / 2);
    for (const double a : {-0.7853982, 0.7853982, 1.5707964, 2.3561945, 3.9269908})
        grid.Line(cx, cy, cx + static_cast<int32_t>(std::lround(0.45 * w * std::cos(a))),
                  cy - static_cast<int32_t>(std::lround(0.45 * w * std::sin(a))));
}

// A cross with marks along both its lines.
void DrawCross(Grid& grid, const tQMSCOPE& s, const RECT& plot, double scale) {
    const int32_t cx = (plot.left + plot.right) / 2, cy = (plot.top + plot.bottom) / 2;
    const auto reach = static_cast<int32_t>(std::lround(2 * scale));
    const bool polar = s.style & SCOPES_POLAR_LINEAR;
    const int32_t base = polar ? plot.bottom : cy;
    grid.Line(plot.left, base, plot.right, base);
    grid.Line(cx, plot.top, cx, plot.bottom);
    for (const int32_t x : Marks(s, 0, plot.right - plot.left, scale))
        grid.Line(plot.left + x, base - reach, plot.left + x, base + reach);
    for (const int32_t y : Marks(s, 1, plot.bottom - plot.top, scale))
        grid.Line(cx - reach, plot.bottom - y, cx + reach, plot.bottom - y);
}
}  // namespace

std::vector<int32_t> ScopeMarks(const float* ticks, uint32_t count, int32_t length, int32_t least) {
    std::vector<int32_t> marks;
    for (uint32_t i = 0; i < count; i++)
        if (ticks[i] >= -1 && ticks[i] <= 1)
            marks.push_back(
                static_cast<int32_t>(std::lround((ticks[i] + 1) / 2 * static_cast<float>(length))));
    std::ranges::sort(marks);
    const size_t major = marks.size();
    for (size_t i = 1; i < major; i++) Halve(marks, marks[i - 1], marks[i], std::max(least, 1));
    std::ranges::sort(marks);
    return marks;
}

std::vector<uint32_t> ScopeGrid(const tQMSCOPE& s, const ScopePlot& image, double scale) {
    const RECT& plot = image.Plot();
    Grid grid(image);
    const int32_t right = image.Width() - 1, bottom = image.Height() - 1;
    grid.Line(0, 0, right, 0);
    grid.Line(0, bottom, right, bottom);
    grid.Line(0, 0, 0, bottom);
    grid.Line(right, 0, right, bottom);
    if (s.style & SCOPES_POLAR_CIRCULAR)
        DrawPolarCircular(grid, plot);
    else
        DrawCross(grid, s, plot, scale);
    if (s.style & SCOPES_ROTATED && !(s.style & (SCOPES_POLAR_CIRCULAR | SCOPES_POLAR_LINEAR))) {
        // One side alone lies on a diagonal.
        grid.Line(plot.left, plot.top, plot.right, plot.bottom);
        grid.Line(plot.left, plot.bottom, plot.right, plot.top);
    }
    return grid.Offsets();
}
