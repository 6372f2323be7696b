#include "console/console_plugin.h"

#include "console/console_control_map.h"
#include "console/group_actions.h"
#include "console/texts.h"

#include "platform/text.h"
#include "plugin/module_state.h"

using namespace tarn;

namespace {

constexpr uint32_t CONSOLE_KINDS = 0x203F;
constexpr const char16_t* COMMAND_GROUP = u"Mix Console";

struct NamedPreference {
    const char16_t* name;
    uint32_t defaultValue;
    std::atomic<bool> ModuleState::*flag;
};
constexpr const char16_t* SHOW_GROUPS = u"ShowGroups";
constexpr NamedPreference NAMED[] = {{SHOW_GROUPS, 0, &ModuleState::showGroups},
                                     {u"UseHostHideState", 1, &ModuleState::useHostHideState},
                                     {u"UseSendPanFaders", 0, &ModuleState::useSendPanFaders}};

constexpr uint32_t PREF_KEY_FORMAT = 100, PREF_FORMAT = 1015;
struct ViewFlag {
    uint32_t key, defaultValue;
};
/// Fader ticks; tracks, MIDI tracks, audio busses, input busses, soft synths, effects, master; region
/// buttons, channel list, groups.
constexpr ViewFlag VIEW_FLAG_KEYS[VIEW_FLAGS] = {{200, 1}, {203, 1}, {204, 1}, {205, 1}, {206, 1}, {207, 1},
                                                 {208, 1}, {209, 1}, {210, 1}, {211, 1}, {212, 0}};
/// Places in it of what the pane shows.
constexpr size_t FLAG_BUTTONS = 8, FLAG_LIST = 9, FLAG_GROUPS = 10;
constexpr uint32_t PREF_KEY_VU_SCALE = 201, PREF_KEY_METER_RANGE = 202;

}  // namespace

CConsoleControlPlugin::CConsoleControlPlugin(IUnknown* owner) : COPTControlPlugin(owner) {
    // No MIDI side: no ports, and no capability that would open the event filter.
    ClearControlBits(CTRLSTATE_USE_INPUTS | CTRLSTATE_USE_OUTPUTS);
    m_capabilities = 0;
    m_kindMask = CONSOLE_KINDS;
}

CConsoleControlPlugin::~CConsoleControlPlugin() {
    for (ChannelEntry* entry : Entries()) delete entry;
    QmList_Destroy(m_entries);
}

HRESULT CConsoleControlPlugin::FinalConstruct() {
    CopyText(m_name, OPT_NAME_SIZE, u"Mixer Console");
    const HRESULT hr = COPTControlPlugin::FinalConstruct();
    if (Failed(hr)) return hr;
    for (size_t i = 0; i < VIEW_FLAGS; i++) m_shown[i] = VIEW_FLAG_KEYS[i].defaultValue;
    SetMap(new CConsoleControlMap(*this));
    const HRESULT made = QmList_CreateExZ(&m_entries, 0, -1, -1, 0, 0, 0, 0);
    return Succeeded(made) ? QmList_Sort(m_entries, Keys().AsCriteria(), nullptr) : made;
}

HRESULT CConsoleControlPlugin::GetPages(CAUUID* pages) {
    constexpr GUID PAGES[] = {CLSID_ConsoleCfgPage, CLSID_ConsoleMixerPage};
    pages->count = 0;
    pages->ids = static_cast<GUID*>(CoTaskMemAlloc(sizeof PAGES));
    if (!pages->ids) return E_OUTOFMEMORY;
    std::memcpy(pages->ids, PAGES, sizeof PAGES);
    pages->count = static_cast<uint32_t>(std::size(PAGES));
    return S_OK;
}

void CConsoleControlPlugin::SetView(ConsoleView* view) {
    CriticalSectionLock lock(MainLock());
    if (!m_view) m_pageThread.MoveHere();
    m_viewThread = std::this_thread::get_id();
    ApplyPendingChanges();
    m_view = view;
}

bool CConsoleControlPlugin::IsChannelHidden(const ChannelEntry& entry) const {
    return entry.state & (ThisModule().useHostHideState ? ENTRY_HIDDEN_BY_HOST : ENTRY_HIDDEN_HERE);
}

uint32_t CConsoleControlPlugin::TransportFlags() {
    uint32_t flags = 0;
    return GetHostProperty(MPPROP_TRANSPORT, &flags, sizeof flags) == S_OK ? flags : 0;
}

bool CConsoleControlPlugin::IsSurroundProject() {
    uint32_t mode = 0;
    return GetHostProperty(MPPROP_CHANNEL_MODE, &mode, sizeof mode) == S_OK && mode == 1;
}

uint32_t CConsoleControlPlugin::HostKind() {
    uint32_t kind = 0;
    return GetHostProperty(MPPROP_HOST_KIND, &kind, sizeof kind) == S_OK ? kind : 0;
}

MPHOSTFEATURES CConsoleControlPlugin::HostFeatures() {
    MPHOSTFEATURES features{};
    if (GetHostProperty(MPPROP_HOST_FEATURES, &features, sizeof features) != S_OK) features = {};
    return features;
}

bool CConsoleControlPlugin::CanMoveBefore(const ChannelEntry& entry, const ChannelEntry& place) {
    constexpr uint32_t TRACK = KIND_AUDIO_TRACK | KIND_MIDI_TRACK, STAYS = KIND_MASTER_BIT | KIND_SPECIAL;
    if (&entry == &place || ((entry.kind | place.kind) & STAYS)) return false;
    if (entry.kind & TRACK) return place.kind & TRACK;
    return entry.kind == place.kind && (HostFeatures().features & FEATURE_REORDER);
}

void CConsoleControlPlugin::MoveAtHost(const ChannelEntry& entry, const ChannelEntry& place) {
    MPCHANNELREC rec{};
    rec.order = place.order;
    SetChannelRecord(entry.id, &rec, MASK_IDENTITY);
}

void CConsoleControlPlugin::KeepState() {
    std::unique_ptr<tConsoleGroup> state;
    if (CreateGroup(*this, MAKE_CURRENT_STATE, &state) != S_OK) return;
    state->name[0] = 0;
    if (m_groups.empty()) m_groups.emplace_back();
    m_groups.front() = std::move(state);
}

void CConsoleControlPlugin::RestoreState() {
    const bool limited = HostFeatures().limited;
    if (!m_groups.empty())
        ApplyGroup(*this, *m_groups.front(), ThisModule().useHostHideState ? APPLY_LAYOUT : APPLY_ALL);
    if (limited) m_shownView.show.bShowRecord = m_shownView.show.bShowAutomation = 0;
}

void CConsoleControlPlugin::ReadGroupSwitch(bool force) {
    CriticalSectionLock lock(MainLock());
    const bool kept = Preferences().Number(SHOW_GROUPS, 0) != 0;
    m_groupsForced = force && !kept;
    ThisModule().showGroups = kept || force;
}

void CConsoleControlPlugin::StoreGroups() {
    CriticalSectionLock lock(MainLock());
    if (Preferences().AllRead()) SaveGroups(m_groups, Store());
    if (m_view) m_view->OnGroupsChanged();
}

void CConsoleControlPlugin::ShowApplied() {
    if (HostFeatures().limited) m_shownView.show.bShowRecord = m_shownView.show.bShowAutomation = 0;
    if (m_view) m_view->OnViewChanged();
    KeepState();
}

void CConsoleControlPlugin::EntriesShownChanged() {
    CriticalSectionLock lock(MainLock());
    m_shownChanged = true;
    if (m_view) m_view->PostPendingChanges();
}

/// The groups belong to the project that is open. One that has none leaves the console as it looks.
void CConsoleControlPlugin::LoadProjectGroups() {
    ViewGroups loaded;
    if (Failed(LoadGroups(loaded, Store())) || loaded.empty()) {
        m_groups.clear();
        KeepState();
    } else {
        m_groups = std::move(loaded);
        RestoreState();
    }
    if (!m_view) return;
    m_view->OnViewChanged();
    m_view->OnGroupsChanged();
}

void CConsoleControlPlugin::AddAtHost(uint32_t kind) {
    MPCHANNELREC rec{};
    rec.kind = kind;
    rec.order = ORDER_APPEND;
    AddChannelAtHost(rec);
}

void CConsoleControlPlugin::ToggleMonitoring(uint32_t bit) {
    MPTOOLBAR bar{};
    bar.size = sizeof bar;
    if (HostRecord(MPPROP_TOOLBAR, bar) != S_OK) return;
    bar.bits ^= bit;
    SetHostProperty(MPPROP_TOOLBAR, &bar, sizeof bar);
}

void CConsoleControlPlugin::TellCommands(uint32_t action) {
    const bool full = HostKind() == 1;
    std::vector<std::u16string> texts;
    std::vector<MPCOMMAND> rows;
    for (const ConsoleCommand& row : ConsoleCommands())
        if (row.hosts & (full ? COMMAND_OF_FULL : COMMAND_OF_OTHER)) {
            texts.push_back(CommandName(row.text));
            rows.push_back({row.name, nullptr, row.command, 0});
        }
    for (size_t i = 0; i < rows.size(); i++) rows[i].text = texts[i].c_str();
    const std::span<const MPCOMMANDKEY> keys = CommandKeys::Proposed(full);
    MPCOMMANDREG record{};
    record.size = sizeof record;
    record.action = action;
    record.name = COMMAND_GROUP;
    record.commands = rows.data();
    record.commandCount = static_cast<uint32_t>(rows.size());
    record.keys = keys.data();
    record.keyCount = static_cast<uint32_t>(keys.size());
    SetHostProperty(MPPROP_COMMANDS, &record, sizeof record);
}

CommandKeys CConsoleControlPlugin::KeysInForce() {
    constexpr uint32_t MOST_KEYS = 512;
    std::vector<MPCOMMANDKEY> keys(MOST_KEYS);
    MPCOMMANDREG record{};
    record.size = sizeof record;
    record.name = COMMAND_GROUP;
    record.keys = keys.data();
    record.keyCount = MOST_KEYS;
    constexpr size_t KEYS_GIVEN = 2, IN_FORCE = 3;  // of the reply
    const bool answered = HostRecord(MPPROP_COMMANDS, record) == S_OK && record.reply[IN_FORCE] == 1 &&
                          record.reply[KEYS_GIVEN] <= MOST_KEYS;
    if (!answered) return CommandKeys(CommandKeys::Proposed(HostKind() == 1));
    keys.resize(record.reply[KEYS_GIVEN]);
    return CommandKeys(keys);
}

HRESULT CConsoleControlPlugin::PostInitialise() {
    const HRESULT hr = COPTControlPlugin::PostInitialise();
    RegisterCommands();
    return hr;
}

HRESULT CConsoleControlPlugin::PreTerminate() {
    TellCommands(COMMANDS_UNREGISTER);
    return COPTControlPlugin::PreTerminate();
}

bool CConsoleControlPlugin::HasGroups() const { return ThisModule().showGroups; }

bool CConsoleControlPlugin::IsPaneShown(uint32_t command) const {
    const PaneShow& show = m_pane.show;
    return (command == CMD_REGION_CONTROLS && show.buttons) || (command == CMD_CHANNEL_LIST && show.list) ||
           (command == CMD_GROUP_LIST && show.groups);
}

bool CConsoleControlPlugin::ShowsSendPans() { return ThisModule().useSendPanFaders && HostKind() == 1; }

HRESULT CConsoleControlPlugin::LoadPreferences() {
    const HRESULT hr = COPTControlPlugin::LoadPreferences();
    for (const NamedPreference& row : NAMED)
        ThisModule().*row.flag = Preferences().Number(row.name, row.defaultValue) != 0;
    if (Preferences().Number(PREF_KEY_FORMAT, 0xFFFFFFFF) != PREF_FORMAT) return hr;
    m_shownView.vuScale = Preferences().Number(PREF_KEY_VU_SCALE, m_shownView.vuScale);
    m_shownView.meterRange = Preferences().Number(PREF_KEY_METER_RANGE, m_shownView.meterRange);
    for (size_t i = 0; i < VIEW_FLAGS; i++)
        m_shown[i] = Preferences().Number(VIEW_FLAG_KEYS[i].key, VIEW_FLAG_KEYS[i].defaultValue);
    m_shownView.faderTicks = m_shown[0];
    m_pane.show = {m_shown[FLAG_LIST] != 0, m_shown[FLAG_GROUPS] != 0, m_shown[FLAG_BUTTONS] != 0};
    const HRESULT groups = LoadGroups(m_groups, Store());
    return Failed(groups) ? groups : hr;
}

GroupStore CConsoleControlPlugin::Store() {
    return {[this](uint32_t key, uint32_t value) { return Preferences().Number(key, value); },
            [this](uint32_t key) { return Preferences().Text(key); },
            [this](uint32_t key, uint32_t value) { Preferences().SetNumber(key, value); },
            [this](uint32_t key, const std::u16string& text) { Preferences().SetText(key, text); }};
}

HRESULT CConsoleControlPlugin::SavePreferences() {
    for (const NamedPreference& row : NAMED)
        if (row.name != SHOW_GROUPS || !m_groupsForced)
            Preferences().SetNumber(row.name, ThisModule().*row.flag);
    Preferences().SetNumber(PREF_KEY_FORMAT, PREF_FORMAT);
    Preferences().SetNumber(PREF_KEY_VU_SCALE, m_shownView.vuScale);
    Preferences().SetNumber(PREF_KEY_METER_RANGE, m_shownView.meterRange);
    m_shown[0] = m_shownView.faderTicks;
    m_shown[FLAG_LIST] = m_pane.show.list;
    m_shown[FLAG_GROUPS] = m_pane.show.groups;
    m_shown[FLAG_BUTTONS] = m_pane.show.buttons;
    for (size_t i = 0; i < VIEW_FLAGS; i++) Preferences().SetNumber(VIEW_FLAG_KEYS[i].key, m_shown[i]);
    SaveGroups(m_groups, Store());
    return COPTControlPlugin::SavePreferences();
}

HRESULT CConsoleControlPlugin::FetchChannels(uint32_t reset, uint32_t kindMask) {
    return COPTControlPlugin::FetchChannels(reset, kindMask | KIND_SPECIAL);
}

HRESULT CConsoleControlPlugin::OnProjectOpen(const MPCTRLREC* rec) {
    const HRESULT hr = COPTControlPlugin::OnProjectOpen(rec);
    CriticalSectionLock lock(MainLock());
    const bool opens = rec->flags & PROJECT_OPEN;
    // The records are the page's thread's while there is a page.
    if (!opens && (!m_view || m_viewThread == std::this_thread::get_id()) && Preferences().AllRead())
        SaveGroups(m_groups, Store());
    m_groupsPending = opens;
    RequestRebuild();
    return hr;
}

HRESULT CConsoleControlPlugin::OnProjectReload(const MPNOTIFYREC* rec, uint32_t post) {
    CriticalSectionLock lock(MainLock());
    const HRESULT hr = COPTControlPlugin::OnProjectReload(rec, post);
    if (!post && hr == S_OK) RequestRebuild();
    return hr;
}

HRESULT CConsoleControlPlugin::OnDisplayChange(const MPNOTIFYREC* rec, uint32_t post) {
    const HRESULT hr = COPTControlPlugin::OnDisplayChange(rec, post);
    constexpr uint32_t NEW_LAYOUT = 0x1;
    CriticalSectionLock lock(MainLock());
    if ((!post || !(ControlState() & CTRLSTATE_LAZY_IDLE)) && (rec->kindMask & NEW_LAYOUT) && m_view)
        m_view->NotifyChannel(nullptr, DIRTY_ALL);
    return hr;
}

HRESULT CConsoleControlPlugin::OnTimeTick(uint64_t, uint64_t, uint64_t) {
    CriticalSectionLock lock(MainLock());
    if (m_view) m_view->PostTick(TICK_VALUES);
    return S_OK;
}

HRESULT CConsoleControlPlugin::OnMeterTick(const MPCTRLREC* rec, uint32_t post) {
    if (post) return OnControlDeferred(rec);
    if (!m_view) return S_FALSE;
    m_view->PostTick(TICK_METERS);
    return S_OK;
}

HRESULT CConsoleControlPlugin::OnLook(const MPCTRLREC* rec, uint32_t post) {
    if (post) return OnControlDeferred(rec);
    if (!m_view) return S_FALSE;
    m_pendingChanges.push_back(*rec);
    m_view->PostPendingChanges();
    return S_OK;
}

HRESULT CConsoleControlPlugin::OnBusyState(const MPCTRLREC* rec, uint32_t post) {
    if (post) return OnControlDeferred(rec);
    if (!m_view) return S_FALSE;
    if (!(rec->flags & BUSY_TELLS)) return S_OK;
    m_pendingChanges.push_back(*rec);
    m_view->PostPendingChanges();
    return S_OK;
}

HRESULT CConsoleControlPlugin::OnSuspend(const MPCTRLREC* rec, uint32_t post) {
    const HRESULT hr = COPTControlPlugin::OnSuspend(rec, post);
    if (!IsPaintingOff() && m_view) m_view->InvalidateAll();
    return hr;
}

HRESULT CConsoleControlPlugin::OnTransportFlags(const MPCTRLREC* rec, uint32_t post) {
    if (post) return OnControlDeferred(rec);
    if (!m_view) return S_FALSE;
    m_view->PostTick(TICK_VALUES | TICK_METERS);  // the last ones after a stop
    return S_OK;
}
