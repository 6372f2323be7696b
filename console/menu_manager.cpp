#include "console/menu_manager.h"

#include "console/command_images.h"

CConsoleMenuManager::CConsoleMenuManager(const ImageList& images, const CommandKeys& keys) : m_keys(keys) {
    _qmmenuman_info info{};
    info.images = &images;
    info.flags = MENUMAN_COLUMN_SPACERS;
    MenuMan_SetInfo(&info);
    MenuMan_Init();
}

int32_t CConsoleMenuManager::MenuMan_GetImageIndex(uint32_t command) { return MenuImage(command); }

BOOL CConsoleMenuManager::MenuMan_GetAcceleratorInfo(uint32_t command, QMACCEL* accelerator) {
    const MPCOMMANDKEY* row = m_keys.KeyOf(command);
    if (row) *accelerator = {row->key, row->modifiers, command};
    return row != nullptr;
}
