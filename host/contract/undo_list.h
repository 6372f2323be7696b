// What was done to the channels of the document and to their effects, to be taken back and done again. Plain
// data: who keeps it tells engine and plug-ins. One thread at a time.
#pragma once

#include "host/contract/channel_changes.h"

#include <chrono>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace host {

/// A parameter of an effect, by its symbol; without one the effect as a whole.
struct EffectPart {
    ChannelId channel = kNoChannel;
    SubId effect = kNoSub;
    std::string symbol{};

    friend auto operator<=>(const EffectPart&, const EffectPart&) = default;
};
/// How it was set and how it is: a value, or a state of the whole.
struct EffectMove {
    EffectPart part;
    float valueBefore = 0, valueAfter = 0;
    std::string stateBefore{}, stateAfter{};
};

/// The channels that an edit touched, as they were and as they became; or what became of effects, and no
/// channel.
struct EditStep {
    EditKind kind = EditKind::Volume;
    std::vector<Channel> before{}, after{};              ///< one that is in `after` alone was added
    std::vector<ChannelId> orderBefore{}, orderAfter{};  ///< of all channels; empty where it stayed
    std::vector<EffectMove> moves{};
    double lengthBefore = 0, lengthAfter = 0;  ///< of the session, in seconds; alike where it stayed
};

/// The step from one list of channels to another.
EditStep StepBetween(EditKind kind, const std::vector<Channel>& before, const std::vector<Channel>& after);

class UndoList {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr size_t kMostSteps = 200;
    static constexpr size_t kMostBytes = size_t{64} << 20;  ///< one step is kept whatever it weighs

    /// What could be done again is forgotten. A drag and the switches of several strips are one step: edits
    /// of one kind that follow each other closely.
    void Record(EditStep step, Clock::time_point now);
    /// A hand takes hold of a parameter, or lets go: what it does meanwhile is one step, and no other's.
    void Hold(const EffectPart& part, bool on);
    void Clear();

    /// The step that would be taken back, or done again; null when there is none.
    const EditStep* Next(bool redo) const;
    /// The channels as they are a step back, or forth; `current` are those that there are. What is selected
    /// and how effects are set stays as it is. Empty where there is no such step; Done takes it for done.
    std::vector<Channel> Changed(bool redo, std::vector<Channel> current);
    void Done(bool redo);

    /// Of every channel that is kept.
    template <class F>
    void EachChannel(F f) {
        for (EditStep& step : m_steps)
            for (auto* channels : {&step.before, &step.after})
                for (Channel& channel : *channels) f(channel);
    }

private:
    bool GoesOn(const EditStep& step, Clock::time_point now) const;
    static void Merge(EditStep& last, EditStep step);

    std::vector<EditStep> m_steps;
    size_t m_done = 0;    ///< steps that stand; those behind can be done again
    bool m_open = false;  ///< the last one may go on
    Clock::time_point m_last{};
    std::set<EffectPart> m_held;
};

}  // namespace host
