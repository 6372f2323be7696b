// What controls and menus are made of: edges, glyphs, buttons, and a menu that its manager draws.
#pragma once

#include "kernel/ui/menu_manager.h"
#include "platform/ui/window.h"

class PartsView final : public MessageWindow, CQmMenuManager {
public:
    PartsView();
    ~PartsView() override { Destroy(); }

    intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) override;

    int32_t MenuMan_GetImageIndex(uint32_t command) override;
    BOOL MenuMan_GetAcceleratorInfo(uint32_t command, QMACCEL* accelerator) override;

private:
    void Paint(QPainter& painter);
    void ShowMenu(POINT screen);
};
