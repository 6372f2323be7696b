// CConsoleControlPlugin: the object that the host creates. It keeps the sorted list of channel entries in
// step with the host and tells the page what changed.
//
// Entries belong to the page's thread while a page is attached: other threads record what happened and the
// page applies it, so that nothing that the page is looking at goes away under it. Without a page changes
// apply at once, under the main lock.
#pragma once

#include "console/commands.h"
#include "console/console_view.h"
#include "console/strip_show.h"
#include "console/view_groups.h"
#include "platform/thread_check.h"
#include "plugin/control_plugin.h"

#include <thread>

/// Switches of the view that are kept: fader ticks, kinds of channels, panes.
inline constexpr size_t VIEW_FLAGS = 11;

class CConsoleControlPlugin final : public COPTControlPlugin {
public:
    explicit CConsoleControlPlugin(IUnknown* owner);
    ~CConsoleControlPlugin() override;

    HRESULT FinalConstruct() override;
    HRESULT GetPages(CAUUID* pages) override;
    HRESULT OnDisplayChange(const MPNOTIFYREC* rec, uint32_t post) override;
    HRESULT OnProjectReload(const MPNOTIFYREC* rec, uint32_t post) override;
    HRESULT OnTimeTick(uint64_t a, uint64_t b, uint64_t c) override;
    HRESULT SavePreferences() override;
    HRESULT LoadPreferences() override;
    HRESULT OnProjectOpen(const MPCTRLREC* rec) override;
    HRESULT OnLook(const MPCTRLREC* rec, uint32_t post) override;
    HRESULT OnMeterTick(const MPCTRLREC* rec, uint32_t post) override;
    HRESULT OnSuspend(const MPCTRLREC* rec, uint32_t post) override;
    HRESULT OnTransportFlags(const MPCTRLREC* rec, uint32_t post) override;
    HRESULT OnBusyState(const MPCTRLREC* rec, uint32_t post) override;
    HRESULT FetchChannels(uint32_t reset, uint32_t kindMask) override;

    /// The page begins or ends its use of the entries; null ends it. Pending changes are applied first.
    /// [page-thread]
    void SetView(ConsoleView* view);

    /// The entries in the console's order; valid until ApplyPendingChanges. [page-thread]
    std::span<ChannelEntry*> Entries() const { return QmList_Pointers<ChannelEntry>(m_entries); }
    /// Null when the entry is not in the list; the pointer is only compared. [page-thread]
    ChannelEntry* FindEntry(const void* pointer) const;

    /// Brings the entries in step with what the host's threads recorded. True when entries came, went or
    /// moved. [page-thread]
    bool ApplyPendingChanges();

    /// Whether display work is suspended by the host. [any-thread]
    bool IsPaintingOff() const { return ControlState() & CTRLSTATE_SUSPENDED; }
    bool IsChannelHidden(const ChannelEntry& entry) const;
    uint32_t TransportFlags();
    /// The project's channel mode is surround.
    bool IsSurroundProject();
    /// Of the full editor, where the user wants them.
    bool ShowsSendPans();
    /// AUTOMATION_ modes that the host has.
    uint32_t AutomationModes() { return AutomationCapabilities() >> 16 & AUTOMATION_MODES; }
    /// A property of the host by its record, whose size the record tells.
    template <class Record>
    HRESULT HostRecord(const GUID& id, Record& record) {
        return GetHostProperty(id, &record, sizeof record);
    }
    MPHOSTFEATURES HostFeatures();
    uint32_t HostKind();

    /// Whether the host lets one channel take the place of another: tracks among each other, and where it
    /// orders all channels, those of one kind.
    bool CanMoveBefore(const ChannelEntry& entry, const ChannelEntry& place);
    void MoveAtHost(const ChannelEntry& entry, const ChannelEntry& place);
    /// A new channel of the kind, at the end of its kind.
    void AddAtHost(uint32_t kind);
    /// Turns a MONITORING_ bit over.
    void ToggleMonitoring(uint32_t bit);
    /// Tells the host the commands, with their texts in the language of now.
    void RegisterCommands() { TellCommands(COMMANDS_REGISTER); }
    /// The keys that are in force: the host may have others than the console proposes.
    CommandKeys KeysInForce();
    bool HasGroups() const;
    bool IsPaneShown(uint32_t command) const;

    /// The layout of strips and panes as it is now goes into the console's own group.
    void KeepState();
    /// What was kept comes back.
    void RestoreState();

    /// The console's own state, if one was kept, then the user's groups. [page-thread]
    ViewGroups& Groups() { return m_groups; }
    /// Whether there are groups at all, which the host says; `force` is the user's wish for this run, and is
    /// not kept.
    void ReadGroupSwitch(bool force);
    /// Gives the host the groups as they are now, so that they go into its project.
    void StoreGroups();
    /// The page shows what a group has changed of view and pane.
    void ShowApplied();
    /// Channels are hidden or shown in the console alone: the page lays them out soon, once for many.
    void EntriesShownChanged();
    bool HasView() const { return m_view; }

    /// What all strips share. [page-thread]
    StripView& View() { return m_shownView; }
    const StripView& View() const { return m_shownView; }
    PaneView& Pane() { return m_pane; }

protected:
    HRESULT UpdateEntry(const MPCTRLREC& rec) override;
    HRESULT PostInitialise() override;
    HRESULT PreTerminate() override;
    void SendEvent(const MPEVENTREC&) override {}  // no MIDI side

private:
    GroupStore Store();
    void TellCommands(uint32_t action);
    void RequestRebuild();
    void LoadProjectGroups();
    HRESULT RebuildChannels();
    HRESULT AddEntry(const MPCHANNELID& id);
    void RemoveEntry(ChannelEntry* entry);
    void ReadEntry(ChannelEntry& entry);
    void ReadNames(ChannelEntry& entry);
    HRESULT PlaceEntry(ChannelEntry* entry);
    void NoteCompanion(ChannelEntry& entry);
    void NoteGroupHead(ChannelEntry& entry);
    ChannelEntry* EntryById(uint64_t channel) const;
    bool ApplyChange(const MPCTRLREC& rec, bool* moved);

    HQMLIST m_entries = nullptr;
    uint32_t m_channelCounter = 0;
    MPCHANNELID m_companions[4] = {};
    StripView m_shownView;
    PaneView m_pane;
    uint32_t m_shown[VIEW_FLAGS] = {};  ///< by key from 203 on, and fader ticks: what the view shows
    bool m_groupsForced = false;
    ViewGroups m_groups;  ///< the first is the console's own state; none before one was kept

    tarn::ThreadCheck m_pageThread;  ///< of the page that is attached

    // Under the main lock.
    ConsoleView* m_view = nullptr;
    std::thread::id m_viewThread;
    bool m_rebuildPending = false;
    bool m_shownChanged = false;   ///< by the console alone, which the page has not laid out yet
    bool m_groupsPending = false;  ///< another project is open: its groups are to be read
    bool m_applying = false;
    std::vector<MPCTRLREC> m_pendingChanges;
};
