// What a project's parts share: the session under its lock, the engine, the levels on show, and the
// listeners. Changes go through here, so that engine and plug-ins hear of every one of them.
#pragma once

#include "host/contract/automation_writer.h"
#include "host/contract/channel_changes.h"
#include "host/contract/command_table.h"
#include "host/contract/host_texts.h"
#include "host/contract/project.h"
#include "host/contract/sinks.h"
#include "host/contract/undo_list.h"
#include "host/midi/midi_ports.h"

#include <array>
#include <atomic>
#include <map>
#include <mutex>
#include <set>

namespace host {

/// Levels as the meters show them: a peak rises at once and falls by 20 dB in 1.7 s (IEC 60268-18).
struct ShownLevels {
    std::array<float, kMaxSides> peak{};
    std::array<float, kMaxSides> vu{};
    std::array<float, kMaxSides> highest{};
};

class ProjectCore {
public:
    /// Without a driver there is no MIDI.
    ProjectCore(EngineOptions options, std::unique_ptr<MidiDriver> driver, const HostFace& face);

    using Edit = std::function<void(Channel&)>;

    /// Runs `edit` on a copy of the channel and takes the copy over when it is valid. Plug-ins are told what
    /// has changed. S_FALSE when there is no such channel, E_INVALIDARG when the result is refused.
    /// [any-thread]
    HRESULT EditChannel(ChannelId id, const Edit& edit);
    ChannelId AddChannel(ChannelKind kind, const std::string& name, size_t index);
    /// The selected channels with the states of their effects; master and preview bus are never among them.
    std::vector<Channel> CopySelected();
    /// Adds copies behind the last of their rows, and selects them alone.
    HRESULT PasteChannels(const std::vector<Channel>& copied);
    HRESULT AddRecordings(const std::vector<Recording>& recordings, double start);
    HRESULT RemoveChannel(ChannelId id);
    bool MoveChannel(ChannelId id, size_t index);
    void SetMonitoring(const Monitoring& monitoring);
    /// Replaces everything; plug-ins are not told. Throws SessionError.
    void Replace(Session session, const std::filesystem::path& path);

    /// A new effect in the channel's chain at this place, or the instrument of a soft synth. E_INVALIDARG
    /// when it can't be had there.
    HRESULT InsertEffect(ChannelId id, const std::string& uri, size_t place, SubId* made);
    HRESULT AddSend(ChannelId id, ChannelId target, SubId* made);
    HRESULT RemovePart(ChannelId id, SubId part);
    HRESULT MoveEffect(ChannelId id, SubId effect, size_t place);
    /// Sets a parameter of an effect that runs; S_FALSE when there is none.
    HRESULT SetParameter(ChannelId id, SubId effect, size_t parameter, float value);
    HRESULT LoadPreset(ChannelId id, SubId effect, size_t preset);
    std::shared_ptr<Effect> FindEffect(ChannelId id, SubId effect) const {
        return engine.FindEffect(id, effect);
    }

    /// What the channel plays now: its curve, or its setting where a hand holds it.
    std::optional<double> Shown(const Channel& channel, const AutomationKey& key) const;
    /// A hand takes hold of a control, or lets go.
    void Touch(ChannelId id, const AutomationKey& key, bool on);
    /// A control of the channel was set to what the channel holds now, or a parameter to this value.
    void Moved(ChannelId id, const AutomationKey& key, std::optional<double> value = {});
    /// Writes what hands have done, and lets time go on for what they hold. [ticker]
    void WriteAutomation();

    /// Why the last edit was refused, for a person.
    std::string Refusal() const;

    /// Takes the last edit of a channel or an effect back, or does it again; S_FALSE when there is none.
    HRESULT Undo(bool redo);
    std::optional<EditKind> NextUndo(bool redo) const;

    /// Play, stop, locate and loop go through here, since plug-ins hear of them.
    void ChangeTransport(const std::function<void(Engine&)>& change);

    /// How fast the position is wound; 0 stands.
    double ShuttleSpeed() const { return m_shuttle; }
    void Shuttle(double speed);
    /// Winds on by so many seconds of time. [ticker]
    void Wind(double elapsed);

    /// Runs `read` under the lock, which it must not take again.
    template <class F>
    auto Read(F read) const {
        std::lock_guard lock(m_lock);
        return read(m_session);
    }
    /// Runs `work` on the preferences of the session, or of the user, under the lock.
    template <class F>
    auto WithPreferences(bool ofUser, F work) {
        std::lock_guard lock(m_lock);
        return work(ofUser ? m_userPreferences : m_session.preferences);
    }
    std::atomic<uint64_t> userPreferenceChanges{0};

    void SetTexts(HostTexts texts);
    std::shared_ptr<const HostTexts> Texts() const;

    /// Has the ports open that tracks are played from. [ticker]
    void FollowMidiPorts();

    /// Plug-ins that see what comes in. After RemoveFilter has returned the filter is not called any more.
    void AddFilter(IMPEventFilter* filter);
    void RemoveFilter(IMPEventFilter* filter);

    std::filesystem::path Path() const;
    bool IsModified() const { return m_modified; }
    /// Saves under that path, where the project is from now on; clips stay the files that they are. Throws
    /// SessionError.
    void SaveAs(const std::filesystem::path& path);
    /// The session with its effects' present states.
    Session WithStates();

    /// What plug-ins have asked of the host's window, until that takes it. [any-thread]
    template <class Wish>
    class Wishes {
    public:
        void Add(const Wish& wish) {
            const std::lock_guard lock(m_lock);
            if (m_wishes.size() < kMost) m_wishes.push_back(wish);
        }
        std::vector<Wish> Take() {
            const std::lock_guard lock(m_lock);
            return std::exchange(m_wishes, {});
        }

    private:
        static constexpr size_t kMost = 64;  // a host without a window takes none
        std::mutex m_lock;
        std::vector<Wish> m_wishes;
    };
    Wishes<std::pair<ChannelId, SubId>> editorWishes;
    Wishes<uint32_t> commandWishes;  ///< registered commands

    ShownLevels Levels(ChannelId id) const;
    void ResetPeaks();
    /// Takes the engine's meters; `elapsed` seconds since the last time. True while anything is left to show.
    bool UpdateLevels(double elapsed);

    void SendControl(const GUID& id, uint32_t flags = 0, uint32_t kindMask = 0, uint32_t seat = kNoSeat);
    /// Something happened to a channel or to a part of it: MASK_ groups of changed attributes, else the
    /// channel's kind.
    void TellChannel(uint32_t flags, const MPCHANNELID& object, uint32_t kindMask);
    void SendNotify(const GUID& id, uint32_t flags = 0, uint32_t level = 0, ChannelId channel = 0,
                    uint32_t kindMask = 0);

    const std::shared_ptr<EffectLibrary> effects;  ///< null: there are none
    const HostFace face;
    Engine engine;
    CommandTables commands;
    SinkList notificationSinks{IID_IMPNotificationSink};
    SinkList timeSinks{IID_IMPTimeSink};
    SinkList controlSinks{IID_IMPCtrlChannelSink};
    std::atomic<uint64_t> meterTicks{0};

private:
    /// Changes the list of channels; it returns false for what can't be done.
    using Change = std::function<bool(std::vector<Channel>&)>;
    /// Told of the channels that there were, once the change stands. Both are called under the lock.
    using Keep = std::function<void(const std::vector<Channel>& was)>;
    HRESULT ChangeChannels(const Change& change, const Keep& keep);
    Keep Record(EditKind kind);
    void RecordMove(EditKind kind, EffectMove move);
    HRESULT UndoMoves(const std::vector<EffectMove>& moves, bool redo);
    void TellDifferences(const Session& was, const Session& is);
    /// Has the channel hold how its effects are set now, which counts where one of them goes. [m_lock]
    void KeepStates(ChannelId id);
    /// A channel that was changed, to be told of without the lock.
    struct Told {
        ChannelId id;
        uint32_t kind;
        bool wide;  ///< a group's head, whose companions are told of as well
        ChannelChanges changes;
    };
    void Tell(const Told& told);
    static Told WhatChanged(const Session& session, const Channel& before, const Channel& after);
    HRESULT Refuse(const std::string& reason);
    void ApplyToEngine();
    void TakeEvents(std::vector<ReceivedEvent>& events);

    mutable std::mutex m_lock;
    Session m_session = NewSession();
    std::filesystem::path m_path;
    std::string m_refusal;
    std::atomic<bool> m_modified{false};
    std::atomic<double> m_shuttle{0};
    UndoList m_undo;
    AutomationWriter m_writer;
    bool m_writerPlayed = false;  ///< the ticker's

    mutable std::mutex m_levelLock;
    std::map<ChannelId, ShownLevels> m_levels;

    Preferences m_userPreferences;                                             // under m_lock
    std::shared_ptr<const HostTexts> m_texts = std::make_shared<HostTexts>();  // likewise
    std::atomic<bool> m_portsMayDiffer{true};
    std::set<uint64_t> m_playedPorts;  ///< the ticker's
    std::mutex m_filterLock;
    std::vector<tarn::ComPtr<IMPEventFilter>> m_filters;

public:
    std::unique_ptr<MidiPorts> midi;  ///< its thread calls all of the above: the first to go
};

}  // namespace host
