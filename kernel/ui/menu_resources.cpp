#include "kernel/ui/menu_resources.h"

#include "kernel/ui/menu_edit.h"

#include <algorithm>
#include <vector>

namespace {
std::vector<const ModuleMenus*>& Modules() {
    static std::vector<const ModuleMenus*> modules;
    return modules;
}

const MENURESOURCE* Find(HINSTANCE module, uint32_t id) {
    for (const ModuleMenus* m : Modules()) {
        if (m->module != module) continue;
        const auto it = std::ranges::find(m->menus, id, &MENURESOURCE::id);
        if (it != m->menus.end()) return &*it;
    }
    return nullptr;
}

// Takes the rows of one level, and those below them.
void Fill(Menu& menu, std::span<const MENUROW>& rows, uint32_t level, HQMLANG lang) {
    while (!rows.empty() && rows.front().level >= level) {
        const MENUROW row = rows.front();
        rows = rows.subspan(1);
        if (!row.text) {
            menu.AddSeparator();
            continue;
        }
        std::u16string text = QmGetString(lang, static_cast<const char16_t*>(row.text));
        if (!rows.empty() && rows.front().level > level)
            Fill(*menu.AddSubmenu(std::move(text)).submenu, rows, level + 1, lang);
        else
            menu.Add(row.id, std::move(text));
        menu.items.back().type |= row.type;
    }
}
}  // namespace

ModuleMenus::ModuleMenus(HINSTANCE owner, std::span<const MENURESOURCE> resources)
    : module(owner), menus(resources) {
    Modules().push_back(this);
}
ModuleMenus::~ModuleMenus() { std::erase(Modules(), this); }

HMENU QmLoadMenu(HQMLANG lang, uint32_t id) {
    const MENURESOURCE* resource = Find(QmLang_InstFromLang(lang), id);
    if (!resource) return nullptr;
    auto menu = std::make_unique<Menu>();
    std::span<const MENUROW> rows = resource->rows;
    Fill(*menu, rows, 0, lang);
    return menu.release();
}

HMENU QmLoadCulledMenu(HQMLANG lang, uint32_t id, const uint32_t* ids, int32_t count, BOOL clean) {
    const HMENU menu = QmLoadMenu(lang, id);
    if (menu) QmCullMenu(menu, ids, count, clean);
    return menu;
}

void QmDestroyMenu(HMENU menu) { delete menu; }
