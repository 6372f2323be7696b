#include "host/contract/undo_list.h"

#include <algorithm>
#include <map>
#include <numeric>

namespace host {
namespace {

using namespace std::chrono_literals;

/// One act of a user reaches several channels within this time.
constexpr auto ONE_ACT = 50ms;
/// A hand that moves a value rests no longer than this.
constexpr auto ONE_MOVE = 1s;

const Channel* Find(const std::vector<Channel>& channels, ChannelId id) {
    const auto at = std::ranges::find(channels, id, &Channel::id);
    return at == channels.end() ? nullptr : &*at;
}

size_t BytesOf(const Channel& channel) {
    size_t bytes = sizeof channel + channel.sends.size() * sizeof(Send);
    for (const Clip& clip : channel.clips) bytes += sizeof clip + clip.file.size();
    for (const Insert& insert : channel.inserts) bytes += sizeof insert + insert.state.size();
    if (channel.instrument) bytes += channel.instrument->state.size();
    for (const AutomationCurve& curve : channel.automation)
        bytes += sizeof curve + curve.points.size() * sizeof(AutomationPoint);
    return bytes;
}

size_t BytesOf(const EditStep& step) {
    const auto sum = [](const std::vector<Channel>& channels) {
        return std::transform_reduce(channels.begin(), channels.end(), size_t{0}, std::plus{},
                                     [](const Channel& c) { return BytesOf(c); });
    };
    size_t bytes = sum(step.before) + sum(step.after);
    for (const EffectMove& move : step.moves)
        bytes += sizeof move + move.stateBefore.size() + move.stateAfter.size();
    return bytes;
}

std::vector<ChannelId> OrderOf(const std::vector<Channel>& channels) {
    std::vector<ChannelId> order;
    order.reserve(channels.size());
    for (const Channel& channel : channels) order.push_back(channel.id);
    return order;
}

auto FindMove(auto& step, const EffectPart& part) {
    const auto at = std::ranges::find(step.moves, part, &EffectMove::part);
    return at == step.moves.end() ? nullptr : &*at;
}

bool IsMove(EditKind kind) {
    return kind == EditKind::Volume || kind == EditKind::Pan || kind == EditKind::Send;
}

/// What an undo does not touch: what is selected, and how effects are set that are there before and after.
void KeepAsIs(Channel& channel, const Channel& current) {
    channel.selected = current.selected;
    const auto keep = [&](Insert& insert) {
        if (const Insert* now = FindInsert(current, insert.id); now && now->uri == insert.uri)
            insert.state = now->state;
    };
    for (Insert& insert : channel.inserts) keep(insert);
    if (channel.instrument) keep(*channel.instrument);
}

}  // namespace

EditStep StepBetween(EditKind kind, const std::vector<Channel>& before, const std::vector<Channel>& after) {
    EditStep step{.kind = kind};
    std::map<ChannelId, const Channel*> old;
    for (const Channel& channel : before) old[channel.id] = &channel;
    for (const Channel& channel : after) {
        const auto known = old.find(channel.id);
        if (known == old.end() || *known->second != channel) {
            step.after.push_back(channel);
            if (known != old.end()) step.before.push_back(*known->second);
        }
        if (known != old.end()) old.erase(known);
    }
    for (const auto& [id, gone] : old) step.before.push_back(*gone);
    if (std::vector<ChannelId> was = OrderOf(before), is = OrderOf(after); was != is) {
        step.orderBefore = std::move(was);
        step.orderAfter = std::move(is);
    }
    return step;
}

bool UndoList::GoesOn(const EditStep& step, Clock::time_point now) const {
    if (!m_open || m_done == 0 || m_steps[m_done - 1].kind != step.kind) return false;
    const EditStep& last = m_steps[m_done - 1];
    if (!last.orderAfter.empty() || !step.orderAfter.empty()) return false;
    if (!step.moves.empty()) {
        const EffectPart& part = step.moves[0].part;
        if (step.kind != EditKind::Parameter) return false;
        if (!FindMove(last, part)) return now - m_last < ONE_ACT;
        return m_held.contains(part) || now - m_last < ONE_MOVE;
    }
    const auto touched = [&](const Channel& c) { return Find(last.after, c.id) != nullptr; };
    if (IsMove(step.kind) && std::ranges::all_of(step.after, touched)) return now - m_last < ONE_MOVE;
    return now - m_last < ONE_ACT && std::ranges::none_of(step.after, touched);
}

void UndoList::Merge(EditStep& last, EditStep step) {
    for (size_t i = 0; i < step.after.size(); i++) {
        const auto at = std::ranges::find(last.after, step.after[i].id, &Channel::id);
        if (at != last.after.end()) {
            *at = std::move(step.after[i]);
            continue;
        }
        last.before.push_back(std::move(step.before[i]));
        last.after.push_back(std::move(step.after[i]));
    }
    for (EffectMove& move : step.moves)
        if (EffectMove* known = FindMove(last, move.part))
            known->valueAfter = move.valueAfter;
        else
            last.moves.push_back(std::move(move));
}

void UndoList::Hold(const EffectPart& part, bool on) {
    if (on ? !m_held.insert(part).second : m_held.erase(part) == 0) return;
    // Hands that hold several are at one act.
    if (m_held.size() == (on ? 1 : 0)) m_open = false;
}

void UndoList::Record(EditStep step, Clock::time_point now) {
    if (step.before.empty() && step.after.empty() && step.orderAfter.empty() && step.moves.empty()) return;
    const bool goesOn = GoesOn(step, now);
    m_steps.resize(m_done);
    m_last = now;
    m_open = true;
    if (goesOn)
        Merge(m_steps.back(), std::move(step));
    else
        m_steps.push_back(std::move(step));
    size_t bytes = 0, kept = 0;
    for (size_t i = m_steps.size(); i > 0 && kept < kMostSteps; i--, kept++)
        if ((bytes += BytesOf(m_steps[i - 1])) > kMostBytes && kept > 0) break;
    m_steps.erase(m_steps.begin(), m_steps.end() - static_cast<std::ptrdiff_t>(kept));
    m_done = m_steps.size();
}

void UndoList::Clear() {
    m_steps.clear();
    m_done = 0;
    m_held.clear();
}

const EditStep* UndoList::Next(bool redo) const {
    if (redo ? m_done == m_steps.size() : m_done == 0) return nullptr;
    return &m_steps[redo ? m_done : m_done - 1];
}

std::vector<Channel> UndoList::Changed(bool redo, std::vector<Channel> current) {
    if (!Next(redo)) return {};
    EditStep& step = m_steps[redo ? m_done : m_done - 1];
    std::vector<Channel>&from = redo ? step.before : step.after, &to = redo ? step.after : step.before;
    // The way back leads to what there is now.
    for (Channel& channel : from)
        if (const Channel* now = Find(current, channel.id)) channel = *now;
    std::erase_if(current, [&](const Channel& c) { return Find(from, c.id) && !Find(to, c.id); });
    for (const Channel& channel : to) {
        const auto at = std::ranges::find(current, channel.id, &Channel::id);
        if (at == current.end()) {
            current.push_back(channel);
            continue;
        }
        Channel next = channel;
        KeepAsIs(next, *at);
        *at = std::move(next);
    }
    std::map<ChannelId, size_t> places;
    for (const ChannelId id : redo ? step.orderAfter : step.orderBefore) places.emplace(id, places.size());
    if (!places.empty())
        std::ranges::stable_sort(current, {}, [&](const Channel& c) { return places[c.id]; });
    return current;
}

void UndoList::Done(bool redo) {
    m_done += redo ? 1 : -1;
    m_open = false;
}

}  // namespace host
