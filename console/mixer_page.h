// CConsoleMixerPage: the console's main page. It owns the one window that everything of the console is drawn
// in, routes its messages to the regions, and takes the requests by which other threads ask for repaints.
#pragma once

#include "console/accessible.h"
#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/menu_manager.h"
#include "console/view_region.h"
#include "contract/guided_tour.h"
#include "plugin/base_list_page.h"

#include <span>
#include <thread>

/// Bits of PAGEMSG_REFRESH's wparam, tested in this order.
inline constexpr uintptr_t REFRESH_CHANNEL = 1;    ///< lparam: channel or 0; also brings pending changes
inline constexpr uintptr_t REFRESH_REGION = 8;     ///< lparam: region
inline constexpr uintptr_t REFRESH_REDRAW = 4;     ///< lparam: region; at once
inline constexpr uintptr_t REFRESH_ALL = 2;        ///< lparam: -1
inline constexpr uintptr_t REFRESH_IMAGES = 16;    ///< lparam: reload mask
inline constexpr uint32_t PAGEMSG_TICK = 32771;    ///< values and meters of a running host
inline constexpr uint32_t PAGEMSG_STATES = 32772;  ///< the states of commands are to be shown

class CChannelList;
class CLeftToolBar;
class CUpperToolBar;

class CConsoleMixerPage final : public CBaseListPage, public ConsoleView, private RegionSite {
public:
    explicit CConsoleMixerPage(IUnknown* owner) : CBaseListPage(owner) {}
    ~CConsoleMixerPage() override;

    /// A page, and the sign for a host's guided tour that the console is there.
    HRESULT QueryInterface(const GUID& iid, void** out) override;
    HRESULT Init() override;
    HRESULT Activate(HWND parent, const RECT* rect, BOOL modal) override;
    HRESULT GetPageInfo(PROPPAGEINFO* info) override;
    HRESULT SetObjects(uint32_t count, IUnknown** objects) override;
    /// A command of the host, as COMMAND_MESSAGE, or a key.
    HRESULT TranslateAccelerator(MSG* message) override;

    // ConsoleView
    void NotifyChannel(ChannelEntry* channel, uint32_t dirty) override;
    void InvalidateAll() override;
    void PostPendingChanges() override;
    void PostTick(uint32_t what) override;
    void OnEntryGoing(ChannelEntry* channel) override;
    void OnEntriesChanged() override;
    void OnBusyChanged(bool busy) override;
    void OnViewChanged() override;
    void OnGroupsChanged() override;
    void OnLookChanged(uint32_t bits) override;

    // For what is offered to screen readers. [page-thread]

    MessageWindow& ThePageWindow() const override { return *Window(); }
    POINT ToClient(POINT screen) const override { return ThePageWindow().ToClient(screen); }
    /// In the order in which they are laid out, painted and asked.
    std::span<const std::unique_ptr<CViewRegion>> Regions() const { return m_regions; }

    /// Ideal size of the console, cut to the work area of the screen that it is on.
    SIZE IdealSize() const;

protected:
    bool Takes(COPTPlugin& plugin) const override;

private:
    // RegionSite
    CConsoleControlPlugin& Console() override { return *m_console; }
    const ConsoleImages& Images() override { return *m_images; }
    ControlHost& Host() override { return ThePageWindow(); }
    CMixerView& Strips() override { return *m_strips; }
    void LayoutChanged() override { ReSize(); }
    bool RunCommand(uint32_t command) override;
    void RequestStates() override;
    bool EditNameInList(const ChannelEntry& channel) override;
    void DrawNow(const std::function<void(WindowPainter&)>& draw) override;
    bool HasKeyboardFocus() const override { return m_hasFocus; }
    void FocusMoved() override;
    uint32_t TrackMenu(Menu& menu, POINT at) override;
    void EditText(const RECT& area, const std::u16string& text,
                  std::function<void(const std::u16string&)> done) override;

    class PageWindow;

    intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam);
    HRESULT OnCreate();
    void UseTheme();
    void OnDestroy();
    void ReSize();
    void Paint(QPainter& painter, const RECT& area);
    intptr_t HitTest(POINT screen);
    bool SetCursor(intptr_t lparam);
    CViewRegion* RegionAt(POINT at) const;
    intptr_t RouteMouse(uint32_t message, uintptr_t wparam, intptr_t lparam);
    void OnRefresh(uintptr_t wparam, intptr_t lparam);
    void OnTick();
    /// The command of a key, with Shift, Ctrl and Alt as they are; 0 for none.
    uint32_t CommandOfKey(uint32_t key);
    /// The keyboard goes on to the next region that has something for it.
    void MoveKeyboard(bool back);
    bool RunHere(uint32_t command);
    void TellStatus(uint32_t command);
    bool IsPageThread() const { return std::this_thread::get_id() == m_uiThread; }

    tarn::ComPtr<CConsoleControlPlugin> m_console;
    tarn::ComPtr<IMixConsoleUIForGuidedTour> m_tour;
    std::unique_ptr<ConsoleImages> m_images;
    std::unique_ptr<CommandKeys> m_keys;
    std::unique_ptr<CConsoleMenuManager> m_menus;
    std::vector<std::unique_ptr<CViewRegion>> m_regions;
    CUpperToolBar* m_upperBar = nullptr;  ///< these are among the regions
    CChannelList* m_list = nullptr;
    CLeftToolBar* m_leftBar = nullptr;
    CMixerView* m_strips = nullptr;
    CViewRegion* m_keyRegion = nullptr;    ///< that has the keyboard; null for the strips
    CViewRegion* m_mouseRegion = nullptr;  ///< that had the last mouse message
    std::atomic<std::thread::id> m_uiThread{};
    std::atomic<uint32_t> m_tickWanted{0};
    bool m_statesWanted = false;
    std::atomic<bool> m_pendingPosted{false};
    std::atomic<bool> m_allPosted{false};
    bool m_hasFocus = false;
    uint32_t m_lastHit = 0;
    POINT m_lastPoint{-100, -100};
};
