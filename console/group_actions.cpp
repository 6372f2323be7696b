#include "console/group_actions.h"

#include "console/channel_kinds.h"
#include "console/console_plugin.h"
#include "console/strip.h"
#include "console/texts.h"
#include "platform/text.h"
#include "plugin/module_state.h"

#include <algorithm>
#include <unordered_map>

using namespace tarn;

namespace {

using EntriesById = std::unordered_map<uint64_t, ChannelEntry*>;

EntriesById IndexEntries(CConsoleControlPlugin& plugin) {
    EntriesById entries;
    for (ChannelEntry* entry : plugin.Entries())
        if (!(entry->kind & KIND_NO_STRIP)) entries.emplace(entry->id.channel, entry);
    return entries;
}

bool IsSelected(const ChannelEntry& entry) {
    const auto* strip = static_cast<const Strip*>(entry.view.get());
    return strip && strip->IsSelected();
}

HRESULT CaptureChannels(CConsoleControlPlugin& plugin, bool selectedAlone, tConsoleGroup& group) {
    std::vector<tConsoleGroupChannel> channels;
    for (const ChannelEntry* entry : plugin.Entries()) {
        if (entry->kind & KIND_NO_STRIP || (selectedAlone && !IsSelected(*entry))) continue;
        tConsoleGroupChannel channel;
        channel.id[0] = entry->id.channel;
        channel.width = entry->width;
        channel.selected = IsSelected(*entry);
        channel.hidden = plugin.IsChannelHidden(*entry);
        channel.meterRange = group.meterRange;
        channel.vuScale = group.vuScale;
        channel.peakFlags = group.peakFlags;
        channel.vuFlags = group.vuFlags;
        channel.scopeStyle = group.scopeStyle;
        channels.push_back(channel);
    }
    if (selectedAlone && channels.empty()) return E_OUTOFMEMORY;
    return group.channels.Add(channels);
}

/// The first number that no group of these names bears.
void NameGroup(const ViewGroups& groups, ConsoleTextId pattern, tConsoleGroup& group) {
    const auto isTaken = [&](const std::u16string& name) {
        return std::ranges::any_of(groups, [&](const auto& other) { return name == other->name; });
    };
    std::u16string name;
    for (size_t number = std::max<size_t>(groups.size(), 1); name.empty() || isTaken(name); number++) {
        name = ConsoleText(pattern);
        const std::string digits = std::to_string(number);
        if (const size_t at = name.find(u"%d"); at != std::u16string::npos)
            name.replace(at, 2, std::u16string(digits.begin(), digits.end()));
        else
            name.append(digits.begin(), digits.end());
    }
    CopyText(group.name, GROUP_NAME_SIZE, name.c_str());
}

void ApplyChannels(CConsoleControlPlugin& plugin, const tConsoleGroup& group, uint32_t wanted) {
    EntriesById entries = IndexEntries(plugin);
    for (const tConsoleGroupChannel& channel : group.channels.All()) {
        const auto found = entries.find(channel.id[0]);
        if (found == entries.end()) continue;
        ChannelEntry& entry = *found->second;
        if (wanted & GROUP_STORES_WIDTHS) entry.width = channel.width;
        if (wanted & GROUP_STORES_KINDS) ShowChannel(plugin, entry, !channel.hidden);
    }
}

}  // namespace

void ApplySelection(CConsoleControlPlugin& plugin, const tConsoleGroup& group) {
    EntriesById entries = IndexEntries(plugin);
    const auto select = [](ChannelEntry& entry, bool on) {
        Strip* strip = Strip::Of(entry);
        if (strip && strip->IsSelected() != on) strip->SetSelected(on);
    };
    for (const tConsoleGroupChannel& channel : group.channels.All()) {
        const auto found = entries.find(channel.id[0]);
        if (found == entries.end()) continue;
        select(*found->second, channel.selected != 0);
        entries.erase(found);
    }
    for (const auto& [id, entry] : entries) select(*entry, false);
}

HRESULT CreateGroup(CConsoleControlPlugin& plugin, uint32_t flags, std::unique_ptr<tConsoleGroup>* out) {
    if (!plugin.HasView()) return S_FALSE;
    std::unique_ptr<tConsoleGroup> group(new (std::nothrow) tConsoleGroup);
    if (!group) return E_OUTOFMEMORY;
    constexpr uint32_t VIEW = 2;
    if (flags & VIEW) {
        CaptureView(*group, plugin.View());
        CapturePane(*group, plugin.Pane());
        group->flags = ((flags >> 19 & 8) | (flags & 0x7FF0) | 0x10000) >> 3;
        group->kinds = ShownKinds(plugin);
        NameGroup(plugin.Groups(), IDS_VIEW_GROUP, *group);
    } else {
        group->flags = GROUP_MIX;
        NameGroup(plugin.Groups(), IDS_MIX_GROUP, *group);
    }
    const HRESULT hr = CaptureChannels(plugin, !(flags & VIEW), *group);
    if (Succeeded(hr)) *out = std::move(group);
    return hr;
}

void ApplyGroup(CConsoleControlPlugin& plugin, const tConsoleGroup& group, uint32_t mask) {
    if (group.flags & GROUP_MIX) {
        ApplySelection(plugin, group);
        return;
    }
    uint32_t wanted = mask >> 3 & group.flags;
    if (wanted & GROUP_STORES_KINDS && !ThisModule().useHostHideState)
        for (const ChannelKind& kind : ChannelKinds()) ShowKind(plugin, kind, group.kinds & kind.groupBit);
    ApplyPane(group, plugin.Pane(), wanted);
    StripView& view = plugin.View();
    if (mask & APPLY_RESET_WIDTHS) {
        tConsoleMetrics& m = MeasuredConsoleMetrics();
        m.cxChannelCurrent = m.cxChannelDefault;
        m.cxSurroundCurrent = m.cxSurroundDefault;
        for (ChannelEntry* entry : plugin.Entries()) entry->width = 0;
        wanted &= ~GROUP_STORES_WIDTHS;
    }
    if (mask & APPLY_RESET_SIZES) {
        view.sizes = DefaultSizes(MeasuredConsoleMetrics());
        wanted &= ~GROUP_STORES_SIZES;
    }
    if (mask & APPLY_RESET_METERS) {
        const tConsoleGroup defaults;
        view.meterRange = defaults.meterRange;
        view.vuScale = defaults.vuScale;
        view.scopeStyle = defaults.scopeStyle;
        wanted &= ~GROUP_STORES_METERS;
    }
    ApplyView(group, view, wanted);
    // A channel that the group does not know takes the group's width of its kind.
    if (wanted & GROUP_STORES_WIDTHS)
        for (ChannelEntry* entry : plugin.Entries()) entry->width = 0;
    ApplyChannels(plugin, group, wanted);
}

void ApplyToNewEntries(CConsoleControlPlugin& plugin, const tConsoleGroup& group) {
    const uint32_t hidden = ThisModule().useHostHideState ? 0 : GROUP_STORES_KINDS;
    ApplyChannels(plugin, group, group.flags & (GROUP_STORES_WIDTHS | hidden));
}
