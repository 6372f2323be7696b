#include "console/view_groups.h"

#include "console/metrics.h"
#include "platform/text.h"

#include <algorithm>
#include <charconv>
#include <new>

using namespace tarn;

namespace {
constexpr uint32_t KEY_COUNT = 1000, KEY_FIRST = 2000, KEYS_A_GROUP = 100, NO_GROUPS = 0xFFFFFFFE;

struct Word {
    uint32_t offset;
    uint32_t tConsoleGroup::*field;
};
constexpr Word WORDS[] = {
    {1, &tConsoleGroup::flags},      {2, &tConsoleGroup::regions},    {3, &tConsoleGroup::kinds},
    {4, &tConsoleGroup::meterRange}, {5, &tConsoleGroup::vuScale},    {6, &tConsoleGroup::peakFlags},
    {7, &tConsoleGroup::vuFlags},    {8, &tConsoleGroup::scopeStyle},
};
constexpr uint32_t NAME = 9, GROUP_WIDTHS = 10, SIZES = 18, PANES = 24, CHANNELS = 30;
// Places in the widths.
constexpr size_t DEFAULT = 0, NARROW = 1, WIDE = 2, CURRENT = 3, SURROUND = 4;

uint32_t KeyOf(size_t group, uint32_t offset) {
    return KEY_FIRST + KEYS_A_GROUP * static_cast<uint32_t>(group) + offset;
}

// A group's channels are one text: "number:width:switches" each, parted by blanks. Without it a mix group
// would be empty when its project is opened again.
constexpr uint32_t TEXT_SELECTED = 1, TEXT_HIDDEN = 2;

std::u16string WriteChannels(const tConsoleGroup& group) {
    std::string text;
    for (const tConsoleGroupChannel& channel : group.channels.All()) {
        const uint32_t switches = (channel.selected ? TEXT_SELECTED : 0) | (channel.hidden ? TEXT_HIDDEN : 0);
        if (!text.empty()) text += ' ';
        text += std::to_string(channel.id[0]) + ':' + std::to_string(channel.width) + ':' +
                std::to_string(switches);
    }
    return {text.begin(), text.end()};
}

/// As many as are written as they should be; the rest is left out.
std::vector<tConsoleGroupChannel> ReadChannels(const std::u16string& wide, const tConsoleGroup& group) {
    std::vector<tConsoleGroupChannel> channels;
    const std::string text(wide.begin(), wide.end());
    const char* at = text.data();
    const char* const end = at + text.size();
    const auto read = [&](auto& value, char after) {
        const auto [next, error] = std::from_chars(at, end, value);
        const bool good = error == std::errc() && (next == end ? after == ' ' : *next == after);
        at = good && next != end ? next + 1 : next;
        return good;
    };
    while (at != end) {
        tConsoleGroupChannel channel;
        uint32_t switches = 0;
        if (!read(channel.id[0], ':') || !read(channel.width, ':') || !read(switches, ' ')) break;
        channel.width = std::max(channel.width, 0);
        channel.selected = (switches & TEXT_SELECTED) != 0;
        channel.hidden = (switches & TEXT_HIDDEN) != 0;
        channel.meterRange = group.meterRange;
        channel.vuScale = group.vuScale;
        channel.peakFlags = group.peakFlags;
        channel.vuFlags = group.vuFlags;
        channel.scopeStyle = group.scopeStyle;
        channels.push_back(channel);
    }
    return channels;
}

void LoadGroup(tConsoleGroup& group, size_t n, const GroupStore& store) {
    const tConsoleMetrics& m = MeasuredConsoleMetrics();
    const auto get = [&](uint32_t offset, LONG value) {
        return static_cast<int32_t>(store.get(KeyOf(n, offset), static_cast<uint32_t>(value)));
    };
    const tConsoleGroup defaults;
    for (const Word& word : WORDS) group.*word.field = store.get(KeyOf(n, word.offset), defaults.*word.field);
    group.regions |= GROUP_REGION_VERTICAL;
    CopyText(group.name, GROUP_NAME_SIZE, store.getText(KeyOf(n, NAME)).c_str());

    const LONG widths[] = {m.cxChannelDefault,  m.cxChannelNarrow,  m.cxChannelWide,  m.cxChannelCurrent,
                           m.cxSurroundDefault, m.cxSurroundNarrow, m.cxSurroundWide, m.cxSurroundCurrent};
    std::copy(std::begin(widths), std::end(widths), group.widths);
    for (const size_t kind : {size_t{0}, SURROUND}) {
        int32_t* w = group.widths + kind;
        const uint32_t offset = GROUP_WIDTHS + static_cast<uint32_t>(kind + CURRENT);
        w[CURRENT] = std::clamp(get(offset, w[DEFAULT]), w[NARROW], std::max(w[NARROW], w[WIDE]));
    }

    const LONG g = m.nGap, r = m.nRowHeight, s = m.nSmallRowHeight;
    const LONG sizes[] = {5 * r + 2 * g,   3 * r + 4 * g,      (r + 2 * g) * 2,
                          4 * (r + g) + s, m.cxChannelDefault, 5 * r + 2 * g};
    for (size_t i = 0; i < std::size(sizes); i++)
        group.sizes[i] = get(SIZES + static_cast<uint32_t>(i), sizes[i]);
    // Two keys, three pairs of sizes, each with defaults of its own: kept so.
    group.paneWidth = group.groupSizes[0] = get(PANES, (g + 4 * r) * 2);
    group.listHeight = group.groupSizes[1] = get(PANES + 1, (g + 2 * r) * 2);
    group.buttonSizes[0] = get(PANES, 0);
    group.buttonSizes[1] = get(PANES + 1, 0);
    group.channels.Add(ReadChannels(store.getText(KeyOf(n, CHANNELS)), group));
}

void SaveGroup(const tConsoleGroup& group, size_t n, const GroupStore& store) {
    for (const Word& word : WORDS) store.set(KeyOf(n, word.offset), group.*word.field);
    store.setText(KeyOf(n, NAME), group.name);
    const auto set = [&](uint32_t offset, std::span<const int32_t> values) {
        for (const int32_t value : values) store.set(KeyOf(n, offset++), static_cast<uint32_t>(value));
    };
    set(GROUP_WIDTHS, group.widths);
    set(SIZES, group.sizes);
    const int32_t panes[] = {group.paneWidth,     group.listHeight,     group.groupSizes[0],
                             group.groupSizes[1], group.buttonSizes[0], group.buttonSizes[1]};
    set(PANES, panes);
    // The first record is the console itself: what its channels are is the host's to know.
    if (n > 0) store.setText(KeyOf(n, CHANNELS), WriteChannels(group));
}

void ClearGroup(size_t n, const GroupStore& store) {
    for (const Word& word : WORDS) store.set(KeyOf(n, word.offset), 0);
    store.setText(KeyOf(n, NAME), {});
    store.setText(KeyOf(n, CHANNELS), {});
    for (uint32_t offset = GROUP_WIDTHS; offset < PANES + 6; offset++) store.set(KeyOf(n, offset), 0);
}
}  // namespace

GroupChannels::GroupChannels(const GroupChannels& other) : GroupChannels() {
    if (Failed(Add(other.All()))) throw std::bad_alloc();
}

HRESULT GroupChannels::Add(std::span<const tConsoleGroupChannel> more) {
    if (more.empty()) return S_OK;
    constexpr int32_t GROW = 8;
    constexpr uint32_t LIST_OPTIONS = 0x40000004;
    HRESULT hr = S_OK;
    if (!m_list)
        hr = QmList_CreateExZ(&m_list, sizeof(tConsoleGroupChannel), -1, GROW, LIST_OPTIONS, 0, 0, 0);
    return Failed(hr) ? hr : QmList_InsertList(m_list, -1, more.data(), static_cast<int32_t>(more.size()));
}

HRESULT LoadGroups(ViewGroups& groups, const GroupStore& store) {
    const uint32_t count = std::min(store.get(KEY_COUNT, 0), MOST_GROUPS);
    if (store.get(KEY_FIRST, NO_GROUPS) == NO_GROUPS) return S_OK;
    for (uint32_t n = 0; n < count; n++) {
        const bool isThere = n < groups.size();
        if (isThere && n > 0 && !(groups[n]->flags & GROUP_VIEW)) continue;
        try {
            if (!isThere) groups.push_back(std::make_unique<tConsoleGroup>());
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        LoadGroup(*groups[n], n, store);
    }
    return S_OK;
}

void SaveGroups(const ViewGroups& groups, const GroupStore& store) {
    const uint32_t old = std::min(store.get(KEY_COUNT, 0), MOST_GROUPS);
    store.set(KEY_COUNT, static_cast<uint32_t>(groups.size()));
    store.set(KEY_FIRST, groups.empty() ? NO_GROUPS : groups[0]->flags);
    for (size_t n = 0; n < groups.size(); n++) SaveGroup(*groups[n], n, store);
    for (size_t n = groups.size(); n < old; n++) ClearGroup(n, store);
}

namespace {
struct RegionBit {
    uint32_t bit;
    int32_t StripShow::*flag;
};
constexpr RegionBit REGION_BITS[] = {
    {0x8, &StripShow::bShowInserts},  {0x10, &StripShow::bShowSends},
    {0x20, &StripShow::bShowScopes},  {0x40, &StripShow::bShowVU},
    {0x80, &StripShow::bShowPeaks},   {0x100, &StripShow::bShowRecord},
    {0x200, &StripShow::bShowFaders}, {0x400, &StripShow::bShowSwitches},
    {0x800, &StripShow::bShowPan},    {0x1000, &StripShow::bShowAutomation},
    {0x2000, &StripShow::bShowIO},    {0x4000, &StripShow::bShowLabels},
};
constexpr LONG StripSizes::*SIZE_ORDER[] = {&StripSizes::peaks,  &StripSizes::sends,  &StripSizes::inserts,
                                            &StripSizes::faders, &StripSizes::scopes, &StripSizes::vu};
}  // namespace

void CaptureView(tConsoleGroup& group, const StripView& view) {
    group.flags = GROUP_WHOLE_STATE;
    group.regions = GROUP_REGION_VERTICAL;
    for (const RegionBit& row : REGION_BITS)
        if (view.show.*row.flag) group.regions |= row.bit;
    group.meterRange = view.meterRange;
    group.vuScale = view.vuScale;
    group.peakFlags = view.peakFlags;
    group.scopeStyle = view.scopeStyle;
    const tConsoleMetrics& m = MeasuredConsoleMetrics();
    const LONG widths[] = {m.cxChannelDefault,  m.cxChannelNarrow,  m.cxChannelWide,  m.cxChannelCurrent,
                           m.cxSurroundDefault, m.cxSurroundNarrow, m.cxSurroundWide, m.cxSurroundCurrent};
    std::copy(std::begin(widths), std::end(widths), group.widths);
    const StripSizes sizes = UsableSizes(view.sizes, m);
    for (size_t i = 0; i < std::size(SIZE_ORDER); i++) group.sizes[i] = sizes.*SIZE_ORDER[i];
}

void ApplyView(const tConsoleGroup& group, StripView& view, uint32_t wanted) {
    wanted &= group.flags;
    tConsoleMetrics& m = MeasuredConsoleMetrics();
    // A record of which the host kept no regions would show strips without anything in them.
    const bool any =
        std::ranges::any_of(REGION_BITS, [&](const RegionBit& row) { return group.regions & row.bit; });
    if (any && wanted & GROUP_STORES_REGIONS) {
        for (const RegionBit& row : REGION_BITS) view.show.*row.flag = (group.regions & row.bit) != 0;
        view.show.bVerticalLayout = 1;
    }
    if (wanted & GROUP_STORES_WIDTHS) {
        m.cxChannelCurrent = group.widths[CURRENT];
        m.cxSurroundCurrent = group.widths[SURROUND + CURRENT];
    }
    if (wanted & GROUP_STORES_SIZES) {
        for (size_t i = 0; i < std::size(SIZE_ORDER); i++) view.sizes.*SIZE_ORDER[i] = group.sizes[i];
        view.sizes = UsableSizes(view.sizes, m);
    }
    if (wanted & GROUP_STORES_METERS) {
        view.meterRange = group.meterRange;
        view.vuScale = group.vuScale;
        view.peakFlags = group.peakFlags;
        view.scopeStyle = group.scopeStyle;
    }
}

namespace {
constexpr uint32_t REGION_LIST = 0x1, REGION_BUTTONS = 0x2, REGION_GROUPS = 0x4;
}

void CapturePane(tConsoleGroup& group, const PaneView& pane) {
    group.regions &= ~(REGION_LIST | REGION_BUTTONS | REGION_GROUPS);
    if (pane.show.list) group.regions |= REGION_LIST;
    if (pane.show.buttons) group.regions |= REGION_BUTTONS;
    if (pane.show.groups) group.regions |= REGION_GROUPS;
    group.paneWidth = pane.sizes.width;
    group.listHeight = pane.sizes.list;
    group.groupSizes[0] = group.buttonSizes[0] = pane.sizes.width;
    group.groupSizes[1] = pane.sizes.groups;
    group.buttonSizes[1] = pane.sizes.buttons;
}

void ApplyPane(const tConsoleGroup& group, PaneView& pane, uint32_t wanted) {
    wanted &= group.flags;
    const auto show = [&](uint32_t stored, PaneSection section, bool PaneShow::*flag, uint32_t bit) {
        const bool on = group.regions & bit;
        if (wanted & stored && pane.show.*flag != on) ShowSection(pane.show, pane.sizes, section, on);
    };
    show(GROUP_STORES_LIST, PaneSection::List, &PaneShow::list, REGION_LIST);
    show(GROUP_STORES_BUTTONS, PaneSection::Buttons, &PaneShow::buttons, REGION_BUTTONS);
    show(GROUP_STORES_GROUPS, PaneSection::Groups, &PaneShow::groups, REGION_GROUPS);
    if (!pane.show.Any()) return;
    if (wanted & GROUP_STORES_LIST_SIZE) {
        pane.sizes.width = group.paneWidth;
        if (pane.show.list) pane.sizes.list = std::max(group.listHeight, 0);
    }
    // A record that comes from the host has one height for all sections. More than one cannot stand so: the
    // layout shares out anew what has none.
    const auto height = [&](int32_t size) { return size == group.listHeight ? 0 : std::max(size, 0); };
    if (wanted & GROUP_STORES_BUTTONS_SIZE && pane.show.buttons)
        pane.sizes.buttons = height(group.buttonSizes[1]);
    if (wanted & GROUP_STORES_GROUPS_SIZE && pane.show.groups)
        pane.sizes.groups = height(group.groupSizes[1]);
}
