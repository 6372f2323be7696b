// What hands do to controls while the project plays, gathered to stretches that are written into curves.
//
// A touched control counts by its setting and not by its curve. What becomes of it is the mode's: in touch it
// is written until it is let go of, in latch and write until playing stops, in read and off never. In write
// the curves of a channel are written over from the moment playing starts. [any-thread]
#pragma once

#include "host/session/automation.h"

#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace host {

class AutomationWriter {
public:
    struct Stretch {
        ChannelId channel;
        AutomationKey key;
        std::vector<AutomationPoint> points;
        std::optional<double> before{};  ///< what the setting was
    };
    /// Tells whether a setting counts in place of its curve, from now on.
    using Hold = std::function<void(ChannelId, const AutomationKey&, bool on)>;

    explicit AutomationWriter(Hold hold) : m_hold(std::move(hold)) {}

    /// A hand takes hold of a control that stands at `before`, or lets go of it.
    void Touch(ChannelId channel, const AutomationKey& key, AutomationMode mode, bool on,
               std::optional<double> before = {});
    /// The control was set to this value then.
    void Move(ChannelId channel, const AutomationKey& key, AutomationMode mode, double value, double seconds,
              bool playing);
    /// Whether the setting counts, and not the curve.
    bool IsHeld(ChannelId channel, const AutomationKey& key) const;
    bool IsIdle() const;
    /// Time goes on: what is held stays where it is.
    void Tick(double seconds, bool playing);
    /// What is complete since the last call.
    std::vector<Stretch> TakeComplete();
    /// Lets go of everything; nothing of it is written.
    void Forget();

private:
    struct Entry {
        AutomationMode mode;
        bool touched = false;
        std::optional<double> before{};
        std::vector<AutomationPoint> points{};
    };
    using Id = std::pair<ChannelId, AutomationKey>;

    static bool Writes(AutomationMode mode);
    static bool Latches(AutomationMode mode);
    void Add(const Id& id, Entry& entry, double seconds, double value);
    void Complete(const Id& id, Entry& entry);

    const Hold m_hold;
    mutable std::mutex m_lock;
    std::map<Id, Entry> m_entries;
    std::vector<Stretch> m_complete;
    double m_seconds = 0;
};

}  // namespace host
