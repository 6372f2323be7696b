#include "console/upper_tool_bar.h"

#include "console/command_menus.h"
#include "console/commands.h"
#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/texts.h"
#include "kernel/print/print_text.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/menu.h"
#include "platform/ui/messages.h"
#include "platform/ui/paint.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t CMD_MORE = 3000;
struct BarButton {
    uint32_t command;
    ConsoleTextId text;
};
constexpr BarButton FULL[] = {
    {CMD_VIEW_MENU, IDS_CMD_VIEW_MENU},
    {CMD_AUDIO_PROPERTIES, IDS_CMD_AUDIO_PROPERTIES},
    {CMD_SEPARATOR, {}},
    {CMD_DOWNMIX, IDS_CMD_DOWNMIX},
    {CMD_DIM, IDS_CMD_DIM},
    {CMD_SEPARATOR, {}},
    {CMD_ADD_AUDIO, IDS_CMD_ADD_AUDIO},
    {CMD_ADD_MIDI, IDS_CMD_ADD_MIDI},
    {CMD_ADD_FX, IDS_CMD_ADD_FX},
    {CMD_ADD_BUS, IDS_CMD_ADD_BUS},
    {CMD_ADD_INPUT, IDS_CMD_ADD_INPUT},
    {CMD_ADD_SYNTH, IDS_CMD_ADD_SYNTH},
};
constexpr BarButton REDUCED[] = {
    {CMD_VIEW_MENU, IDS_CMD_VIEW_MENU},
    {CMD_AUDIO_PROPERTIES, IDS_CMD_AUDIO_PROPERTIES},
    {CMD_SEPARATOR, {}},
    {CMD_ADD_AUDIO, IDS_CMD_ADD_AUDIO},
    {CMD_ADD_MIDI, IDS_CMD_ADD_MIDI},
    {CMD_ADD_FX, IDS_CMD_ADD_FX},
    {CMD_ADD_BUS, IDS_CMD_ADD_BUS},
    {CMD_ADD_SYNTH, IDS_CMD_ADD_SYNTH},
};

constexpr int32_t FONT_VALUE = 145, FONT_TITLE = 146;
constexpr LONG SEPARATOR_WIDTH = 9, FORMAT_GAP = 12;

}  // namespace

CUpperToolBar::CUpperToolBar(RegionSite& site)
    : CViewRegion(site), m_node(IDS_UPPER_TOOL_BAR, "toolbar", m_bounds), m_buttons(site, m_node) {
    m_buttons.OnRun([this](ToolButton& button) { Press(button); });
}

HRESULT CUpperToolBar::Create() {
    m_format = ReadFormat();
    const CommandStates states(m_site.Console());
    const bool full = !m_site.Console().HostFeatures().limited;
    for (const BarButton& row : full ? std::span<const BarButton>(FULL) : REDUCED) {
        if (row.command != CMD_SEPARATOR && !states.IsThere(row.command)) continue;
        m_buttons.Add(row.command, row.text).dropDown = row.command == CMD_VIEW_MENU;
    }
    m_buttons.Add(CMD_MORE, IDS_MORE_BUTTONS).dropDown = true;
    m_buttons.ShowStates();
    return S_OK;
}

/// From the left; what has no room is in the menu of the last button.
void CUpperToolBar::ReSize(RECT& rect) {
    const tConsoleMetrics& m = ConsoleMetrics();
    const LONG height = m.nRowHeight + 4 * m.nGap;
    m_bounds = {rect.left, rect.top, rect.right, std::min(rect.bottom, rect.top + height)};
    rect.top = m_bounds.bottom;

    const RECT row{m_bounds.left + m.nGap, m_bounds.top + m.nGap, m_bounds.right - m.nGap,
                   m_bounds.bottom - m.nGap - 1};
    const auto widthOf = [&](const ToolButton& button) {
        if (button.command == CMD_SEPARATOR) return SEPARATOR_WIDTH;
        return row.Height() + (button.dropDown ? DROP_ARROW_WIDTH : 0);
    };
    auto& all = m_buttons.All();
    ToolButton& more = *all.back();
    const size_t count = all.size() - 1;
    const auto widthOfFirst = [&](size_t shown) {
        LONG width = 0;
        for (size_t i = 0; i < shown; i++) width += widthOf(*all[i]);
        return width + (shown < count ? widthOf(more) : 0);
    };
    size_t shown = count;
    while (shown > 0 && widthOfFirst(shown) > row.Width()) shown--;
    m_parts.clear();
    m_hidden.clear();
    m_separators.clear();
    LONG x = row.left;
    for (size_t i = 0; i < all.size(); i++) {
        ToolButton& button = *all[i];
        const bool hasRoom = i < shown || (i == count && shown < count);
        button.area = {};
        if (!hasRoom) {
            if (i < count && button.command != CMD_SEPARATOR) m_hidden.push_back(button.command);
            continue;
        }
        const LONG right = x + widthOf(button);
        if (button.command == CMD_SEPARATOR) {
            m_separators.push_back(x + SEPARATOR_WIDTH / 2);
        } else {
            button.area = {x, row.top, right, row.bottom};
            button.place = static_cast<int>(m_parts.size());
            m_parts.push_back(&button);
        }
        x = right;
    }
    m_node.parts.assign(m_parts.begin(), m_parts.end());
    m_formatArea = {x + FORMAT_GAP, row.top, row.right, row.bottom};
    if (m_formatArea.Width() <= 0) m_formatArea = {};
}

uint32_t CUpperToolBar::HitTest(POINT at, std::u16string& tip, RECT& area) {
    const ToolButton* button = m_buttons.At(at);
    m_hitWord = button ? HIT_UPPER_TOOLBAR | button->command : HIT_UPPER_TOOLBAR;
    if (button) {
        const std::u16string status = button->Description();
        tip = status.empty() ? button->Name() : status;
        area = button->area;
    }
    return m_hitWord;
}

intptr_t CUpperToolBar::OnMouse(uint32_t message, uintptr_t, intptr_t lparam) {
    m_buttons.OnMouse(message, UnpackPoint(lparam));
    return 0;
}

bool CUpperToolBar::OnKeyDown(uint32_t, uintptr_t wparam, intptr_t) {
    return m_buttons.OnKeyDown(static_cast<uint32_t>(wparam));
}

bool CUpperToolBar::TakeKeyboard() {
    if (m_parts.empty()) return false;
    m_buttons.SetFocused(m_parts.front());
    return true;
}

void CUpperToolBar::Press(ToolButton& button) {
    if (button.dropDown)
        ShowMenu(button);
    else
        m_site.RunCommand(button.command);
}

void CUpperToolBar::ShowMenu(const ToolButton& button) {
    Menu menu;
    if (button.command == CMD_VIEW_MENU) {
        menu = LayoutMenu(m_site.Console());
    } else {
        const CommandStates states(m_site.Console());
        for (const auto& row : m_buttons.All()) {
            if (std::ranges::find(m_hidden, row->command) == m_hidden.end()) continue;
            if (row->command == CMD_VIEW_MENU) {
                AddMenu(menu, ConsoleText(row->text), LayoutMenu(m_site.Console()));
                continue;
            }
            const uint32_t state = (states.IsChecked(row->command) ? MF_CHECKED : 0) |
                                   (states.IsEnabled(row->command) ? 0 : MF_GRAYED | MF_DISABLED);
            menu.Add(row->command, ConsoleText(row->text), state);
        }
    }
    if (const uint32_t chosen = m_site.TrackMenu(menu, {button.area.left, button.area.bottom}))
        m_site.RunCommand(chosen);
}

/// By a host or a key the menu of the view opens as by its button.
bool CUpperToolBar::OnCommand(uint32_t command) {
    if (command != CMD_VIEW_MENU || m_parts.empty()) return false;
    const auto at = std::ranges::find(m_parts, CMD_VIEW_MENU, [](ToolButton* b) { return b->command; });
    ShowMenu(at == m_parts.end() ? *m_parts.front() : **at);
    return true;
}

void CUpperToolBar::OnChannelUpdate(ChannelEntry*, uint32_t dirty) {
    if (dirty & (DIRTY_ALL | DIRTY_SWITCHES)) m_site.RequestStates();
}

MPAUDIOFORMAT CUpperToolBar::ReadFormat() const {
    MPAUDIOFORMAT format{};
    format.size = sizeof format;
    return m_site.Console().HostRecord(MPPROP_AUDIO_FORMAT, format) == S_OK ? format : MPAUDIOFORMAT{};
}

/// Monitoring and rate may change without a word of a channel; all else that the buttons show comes with one.
void CUpperToolBar::OnTick(uint32_t what) {
    if (!(what & TICK_VALUES)) return;
    const MPAUDIOFORMAT now = ReadFormat();
    if (std::memcmp(&now, &m_format, sizeof now) == 0) return;
    m_format = now;
    m_site.RequestStates();
    m_site.Host().Invalidate(m_bounds);
}

void CUpperToolBar::SetBusy(bool busy) {
    if (std::exchange(m_busy, busy) != busy) m_site.Host().Invalidate(m_bounds);
}

void CUpperToolBar::Paint(QPainter& painter, const RECT& area) {
    FillRect(painter, m_bounds, QmGetUIColor(COLOR_BTNFACE));
    HLine(painter, m_bounds.left, m_bounds.right, m_bounds.bottom - 1, QmGetUIColor(COLOR_3DDKSHADOW));
    for (const LONG x : m_separators)
        VLine(painter, x, m_bounds.top + 5, m_bounds.bottom - 5, QmGetUIColor(COLOR_BTNSHADOW));
    m_buttons.Paint(painter, area, m_site.Images().commands);
    if (m_formatArea.IsEmpty()) return;

    std::u16string text, shorter;
    if (m_format.sampleRate > 0) {
        constexpr uint32_t KILO = 1000;
        text = tarn::PrintText(ConsoleText(IDS_AUDIO_FORMAT), static_cast<int32_t>(m_format.sampleRate),
                               static_cast<int32_t>(m_format.bitDepth));
        shorter = tarn::PrintText(ConsoleText(IDS_AUDIO_FORMAT_SHORT),
                                  static_cast<int32_t>(m_format.sampleRate / KILO),
                                  static_cast<int32_t>(m_format.bitDepth));
    }
    const COLORREF ink = QmGetUIColor(COLOR_BTNTEXT);
    RECT at = m_formatArea;
    if (m_busy) {
        std::u16string title = ConsoleText(IDS_MIXING_CONSOLE);
        if (!text.empty()) title += u": ";
        const QFont& font = QmGetUIFont(FONT_TITLE);
        DrawText(painter, at, title, font, ink);
        at.left += QFontMetrics(font).horizontalAdvance(QString::fromStdU16String(title));
    }
    if (text.empty() || at.Width() <= 0) return;
    const QFont& font = QmGetUIFont(FONT_VALUE);
    const bool wide = QFontMetrics(font).horizontalAdvance(QString::fromStdU16String(text)) > at.Width();
    DrawText(painter, at, wide && !shorter.empty() ? shorter : text, font, ink, TEXT_ELIDE);
}
