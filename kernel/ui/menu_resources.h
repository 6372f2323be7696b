// The menu resources of modules: trees of items by number. Their texts are string resources or records, so
// that a menu is loaded in the language of a handle. All on the UI thread.
#pragma once

#include "kernel/lang/string_resources.h"
#include "platform/ui/menu.h"

#include <span>

struct MENUROW {
    uint32_t level;    ///< 0 at the top; a row with deeper ones behind it opens a submenu
    uint32_t id;       ///< 0 for a submenu
    const void* text;  ///< QmTextId or a record; null: a separator
    uint32_t type;     ///< MF_MENUBREAK, MF_MENUBARBREAK
};

struct MENURESOURCE {
    uint32_t id;
    std::span<const MENUROW> rows;
};

/// Makes menus known for as long as the object lives.
class ModuleMenus {
public:
    QM_API ModuleMenus(HINSTANCE module, std::span<const MENURESOURCE> menus);
    QM_API ~ModuleMenus();
    ModuleMenus(const ModuleMenus&) = delete;
    ModuleMenus& operator=(const ModuleMenus&) = delete;

    HINSTANCE module;
    std::span<const MENURESOURCE> menus;
};

extern "C" {
/// A menu of the handle's module in its language; null when there is none. The caller frees it with
/// QmDestroyMenu.
QM_API HMENU QmLoadMenu(HQMLANG lang, uint32_t id);
/// Without the commands of a list (see QmCullMenu).
QM_API HMENU QmLoadCulledMenu(HQMLANG lang, uint32_t id, const uint32_t* ids, int32_t count, BOOL clean);
/// Null is fine.
QM_API void QmDestroyMenu(HMENU menu);
}
