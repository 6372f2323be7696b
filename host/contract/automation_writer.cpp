#include "host/contract/automation_writer.h"

#include <utility>

namespace host {

bool AutomationWriter::Writes(AutomationMode mode) { return mode == AutomationMode::Touch || Latches(mode); }

bool AutomationWriter::Latches(AutomationMode mode) {
    return mode == AutomationMode::Latch || mode == AutomationMode::Write;
}

void AutomationWriter::Complete(const Id& id, Entry& entry) {
    if (!entry.points.empty())
        m_complete.push_back({id.first, id.second, std::exchange(entry.points, {}), entry.before});
}

// A loop leads back: what was written before the seam is one stretch, what comes another.
void AutomationWriter::Add(const Id& id, Entry& entry, double seconds, double value) {
    if (!entry.points.empty() && seconds < entry.points.back().seconds) Complete(id, entry);
    if (!entry.points.empty() && seconds == entry.points.back().seconds)
        entry.points.back().value = value;
    else
        entry.points.push_back({seconds, value});
}

void AutomationWriter::Touch(ChannelId channel, const AutomationKey& key, AutomationMode mode, bool on,
                             std::optional<double> before) {
    {
        const std::lock_guard lock(m_lock);
        const Id id{channel, key};
        const auto at = m_entries.find(id);
        if (on) {
            if (mode == AutomationMode::Off) return;
            Entry& entry = at == m_entries.end() ? m_entries[id] : at->second;
            entry.mode = mode;
            if (!entry.before) entry.before = before;
            if (std::exchange(entry.touched, true)) return;
        } else {
            if (at == m_entries.end()) return;
            Entry& entry = at->second;
            entry.touched = false;
            if (Latches(entry.mode) && !entry.points.empty()) return;
            // Where it stands until now belongs to the stretch.
            if (!entry.points.empty() && m_seconds > entry.points.back().seconds)
                Add(id, entry, m_seconds, entry.points.back().value);
            Complete(id, entry);
            m_entries.erase(at);
        }
    }
    m_hold(channel, key, on);
}

void AutomationWriter::Move(ChannelId channel, const AutomationKey& key, AutomationMode mode, double value,
                            double seconds, bool playing) {
    if (!playing || !Writes(mode)) return;
    bool begins = false;
    {
        const std::lock_guard lock(m_lock);
        m_seconds = seconds;
        const Id id{channel, key};
        const auto at = m_entries.find(id);
        if (at == m_entries.end() && !Latches(mode)) {
            // A click, not a hand that stays: the switch stands so from here on.
            if (TraitsOf(key.target).steps)
                m_complete.push_back({channel, key, {{seconds, value}}, value >= 0.5 ? 0 : 1});
            return;
        }
        begins = at == m_entries.end();
        Entry& entry = begins ? m_entries[id] : at->second;
        entry.mode = mode;
        Add(id, entry, seconds, value);
    }
    if (begins) m_hold(channel, key, true);
}

bool AutomationWriter::IsHeld(ChannelId channel, const AutomationKey& key) const {
    const std::lock_guard lock(m_lock);
    return m_entries.contains({channel, key});
}

bool AutomationWriter::IsIdle() const {
    const std::lock_guard lock(m_lock);
    return m_entries.empty() && m_complete.empty();
}

void AutomationWriter::Tick(double seconds, bool playing) {
    std::vector<Id> released;
    {
        const std::lock_guard lock(m_lock);
        m_seconds = seconds;
        for (auto at = m_entries.begin(); at != m_entries.end();) {
            Entry& entry = at->second;
            if (playing) {
                if (!entry.points.empty()) Add(at->first, entry, seconds, entry.points.back().value);
                ++at;
                continue;
            }
            Complete(at->first, entry);
            if (entry.touched) {
                ++at;
                continue;
            }
            released.push_back(at->first);
            at = m_entries.erase(at);
        }
    }
    for (const Id& id : released) m_hold(id.first, id.second, false);
}

std::vector<AutomationWriter::Stretch> AutomationWriter::TakeComplete() {
    const std::lock_guard lock(m_lock);
    return std::exchange(m_complete, {});
}

void AutomationWriter::Forget() {
    const std::lock_guard lock(m_lock);
    m_entries.clear();
    m_complete.clear();
}

}  // namespace host
