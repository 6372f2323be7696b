// A window that only remembers what controls ask of it.
#pragma once

#include "platform/ui/control_host.h"
#include "platform/ui/messages.h"
#include "points.h"

#include <set>
#include <string>
#include <vector>

/// Two limits of a range, as messages carry them.
inline intptr_t Limits(int32_t min, int32_t max) {
    return static_cast<intptr_t>(PackWords(static_cast<uint32_t>(min), static_cast<uint32_t>(max)));
}

struct FakeWindow : ControlHost {
    struct Sent {
        uint32_t message;
        uintptr_t wparam;
        int32_t notifyCode;  // of WM_NOTIFY
    };
    std::vector<RECT> invalid;
    std::vector<Sent> sent;
    std::vector<POINT> warps;
    std::u16string tip;
    std::set<uint32_t> timers, keys;
    bool captured = false, caret = false, caretShown = false, focused = false;
    POINT caretAt{};
    uint32_t pointer = 0, now = 100000;

    void Invalidate(const RECT& area) override { invalid.push_back(area); }
    void SetCapture(bool on) override { captured = on; }
    void TakeFocus() override { focused = true; }
    void SetTimer(uint32_t id, uint32_t) override { timers.insert(id); }
    void KillTimer(uint32_t id) override { timers.erase(id); }
    void WarpCursor(POINT at) override { warps.push_back(at); }
    void SetPointer(uint32_t id) override { pointer = id; }
    POINT ToScreen(POINT client) const override { return client; }
    bool IsKeyDown(uint32_t key) const override { return keys.count(key) > 0; }
    void CreateCaret(SIZE) override { caret = true; }
    void MoveCaret(POINT at) override { caretAt = at; }
    void ShowCaret(bool on) override { caretShown = on; }
    void DestroyCaret() override { caret = caretShown = false; }
    void TrackTip(std::u16string_view text, POINT) override { tip = text; }
    intptr_t Send(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        const bool notify = message == WM_NOTIFY;
        sent.push_back({message, wparam, notify ? reinterpret_cast<const NMHDR*>(lparam)->code : 0});
        return 0;
    }
    uint32_t Now() const override { return now; }
};
