// Menus as data, and as a popup of the window system. Whoever owns a popup is told of it by messages and may
// draw its items: WM_INITMENUPOPUP before it is filled, WM_MENUSELECT for the item under mouse or keys, for
// items with MF_OWNERDRAW WM_MEASUREITEM and WM_DRAWITEM, and WM_UNINITMENUPOPUP when it is gone. All on the
// window's thread.
#pragma once

#include "platform/types.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QPainter;
struct Menu;
typedef Menu* HMENU;

inline constexpr uint32_t WM_DRAWITEM = 43,  ///< lparam: MENUDRAW*
    WM_MEASUREITEM = 44,                     ///< lparam: MENUMEASURE*; non-zero when measured
    WM_INITMENUPOPUP = 279,                  ///< wparam: Menu*
    WM_MENUSELECT = 287,       ///< wparam: id, MF_ flags; lparam: Menu*, null when the menu closes
    WM_UNINITMENUPOPUP = 293;  ///< wparam: Menu*

// Of an item's type.
inline constexpr uint32_t MF_MENUBARBREAK = 0x20, MF_MENUBREAK = 0x40, MF_OWNERDRAW = 0x100,
                          MF_SEPARATOR = 0x800;
// Of an item's state.
inline constexpr uint32_t MF_GRAYED = 1, MF_DISABLED = 2, MF_CHECKED = 8, MF_DEFAULT = 0x1000;
// Of WM_MENUSELECT, with the state's.
inline constexpr uint32_t MF_POPUP = 0x10, MF_HILITE = 0x80;

struct MenuItem {
    uint32_t type = 0, state = 0;
    uint32_t id = 0;
    std::u16string text;  ///< '&' before the letter that chooses it, a tabulator before its keys
    std::unique_ptr<Menu> submenu;
    uintptr_t data = 0;  ///< of who draws it

    bool IsSeparator() const { return type & MF_SEPARATOR; }
};

struct Menu {
    std::vector<MenuItem> items;

    QM_API MenuItem& Add(uint32_t id, std::u16string text, uint32_t state = 0);
    QM_API MenuItem& AddSubmenu(std::u16string text);
    QM_API void AddSeparator();
    /// Here and in the submenus; null when there is none.
    QM_API MenuItem* Find(uint32_t id);
    QM_API void Check(uint32_t id, bool on);
};

struct MENUMEASURE {
    const Menu* menu;
    const MenuItem* item;
    SIZE size;  ///< to be filled in, without the room of a check mark
};

inline constexpr uint32_t MENUDRAW_SELECTED = 1, MENUDRAW_DISABLED = 2, MENUDRAW_CHECKED = 4,
                          MENUDRAW_MIRRORED = 8;  ///< from right to left
struct MENUDRAW {
    const Menu* menu;
    const MenuItem* item;
    QPainter* painter;
    RECT rect;
    uint32_t state;  ///< MENUDRAW_
};

/// Metrics of the window system's menus.
inline constexpr LONG kMenuCheckWidth = 15, kMenuBarHeight = 20;

/// Takes the messages above, as a window does.
using MenuOwner = std::function<intptr_t(uint32_t message, uintptr_t wparam, intptr_t lparam)>;

/// Shows the menu and waits; the id of what was chosen, or 0. The owner may change the menu in
/// WM_INITMENUPOPUP. A column break shows as a separator.
QM_API uint32_t TrackPopupMenu(Menu& menu, POINT screen, const MenuOwner& owner);
