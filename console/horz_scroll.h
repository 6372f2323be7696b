// CHorzScroll: the bar below the strips. It scrolls them, and in styles that have the handles for it zooms
// them. [page-thread]
#pragma once

#include "console/view_region.h"

/// What is scrolled, in one unit: what is on view begins at `start` and is `length` long. A total below 0:
/// nothing can be scrolled.
struct ScrollModel {
    LONG start = 0, length = 0, total = 0, minimum = 0;

    bool ShowsAll() const { return start <= 0 && length >= total; }
};

inline constexpr uint32_t SCROLLS_CORNER = 0x7, SCROLLS_NO_ZOOM = 0x20, SCROLLS_NO_GRIPS = 0x80,
                          SCROLLS_HIDES = 0x100;  ///< hidden while everything is on view
/// The console's own.
inline constexpr uint32_t SCROLLS_CONSOLE = 0x1A0;

/// Element codes, from the left.
inline constexpr uint32_t SCROLL_NONE = 0, SCROLL_LEFT = 1, SCROLL_BEFORE = 2, SCROLL_AFTER = 3,
                          SCROLL_RIGHT = 4, SCROLL_ZOOM_OUT = 5, SCROLL_ZOOM_DRAG = 6, SCROLL_ZOOM_IN = 7,
                          SCROLL_CORNER = 8, SCROLL_LEFT_GRIP = 9, SCROLL_THUMB = 10, SCROLL_RIGHT_GRIP = 11;

/// Sizes of the window system's scroll bars: height of a bar, width of an upright one, of an arrow, of the
/// smallest thumb.
struct ScrollSizes {
    LONG bar = 0, upright = 0, arrow = 0, thumb = 0;
};

struct ScrollLayout {
    RECT bar;
    RECT leftArrow, track, rightArrow, zoomOut, zoomDrag, zoomIn, corner;
    RECT thumb;
    LONG grip;         ///< width of a grip at either end of the thumb
    LONG trackLength;  ///< of the track, without what the smallest thumb takes

    /// SCROLL_
    uint32_t ElementAt(POINT at) const;
    RECT AreaOf(uint32_t element) const;
};

/// The bar at the bottom of a rectangle; empty where it is hidden.
ScrollLayout LayoutScroll(const RECT& rect, const ScrollSizes& sizes, uint32_t style,
                          const ScrollModel& model);
/// What a drag of an element by some pixels makes of the model.
ScrollModel DragScroll(const ScrollModel& from, uint32_t element, LONG pixels, LONG trackLength);

class CHorzScroll final : public CViewRegion, private AccessibleNode {
public:
    /// Told of the part of the whole that is to be on view.
    using Scrolled = std::function<void(LONG start, LONG length)>;

    CHorzScroll(RegionSite& site, Scrolled scrolled, uint32_t style = SCROLLS_CONSOLE)
        : CViewRegion(site), m_scrolled(std::move(scrolled)), m_style(style) {}

    /// What is scrolled; laid out by the next ReSize.
    void SetModel(const ScrollModel& model) { m_model = model; }
    bool IsHeld() const { return m_pressed != SCROLL_NONE; }

    void ReSize(RECT& rect) override;
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) override;
    void OnMouseAway() override;
    intptr_t OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void Paint(QPainter& painter, const RECT& area) override;
    void OnTimer(uint32_t id) override;
    int PartCount() const override { return m_bounds.IsEmpty() ? 0 : 1; }
    AccessibleNode* Part(int) const override { return const_cast<CHorzScroll*>(this); }

private:
    int Place() const override { return 0; }
    Role TheRole() const override { return Role::Slider; }
    std::u16string Name() const override;
    std::string Identifier() const override { return "scroll"; }
    RECT Area() const override { return m_bounds; }
    Range Value() const override;
    void SetValue(double value) override;

    void BeginPress(uint32_t element, POINT at);
    void EndPress(POINT at);
    void Cancel();
    /// One step of an arrow or of the track.
    void Step();
    void Show(const ScrollModel& model);
    void SetHot(uint32_t element);

    const Scrolled m_scrolled;
    const uint32_t m_style;
    ScrollModel m_model, m_before;  ///< now, and at the press
    ScrollLayout m_layout{};
    uint32_t m_pressed = SCROLL_NONE, m_hot = SCROLL_NONE;
    POINT m_from{}, m_at{};
};
