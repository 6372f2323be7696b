// The context menu of a meter: ranges, labels, holds, reset.
#include "controls/control_texts.h"
#include "controls/meter.h"
#include "controls/text_ids.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/ui/menu_edit.h"
#include "kernel/ui/menu_resources.h"
#include "platform/ui/control_host.h"

#include <algorithm>
#include <iterator>

using namespace tarn;

namespace {
constexpr uint32_t kMenu = 40000;
constexpr uint32_t kFirstRange = 40001, kFullRange = 40009, kLabels = 40010, kReset = 40011, kPeaks = 40012,
                   kValleys = 40013;

// A power of two each, at 6 dB a bit.
constexpr int32_t kCounts[] = {4, 16, 128, 1024, 8192, 32768, 1048576, 8388608};

const MENUROW kRows[] = {
    {0, kReset, &KS_Meter_Reset, 0},
    {0, 0, nullptr, 0},
    {0, kFirstRange, &KS_Meter_Range_12, 0},
    {0, kFirstRange + 1, &KS_Meter_Range_24, 0},
    {0, kFirstRange + 2, &KS_Meter_Range_42, 0},
    {0, kFirstRange + 3, &KS_Meter_Range_60, 0},
    {0, kFirstRange + 4, &KS_Meter_Range_78, 0},
    {0, kFirstRange + 5, &KS_Meter_Range_90, 0},
    {0, kFirstRange + 6, &KS_Meter_Range_120, 0},
    {0, kFirstRange + 7, &KS_Meter_Range_138, 0},
    {0, kFullRange, &KS_Meter_FullRange, 0},
    {0, 0, nullptr, 0},
    {0, kLabels, &KS_Meter_Labels, 0},
    {0, kPeaks, &KS_Meter_Peaks, 0},
    {0, kValleys, &KS_Meter_Valleys, 0},
};
const MENURESOURCE kMenus[] = {{kMenu, kRows}};
const ModuleMenus menus(ThisInstance(), kMenus);

constexpr struct {
    uint32_t item, style;
} kStyles[] = {{kLabels, METERS_LABELS}, {kPeaks, METERS_HOLD_HIGH}, {kValleys, METERS_HOLD_LOW}};

bool IsRange(uint32_t item) { return item >= kFirstRange && item < kFirstRange + std::size(kCounts); }

ControlHost* OwnerOf(const tQMMETER& m) { return m.owner ? m.owner : m.window; }

uint32_t CheckedRange(const tQMMETER& m) {
    // Without a display range the largest count that the range holds.
    const int32_t shown = m.scale.displayRange;
    uint32_t checked = kFullRange;
    for (size_t i = 0; i < std::size(kCounts); i++)
        if (shown > 0 ? kCounts[i] == shown : kCounts[i] <= m.scale.range)
            checked = kFirstRange + static_cast<uint32_t>(i);
    return checked;
}

void Prepare(const tQMMETER& m, Menu& menu) {
    for (size_t i = 0; i < std::size(kCounts); i++) {
        const uint32_t ids[] = {kFirstRange + static_cast<uint32_t>(i)};
        if (kCounts[i] > m.scale.range) QmCullMenu(&menu, ids, 1, 0);
    }
    // Nothing to reset where no readout can be clicked.
    if (!(m.style & METERS_CLIP_CLICK) && menu.items.front().id == kReset)
        menu.items.erase(menu.items.begin(), menu.items.begin() + 2);
    menu.Check(CheckedRange(m), true);
    for (const auto& row : kStyles) menu.Check(row.item, m.style & row.style);
}

void SetRange(tQMMETER& m, int32_t count) {
    MeterInst_Message(&m, METERM_SETDISPLAYRANGE, 1, count < m.scale.range ? count : 0);
    NMHDR notification{m.window, m.id, METERN_RANGE};
    OwnerOf(m)->Send(WM_NOTIFY, m.id, reinterpret_cast<intptr_t>(&notification));
}

// True when the item is one of the meter's.
bool Apply(tQMMETER& m, uint32_t item) {
    if (IsRange(item)) return SetRange(m, kCounts[item - kFirstRange]), true;
    if (item == kFullRange) return SetRange(m, 0), true;
    if (item == kReset) {
        MeterInst_Message(&m, METERM_RESETCLIP, 0, 0);
        m.window->Invalidate(m.client);
        return true;
    }
    const auto* row = std::ranges::find_if(kStyles, [&](const auto& r) { return r.item == item; });
    if (row == std::end(kStyles)) return false;
    MeterInst_Message(&m, METERM_CHANGESTYLE, row->style, !(m.style & row->style));
    return true;
}

intptr_t Tell(tQMMETER& m, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message != WM_MENUSELECT || !(m.style & METERS_OWN_MENU))
        return OwnerOf(m)->Send(message, wparam, lparam);
    const uint32_t flags = HighWord(wparam), id = lparam && !(flags & MF_POPUP) ? LowWord(wparam) : 0;
    char16_t text[256] = {};
    if (id) QmLoadString(ControlLang(), QmTextId(id), text, std::size(text));
    METERMENUHELP help{{m.window, m.id, METERN_MENUHELP}, id, flags, text};
    return OwnerOf(m)->Send(WM_NOTIFY, m.id, reinterpret_cast<intptr_t>(&help));
}
}  // namespace

uint32_t MeterInst_ContextMenu(tQMMETER* meter, const POINT* screen, METERMENUPROC callback,
                               uintptr_t context) {
    const std::unique_ptr<Menu> menu(QmLoadMenu(ControlLang(), kMenu));
    if (!menu) return 0;
    Prepare(*meter, *menu);
    const uint32_t item =
        TrackPopupMenu(*menu, *screen, [&](uint32_t message, uintptr_t wparam, intptr_t lparam) {
            return Tell(*meter, message, wparam, lparam);
        });
    if (item && !Apply(*meter, item) && !(callback && callback(meter, item, context)))
        OwnerOf(*meter)->Send(WM_COMMAND, PackWords(item, 0), reinterpret_cast<intptr_t>(meter->window));
    return item;
}
