#include "tools/tarn-gallery/gallery_parts.h"

#include "controls/meter_scales.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/ui/menu_edit.h"
#include "kernel/ui/skin_draw.h"
#include "kernel/ui/skin_images.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_edge.h"
#include "kernel/ui/ui_fonts.h"
#include "kernel/ui/ui_glyphs.h"

#include <array>

using namespace tarn;

namespace {
constexpr uint32_t kFirstIcon = 100, kIcons = 7, kFirstScale = 200;
}  // namespace

PartsView::PartsView() {
    setFixedSize(300, 160);
    setAccessibleName(QStringLiteral("Parts"));
    const _qmmenuman_info info{QmSkin_GetTrackIconImageLists(), {16, 16}, this, 0};
    MenuMan_Init();
    MenuMan_SetInfo(&info);
    Create();
}

int32_t PartsView::MenuMan_GetImageIndex(uint32_t command) {
    return command >= kFirstIcon && command < kFirstIcon + kIcons ? static_cast<int32_t>(command - kFirstIcon)
                                                                  : -1;
}

BOOL PartsView::MenuMan_GetAcceleratorInfo(uint32_t command, QMACCEL* accelerator) {
    if (command < kFirstIcon || command >= kFirstIcon + kIcons) return 0;
    *accelerator = {VK_F1 + command - kFirstIcon, ACCEL_CTRL | ACCEL_VIRTKEY, command};
    return 1;
}

void PartsView::ShowMenu(POINT screen) {
    Menu menu;
    constexpr std::array kNames = {u"&Audio track", u"&Bus",        u"&Master", u"&Effect",
                                   u"&Synthesiser", u"M&IDI track", u"I&nput"};
    for (uint32_t i = 0; i < kIcons; i++)
        menu.Add(kFirstIcon + i, kNames[i], i == 3 ? MF_GRAYED : i == 2 ? MF_CHECKED : 0);
    menu.AddSeparator();
    Menu& scales = *menu.AddSubmenu(u"&Scale").submenu;
    for (uint32_t i = 0; i < kMeterScaleCount; i++)
        scales.Add(kFirstScale + i, KernelText(*MeterScaleOf(i).name));
    scales.Check(kFirstScale + 3, true);
    TrackPopupMenu(menu, screen, [this](uint32_t message, uintptr_t wparam, intptr_t lparam) {
        return Send(message, wparam, lparam);
    });
}

intptr_t PartsView::OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    intptr_t result = 0;
    if (MenuMan_HandleMessage(this, message, wparam, lparam, &result)) return result;
    switch (message) {
    case WM_PAINT: Paint(reinterpret_cast<PaintInfo*>(wparam)->painter); return 0;
    case WM_LBUTTONDOWN: ShowMenu(ToScreen(UnpackPoint(lparam))); return 0;
    case WM_KEYDOWN:
        if (wparam != VK_SPACE) break;
        ShowMenu(ToScreen({0, height()}));
        return 0;
    default: break;
    }
    return MessageWindow::OnMessage(message, wparam, lparam);
}

void PartsView::Paint(QPainter& p) {
    FillRect(p, ClientRect(), QmGetUIColor(COLOR_BTNFACE));
    constexpr std::array<uint32_t, 6> kEdges = {EDGE_RAISED_OUTER | EDGE_RAISED_INNER,
                                                EDGE_SUNKEN_OUTER | EDGE_SUNKEN_INNER,
                                                EDGE_RAISED_OUTER,
                                                EDGE_SUNKEN_OUTER,
                                                EDGE_RAISED_OUTER | EDGE_SUNKEN_INNER,
                                                EDGE_SUNKEN_OUTER | EDGE_RAISED_INNER};
    LONG x = 8;
    for (const uint32_t edge : kEdges) {
        QmDrawEdge(p, {x, 8, x + 30, 34}, edge, SIDE_ALL | EDGE_SOFT);
        x += 38;
    }
    QmDrawEdge(p, {x, 8, x + 30, 34}, EDGE_RAISED_OUTER | EDGE_SUNKEN_INNER,
               SIDE_LEFT | SIDE_BOTTOM | EDGE_DIAGONAL);
    for (uint32_t glyph = 0; glyph <= UIGLYPH_MINUS; glyph++)
        QmBltStandardUIGlyph(p, {8 + 30 * static_cast<LONG>(glyph), 46}, 18, glyph, COLOR_BTNTEXT);
    constexpr std::array<uint32_t, 5> kStates = {0, SKINBUTTON_HOT, SKINBUTTON_PRESSED, SKINBUTTON_CHECKED,
                                                 SKINBUTTON_DISABLED | SKINBUTTON_CHECKED};
    for (size_t i = 0; i < kStates.size(); i++) {
        const LONG left = 8 + 56 * static_cast<LONG>(i);
        SKINTOOLBARDRAW draw{&p, {left, 76, left + 48, 102}, kStates[i], true, {}};
        QmSkin_ToolbarOnCustomDraw(&draw);
        QmSkin_GetTrackIconImageLists()->Draw(p, static_cast<int32_t>(i), {draw.content.left + 8, 81},
                                              kStates[i] & SKINBUTTON_DISABLED ? ImageState::Disabled
                                                                               : ImageState::Normal);
    }
    x = 8;
    for (const int32_t font : {100, 104, 106, 110, 112, 147}) {
        DrawText(p, {x, 116, x + 48, 150}, font == 147 ? u"-6.0" : u"Tarn", QmGetUIFont(font),
                 QmGetUIColor(COLOR_BTNTEXT));
        x += 48;
    }
}
