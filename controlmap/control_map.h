// CControlMap: between a control surface's events, the host's channels and the events that go back.
//
// Events are matched on the thread that brings them (OnEvent) and wait; the worker runs them (Idle). In the
// other direction RefreshStrips sends what changed in the channels that the strips show.
//
// Locks: the list lock is innermost; none is held across a call of the site.
#pragma once

#include "controlmap/bank_layout.h"
#include "controlmap/function_lists.h"
#include "controlmap/map_edit.h"
#include "controlmap/map_value.h"
#include "controlmap/mixer_functions.h"
#include "controlmap/parameter_gesture.h"

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// What the map asks of the plug-in that owns it. [worker] SendEvent also [any-thread].
struct ControlMapSite : ChannelAccess {
    /// All channels, in the host's order.
    virtual std::vector<BankChannel> Channels() = 0;
    virtual std::u16string ChannelName(const MPCHANNELID& id) = 0;
    /// What a channel may be routed to, or from: MASK_SEND, MASK_INPUT_ROUTE, MASK_OUTPUT_ROUTE.
    virtual std::vector<uint64_t> RouteTargets(const MPCHANNELID& id, uint32_t mask) = 0;
    /// The effect in a slot of the channel's chain; zeros for an empty one.
    virtual MPCHANNELID Effect(const MPCHANNELID& id, uint32_t slot) = 0;
    /// Where a gain lies along a fader's travel, 0..1, and back.
    virtual float ShareOfGain(float gain) const = 0;
    virtual float GainOfShare(float share) const = 0;
    /// The modes that there are: 0x10000 mode 1, to 0x100000 mode 16. Mode 0 is always there.
    virtual uint32_t AutomationCapabilities() = 0;
    /// A row with EFUNCFLAG_HOSTFUNCTION, or of another group than the map's own.
    virtual HRESULT CallHost(const MPFUNCTIONMAP& row) = 0;
    virtual void SendEvent(const MPEVENTREC& event) = 0;
    /// A row has taken an event; `row` holds what came. [any-thread]
    virtual void OnMatched(const MPFUNCTIONMAP&) {}
    /// Everything is sent anew: what the site itself shows on the surface is to follow.
    virtual void OnRefresh() {}

protected:
    ~ControlMapSite() = default;
};

inline constexpr uint32_t IDLE_BUSY = 10, IDLE_QUIET = 50;  ///< milliseconds until the next Idle
inline constexpr uint32_t BANK_FILTER_DEFAULT = 255;
/// The target word after Reset: its bit MASK_INPUT_SIDE aims volume, pan and send at a channel's input side.
inline constexpr uint32_t TARGET_RESET = 2050;

class CControlMap {
public:
    CControlMap(ControlMapSite& site, int32_t strips, uint32_t bankFilter = BANK_FILTER_DEFAULT);
    virtual ~CControlMap();
    CControlMap(const CControlMap&) = delete;
    CControlMap& operator=(const CControlMap&) = delete;

    uint32_t AddRef() { return ++m_refs; }
    uint32_t Release();

    // The maps that there are. A map is taken over with its tables; one of a known name replaces it.
    HRESULT AddMap(FUNCTIONMAPENTRY&& entry);
    int32_t GetMapCount() const;
    /// What a map is, without its tables, which may go at any time; S_FALSE when out of range.
    HRESULT GetMap(int32_t index, FUNCTIONMAPENTRY* out) const;
    /// A copy of all its rows; none when out of range.
    FunctionRows Rows(int32_t index) const;
    HRESULT DeleteMap(int32_t index);
    void DeleteAll();
    bool MapExists(const char16_t* name) const;
    /// Uses a map's tables; out of range nothing happens.
    HRESULT SelectMap(int32_t index);
    int32_t CurrentMap() const { return m_current; }

    /// 0 when a row takes the event, and runs it with the next Idle unless `peekOnly`; whoever brings events
    /// wakes the worker behind them. [any-thread]
    HRESULT OnEvent(const MPEVENTREC& event, bool peekOnly);
    /// Runs what waits, or drops it; how long until the next call. [worker]
    uint32_t Idle(bool flush);

    HRESULT SetChannelCount(int32_t strips);
    int32_t ChannelCount() const { return static_cast<int32_t>(m_strips.size()); }
    void EnableMap(bool on);
    void ConnectProject(bool on, bool audioMode);
    /// The surface's own mode, which rows can ask for. [any-thread]
    void SetSurfaceMode(bool on);
    uint32_t State() const { return m_state; }
    void Reset() { SetTarget(TARGET_RESET); }
    /// Aims at the channels' main or input side; faders go to where the values of that side are. [worker]
    void SetTarget(uint32_t target);
    uint32_t Target() const { return m_target; }

    /// Shows the channels of a kind; see PassesBank. [worker]
    void SetBank(uint32_t filter);
    void LayoutBank(int32_t index);
    int32_t BankOffset() const { return m_bankOffset; }
    MPCHANNELID StripChannel(int32_t strip) const;
    /// Sends what changed since it was sent last; all of it with `everything`. [worker]
    virtual void RefreshStrips(bool everything);
    /// Lights or darkens a lamp of a function, if the surface has one. [worker]
    void SendLamp(uint32_t group, uint32_t function, int32_t channel, bool on, uint32_t index = ANY_INDEX);
    static constexpr uint32_t ANY_INDEX = 0xFFFFFFFF;

protected:
    virtual HRESULT OnMixerFunction(MPFUNCTIONMAP& row);
    virtual HRESULT OnSurfaceFunction(const MPFUNCTIONMAP& row);
    /// What is of no group of the map's own: the host's.
    virtual HRESULT OnTrackView(const MPFUNCTIONMAP& row) { return m_site.CallHost(row); }

private:
    struct Strip {
        MPCHANNELID id{};
        uint32_t kind = 0;  ///< KIND_ of the channel
        std::array<TakeoverState, MIXER_PARAMETER_COUNT> takeover{};
        std::array<float, MIXER_PARAMETER_COUNT> sent{};
        std::array<ParameterGesture, MIXER_PARAMETER_COUNT> gestures;
        std::map<uint32_t, bool> lamps;                ///< by function and index; absent: not sent yet
        std::map<uint32_t, std::u16string> sentTexts;  ///< by function
        Strip();
    };

    Strip* FindStrip(int32_t channel);
    ParameterGesture GestureOf(const Strip& strip, const MixerParameter& parameter);
    HRESULT Touch(Strip& strip, size_t parameter, bool on);
    void ReleaseTouches(Strip& strip);
    HRESULT Move(Strip& strip, size_t parameter, MPFUNCTIONMAP& row);
    HRESULT AimSend(const Strip& strip);
    HRESULT StepSendTarget(const Strip& strip, int32_t steps);
    HRESULT StepRoute(const Strip& strip, const MixerRoute& route, int32_t steps);
    HRESULT ToggleSend(const Strip& strip, uint32_t flags);
    HRESULT OnChainFunction(const Strip& strip, const MPFUNCTIONMAP& row);
    HRESULT Toggle(const Strip& strip, uint32_t bit, uint32_t flags);
    HRESULT SetAutomation(const Strip& strip, uint32_t mode);
    HRESULT StepAutomation(const Strip& strip, int32_t steps);
    HRESULT MoveBank(uint32_t function);
    float ShareOf(const Strip& strip, const MixerParameter& parameter, float value) const;
    float ValueOf(const Strip& strip, const MixerParameter& parameter, float share) const;

    void BlankStrip(int32_t channel);
    void RefreshStrip(Strip& strip, int32_t channel, bool everything);
    void RefreshValues(Strip& strip, int32_t channel, bool everything);
    void RefreshLamps(Strip& strip, int32_t channel, bool everything);
    void RefreshTexts(Strip& strip, int32_t channel, bool everything);
    bool IsShown(uint32_t function, int32_t channel) const;
    std::vector<uint32_t> ShownSlots(int32_t channel) const;
    void SendValue(uint32_t function, int32_t channel, float share);
    void SendText(uint32_t function, int32_t channel, const std::u16string& text);
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
    uint32_t m_bankFilter;
    int32_t m_bankOffset = 0;
    int32_t m_bankChannels = 0;  ///< that the bank has, as of its layout
    uint32_t m_target = 0;
    uint64_t m_sendTarget = 0;  ///< the send that controls act on; 0 leaves it to each channel
};
