// Changes to menus before they are shown. All on the UI thread.
#pragma once

#include "platform/ui/menu.h"

extern "C" {
/// Deletes the commands of a list, which ends with `count` entries (below 0: 10000) or an id of 0. With
/// `clean`, what this leaves empty goes too, and separators that lead, trail or double.
QM_API void QmCullMenu(HMENU menu, const uint32_t* ids, int32_t count, BOOL clean);
/// Removes empty submenus and needless separators, here and below. A menu that is left without items is
/// removed from its parent, where it stands at `position`, and the result is 1; without a parent it stays,
/// empty.
QM_API BOOL QmCleanMenu(HMENU menu, HMENU parent, int32_t position);

/// The submenu at a position; null when there is none.
QM_API HMENU QmFindSubMenu(HMENU menu, int32_t position);
/// The menu, at any depth, in which a command stands; null when it is in none.
QM_API HMENU QmGetSubmenuByID(HMENU menu, uint32_t id);
/// 0 when there is no such command.
QM_API BOOL QmGrayMenu(HMENU menu, uint32_t id, BOOL gray);
QM_API void QmGrayAllMenuItems(HMENU menu);
QM_API void QmEnableAllMenuItems(HMENU menu);

/// Puts the values of "$(Name)" tokens into the texts, here and below. Texts count up to 100 characters, what
/// they become up to 200.
QM_API void QmMenuReplaceTokens(HMENU menu);
/// A name as it has to stand in a menu to show its ampersands.
QM_API void QmFixNameForMenu(char16_t* out, const char16_t* name, uint32_t capacity);
}
