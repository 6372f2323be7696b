// CViewRegion: the base of the console's panes. A region is no window: it owns a rectangle of the page's
// window and is given that window's messages. All operations on the page's thread.
#pragma once

#include "console/channel_entry.h"
#include "platform/ui/messages.h"

#include <string>

class CConsoleMixerPage;
class QPainter;

/// The high part of a hit word names the region, the low part the element.
inline constexpr uint32_t HIT_MIXER_VIEW = 0x10000;
inline constexpr uint32_t HIT_HORZ_SCROLL = 0x20000;
inline constexpr uint32_t HIT_LEFT_TOOLBAR = 0x40000;
inline constexpr uint32_t HIT_CHANNEL_LIST = 0x80000;
inline constexpr uint32_t HIT_ELEMENT_MASK = 0xFFFF;

class CViewRegion {
public:
    explicit CViewRegion(CConsoleMixerPage& page) : m_page(page) {}
    CViewRegion(const CViewRegion&) = delete;
    CViewRegion& operator=(const CViewRegion&) = delete;

    virtual ~CViewRegion() = default;
    virtual HRESULT Create() = 0;
    /// Takes what it needs of the rectangle and leaves the rest in it.
    virtual void ReSize(RECT& rect) = 0;
    /// Hit word of a point of the page; fills the tip's text and area.
    virtual uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) = 0;
    virtual uint32_t GetCursorForHit(uint32_t element) = 0;
    /// The mouse went to another region.
    virtual void OnMouseAway() = 0;
    virtual intptr_t OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) = 0;
    virtual void Paint(QPainter& painter, const RECT& area) = 0;
    virtual void OnTimer(uint32_t id) = 0;
    /// True when the key was taken.
    virtual bool OnKeyDown(uint32_t message, uintptr_t wparam, intptr_t lparam) = 0;
    /// Null is every channel.
    virtual void OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) = 0;
    virtual void OnImagesChanged() = 0;

    const RECT& Bounds() const { return m_bounds; }

protected:
    CConsoleMixerPage& m_page;
    RECT m_bounds{};
    uint32_t m_hitWord = 0;
};
