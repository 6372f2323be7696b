#include "kernel/ui/menu_edit.h"

#include "kernel/print/print.h"

#include <algorithm>

namespace {
constexpr int32_t kMostIds = 10000;
constexpr size_t kTextIn = 100;
constexpr uint32_t kTextOut = 200;

void Erase(Menu& menu, size_t index) { menu.items.erase(menu.items.begin() + static_cast<ptrdiff_t>(index)); }

bool SeparatorAt(const Menu& menu, size_t index) {
    return index < menu.items.size() && menu.items[index].IsSeparator();
}

void Delete(Menu& menu, uint32_t id) {
    std::erase_if(menu.items,
                  [&](const MenuItem& i) { return i.id == id && !i.submenu && !i.IsSeparator(); });
    for (MenuItem& item : menu.items)
        if (item.submenu) Delete(*item.submenu, id);
}

void Clean(Menu& menu) {
    for (size_t i = 0; i < menu.items.size();) {
        const MenuItem& item = menu.items[i];
        const bool gone = item.submenu && QmCleanMenu(item.submenu.get(), &menu, static_cast<int32_t>(i));
        if (!gone) i++;
    }
    for (size_t i = 0; i < menu.items.size();) {
        const bool needless = i == 0 || SeparatorAt(menu, i + 1);
        if (SeparatorAt(menu, i) && needless)
            Erase(menu, i);
        else
            i++;
    }
    while (!menu.items.empty() && menu.items.back().IsSeparator()) menu.items.pop_back();
}

void SetAll(Menu& menu, bool gray) {
    for (MenuItem& item : menu.items) {
        if (item.submenu) SetAll(*item.submenu, gray);
        item.state = gray ? item.state | MF_GRAYED : item.state & ~(MF_GRAYED | MF_DISABLED);
    }
}
}  // namespace

void QmCullMenu(HMENU menu, const uint32_t* ids, int32_t count, BOOL clean) {
    for (int32_t i = 0; i < (count < 0 ? kMostIds : count) && ids[i] != 0; i++) Delete(*menu, ids[i]);
    if (clean) Clean(*menu);
}

BOOL QmCleanMenu(HMENU menu, HMENU parent, int32_t position) {
    Clean(*menu);
    if (!menu->items.empty() || !parent) return 0;
    Erase(*parent, static_cast<size_t>(position));
    return 1;
}

HMENU QmFindSubMenu(HMENU menu, int32_t position) {
    const bool inside = position >= 0 && position < static_cast<int32_t>(menu->items.size());
    return inside ? menu->items[static_cast<size_t>(position)].submenu.get() : nullptr;
}

HMENU QmGetSubmenuByID(HMENU menu, uint32_t id) {
    for (const MenuItem& item : menu->items) {
        if (item.id == id && !item.submenu && !item.IsSeparator()) return menu;
        if (HMENU found = item.submenu ? QmGetSubmenuByID(item.submenu.get(), id) : nullptr) return found;
    }
    return nullptr;
}

BOOL QmGrayMenu(HMENU menu, uint32_t id, BOOL gray) {
    MenuItem* item = menu->Find(id);
    if (!item) return 0;
    item->state = gray ? item->state | MF_GRAYED : item->state & ~(MF_GRAYED | MF_DISABLED);
    return 1;
}

void QmGrayAllMenuItems(HMENU menu) { SetAll(*menu, true); }
void QmEnableAllMenuItems(HMENU menu) { SetAll(*menu, false); }

void QmMenuReplaceTokens(HMENU menu) {
    for (MenuItem& item : menu->items) {
        if (item.submenu) QmMenuReplaceTokens(item.submenu.get());
        if (item.IsSeparator() || item.text.find(u"$(") == item.text.npos) continue;
        char16_t out[kTextOut];
        uint32_t length = 0;
        // Only the tokens are the format's; no value is behind any other directive.
        std::u16string format;
        for (size_t i = 0; i < std::min(item.text.size(), kTextIn); i++) {
            const char16_t c = item.text[i];
            const bool directive = (c == u'$' && item.text.compare(i, 2, u"$(") != 0) || c == u'%';
            format.append(directive ? 2 : 1, c);
        }
        QmCchPrintF(out, kTextOut, &length, format.c_str());
        item.text.assign(out, length);
    }
}

void QmFixNameForMenu(char16_t* out, const char16_t* name, uint32_t capacity) {
    uint32_t length = 0;
    for (; capacity > 0 && *name; name++) {
        const uint32_t count = *name == u'&' ? 2 : 1;
        // A single ampersand at the end would mark what follows it.
        if (length + count > capacity - 1) break;
        std::fill_n(out + length, count, *name);
        length += count;
    }
    if (capacity > 0) out[length] = 0;
}
