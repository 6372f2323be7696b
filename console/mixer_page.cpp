#include "console/mixer_page.h"

#include "console/texts.h"
#include "kernel/ui/skin_images.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_fonts.h"
#include "plugin/module_state.h"

#include <QScreen>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int WINDOW_ID = 1000;
constexpr uint32_t TICK_VALUES = 1, TICK_METERS = 2;
constexpr SIZE SMALLEST_PAGE{400, 300};

}  // namespace

class CConsoleMixerPage::PageWindow final : public MessageWindow {
public:
    explicit PageWindow(CConsoleMixerPage& page) : m_page(page) {
        setObjectName(QStringLiteral("QM.ConsoleMixerChannel"));
        setProperty("windowId", WINDOW_ID);
        setProperty(ACCESSIBLE_PAGE_PROPERTY, QVariant::fromValue(reinterpret_cast<quintptr>(&page)));
        setFocusPolicy(Qt::StrongFocus);
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

// IPropertyPage
// ----------------------------------------------------------------------------------------------------

HRESULT CConsoleMixerPage::SetObjects(uint32_t count, IUnknown** objects) {
    const HRESULT hr = CBaseListPage::SetObjects(count, objects);
    if (hr != S_OK) return hr;
    if (m_console && Window()) Deactivate();
    const ComPtr<COPTPlugin> plugin = ThePlugin();
    m_console = ComPtr<CConsoleControlPlugin>(dynamic_cast<CConsoleControlPlugin*>(plugin.Get()));
    return count == 0 || m_console ? S_OK : E_NOINTERFACE;
}

HRESULT CConsoleMixerPage::Activate(HWND parent, const RECT* rect, BOOL) {
    if (!rect) return E_POINTER;
    if (!Site() || !m_console || Window()) return E_UNEXPECTED;
    auto window = std::make_unique<PageWindow>(*this);
    PageWindow* made = window.get();
    if (!made->EmbedIn(parent)) return E_INVALIDARG;
    made->setGeometry(ToQRect(*rect));
    SetWindow(std::move(window));
    if (!made->Create()) {
        SetWindow(nullptr);
        return E_OUTOFMEMORY;
    }
    ReSize();
    return S_OK;
}

HRESULT CConsoleMixerPage::Deactivate() { return CBaseListPage::Deactivate(); }

HRESULT CConsoleMixerPage::GetPageInfo(PROPPAGEINFO* info) {
    if (!info) return E_POINTER;
    const uint32_t size = info->size;
    const SIZE ideal = IdealSize();
    info->title = CoTaskMemString(ConsoleText(IDS_MIXING_CONSOLE));
    info->pageSize = {std::max(ideal.cx, SMALLEST_PAGE.cx), std::max(ideal.cy, SMALLEST_PAGE.cy)};
    info->docString = info->helpFile = nullptr;
    info->helpContext = 0;
    if (size == sizeof(PROPPAGEINFOEX)) {
        constexpr uint32_t STYLE_WHOLE_AREA = 0x80000;
        auto* extended = reinterpret_cast<PROPPAGEINFOEX*>(info);
        extended->style = STYLE_WHOLE_AREA;
        extended->window = Window() ? Window()->Handle() : 0;
        extended->menuName = CoTaskMemString(ConsoleText(IDS_MENU_NAME));
    }
    return info->title ? S_OK : E_OUTOFMEMORY;
}

SIZE CConsoleMixerPage::IdealSize() const {
    const tConsoleMetrics& m = MeasuredConsoleMetrics();
    const LONG g = m.nGap, r = m.nRowHeight, s = m.nSmallRowHeight;
    const LONG title = (m.nTitleExtraRows + 2) * g + r;
    const LONG reserved = r + 2 * g;
    const LONG faders = 3 * (r + g) + s + r + g;
    SIZE ideal{m_mixerView ? m_mixerView->TotalWidth() : 0, 4 * g + r + title + reserved + faders};
    if (Window()) {
        const QSize screen = Window()->screen()->availableSize();
        ideal = {std::min<LONG>(ideal.cx, screen.width()), std::min<LONG>(ideal.cy, screen.height())};
    }
    return ideal;
}

// Window
// -----------------------------------------------------------------------------------------------------------

intptr_t CConsoleMixerPage::OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) {
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
        if (m_mixerView && m_hasFocus) m_mixerView->EnsureFocus();
        if (m_mixerView && !m_hasFocus) m_mixerView->EndKeyGesture();
        OnFocusMoved();
        InvalidateAll();
        return 0;
    case WM_NCHITTEST: return HitTest(UnpackPoint(lparam));
    case WM_SETCURSOR: return SetCursor(lparam);
    case WM_KEYDOWN:
        if (m_mixerView && m_mixerView->OnKeyDown(message, wparam, lparam)) return 0;
        return window.Default(message, wparam, lparam);
    case WM_KEYUP:
        if (m_mixerView) m_mixerView->OnKeyUp(wparam, lparam);
        return window.Default(message, wparam, lparam);
    case WM_TIMER:
        if (m_mixerView) m_mixerView->OnTimer(static_cast<uint32_t>(wparam));
        return 0;
    case WM_CAPTURECHANGED:
    case WM_CANCELMODE:
        if (m_mixerView) {
            m_mixerView->EndKeyGesture();
            m_mixerView->OnMouse(message, wparam, lparam);
        }
        return 0;
    case WM_SHOWWINDOW:
    case WM_ENABLE:
        if (m_mixerView && !wparam) m_mixerView->EndKeyGesture();
        return window.Default(message, wparam, lparam);
    case WM_MOUSELEAVE: m_lastHit = 0; return 0;
    case PAGEMSG_REFRESH: OnRefresh(wparam, lparam); return 0;
    case PAGEMSG_TICK: OnTick(); return 0;
    default: break;
    }
    if (message >= WM_MOUSEFIRST && message <= WM_MOUSELAST) return RouteMouse(message, wparam, lparam);
    return window.Default(message, wparam, lparam);
}

HRESULT CConsoleMixerPage::OnCreate() {
    m_uiThread = std::this_thread::get_id();
    InstallConsoleAccessibility();
    ApplyTheme(Theme::Dark);
    m_images = std::make_unique<ConsoleImages>();
    ComputeMetrics(ConsoleMetrics(), MeasureConsoleFonts(), false);
    m_mixerView = std::make_unique<CMixerView>(*this, *m_console, *m_images);
    m_console->SetView(this);
    return m_mixerView->Create();
}

void CConsoleMixerPage::OnDestroy() {
    m_mixerView.reset();  // takes the strips off the entries while they are still this thread's
    if (m_console) m_console->SetView(nullptr);
    m_images.reset();
    m_hasFocus = false;
    m_tickWanted = 0;
    m_pendingPosted = false;
}

void CConsoleMixerPage::ReSize() {
    if (!m_mixerView) return;
    RECT rest = ThePageWindow().ClientRect();
    m_mixerView->ReSize(rest);
    InvalidateAll();
}

void CConsoleMixerPage::Paint(QPainter& painter, const RECT& area) {
    if (!m_mixerView || m_console->IsPaintingOff()) return;
    FillRect(painter, area, m_images->background);
    m_mixerView->Paint(painter, area);
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
    m_lastHit = m_mixerView ? m_mixerView->HitTest(at, tip, area) : 0;
    ThePageWindow().TipService().SetHover(tip, area);
    return HTCLIENT;
}

bool CConsoleMixerPage::SetCursor(intptr_t lparam) {
    if (LowWord(static_cast<uintptr_t>(lparam)) != HTCLIENT || !m_mixerView) return false;
    ThePageWindow().SetPointer(m_mixerView->GetCursorForHit(m_lastHit & HIT_ELEMENT_MASK));
    return true;
}

intptr_t CConsoleMixerPage::RouteMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (!m_mixerView) return 0;
    if (message == WM_LBUTTONDOWN) ThePageWindow().TakeFocus();
    return m_mixerView->OnMouse(message, wparam, lparam);
}

void CConsoleMixerPage::OnFocusMoved() {
    ThePageWindow().DestroyCaret();
    ChannelEntry* focused = m_mixerView ? m_mixerView->Focused() : nullptr;
    if (!m_hasFocus || !focused || !focused->view) return;
    constexpr SIZE CARET{4, 4};
    const RECT& strip = Strip::Of(*focused)->Rects().strip;
    const POINT at{strip.left + 2, strip.top + 2};
    if (!m_mixerView->Bounds().Contains(at)) return;
    ThePageWindow().CreateCaret(CARET);
    ThePageWindow().CaretService().SetColor(QmGetUIColor(COLOR_HIGHLIGHT));
    ThePageWindow().MoveCaret(at);
    ThePageWindow().ShowCaret(true);
    if (m_accessible) m_accessible->FocusMoved(*focused);
}

void CConsoleMixerPage::OnStripsMoved() {
    if (m_hasFocus) OnFocusMoved();
}

// Requests of other threads
// ----------------------------------------------------------------------------------------

void CConsoleMixerPage::NotifyChannel(ChannelEntry* channel, uint32_t dirty) {
    if (IsPageThread()) {
        if (m_mixerView) m_mixerView->OnChannelUpdate(channel, dirty);
        return;
    }
    if (channel && channel->pending.fetch_or(dirty)) return;  // a post is on its way
    Poster().Post(PAGEMSG_REFRESH, REFRESH_CHANNEL, reinterpret_cast<intptr_t>(channel));
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

void CConsoleMixerPage::PostTick(bool meters) {
    if (m_tickWanted.fetch_or(meters ? TICK_METERS : TICK_VALUES) == 0 && !Poster().Post(PAGEMSG_TICK))
        m_tickWanted = 0;
}

void CConsoleMixerPage::OnRefresh(uintptr_t wparam, intptr_t lparam) {
    if (wparam & REFRESH_CHANNEL) {
        if (lparam == 0) {
            m_pendingPosted = false;
            if (m_console->ApplyPendingChanges()) OnEntriesChanged();
            NotifyChannel(nullptr, DIRTY_ALL);
        } else {
            // The pointer is only looked up: the channel may have gone since.
            ChannelEntry* channel = m_console->FindEntry(reinterpret_cast<const void*>(lparam));
            const uint32_t dirty = channel ? channel->pending.exchange(0) : 0;
            NotifyChannel(channel, dirty);
        }
    }
    if ((wparam & (REFRESH_REGION | REFRESH_REDRAW)) && m_mixerView)
        ThePageWindow().Invalidate(m_mixerView->Bounds());
    if (wparam & REFRESH_ALL) InvalidateAll();
    if (wparam & REFRESH_IMAGES) OnLookChanged(static_cast<uint32_t>(lparam));
}

void CConsoleMixerPage::OnTick() {
    const uint32_t wanted = m_tickWanted.exchange(0);
    if (m_mixerView && wanted) m_mixerView->OnTick(wanted & TICK_METERS);
}

void CConsoleMixerPage::OnEntryGoing(ChannelEntry* channel) {
    if (m_accessible) m_accessible->Forget();
    if (m_mixerView) m_mixerView->OnEntryGoing(channel);
    if (!channel) m_lastHit = 0;
}

void CConsoleMixerPage::OnEntriesChanged() {
    if (m_accessible) m_accessible->Forget();
    if (m_mixerView) m_mixerView->OnEntriesChanged();
}

void CConsoleMixerPage::OnLookChanged(uint32_t) {
    ComputeMetrics(ConsoleMetrics(), MeasureConsoleFonts(), false);
    QmSkin_RemoveImageListsItems();
    *m_images = ConsoleImages();
    if (m_mixerView) m_mixerView->OnImagesChanged();
    InvalidateAll();
}
