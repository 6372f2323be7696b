// A session's mixer as it is kept from one graph to the next: the strips, streams and effects of its
// channels, by id.
#pragma once

#include "host/engine/mix_graph.h"
#include "host/engine/problem_log.h"

#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace host {

class MixModel {
public:
    /// `problems`, and the library where there is one, must outlive the model and everything that it made.
    MixModel(int sampleRate, ProblemLog& problems, EffectLibrary* effects)
        : m_sampleRate(sampleRate), m_problems(problems), m_library(effects) {}

    int SampleRate() const { return m_sampleRate; }

    /// Makes the session's graph. Channels known from before keep their strip, their stream where the clips
    /// are the same, and each effect that is there by the same id and address; it is given another state
    /// where the session has one that it did not have before. Opens the files of new clips. An effect that
    /// can't be had is reported, and what it should work on passes.
    std::unique_ptr<MixGraph> Build(const Session& session, const std::filesystem::path& folder,
                                    bool withPreview);

    /// The same once more with the latencies that the effects have by now; levels stay as they are.
    std::unique_ptr<MixGraph> MakeGraph(const Session& session, bool withPreview);

    /// Takes over all settings of faders, switches, sends and bypasses of every channel it knows.
    void SetLevels(const std::vector<Channel>& channels);

    /// The MIDI tracks of the session that is built that are played on.
    std::vector<LiveMidiRouter::Listener> Listeners(const Session& session) const;

    /// Streams of all tracks that have clips.
    std::vector<std::shared_ptr<TrackStream>> Streams() const;

    struct Named {
        ChannelId id;
        std::shared_ptr<ChannelStrip> strip;
    };
    std::vector<Named> Strips() const;
    std::shared_ptr<ChannelStrip> StripOf(ChannelId id) const;  ///< null for none

    /// Null when there is none.
    std::shared_ptr<EffectSlot> FindEffect(ChannelId channel, SubId id) const;
    /// The next graph is built with new ones.
    void ForgetEffects();
    /// Puts the effects' present states into the session.
    void SaveStates(Session& session);
    /// Effects that give no sound, and those whose latency is not made up for, a line each.
    std::vector<std::string> Faults() const;
    /// Whether a latency is another than when the graph was built.
    bool LatencyChanged() const;

    /// While a control is held its setting counts and not its curve.
    void TakeByHand(ChannelId channel, const AutomationKey& key, bool on);

private:
    struct Known {
        std::string uri, state;
        size_t sides = 0;
        size_t latency = 0;
    };
    struct Entry {
        std::string name;
        ChannelPart part;
        std::vector<Clip> clips;  ///< with the files' whole paths
        AutomationMode mode = AutomationMode::Off;
        std::vector<AutomationCurve> curves;
        /// What makes a MIDI part another one.
        struct MidiWay {
            uint32_t channel = 0;
            ChannelId output = kNoChannel;
            bool live = false;
            friend bool operator==(const MidiWay&, const MidiWay&) = default;
        };
        MidiWay midiWay;
        MidiPart::Moments moments;
        std::shared_ptr<LiveMidi> live;                  ///< of a MIDI track that is played on, or was
        std::vector<std::shared_ptr<MidiPart>> feeders;  ///< of a soft synth
        std::map<SubId, Known> effects;
    };

    void TakeClips(Entry& entry, const Channel& channel, const std::filesystem::path& folder);
    void TakeMidi(Entry& entry, const Channel& channel, const std::filesystem::path& folder, bool newClips);
    void TakeFeeders(const Session& session);
    void TakeEffects(Entry& entry, const Channel& channel, size_t sides);
    void TakeAutomation(Entry& entry, const Channel& channel);
    std::shared_ptr<EffectSlot> MakeSlot(const Channel& channel, const Insert& insert, size_t sides);
    template <class F>
    void EachEffect(F f) const;

    const int m_sampleRate;
    ProblemLog& m_problems;
    EffectLibrary* const m_library;
    std::map<ChannelId, Entry> m_entries;
    std::set<std::pair<ChannelId, AutomationKey>> m_byHand;
};

}  // namespace host
