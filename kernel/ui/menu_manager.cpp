#include "kernel/ui/menu_manager.h"

#include "kernel/codes.h"
#include "kernel/color_math.h"
#include "kernel/lang/lang.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_edge.h"
#include "kernel/ui/ui_glyphs.h"
#include "platform/ui/control_host.h"
#include "platform/ui/image_list.h"
#include "platform/ui/messages.h"
#include "platform/ui/paint.h"

#include <QApplication>
#include <QFontMetrics>

#include <algorithm>

using namespace tarn;

struct QMMENUBUTTON {
    uint32_t oldType;
    uintptr_t oldData;
    const ImageList* images;  ///< null: no icon
    int32_t image;
    bool hasCheckedImage;
    bool isSpacer;
    SIZE size;            ///< 0 until it is measured
    std::u16string keys;  ///< what was added to the item's text
};

namespace {
constexpr LONG kIcon = 16, kIconMargin = 3, kTextGap = 5, kEastAsian = 3;

struct ItemText {
    std::u16string_view label, keys;
};
ItemText Split(std::u16string_view text) {
    const size_t tab = text.find(u'\t');
    return tab == text.npos ? ItemText{text, {}} : ItemText{text.substr(0, tab), text.substr(tab + 1)};
}

// Without the marks of the letters that choose the item.
QString Shown(std::u16string_view label) {
    QString text;
    for (size_t i = 0; i < label.size(); i++) {
        if (label[i] == u'&' && i + 1 < label.size()) i++;
        text += QChar(label[i]);
    }
    return text;
}

bool IsEastAsian() {
    constexpr uint32_t kLanguages[] = {0x04, 0x11, 0x12};  // Chinese, Japanese, Korean
    return std::ranges::find(kLanguages, QmLang_GetLCID(KernelLang()) & LANG_PRIMARY_MASK) !=
           std::end(kLanguages);
}

// What is placed as from the left stands as far from the right in a mirrored menu.
RECT Placed(const MENUDRAW& draw, const RECT& at) {
    if (!(draw.state & MENUDRAW_MIRRORED)) return at;
    const LONG edges = draw.rect.left + draw.rect.right;
    return {edges - at.right, at.top, edges - at.left, at.bottom};
}
}  // namespace

CQmMenuManager::CQmMenuManager() = default;
CQmMenuManager::~CQmMenuManager() = default;

int32_t CQmMenuManager::MenuMan_GetImageIndex(uint32_t) { return -1; }
void CQmMenuManager::MenuMan_InitMenuState(Menu*) {}
BOOL CQmMenuManager::MenuMan_GetAcceleratorInfo(uint32_t, QMACCEL*) { return 0; }

BOOL CQmMenuManager::MenuMan_GetImage(const Menu*, uint32_t command, BOOL* checkedOut, const ImageList** list,
                                      int32_t* index) {
    *checkedOut = 0;
    *list = m_info.images;
    *index = m_info.images && !(m_flags & MENUMAN_NO_ICONS) ? MenuMan_GetImageIndex(command) : -1;
    return *index >= 0;
}

bool CQmMenuManager::MakeFonts() {
    m_font = std::make_unique<QFont>(QApplication::font("QMenu"));
    m_boldFont = std::make_unique<QFont>(*m_font);
    m_boldIsSame = m_font->weight() >= QFont::Bold;
    m_boldFont->setWeight(std::max(m_font->weight(), QFont::Bold));
    return QFontMetrics(*m_font).height() > 0;
}

HRESULT CQmMenuManager::MenuMan_Init() {
    if (m_font) return QM_E_ALREADY;
    if (MakeFonts()) return S_OK;
    MenuMan_DeInit();
    return QM_E_NO_RESOURCE;
}

void CQmMenuManager::MenuMan_DeInit() {
    m_font.reset();
    m_boldFont.reset();
    m_buttons.clear();
}

uint32_t CQmMenuManager::MenuMan_SetFlags(uint32_t flags) {
    return std::exchange(m_flags, flags & (MENUMAN_COLUMN_SPACERS | MENUMAN_NO_ICONS));
}

void CQmMenuManager::MenuMan_SetInfo(const _qmmenuman_info* info) {
    m_info = *info;
    MenuMan_SetFlags(m_flags | info->flags);
}

BOOL CQmMenuManager::MenuMan_TranslateAccelerator(const QMACCEL* table, uint32_t count, uint32_t message,
                                                  uintptr_t key) {
    if (message != WM_KEYDOWN || !m_info.owner) return 0;
    const auto held = [&](uint32_t vk, uint32_t flag) { return m_info.owner->IsKeyDown(vk) ? flag : 0; };
    const uint32_t flags =
        held(VK_SHIFT, ACCEL_SHIFT) | held(VK_CONTROL, ACCEL_CTRL) | held(VK_MENU, ACCEL_ALT);
    const auto* row = std::find_if(table, table + count, [&](const QMACCEL& a) {
        return a.key == key && (a.flags & (ACCEL_SHIFT | ACCEL_CTRL | ACCEL_ALT)) == flags;
    });
    if (row == table + count) return 0;
    m_info.owner->Send(WM_COMMAND, PackWords(row->command, 1), 0);
    return 1;
}

BOOL CQmMenuManager::MenuMan_HandleMessage(ControlHost*, uint32_t message, uintptr_t wparam, intptr_t lparam,
                                           intptr_t* result) {
    *result = 0;
    if (!m_font) return 0;
    switch (message) {
    case WM_SYSCOLORCHANGE:
    case WM_SETTINGCHANGE:
        MakeFonts();
        RefreshMenus();
        return 0;
    case WM_MEASUREITEM:
        *result = OnMeasureItem(*reinterpret_cast<MENUMEASURE*>(lparam));
        return *result != 0;
    case WM_DRAWITEM: *result = OnDrawItem(*reinterpret_cast<const MENUDRAW*>(lparam)); return *result != 0;
    case WM_INITMENUPOPUP: {
        auto& menu = *reinterpret_cast<Menu*>(wparam);
        MenuMan_InitMenuState(&menu);
        AddButtons(menu);
        return 1;
    }
    case WM_UNINITMENUPOPUP: FreeButtons(*reinterpret_cast<Menu*>(wparam)); return 1;
    default: return 0;
    }
}

const QMMENUBUTTON* CQmMenuManager::ButtonOf(const MenuItem& item) const {
    const auto it = std::ranges::find(m_buttons, reinterpret_cast<const QMMENUBUTTON*>(item.data),
                                      &std::unique_ptr<QMMENUBUTTON>::get);
    return it == m_buttons.end() ? nullptr : it->get();
}

void CQmMenuManager::AddButtons(Menu& menu) {
    InsertColumnSpacers(menu);
    for (MenuItem& item : menu.items) {
        if (item.type & MF_OWNERDRAW || ButtonOf(item)) continue;
        auto button = std::make_unique<QMMENUBUTTON>(
            QMMENUBUTTON{item.type, item.data, nullptr, -1, false, false, {}, {}});
        BOOL checked = 0;
        if (!item.IsSeparator() && !item.submenu &&
            MenuMan_GetImage(&menu, item.id, &checked, &button->images, &button->image))
            button->hasCheckedImage = checked;
        else
            button->images = nullptr;  // an application's list is not this item's
        QMACCEL keys{};
        if (!item.IsSeparator() && item.text.find(u'\t') == item.text.npos &&
            MenuMan_GetAcceleratorInfo(item.id, &keys)) {
            const std::u16string text = AcceleratorToString(keys);
            if (!text.empty()) button->keys = u"\t" + text;
            item.text += button->keys;
        }
        item.type |= MF_OWNERDRAW;
        item.data = reinterpret_cast<uintptr_t>(button.get());
        m_buttons.push_back(std::move(button));
    }
}

// Of this menu alone: the ones that it was opened from are still on the screen.
void CQmMenuManager::FreeButtons(Menu& menu) {
    for (size_t i = 0; i < menu.items.size();) {
        MenuItem& item = menu.items[i];
        const QMMENUBUTTON* button = ButtonOf(item);
        const bool isSpacer = button && button->isSpacer;
        if (button) {
            item.type = button->oldType;
            item.data = button->oldData;
            // The command may have other keys, or the language other names for them, when it opens again.
            if (item.text.ends_with(button->keys)) item.text.resize(item.text.size() - button->keys.size());
            std::erase_if(m_buttons, [&](const auto& b) { return b.get() == button; });
        }
        if (isSpacer)
            menu.items.erase(menu.items.begin() + static_cast<ptrdiff_t>(i));
        else
            i++;
    }
}

void CQmMenuManager::RefreshMenus() {
    for (const auto& button : m_buttons)
        if (!button->isSpacer) button->size = {};
}

bool CQmMenuManager::IsSpacerMenuItem(const MenuItem& item) const {
    const QMMENUBUTTON* button = ButtonOf(item);
    return button && button->isSpacer;
}

void CQmMenuManager::InsertSpacerMenuItem(Menu& menu, size_t position) {
    MenuItem& item = *menu.items.emplace(menu.items.begin() + static_cast<ptrdiff_t>(position));
    item.type = MF_OWNERDRAW;
    item.state = MF_DISABLED;
    m_buttons.push_back(
        std::make_unique<QMMENUBUTTON>(QMMENUBUTTON{MF_OWNERDRAW, 0, nullptr, -1, false, true, {}, {}}));
    item.data = reinterpret_cast<uintptr_t>(m_buttons.back().get());
}

void CQmMenuManager::InsertColumnSpacers(Menu& menu) {
    if (!(m_flags & MENUMAN_COLUMN_SPACERS)) return;
    bool hasColumns = false;
    for (size_t i = 0; i < menu.items.size(); i++) {
        if (!(menu.items[i].type & (MF_MENUBREAK | MF_MENUBARBREAK))) continue;
        InsertSpacerMenuItem(menu, i++);
        hasColumns = true;
    }
    if (hasColumns) InsertSpacerMenuItem(menu, menu.items.size());
}

void CQmMenuManager::FitSpacersToMenuHeight(Menu& menu, LONG height) {
    for (const MenuItem& item : menu.items)
        if (IsSpacerMenuItem(item)) {
            auto* button = reinterpret_cast<QMMENUBUTTON*>(item.data);
            button->size.cy = std::max<LONG>(height - button->size.cy, 0);
        }
}

uint32_t CQmMenuManager::VkToScanCode(uint32_t virtualKey) const { return VirtualKeyScanCode(virtualKey); }
intptr_t CQmMenuManager::VkToLParam(uint32_t virtualKey) const {
    return static_cast<intptr_t>(VirtualKeyScanCode(virtualKey)) << 16 | 1;
}
std::u16string CQmMenuManager::AcceleratorToString(const QMACCEL& a) const { return AcceleratorText(a); }
COLORREF CQmMenuManager::MenuGetSysColor(int32_t index) const { return QmGetUIColor(index); }
const QBrush& CQmMenuManager::MenuGetSysColorBrush(int32_t index) const { return QmGetUIBrush(index); }

bool CQmMenuManager::OnMeasureItem(MENUMEASURE& measure) {
    const QMMENUBUTTON* found = ButtonOf(*measure.item);
    if (!found) return false;
    auto& button = const_cast<QMMENUBUTTON&>(*found);
    if (!button.isSpacer && button.size.cy == 0) {
        if (measure.item->IsSeparator()) {
            button.size = {0, kMenuBarHeight / 2};
        } else {
            const auto [label, keys] = Split(measure.item->text);
            QString text = Shown(label);
            if (!keys.empty()) text += QStringLiteral("    ") + ViewText(keys);
            const QFontMetrics metrics(*m_font);
            const LONG usual = m_info.imageSize.cx > 0 ? m_info.imageSize.cx : kIcon;
            const SIZE icon = button.images ? button.images->Size() : SIZE{usual, usual};
            const LONG height = std::max({icon.cy + 2 * kIconMargin, LONG{metrics.height()}, kMenuBarHeight});
            const LONG images = button.hasCheckedImage ? 2 : 1;
            LONG width = metrics.horizontalAdvance(text);
            if (IsEastAsian()) width += kEastAsian;
            button.size = {std::max(icon.cx, height) + width + kTextGap + std::max(images * icon.cx, height) -
                               kMenuCheckWidth + 1,
                           height};
        }
    }
    measure.size = button.size;
    return true;
}

bool CQmMenuManager::OnDrawItem(const MENUDRAW& draw) {
    const QMMENUBUTTON* button = ButtonOf(*draw.item);
    if (button) DrawMenuItem(draw, *button);
    return button;
}

void CQmMenuManager::DrawMenuItem(const MENUDRAW& draw, const QMMENUBUTTON& button) {
    const RECT& r = draw.rect;
    FillRect(*draw.painter, r, MenuGetSysColor(COLOR_MENU));
    if (button.isSpacer) return;
    if (draw.item->IsSeparator()) {
        const LONG y = (r.top + r.bottom) / 2;
        const RECT line = Placed(draw, {r.left + r.Height(), r.top, r.right, r.bottom});
        HLine(*draw.painter, line.left, line.right, y,
              QmSkin_BlendColor(MenuGetSysColor(COLOR_MENU), MenuGetSysColor(COLOR_MENUTEXT), 60, 0));
        return;
    }
    const bool chosen = draw.state & MENUDRAW_SELECTED && !(draw.state & MENUDRAW_DISABLED);
    const LONG side = r.Height();
    // An icon keeps its ground: its colours, and the frame of a checked one, are made for that.
    const RECT lit{r.left + (button.images ? side : 0), r.top, r.right, r.bottom};
    if (chosen) FillRect(*draw.painter, Placed(draw, lit), MenuGetSysColor(COLOR_MENUHILIGHT));
    DrawButton(draw, button, Placed(draw, {r.left, r.top, r.left + side, r.bottom}));
    const RECT text{r.left + side + kTextGap, r.top, r.right - (draw.item->submenu ? side / 2 : kTextGap),
                    r.bottom};
    DrawMenuText(draw, Placed(draw, text), draw.item->state & MF_DEFAULT);
    if (draw.item->submenu) DrawMenuArrow(draw, Placed(draw, {r.right - side, r.top, r.right, r.bottom}));
}

namespace {
int32_t InkOf(const MENUDRAW& draw) {
    if (draw.state & MENUDRAW_DISABLED) return UICOLOR_TICK;
    return draw.state & MENUDRAW_SELECTED ? COLOR_HIGHLIGHTTEXT : COLOR_MENUTEXT;
}
}  // namespace

void CQmMenuManager::DrawMenuArrow(const MENUDRAW& draw, const RECT& rect) {
    const LONG size = 10;
    QmBltStandardUIGlyph(*draw.painter,
                         {(rect.left + rect.right - size) / 2, (rect.top + rect.bottom - size) / 2}, size,
                         draw.state & MENUDRAW_MIRRORED ? UIGLYPH_LEFT : UIGLYPH_RIGHT, InkOf(draw));
}

void CQmMenuManager::DrawButton(const MENUDRAW& draw, const QMMENUBUTTON& button, const RECT& rect) {
    const bool checked = draw.state & MENUDRAW_CHECKED;
    if (!button.images) {
        if (checked) Draw3DCheckmark(draw, rect);
        return;
    }
    if (checked) QmDrawOutline(*draw.painter, rect, COLOR_HIGHLIGHT, 1);
    const SIZE size = button.images->Size();
    const ImageState state = draw.state & MENUDRAW_DISABLED   ? ImageState::Disabled
                             : draw.state & MENUDRAW_SELECTED ? ImageState::Hot
                                                              : ImageState::Normal;
    button.images->Draw(*draw.painter, button.image,
                        {(rect.left + rect.right - size.cx) / 2, (rect.top + rect.bottom - size.cy) / 2},
                        state);
}

void CQmMenuManager::DrawMenuText(const MENUDRAW& draw, const RECT& rect, bool bold) {
    const auto [label, keys] = Split(draw.item->text);
    const COLORREF ink =
        draw.state & MENUDRAW_DISABLED
            ? QmSkin_BlendColor(MenuGetSysColor(COLOR_MENU), MenuGetSysColor(COLOR_MENUTEXT), 120, 0)
            : MenuGetSysColor(InkOf(draw));
    draw.painter->setFont(bold && !m_boldIsSame ? *m_boldFont : *m_font);
    draw.painter->setPen(ToColor(ink));
    draw.painter->setLayoutDirection(Qt::LayoutDirectionAuto);
    const bool mirrored = draw.state & MENUDRAW_MIRRORED;
    draw.painter->drawText(ToQRect(rect),
                           static_cast<int>((mirrored ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter) |
                               Qt::TextSingleLine | Qt::TextShowMnemonic,
                           ViewText(label));
    if (!keys.empty()) DrawText(*draw.painter, rect, keys, *m_font, ink, mirrored ? TEXT_LEFT : TEXT_RIGHT);
}

void CQmMenuManager::Draw3DCheckmark(const MENUDRAW& draw, const RECT& rect) {
    const LONG size = std::min(rect.Width(), kMenuCheckWidth);
    QmBltStandardUIGlyph(*draw.painter,
                         {(rect.left + rect.right - size) / 2, (rect.top + rect.bottom - size) / 2}, size,
                         UIGLYPH_CHECK, InkOf(draw));
}
