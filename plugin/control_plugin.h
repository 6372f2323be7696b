// COPTControlPlugin: the base of plug-ins that work on the host's channels. It adds the connection to
// IMPCtrlChannels, the list of channel references, and the worker thread that replays what the host's threads
// queued.
//
// A plug-in that works a control surface gives itself a control map: events of the filter go to it, the
// worker runs what it took, and changes of channels go back through it.
//
// It owns a few objects that each keep one thing, with a lock of its own where other threads come to it: the
// host's channels, the references, the catalog, the ports, the preferences, the controls that wait, the map's
// runner. None of those locks is held across a call of the host.
//
// Locks, outer to inner: the main lock, the map's list lock, the objects' own. The main lock makes one order
// of what the host's threads and the worker's rounds do; a thread that holds it may come in again, so a host
// may send changes from within what a round asks of it. A host must not call a sink while it holds a lock of
// its own that a round's calls need.
#pragma once

#include "controlmap/name_table.h"
#include "platform/event.h"
#include "plugin/catalog.h"
#include "plugin/channel_refs.h"
#include "plugin/control_ports.h"
#include "plugin/control_preferences.h"
#include "plugin/map_runner.h"

#include <filesystem>
#include <thread>

class CIMPCtrlChannelSink;
class CMPControlSurfaceDriver;

/// State bits of COPTControlPlugin.
inline constexpr uint32_t CTRLSTATE_WANT_WORKER = 0x1;
inline constexpr uint32_t CTRLSTATE_USE_INPUTS = 0x2;
inline constexpr uint32_t CTRLSTATE_USE_OUTPUTS = 0x4;
inline constexpr uint32_t CTRLSTATE_ACTIVE = 0x8;
inline constexpr uint32_t CTRLSTATE_SUSPENDED = 0x10;
inline constexpr uint32_t CTRLSTATE_PROJECT_OPEN = 0x20;
inline constexpr uint32_t CTRLSTATE_INITIALISED = 0x40;
inline constexpr uint32_t CTRLSTATE_WAKE = 0x80;
inline constexpr uint32_t CTRLSTATE_REFS_VALID = 0x100;
inline constexpr uint32_t CTRLSTATE_CAPTURE = 0x200;
inline constexpr uint32_t CTRLSTATE_DELAY_DELETES = 0x800;
inline constexpr uint32_t CTRLSTATE_DELAY_INSERTS = 0x1000;
inline constexpr uint32_t CTRLSTATE_DELAY_RELOADS = 0x2000;
inline constexpr uint32_t CTRLSTATE_LAZY_IDLE = 0x4000;
inline constexpr uint32_t CTRLSTATE_CONSTRUCTED = 0x10000;

inline constexpr uint32_t CAPABILITY_CONTROL = 0x40;

class COPTControlPlugin : public COPTPlugin, protected ControlMapSite {
public:
    explicit COPTControlPlugin(IUnknown* owner);
    ~COPTControlPlugin() override;

    HRESULT QueryInterface(const GUID& iid, void** out) override;
    HRESULT Initialise(IUnknown* host, IUnknown* hostSite, uint32_t flags, uint32_t reserved,
                       uint32_t* capabilities) override;
    HRESULT Terminate() override;
    HRESULT FinalConstruct() override;
    HRESULT FilterEvents(IMPEventStream* stream, const MPFILTERINFO* info) override;
    HRESULT GetFilterState(uint32_t* a, uint32_t* state, uint32_t* b) override;
    HRESULT SetFilterState(uint32_t state) override;
    HRESULT OnNotify(const MPNOTIFYREC* rec, uint32_t post) override;
    HRESULT OnDisplayChange(const MPNOTIFYREC* rec, uint32_t post) override;
    HRESULT OnPortsChange(const MPNOTIFYREC* rec, uint32_t post) override;
    HRESULT OnProjectReload(const MPNOTIFYREC* rec, uint32_t post) override;
    HRESULT DrainNotifications(uint32_t discard) override;
    HRESULT QueueNotification(const MPNOTIFYREC* rec) override;
    HRESULT SavePreferences() override;
    HRESULT LoadPreferences() override;

    virtual HRESULT GetDriverString(char16_t* out, uint32_t size);
    /// Queues a copy for the worker. [any-thread]
    virtual HRESULT QueueControl(const MPCTRLREC* rec);
    virtual HRESULT OnControl(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnProjectOpen(const MPCTRLREC* rec);
    virtual HRESULT OnActivateStart(const MPCTRLREC* rec);
    virtual HRESULT OnActivateReset();
    /// Tells the host that the use of the selected ports ends or begins.
    virtual HRESULT RequestPorts(uint32_t ending, uint32_t mode);
    virtual HRESULT OnActivate(const MPCTRLREC* rec);
    virtual HRESULT OnChannelChange(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnMapChange(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnDisplaySettings(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnTransportFlags(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnBlockChange(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnJogChange(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnSuspend(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnBusyState(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnLook(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnOther(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnMeterTick(const MPCTRLREC* rec, uint32_t post);
    virtual HRESULT OnCaptureEvent(const MPEVENTREC* event);
    /// An event came in, outside capture mode; `taken` by the map or not. [any-thread]
    virtual void OnEventSeen(const MPEVENTREC&, bool /*taken*/) {}
    /// Fills the reference list from the host, in the references' order.
    virtual HRESULT FetchChannels(uint32_t reset, uint32_t kindMask);
    /// The function maps that were in use, and their files. S_FALSE without a map. A file that can't be read
    /// is left out, and OnMapProblem told.
    virtual HRESULT SaveMaps();
    virtual HRESULT LoadMaps();
    virtual HRESULT GetProjectInfo();
    virtual HRESULT PostInitialise();
    virtual HRESULT PreTerminate();

    uint32_t ControlState() const { return m_control; }
    /// Null in a plug-in without one.
    CControlMap* Map() const { return m_runner.Map(); }
    const EffectCatalog& Catalog() const { return m_catalog; }

    // Readers of the reference list. All answer 1 without IMPCtrlChannels, for an index out of range and for
    // a zero id; a stale list is fetched first and its error passed on. [any-thread]
    HRESULT GetChannelCount(int32_t* count);
    HRESULT GetChannelId(int32_t index, MPCHANNELID* id);
    HRESULT FindChannel(uint64_t channel, int32_t* index);
    HRESULT GetSubId(int32_t index, int32_t sub, MPCHANNELID* id);
    /// Ids of the I/O port entries of a kind: KIND_OUTPUT_ENTRY, KIND_INPUT_BUS or KIND_MIDI_PORT_ENTRY.
    std::vector<uint64_t> PortEntries(uint32_t kind);
    /// Host's Get and Set of one level 1 channel.
    HRESULT GetChannelRecord(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask);
    HRESULT SetChannelRecord(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask);
    /// The channel's name cut to `capacity`; SELECT_SHORT_NAME or SELECT_LONG_NAME.
    HRESULT GetChannelName(const MPCHANNELID& id, uint32_t which, char16_t* out, uint32_t capacity);
    /// Paths of what hangs on a channel, in the host's order: effects, sends. [any-thread]
    std::vector<MPCHANNELID> PartsOf(const MPCHANNELID& channel) const;
    /// The host's Insert of an effect or a send on a channel, and its Remove of one, or of the channel
    /// itself. S_FALSE without a host. [any-thread]
    HRESULT InsertAtHost(const MPCHANNELID& channel, MPCHANNELREC& rec);
    HRESULT AddChannelAtHost(MPCHANNELREC& rec);
    HRESULT RemoveAtHost(const MPCHANNELID& id);
    /// Channels that another one's send, input or output can lead to: MASK_SEND, MASK_INPUT_ROUTE,
    /// MASK_OUTPUT_ROUTE; with the ids of port entries.
    std::vector<uint64_t> TargetsOf(const MPCHANNELID& id, uint32_t mask);

    tarn::CriticalSection& MainLock() const { return m_mainLock; }

    /// For gestures on its channels. [any-thread]
    ChannelAccess& Access() { return *this; }

    /// The user's choice of a MIDI port, 0 for none: kept, and taken up again when a port that went comes
    /// back. [any-thread]
    void ChoosePort(uint32_t isOutput, uint64_t port);

protected:
    // ControlMapSite: what a map asks of the plug-in. Called under the main lock, but SendEvent.
    HRESULT GetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) override;
    HRESULT SetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) override;
    /// Channels that a strip can show, in the references' order.
    std::vector<BankChannel> Channels() override;
    std::u16string ChannelName(const MPCHANNELID& id) override;
    std::vector<uint64_t> RouteTargets(const MPCHANNELID& id, uint32_t mask) override;
    MPCHANNELID Effect(const MPCHANNELID& id, uint32_t slot) override;
    float ShareOfGain(float gain) const override;
    float GainOfShare(float share) const override;
    uint32_t AutomationCapabilities() override;
    HRESULT CallHost(const MPFUNCTIONMAP& row) override;
    /// To the selected output port.
    void SendEvent(const MPEVENTREC& event) override;

    /// The console's part of a channel change, under the main lock.
    virtual HRESULT UpdateEntry(const MPCTRLREC& rec) = 0;

    ControlPreferences& Preferences() { return m_preferences; }
    /// Queues on the host's thread for the replay; the common body of handlers without more to do there.
    HRESULT OnControlDeferred(const MPCTRLREC* rec);
    ChannelKeys& Keys() { return m_keys; }
    void SetControlBits(uint32_t bits) { m_control |= bits; }
    void ClearControlBits(uint32_t bits) { m_control &= ~bits; }
    /// Sets or clears the bits.
    void PutControlBits(uint32_t bits, bool on) { on ? SetControlBits(bits) : ClearControlBits(bits); }

    /// The map, taken over with the reference that it was made with; in FinalConstruct. What it asks of its
    /// site it asks under the main lock.
    void SetMap(CControlMap* map) { m_runner.Set(map); }
    /// The names that map files are written with; null: maps are neither loaded nor saved.
    virtual const FunctionNames* MapNames() { return nullptr; }
    /// File, line and reason, for a user to read.
    virtual void OnMapProblem(const std::string&) {}

    /// Where the plug-in keeps files of the user; empty when there is no place.
    const std::filesystem::path& UserDataPath() const { return m_userDataPath; }

    uint32_t m_kindMask = 255;

private:
    HRESULT Connect(IUnknown& host);
    void RunWorker();
    void RefreshSurface();
    void SignalIfWanted();
    void DestroyReferences();
    HRESULT RequireReferences();
    void NoteForMap(const MPCTRLREC& rec);
    HRESULT ReplaceOnHostThread(const MPCTRLREC& rec);
    HRESULT ApplyChannelChange(const MPCTRLREC& rec);
    HRESULT ApplySubChange(const MPCTRLREC& rec);

    mutable tarn::CriticalSection m_mainLock;
    tarn::ManualResetEvent m_wake;
    std::thread m_worker;
    uint32_t m_workerWait = tarn::ManualResetEvent::INFINITE_WAIT;
    std::atomic<uint32_t> m_control;
    uint32_t m_filterTypes = 4095;

    HostChannels m_channels;
    ChannelKeys m_keys{m_channels};
    ChannelReferences m_refs{m_channels, m_keys};
    EffectCatalog m_catalog;
    ControlPreferences m_preferences{*this};
    ControlPorts m_ports{*this, m_preferences};
    RecordQueue<MPCTRLREC> m_controls;
    MapRunner m_runner;

    tarn::ComPtr<CMPControlSurfaceDriver> m_driver;
    tarn::ComPtr<CIMPCtrlChannelSink> m_controlSink;
    uint32_t m_controlCookie = 0;

    MPPROJECTINFO m_projectInfo{};
    std::filesystem::path m_userDataPath;
    std::u16string m_hostFolder;
    uint32_t m_hostVersion = 0;
};
