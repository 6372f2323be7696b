// A channel's place in a graph: where its sound comes from, what is done to it, where it goes.
#pragma once

#include "host/engine/automation_lane.h"
#include "host/engine/channel_strip.h"
#include "host/engine/effect_slot.h"
#include "host/engine/midi_part.h"
#include "host/engine/play_plan.h"
#include "host/engine/track_stream.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace host {

/// Where the streams stand, and what the device records meanwhile. `serial` 0 means that nothing plays.
struct StreamPlace {
    uint64_t serial = 0;
    int ring = 0;
    int64_t at = 0;  ///< frame of the plan, kept when playing ends
    PlayPlan plan{};
    std::span<const float* const> recorded{};
    LiveWindow live{};
    bool offline = false;  ///< nobody listens yet, and effects may take their time
};

/// A chunk of a channel's or a bus's sound.
struct MixBuffer {
    std::array<std::array<float, kChunkFrames>, kMaxSides> side;

    std::array<float*, kMaxSides> Sides(size_t at = 0) {
        std::array<float*, kMaxSides> sides;
        for (size_t s = 0; s < kMaxSides; s++) sides[s] = side[s].data() + at;
        return sides;
    }
};

struct NodeInsert {
    SubId id = kNoSub;
    std::shared_ptr<EffectSlot> slot;
    std::shared_ptr<DelayLine> dry;
};

/// A way out of a channel to a buffer that its job has for the target.
struct NodeRoute {
    SubId id = kNoSub;                   ///< of the send
    std::shared_ptr<SendStrip> send{};   ///< null for the channel's own output
    std::shared_ptr<DelayLine> delay{};  ///< null where nothing is to be made up for
    size_t sides = kStereoSides;         ///< of the target
    MixBuffer* into = nullptr;
};

struct NodeMidi {
    std::shared_ptr<MidiPart> part;
    std::shared_ptr<ChannelStrip> strip;
    std::shared_ptr<const ChannelLanes> lanes;
};

enum class NodeSource : uint8_t { Clips, Targeted, Instrument, Device };

struct MixNode {
    /// n frames, at most kChunkFrames and no further than the plan is straight. False when samples of a track
    /// should have been there and were not. [audio-thread]
    bool Run(const StreamPlace& place, size_t n, double tempo, int sampleRate, const MeterInertia& inertia);

    std::shared_ptr<ChannelStrip> strip;
    std::shared_ptr<TrackStream> stream;        ///< null for what has no clips
    std::shared_ptr<const ChannelLanes> lanes;  ///< null where nothing is automated
    NodeSource source = NodeSource::Clips;
    bool fx = false;  ///< has an input fader
    size_t sides = kStereoSides;
    uint32_t firstInput = 0, inputStep = 1;  ///< of what the device records; step 0 is mono
    std::vector<MixBuffer*> inputs;          ///< what others have left for it
    std::vector<NodeMidi> midi;
    std::vector<std::shared_ptr<MidiPart>> left;  ///< that fed the instrument before
    NodeInsert instrument;
    std::vector<NodeInsert> before, behind;  ///< the fader
    NodeRoute output;
    std::vector<NodeRoute> sends;
    size_t latency = 0;       ///< frames by which what comes in is late
    size_t faderLatency = 0;  ///< by which it is late at the fader

    struct EffectLane {
        AutomationLane* lane;
        EffectSlot* slot;
        size_t parameter;
    };
    std::vector<EffectLane> effectLanes;  ///< of `lanes`

private:
    /// A stretch of the present chunk.
    struct Block {
        StreamPlace place;
        size_t offset = 0;  ///< in the chunk
        size_t n = 0;
        double tempo = 120;
        int sampleRate = 0;

        bool Playing() const { return place.serial != 0; }
        /// Of the project, what sounds where things are so many frames late.
        int64_t FrameBehind(size_t frames) const {
            return place.plan.ProjectFrame(std::max<int64_t>(0, place.at - static_cast<int64_t>(frames)));
        }
        EffectTime TimeBehind(size_t frames) const {
            const int64_t frame = FrameBehind(frames);
            const double seconds = static_cast<double>(frame) / sampleRate;
            return {frame, Playing(), tempo, seconds * tempo / 60, place.offline};
        }
    };

    bool Fetch(const Block& block, MixBuffer& buffer);
    bool FetchClips(const Block& block, MixBuffer& buffer);
    bool RunClips(const Block& block);
    void PlayInstrument(const Block& block, MixBuffer& buffer);
    void RunInserts(std::vector<NodeInsert>& inserts, const Block& block, MixBuffer& buffer, size_t late);
    void TakeSettings();
    void AutomateEffects(const Block& block);
    void PassFader(const Block& block, const float* const* from, MixBuffer* buffer);
    void PassSilence(const Block& block);
    void Leave(NodeRoute& route, const Block& block, const float* const* from, Stage stage);
    template <class GainsAt>
    void Steer(MixWay& way, bool changed, const Block& block, const float* const* from, float* const* into,
               Levels* levels, GainsAt gainsAt);
    bool Automated() const { return lanes && !(lanes->strip.empty() && lanes->sends.empty()); }
    StripSettings SettingsAt(int64_t frame) const;

    bool m_changed = false;      ///< settings are new in this block
    int64_t m_automatedTo = -1;  ///< of the plan: where the last block ended
};

}  // namespace host
