// CControlMap: between a control surface's events, the host's channels and the events that go back.
//
// Events are matched on the thread that brings them (OnEvent) and wait; the worker runs them (Idle). In the
// other direction RefreshStrips sends what changed in the channels that the strips show.
//
// Locks: the list lock is innermost; none is held across a call of the site.
#pragma once

#include "controlmap/bank_layout.h"
#include "controlmap/function_lists.h"
#include "controlmap/map_value.h"
#include "controlmap/mixer_functions.h"

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// What the map asks of the plug-in that owns it. [worker], SendEvent and Wake also [any-thread].
struct ControlMapSite {
    virtual HRESULT GetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) = 0;
    virtual HRESULT SetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) = 0;
    /// All channels, in the host's order.
    virtual std::vector<BankChannel> Channels() = 0;
    virtual std::u16string ChannelName(const MPCHANNELID& id) = 0;
    /// Where a gain lies along a fader's travel, 0..1, and back.
    virtual float ShareOfGain(float gain) const = 0;
    virtual float GainOfShare(float share) const = 0;
    /// The modes that there are: 0x10000 mode 1, to 0x100000 mode 16. Mode 0 is always there.
    virtual uint32_t AutomationCapabilities() = 0;
    /// A row with EFUNCFLAG_HOSTFUNCTION, or of another group than the map's own.
    virtual HRESULT CallHost(const MPFUNCTIONMAP& row) = 0;
    virtual void SendEvent(const MPEVENTREC& event) = 0;
    /// Work waits for Idle.
    virtual void Wake() = 0;

protected:
    ~ControlMapSite() = default;
};

inline constexpr uint32_t kIdleBusy = 10, kIdleQuiet = 50;  ///< milliseconds until the next Idle
inline constexpr uint32_t kBankFilterDefault = 255;

class CControlMap {
public:
    CControlMap(ControlMapSite& site, int32_t strips);
    virtual ~CControlMap();
    CControlMap(const CControlMap&) = delete;
    CControlMap& operator=(const CControlMap&) = delete;

    uint32_t AddRef() { return ++m_refs; }
    uint32_t Release();

    // The maps that there are. A map is taken over with its tables; one of a known name replaces it.
    HRESULT AddMap(FUNCTIONMAPENTRY&& entry);
    int32_t GetMapCount() const;
    /// S_FALSE when out of range. The tables stay the map's.
    HRESULT GetMap(int32_t index, FUNCTIONMAPENTRY* out) const;
    HRESULT DeleteMap(int32_t index);
    void DeleteAll();
    bool MapExists(const char16_t* name) const;
    /// Uses a map's tables; out of range nothing happens.
    HRESULT SelectMap(int32_t index);
    int32_t CurrentMap() const { return m_current; }

    /// 0 when a row takes the event, and runs it with the next Idle unless `peekOnly`. [any-thread]
    HRESULT OnEvent(const MPEVENTREC& event, bool peekOnly);
    /// Runs what waits, or drops it; how long until the next call. [worker]
    uint32_t Idle(bool flush);

    HRESULT SetChannelCount(int32_t strips);
    int32_t ChannelCount() const { return static_cast<int32_t>(m_strips.size()); }
    void EnableMap(bool on);
    void ConnectProject(bool on, bool audioMode);
    uint32_t State() const { return m_state; }

    /// Shows the channels of a kind; see PassesBank. [worker]
    void SetBank(uint32_t filter);
    void LayoutBank(int32_t index);
    int32_t BankOffset() const { return m_bankOffset; }
    MPCHANNELID StripChannel(int32_t strip) const;
    /// Sends what changed since it was sent last; all of it with `everything`. [worker]
    void RefreshStrips(bool everything);

protected:
    virtual HRESULT OnMixerFunction(MPFUNCTIONMAP& row);
    virtual HRESULT OnSurfaceFunction(const MPFUNCTIONMAP& row);
    /// A modifier was pressed or released.
    virtual void OnModifier(uint32_t bit, bool on);

private:
    struct Strip {
        MPCHANNELID id{};
        std::array<TakeoverState, kMixerParameterCount> takeover;
        std::array<float, kMixerParameterCount> sent;
        uint32_t touched = 0;  ///< bit a parameter
        uint32_t sentSwitches = 0;
        bool switchesKnown = false;
        std::u16string sentName;
        Strip();
    };

    Strip* FindStrip(int32_t channel);
    HRESULT Touch(Strip& strip, size_t parameter, bool on);
    HRESULT Move(Strip& strip, size_t parameter, MPFUNCTIONMAP& row);
    HRESULT Toggle(Strip& strip, uint32_t bit, uint32_t flags);
    HRESULT SetAutomation(Strip& strip, uint32_t mode);
    HRESULT StepAutomation(Strip& strip, int32_t steps);
    HRESULT MoveBank(uint32_t function);
    float ShareOf(const MixerParameter& parameter, const MPCHANNELREC& rec) const;
    void RefreshStrip(Strip& strip, int32_t channel, bool everything);
    void SendValue(uint32_t function, int32_t channel, float share);
    void SendSwitch(uint32_t function, int32_t channel, bool on);
    void SendName(int32_t channel, const std::u16string& name);
    void Run(MPFUNCTIONMAP& row);
    HRESULT RebuildLists();

    ControlMapSite& m_site;
    std::atomic<uint32_t> m_refs{1};
    std::atomic<uint32_t> m_state{0};
    std::atomic<int32_t> m_current{-1};

    mutable std::mutex m_listLock;  // guards the two below and the held event
    FunctionLists m_lists;
    std::vector<FUNCTIONMAPENTRY> m_maps;
    MPEVENTREC m_held = EmptyEvent();

    using Pending = std::vector<MPFUNCTIONMAP>;
    std::atomic<Pending*> m_pending{nullptr};

    std::vector<Strip> m_strips;  // worker alone
    Strip m_master;
    uint32_t m_bankFilter = kBankFilterDefault;
    int32_t m_bankOffset = 0;
};
