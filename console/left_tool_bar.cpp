#include "console/left_tool_bar.h"

#include "console/channel_widths.h"
#include "console/command_images.h"
#include "console/command_menus.h"
#include "console/commands.h"
#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/meter_choices.h"
#include "console/texts.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/menu.h"
#include "platform/ui/messages.h"
#include "platform/ui/paint.h"

#include <algorithm>

namespace {

constexpr uint32_t RANGE_ID = 1000, WIDTH_ID = 1001;
constexpr int32_t USUAL_RANGE = 2, WIDTH_STEP = 8;
constexpr LONG IMAGE_ROOM = COMMAND_IMAGE + 3 * 4;

struct ColumnButton {
    uint32_t command;
    ConsoleTextId text;
    ConsoleTextId tip;
};
/// Side by side in one row each.
constexpr ColumnButton WIDTHS[] = {{CMD_NARROW, IDS_MENU_NARROW, IDS_SET_NARROW_WIDTH},
                                   {CMD_DEFAULT_WIDTH, IDS_MENU_DEFAULT, IDS_SET_DEFAULT_WIDTH},
                                   {CMD_WIDE, IDS_MENU_WIDE, IDS_SET_WIDE_WIDTH},
                                   {CMD_SHOW_ALL_CHANNELS, IDS_SHOW_ALL_CHANNELS, IDS_TIP_SHOW_ALL}};
constexpr ColumnButton STEPS[] = {{CMD_NARROWER, IDS_ZOOM_OUT_WIDTH, IDS_ZOOM_OUT_WIDTH},
                                  {CMD_WIDER, IDS_ZOOM_IN_WIDTH, IDS_ZOOM_IN_WIDTH}};
/// A row each.
constexpr ColumnButton SHOWN[] = {
    {CMD_SHOW_INSERTS, IDS_MENU_INSERTS, {}}, {CMD_SHOW_SENDS, IDS_MENU_SENDS, {}},
    {CMD_SHOW_IO, IDS_MENU_IO, {}},           {CMD_SHOW_VU, IDS_MENU_VU, {}},
    {CMD_SHOW_PEAKS, IDS_MENU_PEAKS, {}},     {CMD_SHOW_FADERS, IDS_MENU_FADERS, {}},
    {CMD_SHOW_LABELS, IDS_MENU_LABELS, {}},   {CMD_SHOW_AUDIO, IDS_SHOW_AUDIO, {}},
    {CMD_SHOW_MIDI, IDS_SHOW_MIDI, {}},       {CMD_SHOW_BUSSES, IDS_SHOW_BUSSES, {}},
    {CMD_SHOW_INPUTS, IDS_SHOW_INPUTS, {}},   {CMD_SHOW_SYNTHS, IDS_SHOW_SYNTHS, {}},
    {CMD_SHOW_FX, IDS_SHOW_FX, {}},           {CMD_SHOW_MASTER, IDS_SHOW_MASTER, {}},
    {CMD_SHOW_PREVIEW, IDS_SHOW_PREVIEW, {}},
};

bool IsKind(uint32_t command) { return command >= CMD_SHOW_AUDIO && command <= CMD_SHOW_PREVIEW; }

}  // namespace

/// One of the two trackbars.
class CLeftToolBar::Slider final : public AccessibleNode {
public:
    Slider(CLeftToolBar& bar, uint32_t id, uint32_t element, ConsoleTextId name, int32_t most, int32_t usual)
        : m_bar(bar), m_element(element), m_name(name), m_most(most) {
        const RECT none{};
        TrackbarInst_Init(&m_slider, TRACKBARS_USUAL | FADERS_UI_COLORS | FADERS_SELF_KEYS, &none,
                          &bar.m_site.Host(), id, OnScroll, reinterpret_cast<uintptr_t>(this), 1.0f);
        FADERSETUP setup{};
        setup.max = most;
        setup.def = usual;
        setup.line = 1;
        TrackbarInst_Message(&m_slider, FADERM_SETUP, 0, reinterpret_cast<intptr_t>(&setup));
        SetThumbs();
    }
    ~Slider() override { TrackbarInst_Deinit(&m_slider); }

    uint32_t Element() const { return m_element; }
    int32_t Position() const { return m_slider.slider.pos[0]; }
    bool IsHeld() const { return m_slider.slider.dragPart != FADER_NOWHERE; }
    void Show(int32_t position) {
        if (position != Position()) TrackbarInst_Message(&m_slider, TRACKBARM_SETPOS, 0, position);
    }
    void Move(const RECT& rect) {
        m_area = rect;
        TrackbarInst_Move(&m_slider, &rect);
    }
    void Draw(QPainter& painter) {
        if (!m_area.IsEmpty()) TrackbarInst_Draw(&m_slider, &painter);
    }
    intptr_t Message(uint32_t message, uintptr_t wparam, intptr_t lparam) {
        return TrackbarInst_Message(&m_slider, message, wparam, lparam);
    }
    void SetThumbs() {
        const ImageList& thumbs = m_bar.m_site.Images().sendThumbs;
        const SIZE size = thumbs.Size();
        TrackbarInst_SetThumbImageList(&m_slider, &thumbs, &size);
    }

    int place = 0;
    AccessibleNode* Parent() const override { return &m_bar.m_node; }
    int Place() const override { return place; }
    Role TheRole() const override { return Role::Slider; }
    std::u16string Name() const override { return ConsoleText(m_name); }
    std::string Identifier() const override { return m_element == LEFTBAR_RANGE ? "meter-range" : "width"; }
    RECT Area() const override { return m_area; }
    Range Value() const override { return {static_cast<double>(Position()), 0, static_cast<double>(m_most)}; }
    std::u16string TextOfValue() const override {
        return m_element == LEFTBAR_RANGE ? MeterRangeName(static_cast<uint32_t>(Position()))
                                          : std::u16string();
    }
    void SetValue(double value) override {
        Show(static_cast<int32_t>(std::clamp<double>(value, 0, m_most)));
        m_bar.OnSlider(*this);
    }

private:
    /// Codes of the begin and the end say nothing of the value.
    static void OnScroll(tQMTRACKBAR*, uint32_t, uintptr_t userData, uint32_t code, int32_t) {
        constexpr uint32_t END = 8, BEGIN = 9;
        auto& slider = *reinterpret_cast<Slider*>(userData);
        if (code != END && code != BEGIN) slider.m_bar.OnSlider(slider);
    }

    CLeftToolBar& m_bar;
    const uint32_t m_element;
    const ConsoleTextId m_name;
    const int32_t m_most;
    RECT m_area{};
    tQMTRACKBAR m_slider{};
};

CLeftToolBar::CLeftToolBar(RegionSite& site)
    : CViewRegion(site), m_node(IDS_LEFT_TOOL_BAR, "leftbar", m_bounds), m_buttons(site, m_node) {}
CLeftToolBar::~CLeftToolBar() = default;

HRESULT CLeftToolBar::Create() {
    const CommandStates states(m_site.Console());
    const auto add = [&](std::span<const ColumnButton> rows, bool label) {
        for (const ColumnButton& row : rows)
            if (states.IsThere(row.command)) m_buttons.Add(row.command, row.text, label).tip = row.tip;
    };
    add(STEPS, false);
    add(WIDTHS, false);
    add(SHOWN, true);
    m_range = std::make_unique<Slider>(*this, RANGE_ID, LEFTBAR_RANGE, IDS_METER_RANGE,
                                       static_cast<int32_t>(METER_RANGES) - 1, USUAL_RANGE);
    m_width =
        std::make_unique<Slider>(*this, WIDTH_ID, LEFTBAR_WIDTH, IDS_ADJUST_WIDTH, WIDTH_WIDEST, WIDTH_USUAL);
    ShowStates();
    return S_OK;
}

void CLeftToolBar::ShowStates() {
    m_buttons.ShowStates();
    if (!m_range) return;
    const uint32_t range = MeterRangeIndex(m_site.Console().View().meterRange);
    m_range->Show(range < METER_RANGES ? static_cast<int32_t>(range) : USUAL_RANGE);
    if (!m_width->IsHeld()) m_width->Show(CurrentWidthPosition());
}

LONG CLeftToolBar::PreferredWidth() const {
    const QFontMetrics font(QmGetUIFont(UIFONT_TEXT));
    LONG width = 0;
    for (const auto& button : m_buttons.All())
        if (button->label)
            width = std::max<LONG>(width, font.horizontalAdvance(QString::fromStdU16String(button->Name())));
    return width + IMAGE_ROOM;
}

LONG CLeftToolBar::LeastHeight() const {
    const tConsoleMetrics& m = ConsoleMetrics();
    return m.nRowHeight + 4 * m.nGap;
}

LONG CLeftToolBar::FullHeight() const {
    constexpr RECT COLUMN{0, 0, 1, 0};
    return const_cast<CLeftToolBar*>(this)->PlaceRows(COLUMN, false);
}

/// Rows from the top: the width slider between its steps, the set widths, the meter range, then a row for
/// each thing that is shown or not. What does not fit is left out. The height that all would take.
LONG CLeftToolBar::PlaceRows(const RECT& rect, bool apply) {
    const tConsoleMetrics& m = ConsoleMetrics();
    const LONG g = m.nGap, r = m.nRowHeight;
    const LONG left = rect.left + 2 * g, right = rect.right - 2 * g;
    LONG y = rect.top + 2 * g;
    const auto row = [&](LONG from, LONG to) {
        const bool fits = y + r <= rect.bottom && to > from;
        return fits ? RECT{from, y, to, y + r} : RECT{};
    };
    const auto put = [&](AccessibleNode& part, RECT& area, int& place, const RECT& at) {
        if (!apply) return;
        area = at;
        if (at.IsEmpty()) return;
        place = static_cast<int>(m_node.parts.size());
        m_node.parts.push_back(&part);
    };
    const auto putSlider = [&](Slider& slider, const RECT& at) {
        if (!apply) return;
        slider.Move(at);
        RECT area{};
        put(slider, area, slider.place, at);
    };
    const auto& all = m_buttons.All();
    size_t i = 0;
    const auto putButton = [&](const RECT& at) {
        ToolButton& button = *all[i++];
        put(button, button.area, button.place, at);
    };
    putButton(row(left, left + r));
    putSlider(*m_width, row(left + r + g, right - r - g));
    putButton(row(right - r, right));
    y += r + g;
    const LONG share = (right - left + g) / static_cast<LONG>(std::size(WIDTHS));
    for (size_t n = 0; n < std::size(WIDTHS); n++) {
        const LONG x = left + share * static_cast<LONG>(n);
        putButton(row(x, x + share - g));
    }
    y += r + g;
    putSlider(*m_range, row(left + r + g, right));
    y += r + 3 * g;
    for (bool kinds = false; i < all.size(); y += r) {
        if (!std::exchange(kinds, kinds || IsKind(all[i]->command)) && kinds) y += 3 * g;
        putButton(row(left, right));
    }
    return y + g - rect.top;
}

void CLeftToolBar::ReSize(RECT& rect) {
    m_bounds = rect;
    m_node.parts.clear();
    PlaceRows(rect, true);
    ShowStates();
}

CLeftToolBar::Slider* CLeftToolBar::SliderAt(POINT at) const {
    for (Slider* slider : {m_range.get(), m_width.get()})
        if (slider->Area().Contains(at)) return slider;
    return nullptr;
}

uint32_t CLeftToolBar::HitTest(POINT at, std::u16string& tip, RECT& area) {
    m_hitWord = HIT_LEFT_TOOLBAR;
    if (const ToolButton* button = m_buttons.At(at)) {
        tip = button->Description();
        area = button->area;
        m_hitWord |= button->command & HIT_ELEMENT_MASK;
    } else if (const Slider* slider = SliderAt(at)) {
        tip = slider->Name();
        if (const std::u16string value = slider->TextOfValue(); !value.empty()) tip += u": " + value;
        area = slider->Area();
        m_hitWord |= slider->Element();
    }
    return m_hitWord;
}

void CLeftToolBar::OnMouseAway() { m_buttons.OnMouseAway(); }

intptr_t CLeftToolBar::OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const POINT at = UnpackPoint(lparam);
    const bool wheel = message == WM_MOUSEWHEEL || message == WM_MOUSEHWHEEL;
    Slider* slider = m_held ? m_held : SliderAt(wheel ? m_site.ToClient(at) : at);
    if (message == WM_RBUTTONUP && slider == m_range.get()) {
        Menu menu = PeakMeterMenu(m_site.Console());
        if (const uint32_t chosen = m_site.TrackMenu(menu, at)) m_site.RunCommand(chosen);
        return 0;
    }
    if (slider && message != WM_RBUTTONDOWN) {
        if (message == WM_LBUTTONDOWN || message == WM_LBUTTONDBLCLK) m_held = slider;
        slider->Message(message, wparam, lparam);
        if (!slider->IsHeld()) m_held = nullptr;
        return 0;
    }
    m_buttons.OnMouse(message, at);
    return 0;
}

void CLeftToolBar::OnTimer(uint32_t id) {
    if (m_held) m_held->Message(WM_TIMER, id, 0);
}

bool CLeftToolBar::OnKeyDown(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (m_held) {
        m_held->Message(message, wparam, lparam);  // Esc takes the drag back
        if (!m_held->IsHeld()) m_held = nullptr;
        return true;
    }
    return m_buttons.OnKeyDown(static_cast<uint32_t>(wparam));
}

bool CLeftToolBar::TakeKeyboard() {
    const auto at = std::ranges::find_if(m_buttons.All(), [](const auto& b) { return !b->area.IsEmpty(); });
    if (at == m_buttons.All().end()) return false;
    m_buttons.SetFocused(at->get());
    return true;
}

void CLeftToolBar::OnSlider(const Slider& slider) {
    if (&slider == m_range.get()) {
        m_site.RunCommand(CMD_RANGE_FIRST + static_cast<uint32_t>(slider.Position()));
        return;
    }
    SetAllWidths(m_site.Console(), slider.Position());
    m_site.RunCommand(CMD_ADJUST_WIDTH);
}

bool CLeftToolBar::OnCommand(uint32_t command) {
    if (command != CMD_WIDER && command != CMD_NARROWER) return false;
    const int32_t step = command == CMD_WIDER ? WIDTH_STEP : -WIDTH_STEP;
    SetAllWidths(m_site.Console(), CurrentWidthPosition() + step);
    return m_site.RunCommand(CMD_ADJUST_WIDTH);
}

void CLeftToolBar::OnChannelUpdate(ChannelEntry*, uint32_t dirty) {
    if (dirty & (DIRTY_ALL | DIRTY_SWITCHES)) m_site.RequestStates();
}

void CLeftToolBar::OnImagesChanged() {
    for (Slider* slider : {m_range.get(), m_width.get()}) slider->SetThumbs();
}

void CLeftToolBar::Paint(QPainter& painter, const RECT& area) {
    if (m_bounds.IsEmpty()) return;
    const ClipScope clip(painter, m_bounds);
    FillRect(painter, m_bounds, QmGetUIColor(COLOR_BTNFACE));
    m_buttons.Paint(painter, area, m_site.Images().commands);
    m_range->Draw(painter);
    m_width->Draw(painter);
    if (const RECT range = m_range->Area(); !range.IsEmpty()) {
        const LONG row = range.Height(), inset = (row - COMMAND_IMAGE) / 2;
        m_site.Images().commands.Draw(painter, ButtonImage(CMD_SHOW_PEAKS),
                                      {range.left - ConsoleMetrics().nGap - row + inset, range.top + inset});
    }
}
