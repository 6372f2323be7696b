// What a project's parts share: the session under its lock, the engine, the levels on show, and the
// listeners. Changes go through here, so that engine and plug-ins hear of every one of them.
#pragma once

#include "host/contract/project.h"
#include "host/contract/sinks.h"
#include "host/midi/midi_ports.h"

#include <array>
#include <atomic>
#include <map>
#include <mutex>

namespace host {

/// Levels as the meters show them: a peak rises at once and falls by 20 dB in 1.7 s (IEC 60268-18).
struct ShownLevels {
    std::array<float, 2> peak{};
    std::array<float, 2> vu{};
    std::array<float, 2> highest{};
};

class ProjectCore {
public:
    /// Without a driver there is no MIDI.
    ProjectCore(EngineOptions options, std::unique_ptr<MidiDriver> driver);

    /// What one edit changed, as MASK_ groups of the contract; 0 for nothing.
    using Edit = std::function<uint32_t(Channel&)>;

    /// Runs `edit` on a copy of the channel and takes the copy over when it is valid. Plug-ins are told which
    /// groups changed. S_FALSE when there is no such channel, E_INVALIDARG when the result is refused.
    /// [any-thread]
    HRESULT EditChannel(ChannelId id, const Edit& edit);
    ChannelId AddChannel(ChannelKind kind, const std::string& name, size_t index);
    HRESULT RemoveChannel(ChannelId id);
    bool MoveChannel(ChannelId id, size_t index);
    /// Replaces everything; plug-ins are not told. Throws SessionError.
    void Replace(Session session, const std::filesystem::path& path);

    /// Play, stop, locate and loop go through here, since plug-ins hear of them.
    void ChangeTransport(const std::function<void(Engine&)>& change);

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

    /// Plug-ins that see what comes in. After RemoveFilter has returned the filter is not called any more.
    void AddFilter(IMPEventFilter* filter);
    void RemoveFilter(IMPEventFilter* filter);

    std::filesystem::path Path() const;
    bool IsModified() const { return m_modified; }
    /// Saves under that path, where the project is from now on; clips stay the files that they are. Throws
    /// SessionError.
    void SaveAs(const std::filesystem::path& path);

    ShownLevels Levels(ChannelId id) const;
    void ResetPeaks();
    /// Takes the engine's meters; `elapsed` seconds since the last time. True while anything is left to show.
    bool UpdateLevels(double elapsed);

    void SendControl(const GUID& id, uint32_t flags = 0, uint32_t level = 0, ChannelId channel = 0,
                     uint32_t kindMask = 0, uint32_t seat = kNoSeat);
    void SendNotify(const GUID& id, uint32_t flags = 0, uint32_t level = 0, ChannelId channel = 0,
                    uint32_t kindMask = 0);

    Engine engine;
    SinkList notificationSinks{IID_IMPNotificationSink};
    SinkList timeSinks{IID_IMPTimeSink};
    SinkList controlSinks{IID_IMPCtrlChannelSink};
    std::atomic<uint64_t> meterTicks{0};

private:
    struct Place {
        ChannelId id;
        int32_t order;
    };
    std::vector<Place> Places() const;
    /// Tells of every channel whose order differs from before.
    void TellMoved(const std::vector<Place>& before);
    void ApplyToEngine();
    void FilterEvents(std::vector<ReceivedEvent>& events);

    mutable std::mutex m_lock;
    Session m_session = NewSession();
    std::filesystem::path m_path;
    std::atomic<bool> m_modified{false};

    mutable std::mutex m_levelLock;
    std::map<ChannelId, ShownLevels> m_levels;

    Preferences m_userPreferences;  // under m_lock
    std::mutex m_filterLock;
    std::vector<tarn::ComPtr<IMPEventFilter>> m_filters;

public:
    std::unique_ptr<MidiPorts> midi;  ///< its thread calls all of the above: the first to go
};

/// The contract's kind word of a channel.
uint32_t KindWord(ChannelKind kind);
/// Order index of a channel: tracks and busses each from 0, the master behind the busses, -2 for the preview
/// bus.
int32_t OrderIndex(const Session& session, ChannelId id);

}  // namespace host
