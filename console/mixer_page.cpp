#include "console/mixer_page.h"

#include "console/channel_list.h"
#include "console/left_tool_bar.h"
#include "console/mixer_view.h"
#include "console/texts.h"
#include "console/upper_tool_bar.h"
#include "kernel/ui/skin_images.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/keys.h"
#include "platform/ui/menu.h"
#include "plugin/module_state.h"
#include "plugin/small_object.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QScreen>

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <new>

using namespace tarn;

namespace {

constexpr int PAGE_WINDOW_ID = 1000;
constexpr SIZE SMALLEST_PAGE{400, 300};
constexpr const char* EDIT_OVER = "over";

/// Esc leaves a name as it was.
class EditKeys final : public QObject {
public:
    explicit EditKeys(QLineEdit* edit) : QObject(edit), m_edit(*edit) {}
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::KeyPress || static_cast<QKeyEvent*>(event)->key() != Qt::Key_Escape)
            return false;
        m_edit.setModified(false);
        m_edit.parentWidget()->setFocus();
        return true;
    }

private:
    QLineEdit& m_edit;
};

}  // namespace

namespace {

class CMixConsoleUIForGuidedTour final : public SmallObject<IMixConsoleUIForGuidedTour, CConsoleMixerPage> {
public:
    using SmallObject::SmallObject;
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        return QueryOwn(IID_IMixConsoleUIForGuidedTour, iid, out);
    }
    HRESULT Reserved() override { return S_OK; }
};

}  // namespace

class CConsoleMixerPage::PageWindow final : public MessageWindow {
public:
    explicit PageWindow(CConsoleMixerPage& page) : m_page(page) {
        setObjectName(QStringLiteral("QM.ConsoleMixerChannel"));
        setProperty("windowId", PAGE_WINDOW_ID);
        setProperty(ACCESSIBLE_PAGE_PROPERTY, QVariant::fromValue(reinterpret_cast<quintptr>(&page)));
        setFocusPolicy(Qt::StrongFocus);
        // A desk has the same order everywhere; a list or an edit box that was mirrored alone would stand
        // the wrong way round in it.
        setLayoutDirection(Qt::LeftToRight);
    }
    ~PageWindow() override { Destroy(); }
    intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        return m_page.OnMessage(message, wparam, lparam);
    }
    intptr_t Default(uint32_t message, uintptr_t wparam, intptr_t lparam) {
        return MessageWindow::OnMessage(message, wparam, lparam);
    }

private:
    CConsoleMixerPage& m_page;
};

CConsoleMixerPage::~CConsoleMixerPage() {
    if (Window()) Deactivate();
    if (m_console) m_console->SetView(nullptr);
}

HRESULT CConsoleMixerPage::Init() {
    m_tour = ComPtr<IMixConsoleUIForGuidedTour>(new (std::nothrow) CMixConsoleUIForGuidedTour(this));
    return m_tour ? S_OK : E_OUTOFMEMORY;
}

HRESULT CConsoleMixerPage::QueryInterface(const GUID& iid, void** out) {
    if (out && m_tour && iid == IID_IMixConsoleUIForGuidedTour) return m_tour->QueryInterface(iid, out);
    return CBaseListPage::QueryInterface(iid, out);
}

// IPropertyPage
// ----------------------------------------------------------------------------------------------------

bool CConsoleMixerPage::Takes(COPTPlugin& plugin) const {
    return dynamic_cast<CConsoleControlPlugin*>(&plugin);
}

HRESULT CConsoleMixerPage::SetObjects(uint32_t count, IUnknown** objects) {
    const HRESULT hr = CBaseListPage::SetObjects(count, objects);
    if (hr != S_OK) return hr;
    if (m_console && Window()) Deactivate();
    const ComPtr<COPTPlugin> plugin = ThePlugin();
    m_console = ComPtr<CConsoleControlPlugin>(dynamic_cast<CConsoleControlPlugin*>(plugin.Get()));
    return S_OK;
}

HRESULT CConsoleMixerPage::Activate(HWND parent, const RECT* rect, BOOL) {
    if (!rect) return E_POINTER;
    if (!Site() || !m_console || Window()) return E_UNEXPECTED;
    m_console->ReadGroupSwitch(IsVirtualKeyDown(VK_CONTROL) && IsVirtualKeyDown(VK_SHIFT));
    const HRESULT hr = Embed(std::make_unique<PageWindow>(*this), parent, rect);
    if (hr == S_OK) ReSize();
    return hr;
}

HRESULT CConsoleMixerPage::GetPageInfo(PROPPAGEINFO* info) {
    const SIZE ideal = IdealSize();
    const HRESULT hr = TellPage(info, ConsoleText(IDS_MIXING_CONSOLE),
                                {std::max(ideal.cx, SMALLEST_PAGE.cx), std::max(ideal.cy, SMALLEST_PAGE.cy)});
    if (info && info->size == sizeof(PROPPAGEINFOEX)) {
        constexpr uint32_t STYLE_WHOLE_AREA = 0x80000;
        auto* extended = reinterpret_cast<PROPPAGEINFOEX*>(info);
        extended->style = STYLE_WHOLE_AREA;
        extended->menuName = CoTaskMemString(ConsoleText(IDS_MENU_NAME));
    }
    return hr;
}

SIZE CConsoleMixerPage::IdealSize() const {
    const tConsoleMetrics& m = MeasuredConsoleMetrics();
    const LONG g = m.nGap, r = m.nRowHeight, s = m.nSmallRowHeight;
    const StripShow show = m_console ? m_console->View().show : StripShow{};
    const LONG label = show.bShowLabels ? s : 0;
    const bool rows = !show.bVerticalLayout;
    const LONG reserved = r + 2 * g;
    LONG height = 4 * g + r + (m.nTitleExtraRows + 2) * g + r + reserved;
    if (show.bShowRecord && rows) height += r + 3 * g;
    if (show.bShowInserts) height += g + 2 * (r + g) + label;
    if (show.bShowSends) height += 4 * g + 3 * r + label;
    if (show.bShowScopes) height += m.cxChannelNarrow;
    for (const int32_t meters : {show.bShowVU, show.bShowPeaks})
        if (meters) height += 2 * (g + 2 * r) + label;
    if (show.bShowFaders) {
        if (show.bShowSwitches && rows) height += r + 2 * g;
        if (show.bShowPan && rows) height += 3 * g + s + r;
        height += 3 * (r + g) + s + r + g;
    }
    if (show.bShowAutomation) height += r + 2 * g;
    if (show.bShowIO) height += r + 2 * g + label;
    SIZE ideal{0, height};
    for (const auto& region : m_regions) ideal.cx += region->IdealWidth();
    if (Window()) {
        const QSize screen = Window()->screen()->availableSize();
        ideal = {std::min<LONG>(ideal.cx, screen.width()), std::min<LONG>(ideal.cy, screen.height())};
    }
    return ideal;
}

// Window
// -----------------------------------------------------------------------------------------------------------

intptr_t CConsoleMixerPage::OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    assert(m_thread.IsHere());
    auto& window = static_cast<PageWindow&>(*Window());
    switch (message) {
    case WM_CREATE: return Failed(OnCreate()) ? -1 : 0;
    case WM_DESTROY: OnDestroy(); return 0;
    case WM_SIZE:
        if (wparam != SIZE_MINIMIZED && lparam != 0) ReSize();
        return 0;
    case WM_PAINT: {
        const auto& paint = *reinterpret_cast<const PaintInfo*>(wparam);
        Paint(paint.painter, paint.rect);
        return 0;
    }
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        m_hasFocus = message == WM_SETFOCUS;
        for (const auto& region : m_regions) m_hasFocus ? region->OnFocus() : region->EndKeyGesture();
        FocusMoved();
        InvalidateAll();
        return 0;
    case WM_NCHITTEST: return HitTest(UnpackPoint(lparam));
    case WM_SETCURSOR: return SetCursor(lparam);
    case WM_KEYDOWN: {
        const auto key = static_cast<uint32_t>(wparam);
        if (key == VK_F6) return MoveKeyboard(window.IsKeyDown(VK_SHIFT)), 0;
        if (m_keyRegion && m_keyRegion->OnKeyDown(message, wparam, lparam)) {
            if (m_keyRegion && !m_keyRegion->FocusedPart()) m_keyRegion = nullptr, FocusMoved();
            return 0;
        }
        for (const auto& region : m_regions)
            if (region.get() != m_keyRegion && region->OnKeyDown(message, wparam, lparam)) return 0;
        if (const uint32_t command = CommandOfKey(key); command && RunCommand(command)) return 0;
        return window.Default(message, wparam, lparam);
    }
    case WM_KEYUP:
        for (const auto& region : m_regions) region->OnKeyUp(wparam, lparam);
        return window.Default(message, wparam, lparam);
    case WM_TIMER:
        for (const auto& region : m_regions) region->OnTimer(static_cast<uint32_t>(wparam));
        return 0;
    case WM_CAPTURECHANGED:
    case WM_CANCELMODE:
        for (const auto& region : m_regions) {
            region->EndKeyGesture();
            region->OnMouse(message, wparam, lparam);
        }
        return 0;
    case WM_SHOWWINDOW:
    case WM_ENABLE:
        if (!wparam)
            for (const auto& region : m_regions) region->EndKeyGesture();
        return window.Default(message, wparam, lparam);
    case WM_MOUSELEAVE: m_lastHit = 0; return 0;
    case PAGEMSG_REFRESH: OnRefresh(wparam, lparam); return 0;
    case PAGEMSG_TICK: OnTick(); return 0;
    case PAGEMSG_STATES:
        m_statesWanted = false;
        for (const auto& region : m_regions) region->OnStatesChanged();
        return 0;
    default: break;
    }
    if (message >= WM_MOUSEFIRST && message <= WM_MOUSELAST) return RouteMouse(message, wparam, lparam);
    return window.Default(message, wparam, lparam);
}

HRESULT CConsoleMixerPage::OnCreate() {
    m_uiThread = std::this_thread::get_id();
    InstallConsoleAccessibility();
    UseTheme();
    m_images = std::make_unique<ConsoleImages>(*m_console);
    ComputeMetrics(ConsoleMetrics(), MeasureConsoleFonts(), false);
    m_console->RegisterCommands();  // the language is changed while there is no page
    m_keys = std::make_unique<CommandKeys>(m_console->KeysInForce());
    m_menus = std::make_unique<CConsoleMenuManager>(m_images->commands, *m_keys);
    RegionSite& site = *this;
    const auto add = [this]<class Region>(std::unique_ptr<Region> region) {
        Region* made = region.get();
        m_regions.push_back(std::move(region));
        return made;
    };
    m_upperBar = add(std::make_unique<CUpperToolBar>(site));
    m_list = add(std::make_unique<CChannelList>(site));
    m_leftBar = add(std::make_unique<CLeftToolBar>(site));
    m_strips = add(std::make_unique<CMixerView>(site));  // takes what the others leave
    m_console->SetView(this);
    m_console->RestoreState();  // the entries are this thread's from here on
    for (const auto& region : m_regions)
        if (const HRESULT hr = region->Create(); Failed(hr)) return hr;
    return S_OK;
}

void CConsoleMixerPage::OnDestroy() {
    m_mouseRegion = m_keyRegion = nullptr;
    m_upperBar = nullptr;
    m_list = nullptr;
    m_leftBar = nullptr;
    if (m_console) m_console->KeepState();
    for (auto* edit : ThePageWindow().findChildren<QLineEdit*>(QStringLiteral("Edit"))) {
        edit->setProperty(EDIT_OVER, true);  // whose text it is goes now
        delete edit;
    }
    m_strips = nullptr;
    m_regions.clear();  // the strips come off the entries while they are still this thread's
    if (m_console) m_console->SetView(nullptr);
    m_menus.reset();
    m_images.reset();
    m_hasFocus = false;
    m_tickWanted = 0;
    m_statesWanted = false;
    m_pendingPosted = m_allPosted = false;
}

void CConsoleMixerPage::ReSize() {
    RECT rest = ThePageWindow().ClientRect();
    m_upperBar->ReSize(rest);
    m_list->SetButtons(m_leftBar->PreferredWidth(), m_leftBar->LeastHeight(), m_leftBar->FullHeight());
    m_list->ReSize(rest);
    RECT buttons = m_list->ButtonsArea();
    m_leftBar->ReSize(buttons);
    if (!buttons.IsEmpty()) rest.left = std::max(rest.left, buttons.right);
    m_strips->ReSize(rest);
    InvalidateAll();
}

void CConsoleMixerPage::Paint(QPainter& painter, const RECT& area) {
    if (m_regions.empty() || m_console->IsPaintingOff()) return;
    FillRect(painter, area, m_images->background);
    for (const auto& region : m_regions)
        if (region->Bounds().Intersects(area)) region->Paint(painter, area);
}

intptr_t CConsoleMixerPage::HitTest(POINT screen) {
    constexpr LONG STILL_BEFORE = -2, STILL_AFTER = 3;  // the mouse has not moved far enough to ask again
    const POINT at = ThePageWindow().ToClient(screen);
    const LONG dx = at.x - m_lastPoint.x, dy = at.y - m_lastPoint.y;
    if (m_lastHit && dx >= STILL_BEFORE && dx < STILL_AFTER && dy >= STILL_BEFORE && dy < STILL_AFTER)
        return HTCLIENT;
    m_lastPoint = at;
    std::u16string tip;
    RECT area{};
    CViewRegion* region = RegionAt(at);
    m_lastHit = region ? region->HitTest(at, tip, area) : 0;
    ThePageWindow().TipService().SetHover(tip, area);
    return HTCLIENT;
}

bool CConsoleMixerPage::SetCursor(intptr_t lparam) {
    CViewRegion* hit = RegionAt(m_lastPoint);
    if (LowWord(static_cast<uintptr_t>(lparam)) != HTCLIENT || !hit) return false;
    ThePageWindow().SetPointer(hit->GetCursorForHit(m_lastHit & HIT_ELEMENT_MASK));
    return true;
}

/// The column of buttons lies within the pane. A point in none of them is the strips', which have what the
/// others leave.
CViewRegion* CConsoleMixerPage::RegionAt(POINT at) const {
    for (CViewRegion* region : std::initializer_list<CViewRegion*>{m_upperBar, m_leftBar, m_list})
        if (region && region->Bounds().Contains(at)) return region;
    return m_strips;
}

intptr_t CConsoleMixerPage::RouteMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_LBUTTONDOWN) {
        if (m_keyRegion) std::exchange(m_keyRegion, nullptr)->LeaveKeyboard();
        ThePageWindow().TakeFocus();
    }
    const bool wheel = message == WM_MOUSEWHEEL || message == WM_MOUSEHWHEEL;
    const POINT at = wheel ? ToClient(UnpackPoint(lparam)) : UnpackPoint(lparam);
    CViewRegion* region = ThePageWindow().HasCapture() ? m_mouseRegion : RegionAt(at);
    if (m_mouseRegion && m_mouseRegion != region) m_mouseRegion->OnMouseAway();
    m_mouseRegion = region;
    return region ? region->OnMouse(message, wparam, lparam) : 0;
}

void CConsoleMixerPage::FocusMoved() {
    for (const auto& region : m_regions) region->OnFocusMoved();
    ThePageWindow().DestroyCaret();
    if (!m_hasFocus) return;
    if (AccessibleNode* part = m_keyRegion ? m_keyRegion->FocusedPart() : nullptr) {
        TellFocus(*this, *part);
        return;
    }
    constexpr SIZE CARET{4, 4};
    for (const auto& region : m_regions) {
        AccessibleNode* focused = region->FocusedPart();
        if (!focused) continue;
        const RECT area = focused->Area();
        const POINT at{area.left + 2, area.top + 2};
        if (!region->Bounds().Contains(at)) return;
        ThePageWindow().CreateCaret(CARET);
        ThePageWindow().CaretService().SetColor(QmGetUIColor(COLOR_HIGHLIGHT));
        ThePageWindow().MoveCaret(at);
        ThePageWindow().ShowCaret(true);
        TellFocus(*this, *focused);
        return;
    }
}

uint32_t CConsoleMixerPage::TrackMenu(Menu& menu, POINT at) {
    *m_keys = m_console->KeysInForce();  // the user may have changed them at the host
    const auto owner = [this](uint32_t message, uintptr_t wparam, intptr_t lparam) -> intptr_t {
        constexpr uint32_t CLOSES = 0xFFFF;
        if (message == WM_MENUSELECT) {
            const bool tells = HighWord(wparam) != CLOSES && !(HighWord(wparam) & MF_POPUP);
            TellStatus(tells ? LowWord(wparam) : 0);
            return 0;
        }
        intptr_t result = 0;
        if (m_menus) m_menus->MenuMan_HandleMessage(&Host(), message, wparam, lparam, &result);
        return result;
    };
    return TrackPopupMenu(menu, ThePageWindow().ToScreen(at), owner);
}

void CConsoleMixerPage::TellStatus(uint32_t command) {
    const std::u16string text = command ? StatusForCommand(command) : std::u16string();
    MSG message{};
    message.message = STATUS_MESSAGE;
    message.wParam = command;
    message.lParam = reinterpret_cast<intptr_t>(text.c_str());
    if (Site()) Site()->TranslateAccelerator(&message);
}

uint32_t CConsoleMixerPage::CommandOfKey(uint32_t key) {
    if (!m_keys) return 0;
    *m_keys = m_console->KeysInForce();
    const auto held = [this](uint32_t vk, uint32_t bit) { return ThePageWindow().IsKeyDown(vk) ? bit : 0; };
    return m_keys->CommandOf(key, held(VK_SHIFT, ACCEL_SHIFT) | held(VK_CONTROL, ACCEL_CTRL) |
                                      held(VK_MENU, ACCEL_ALT));
}

void CConsoleMixerPage::RequestStates() {
    if (!std::exchange(m_statesWanted, true) && !Poster().Post(PAGEMSG_STATES)) m_statesWanted = false;
}

bool CConsoleMixerPage::RunHere(uint32_t command) {
    const auto takes = [command](const auto& region) { return region->OnCommand(command); };
    if (!std::ranges::any_of(m_regions, takes)) return false;
    for (const auto& region : m_regions) region->OnStatesChanged();
    return true;
}

bool CConsoleMixerPage::RunCommand(uint32_t command) {
    if (RunHere(command)) return true;
    MSG message{};
    message.message = COMMAND_MESSAGE;
    message.wParam = command;
    return Site() && Site()->TranslateAccelerator(&message) == S_OK;
}

void CConsoleMixerPage::MoveKeyboard(bool back) {
    const auto count = static_cast<ptrdiff_t>(m_regions.size());
    const CViewRegion* from = m_keyRegion ? m_keyRegion : m_strips;
    const auto at = std::ranges::find(m_regions, from, &std::unique_ptr<CViewRegion>::get);
    if (m_keyRegion) m_keyRegion->LeaveKeyboard();
    m_keyRegion = nullptr;
    for (ptrdiff_t step = 1; step < count; step++) {
        const ptrdiff_t next = ((at - m_regions.begin()) + (back ? -step : step) + count) % count;
        CViewRegion& region = *m_regions[static_cast<size_t>(next)];
        if (&region == m_strips) break;
        if (!region.TakeKeyboard()) continue;
        m_keyRegion = &region;
        break;
    }
    FocusMoved();
}

void CConsoleMixerPage::EditText(const RECT& area, const std::u16string& text,
                                 std::function<void(const std::u16string&)> done) {
    auto* edit = new QLineEdit(QString::fromStdU16String(text), &ThePageWindow());
    edit->setObjectName(QStringLiteral("Edit"));
    edit->setGeometry(ToQRect(area));
    edit->selectAll();
    edit->installEventFilter(new EditKeys(edit));
    QObject::connect(edit, &QLineEdit::editingFinished, edit, [this, edit, done = std::move(done)] {
        if (edit->property(EDIT_OVER).toBool()) return;
        edit->setProperty(EDIT_OVER, true);
        if (edit->isModified()) done(edit->text().toStdU16String());
        edit->deleteLater();
        ThePageWindow().TakeFocus();
    });
    edit->show();
    edit->setFocus();
}

HRESULT CConsoleMixerPage::TranslateAccelerator(MSG* message) {
    if (!message) return E_POINTER;
    if (!Window()) return S_FALSE;
    uint32_t command = 0;
    if (message->message == COMMAND_MESSAGE)
        command = LowWord(message->wParam);
    else if (message->message == WM_KEYDOWN && !ThePageWindow().findChild<QLineEdit*>(QStringLiteral("Edit")))
        command = CommandOfKey(static_cast<uint32_t>(message->wParam));
    // The host asks: what no region takes does not go back to it.
    return command && RunHere(command) ? S_OK : S_FALSE;
}

bool CConsoleMixerPage::EditNameInList(const ChannelEntry& channel) {
    return std::ranges::any_of(m_regions, [&](const auto& region) { return region->EditName(channel); });
}

void CConsoleMixerPage::DrawNow(const std::function<void(WindowPainter&)>& draw) {
    WindowPainter painter(ThePageWindow());
    if (painter) draw(painter);
}

// Requests of other threads
// ----------------------------------------------------------------------------------------

void CConsoleMixerPage::NotifyChannel(ChannelEntry* channel, uint32_t dirty) {
    if (IsPageThread()) {
        for (const auto& region : m_regions) region->OnChannelUpdate(channel, dirty);
        return;
    }
    // A post may be on its way.
    if (channel ? channel->pending.fetch_or(dirty) != 0 : m_allPosted.exchange(true)) return;
    if (!Poster().Post(PAGEMSG_REFRESH, REFRESH_CHANNEL, reinterpret_cast<intptr_t>(channel)))
        channel ? void(channel->pending = 0) : void(m_allPosted = false);
}

void CConsoleMixerPage::InvalidateAll() {
    if (!IsPageThread()) {
        Poster().Post(PAGEMSG_REFRESH, REFRESH_ALL, -1);
    } else if (Window()) {
        ThePageWindow().Invalidate(ThePageWindow().ClientRect());
    }
}

void CConsoleMixerPage::PostPendingChanges() {
    if (!m_pendingPosted.exchange(true) && !Poster().Post(PAGEMSG_REFRESH, REFRESH_CHANNEL, 0))
        m_pendingPosted = false;
}

void CConsoleMixerPage::PostTick(uint32_t what) {
    if (m_tickWanted.fetch_or(what) == 0 && !Poster().Post(PAGEMSG_TICK)) m_tickWanted = 0;
}

void CConsoleMixerPage::OnRefresh(uintptr_t wparam, intptr_t lparam) {
    if (wparam & REFRESH_CHANNEL) {
        if (lparam == 0) {
            if (m_pendingPosted.exchange(false) && m_console->ApplyPendingChanges()) OnEntriesChanged();
            if (m_allPosted.exchange(false)) NotifyChannel(nullptr, DIRTY_ALL);
        } else {
            // The pointer is only looked up: the channel may have gone since.
            ChannelEntry* channel = m_console->FindEntry(reinterpret_cast<const void*>(lparam));
            const uint32_t dirty = channel ? channel->pending.exchange(0) : 0;
            NotifyChannel(channel, dirty);
        }
    }
    if (wparam & (REFRESH_REGION | REFRESH_REDRAW))  // the pointer is only compared
        for (const auto& region : m_regions)
            if (region.get() == reinterpret_cast<const CViewRegion*>(lparam)) {
                ThePageWindow().Invalidate(region->Bounds());
                if (wparam & REFRESH_REDRAW) ThePageWindow().repaint(ToQRect(region->Bounds()));
            }
    if (wparam & REFRESH_ALL) InvalidateAll();
    if (wparam & REFRESH_IMAGES) OnLookChanged(static_cast<uint32_t>(lparam));
}

void CConsoleMixerPage::OnTick() {
    const uint32_t wanted = m_tickWanted.exchange(0);
    if (wanted)
        for (const auto& region : m_regions) region->OnTick(wanted);
}

void CConsoleMixerPage::OnEntryGoing(ChannelEntry* channel) {
    for (const auto& region : m_regions) region->OnEntryGoing(channel);
    if (!channel) m_lastHit = 0;
}

void CConsoleMixerPage::OnEntriesChanged() {
    for (const auto& region : m_regions) region->OnEntriesChanged();
}

void CConsoleMixerPage::OnViewChanged() {
    for (const auto& region : m_regions) region->OnViewChanged();
    ReSize();
}

void CConsoleMixerPage::OnGroupsChanged() {
    for (const auto& region : m_regions) region->OnGroupsChanged();
}

/// As light or dark as the host's own windows.
void CConsoleMixerPage::UseTheme() {
    constexpr int MIDDLE = 128;
    const QColor ground = ThePageWindow().palette().color(QPalette::Window);
    ApplyTheme(ground.lightness() < MIDDLE ? Theme::Dark : Theme::Light);
}

void CConsoleMixerPage::OnBusyChanged(bool busy) {
    if (m_upperBar) m_upperBar->SetBusy(busy);
    ReSize();
}

void CConsoleMixerPage::OnLookChanged(uint32_t) {
    UseTheme();
    ComputeMetrics(ConsoleMetrics(), MeasureConsoleFonts(), false);
    QmSkin_RemoveImageListsItems();
    *m_images = ConsoleImages(*m_console);
    for (const auto& region : m_regions) region->OnImagesChanged();
    ReSize();
}
