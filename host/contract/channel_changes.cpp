#include "host/contract/channel_changes.h"

#include <algorithm>

namespace host {
namespace {

struct Group {
    uint32_t mask;
    EditKind kind;
    bool (*same)(const Channel&, const Channel&);
};

template <auto... Members>
bool Same(const Channel& a, const Channel& b) {
    return ((a.*Members == b.*Members) && ...);
}

using C = Channel;
/// Groups that a change of levels can touch; the mixer takes these over as they are.
constexpr Group LEVELS[] = {
    {MASK_NAME, EditKind::RenameChannel, Same<&C::name>},
    {MASK_IDENTITY, EditKind::Colour, Same<&C::colour>},
    {MASK_SWITCHES, EditKind::Switches,
     Same<&C::mute, &C::solo, &C::phase, &C::selected, &C::hidden, &C::solo_safe, &C::chain_bypass>},
    {MASK_VOLUME, EditKind::Volume, Same<&C::fader_db, &C::fader_right_db, &C::faders>},
    {MASK_PAN, EditKind::Pan, Same<&C::pan, &C::pan_model, &C::width>},
    {MASK_PAN | MASK_VOLUME, EditKind::Pan, Same<&C::place>},
    {MASK_VOLUME | MASK_AUX | MASK_INSERT | MASK_INPUT_SIDE, EditKind::Volume, Same<&C::input_db>},
    {MASK_PAN | MASK_INPUT_SIDE, EditKind::Pan, Same<&C::input_pan>},
};
/// Those that make another mixer.
constexpr Group STRUCTURE[] = {
    {MASK_OUTPUT_ROUTE, EditKind::Route, Same<&C::output, &C::midi_channel>},
    {MASK_INPUT_ROUTE, EditKind::Route, Same<&C::input>},
    {MASK_SWITCHES, EditKind::Switches, Same<&C::arm, &C::monitor>},
    {MASK_AUTOMATION, EditKind::AutomationMode, Same<&C::automation_mode>},
    {0, EditKind::Automation, Same<&C::clips, &C::automation>},
};

struct Part {
    SubId id;
    const Insert* insert;
    const Send* send;
    size_t place;  ///< in the chain

    static std::vector<Part> Of(const Channel& c) {
        std::vector<Part> parts;
        for (size_t i = 0; i < c.inserts.size(); i++)
            parts.push_back({c.inserts[i].id, &c.inserts[i], nullptr, i});
        if (c.instrument) parts.push_back({c.instrument->id, &*c.instrument, nullptr, SIZE_MAX});
        for (const Send& send : c.sends) parts.push_back({send.id, nullptr, &send, 0});
        return parts;
    }
};

bool IsSameObject(const Part& a, const Part& b) {
    if (a.id != b.id || !a.insert != !b.insert) return false;
    return !a.insert || a.insert->uri == b.insert->uri;
}

/// The groups in which one send or effect differs.
uint32_t PartGroups(const Part& a, const Part& b, bool& levelsOnly) {
    if (a.send) {
        Send levels = *a.send;
        levels.level_db = b.send->level_db;
        levels.pan = b.send->pan;
        levels.mute = b.send->mute;
        levels.link_pan = b.send->link_pan;
        levels.pan_model = b.send->pan_model;
        levelsOnly &= levels == *b.send;
        const bool pan = a.send->pan != b.send->pan || a.send->pan_model != b.send->pan_model;
        return *a.send == *b.send ? 0 : MASK_SEND | (pan ? MASK_PAN : 0);
    }
    Insert levels = *a.insert;
    levels.bypass = b.insert->bypass;
    levelsOnly &= levels == *b.insert && a.place == b.place;
    const bool state = a.insert->bypass != b.insert->bypass || a.insert->post_fader != b.insert->post_fader ||
                       a.insert->state != b.insert->state;
    return (state ? MASK_EFFECT_STATE : 0) | (a.place != b.place ? MASK_EFFECT_POSITION : 0);
}

/// What comes or goes gives the edit its name, though others change their places by it.
void NamePart(const Channel& before, const Channel& after, ChannelChanges& changes) {
    const auto first = [&](auto wanted) {
        const auto at = std::ranges::find_if(changes.subs, wanted);
        return at == changes.subs.end() ? nullptr : &*at;
    };
    if (const auto* added = first([](const SubChange& s) { return s.flags == CHANGE_ADDED; }))
        changes.kind = FindSend(after, added->id) ? EditKind::AddSend : EditKind::AddEffect;
    else if (const auto* gone = first([](const SubChange& s) { return s.flags == CHANGE_REMOVED; }))
        changes.kind = FindSend(before, gone->id) ? EditKind::RemoveSend : EditKind::RemoveEffect;
    else if (first([](const SubChange& s) { return s.groups & MASK_EFFECT_POSITION; }))
        changes.kind = EditKind::MoveEffect;
    else if (!changes.subs.empty())
        changes.kind = FindSend(after, changes.subs[0].id) ? EditKind::Send : EditKind::Effect;
}

void AddParts(const Channel& before, const Channel& after, ChannelChanges& changes) {
    const std::vector<Part> old = Part::Of(before), now = Part::Of(after);
    const auto find = [](const std::vector<Part>& parts, const Part& wanted) {
        const auto at = std::ranges::find_if(parts, [&](const Part& p) { return IsSameObject(p, wanted); });
        return at == parts.end() ? nullptr : &*at;
    };
    for (const Part& part : old) {
        if (find(now, part)) continue;
        changes.subs.push_back({part.id, CHANGE_REMOVED, 0});
        changes.levelsOnly = false;
    }
    for (const Part& part : now) {
        const Part* known = find(old, part);
        const uint32_t groups = known ? PartGroups(*known, part, changes.levelsOnly) : 0;
        if (!known) {
            changes.subs.push_back({part.id, CHANGE_ADDED, 0});
            changes.levelsOnly = false;
        } else if (groups) {
            changes.subs.push_back({part.id, CHANGE_ATTRIBUTES, groups});
        }
        // What shows a channel alone is told as well: its sends' levels, its chain.
        if (!known || groups) changes.groups |= part.send ? MASK_SEND : MASK_CHAIN;
    }
    for (const SubChange& sub : changes.subs)
        if (sub.flags == CHANGE_REMOVED)
            changes.groups |= std::ranges::find(before.sends, sub.id, &Send::id) == before.sends.end()
                                  ? MASK_CHAIN
                                  : MASK_SEND;
    NamePart(before, after, changes);
}

}  // namespace

ChannelChanges ChangesBetween(const Channel& before, const Channel& after) {
    ChannelChanges changes;
    for (const Group& group : LEVELS)
        if (!group.same(before, after)) {
            changes.groups |= group.mask;
            changes.kind = group.kind;
            changes.anything = true;
        }
    for (const Group& group : STRUCTURE)
        if (!group.same(before, after)) {
            changes.groups |= group.mask;
            changes.kind = group.kind;
            changes.levelsOnly = false;
            changes.anything = true;
        }
    AddParts(before, after, changes);
    changes.anything |= !changes.subs.empty();
    changes.matters = changes.heard = changes.anything;
    if (changes.groups == MASK_SWITCHES && changes.levelsOnly && changes.subs.empty()) {
        Channel aside = after;
        aside.selected = before.selected;
        changes.matters = aside != before;
        aside.hidden = before.hidden;
        changes.heard = aside != before;
    }
    return changes;
}

}  // namespace host
