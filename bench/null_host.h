// A window that does nothing, for controls whose paint is measured.
#pragma once

#include "platform/ui/control_host.h"

struct NullHost : ControlHost {
    uint32_t now = 100000;
    size_t invalidated = 0;
    void Invalidate(const RECT&) override { invalidated++; }
    void SetCapture(bool) override {}
    void TakeFocus() override {}
    void SetTimer(uint32_t, uint32_t) override {}
    void KillTimer(uint32_t) override {}
    void WarpCursor(POINT) override {}
    void SetPointer(uint32_t) override {}
    POINT ToScreen(POINT client) const override { return client; }
    bool IsKeyDown(uint32_t) const override { return false; }
    void CreateCaret(SIZE) override {}
    void MoveCaret(POINT) override {}
    void ShowCaret(bool) override {}
    void DestroyCaret() override {}
    void TrackTip(std::u16string_view, POINT) override {}
    intptr_t Send(uint32_t, uintptr_t, intptr_t) override { return 0; }
    uint32_t Now() const override { return now; }
};
