#include "console/console_plugin.h"

#include "console/console_control_map.h"
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
constexpr NamedPreference NAMED[] = {{u"ShowGroups", 0, &ModuleState::showGroups},
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
    ApplyPendingChanges();
    m_view = view;
}

bool CConsoleControlPlugin::IsChannelHidden(const ChannelEntry& entry) const {
    return (entry.state & ENTRY_HIDDEN_BY_HOST) && ThisModule().useHostHideState;
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
    if (m_groups.empty()) m_groups.push_back(std::make_unique<tConsoleGroup>());
    CaptureView(*m_groups.front(), m_shownView);
}

void CConsoleControlPlugin::RestoreState() {
    const MPHOSTFEATURES features = HostFeatures();
    if (features.limited) m_shownView.show.bShowRecord = m_shownView.show.bShowAutomation = 0;
    if (m_groups.empty()) return;
    ApplyView(*m_groups.front(), m_shownView);
    if (features.limited) m_shownView.show.bShowRecord = m_shownView.show.bShowAutomation = 0;
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
    constexpr size_t KEYS_KEPT = 1, KEYS_GIVEN = 2;  // of the reply
    const bool answered = HostRecord(MPPROP_COMMANDS, record) == S_OK && record.reply[KEYS_KEPT] > 0 &&
                          record.reply[KEYS_GIVEN] <= MOST_KEYS && record.reply[KEYS_GIVEN] > 0;
    if (!answered) return CommandKeys(CommandKeys::Proposed(HostKind() == 1));
    keys.resize(record.reply[KEYS_GIVEN]);
    return CommandKeys(keys);
}

HRESULT CConsoleControlPlugin::PostInitialise() {
    const HRESULT hr = COPTControlPlugin::PostInitialise();
    TellCommands(COMMANDS_REGISTER);
    return hr;
}

HRESULT CConsoleControlPlugin::PreTerminate() {
    TellCommands(COMMANDS_UNREGISTER);
    return COPTControlPlugin::PreTerminate();
}

bool CConsoleControlPlugin::HasGroups() const { return ThisModule().showGroups; }

bool CConsoleControlPlugin::IsPaneShown(uint32_t command) const {
    constexpr size_t BUTTONS = 8, LIST = 9, GROUPS = 10;
    const size_t flag = command == CMD_REGION_CONTROLS ? BUTTONS
                        : command == CMD_CHANNEL_LIST  ? LIST
                        : command == CMD_GROUP_LIST    ? GROUPS
                                                       : VIEW_FLAGS;
    return flag < VIEW_FLAGS && m_shown[flag];
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
    for (const NamedPreference& row : NAMED) Preferences().SetNumber(row.name, ThisModule().*row.flag);
    Preferences().SetNumber(PREF_KEY_FORMAT, PREF_FORMAT);
    Preferences().SetNumber(PREF_KEY_VU_SCALE, m_shownView.vuScale);
    Preferences().SetNumber(PREF_KEY_METER_RANGE, m_shownView.meterRange);
    m_shown[0] = m_shownView.faderTicks;
    for (size_t i = 0; i < VIEW_FLAGS; i++) Preferences().SetNumber(VIEW_FLAG_KEYS[i].key, m_shown[i]);
    SaveGroups(m_groups, Store());
    return COPTControlPlugin::SavePreferences();
}

HRESULT CConsoleControlPlugin::FetchChannels(uint32_t reset, uint32_t kindMask) {
    return COPTControlPlugin::FetchChannels(reset, kindMask | KIND_SPECIAL);
}

HRESULT CConsoleControlPlugin::OnProjectOpen(const MPCTRLREC* rec) {
    const HRESULT hr = COPTControlPlugin::OnProjectOpen(rec);
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
