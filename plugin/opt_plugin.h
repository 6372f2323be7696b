// COPTPlugin: the base of every plug-in object. Identity, construction in two phases, the connection to the
// host, the notification dispatch with its deferred replay, and the lists that mirror the host's project
// tree.
//
// Notifications arrive on the host's threads. A handler runs once there with `post` 1, where it may only
// queue, and again with `post` 0 when DrainNotifications replays the queue. Tree lists are read on the page's
// thread.
#pragma once

#include "contract/host_contract.h"
#include "kernel/list.h"
#include "platform/event.h"
#include "plugin/host_ports.h"
#include "plugin/record_queue.h"

#include <mutex>
#include <string>
#include <vector>

class CListPage;
class CMPNotificationSink;
class CMPTimeSink;
class COPTFilter;
class COPTPluginPersit;
class CSpecifyPropertyPages;

/// Answers with the object itself, to the module's own pages alone.
inline constexpr GUID IID_COPTPlugin = tarn::Guid("{5A1F7C3E-0C54-4C1B-9B43-6B0D0A6A7E21}");

struct TRACKROW {
    uint64_t track;
    HQMLIST events;  ///< array list of event ids, or null while it is not wanted
    uint64_t reserved;
};
static_assert(sizeof(TRACKROW) == 24);

struct TAKEROW {
    uint64_t track, event, take;
};
static_assert(sizeof(TAKEROW) == 24);

/// State bits of COPTPlugin.
inline constexpr uint32_t OPTSTATE_TRACKS_LOADED = 0x01;
inline constexpr uint32_t OPTSTATE_EVENTS_LOADED = 0x02;
inline constexpr uint32_t OPTSTATE_FILTER_VALID = 0x04;
inline constexpr uint32_t OPTSTATE_REFRESH_DUE = 0x08;
inline constexpr uint32_t OPTSTATE_REFRESH_POSTED = 0x10;
inline constexpr uint32_t OPTSTATE_UPDATE_POSTED = 0x20;

inline constexpr size_t OPT_NAME_SIZE = 260;
inline constexpr uint32_t OPT_EVENT_TYPES = 0x3F0FFF;

class COPTPlugin : public IMPInitialise, public IQmTranslationInfo {
public:
    explicit COPTPlugin(IUnknown* owner);
    COPTPlugin(const COPTPlugin&) = delete;
    COPTPlugin& operator=(const COPTPlugin&) = delete;

    HRESULT QueryInterface(const GUID& iid, void** out) override;
    uint32_t AddRef() override;
    uint32_t Release() override;
    HRESULT Initialise(IUnknown* host, IUnknown* hostSite, uint32_t flags, uint32_t reserved,
                       uint32_t* capabilities) override;
    HRESULT Terminate() override;

    virtual ~COPTPlugin();
    virtual HRESULT FinalConstruct();
    virtual HRESULT GetPages(CAUUID* pages) = 0;
    virtual HRESULT FilterEvents(IMPEventStream* stream, const MPFILTERINFO* info);
    virtual HRESULT GetFilterState(uint32_t* a, uint32_t* state, uint32_t* b);
    virtual HRESULT SetFilterState(uint32_t state);
    virtual HRESULT DetachPage(CListPage* page);
    virtual HRESULT AttachPage(CListPage* page);

    virtual HRESULT OnNotify(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnObjectChange(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyE4(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyE5(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyE3(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnPortsChange(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyE7(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyEE(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyE8(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnDisplayChange(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyEA(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyEB(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyEC(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnNotifyOther(const MPNOTIFYREC* rec, uint32_t post);
    virtual HRESULT OnProjectReload(const MPNOTIFYREC* rec, uint32_t post);

    /// Replays the queued notifications with `post` 0, or drops them. 1 when nothing was queued.
    virtual HRESULT DrainNotifications(uint32_t discard);
    /// Queues a copy for the replay. [any-thread]
    virtual HRESULT QueueNotification(const MPNOTIFYREC* rec);
    virtual HRESULT OnTimeTick(uint64_t a, uint64_t b, uint64_t c);

    virtual HRESULT ReloadProjectTree(uint32_t keepTracks);
    virtual HRESULT LoadTracks();
    virtual HRESULT LoadEvents(HQMLIST list, uint64_t track);
    /// Rebuilds the filtered list for one track and event, or all with -1.
    virtual HRESULT ApplyEventFilter(int32_t trackIndex, int32_t eventIndex);
    virtual HRESULT ReloadEventTakes(int32_t trackIndex, int32_t eventIndex);
    virtual HRESULT LoadTakes(HQMLIST list, uint64_t track, uint64_t event);
    virtual uint32_t GetUsedChannels();
    virtual uint32_t GetUsedChannelCount();

    virtual uint64_t GetPort(uint32_t isOutput);
    virtual void SetPort(uint32_t isOutput, uint64_t id);

    virtual HRESULT IsDirty();
    virtual HRESULT Load(IStream* stream);
    virtual HRESULT Save(IStream* stream, BOOL clearDirty);
    virtual HRESULT GetSizeMax(uint64_t* size);
    virtual HRESULT SavePreferences();
    virtual HRESULT LoadPreferences();

    HRESULT SetLCID(uint32_t reserved, uint32_t lcid) override;

    const char16_t* Name() const { return m_name; }
    const GUID& ClassId() const { return m_classId; }
    HQMLIST Tracks() const { return m_tracks; }
    HQMLIST FilteredEvents() const { return m_filtered; }
    uint32_t State() const { return m_state; }

    /// One bit per page message in flight; RequestRefresh and RequestUpdate of the page use them.
    /// [any-thread]
    void SetStateBits(uint32_t bits) { m_state |= bits; }
    void ClearStateBits(uint32_t bits) { m_state &= ~bits; }
    /// Sets the bits and tells whether all of them were clear before.
    bool ClaimStateBits(uint32_t bits) { return (m_state.fetch_or(bits) & bits) == 0; }

    // The host's interfaces, null outside Initialise..Terminate. A copy stays valid while Terminate runs on
    // another thread.
    tarn::ComPtr<IMPProjectTree> ProjectTree() const;
    tarn::ComPtr<IMPPropertyStore> PropertyStore() const;
    tarn::ComPtr<IMPTimeConverter> TimeConverter() const;
    tarn::ComPtr<IMPPortList> PortList() const;

    /// GetProperty into a record; E_UNEXPECTED without a host.
    HRESULT GetHostProperty(const GUID& id, void* buffer, uint32_t size);
    HRESULT SetHostProperty(const GUID& id, const void* buffer, uint32_t size, uint32_t index = 0);

    /// The host's ports as of the last load. [any-thread]
    std::vector<HostPorts::Row> Ports(uint32_t isOutput) const { return m_ports.Rows(isOutput); }

protected:
    tarn::ComPtr<CListPage> Page() const;
    bool HasQueuedNotifications() const { return !m_notifications.IsEmpty(); }
    tarn::ComPtr<IUnknown> Host() const;
    /// Connects a sink of the host's connection points; *cookie stays 0 on failure.
    HRESULT Advise(const GUID& point, IUnknown* sink, uint32_t* cookie);
    /// Ends a connection and zeroes the cookie, whatever the host answers.
    void Unadvise(const GUID& point, uint32_t* cookie);
    HRESULT LoadPorts(uint32_t isOutput);

    char16_t m_name[OPT_NAME_SIZE] = {};
    std::atomic<uint32_t> m_filterState{0};
    uint32_t m_hostTimeRate = 0;
    uint32_t m_eventTypeMask = OPT_EVENT_TYPES;
    uint32_t m_capabilities = 0;
    tarn::ComPtr<COPTFilter> m_filter;
    tarn::ComPtr<COPTPluginPersit> m_persist;

private:
    class TreeLock;

    void DestroyTracks();
    int32_t FindTrack(uint64_t id) const;
    void NoteUsedChannel(uint32_t channel);
    HRESULT UpdateTrack(const MPNOTIFYREC& rec);
    HRESULT UpdateEvent(const MPNOTIFYREC& rec);

    tarn::RefCount m_refs;
    GUID m_classId{};
    [[maybe_unused]] IUnknown* m_owner;

    tarn::ComPtr<CMPNotificationSink> m_notificationSink;
    tarn::ComPtr<CMPTimeSink> m_timeSink;
    tarn::ComPtr<CSpecifyPropertyPages> m_pages;
    tarn::ComPtr<CListPage> m_page;
    uint32_t m_notificationCookie = 0;
    uint32_t m_timeCookie = 0;

    HQMLIST m_tracks = nullptr;
    HQMLIST m_filtered = nullptr;
    uint32_t m_eventGeneration = 0;
    uint32_t m_takeMask = 0xFFFFFFFF;
    int32_t m_filterTrack = -1;
    int32_t m_filterEvent = -1;

    RecordQueue<MPNOTIFYREC> m_notifications;
    mutable tarn::CriticalSection m_treeLock;
    mutable std::mutex m_hostLock;  ///< guards the pointers below and the page; never held across a call
    std::atomic<uint32_t> m_state{0};
    uint32_t m_dirty = 0;
    uint32_t m_hostLockDepth = 0;
    uint32_t m_usedChannels = 0;
    uint32_t m_usedChannelCount = 0;
    uint32_t m_clipboardFormat = 0;
    uint32_t m_timeFormat = 1;

    tarn::ComPtr<IMPProjectTree> m_projectTree;
    tarn::ComPtr<IMPPropertyStore> m_propertyStore;
    tarn::ComPtr<IMPTimeConverter> m_timeConverter;
    tarn::ComPtr<IMPPortList> m_portList;
    tarn::ComPtr<IUnknown> m_host;
    tarn::ComPtr<IUnknown> m_hostSite;
    HostPorts m_ports;
};
