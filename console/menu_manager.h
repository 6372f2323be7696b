// CConsoleMenuManager: the console's menus with their images and the keys that are in force.
#pragma once

#include "console/commands.h"
#include "kernel/ui/menu_manager.h"

class CConsoleMenuManager final : public CQmMenuManager {
public:
    /// `images` and `keys` outlive the menus.
    CConsoleMenuManager(const ImageList& images, const CommandKeys& keys);

    int32_t MenuMan_GetImageIndex(uint32_t command) override;
    BOOL MenuMan_GetAcceleratorInfo(uint32_t command, QMACCEL* accelerator) override;

private:
    const CommandKeys& m_keys;
};
