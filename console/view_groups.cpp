#include "console/view_groups.h"

#include "console/metrics.h"
#include "platform/text.h"

#include <algorithm>
#include <new>

using namespace tarn;

namespace {
constexpr uint32_t KEY_COUNT = 1000, KEY_FIRST = 2000, KEYS_A_GROUP = 100, NO_GROUPS = 0xFFFFFFFE;
constexpr uint32_t MOST_GROUPS = 256;

struct Word {
    uint32_t offset;
    uint32_t tConsoleGroup::*field;
};
constexpr Word WORDS[] = {
    {1, &tConsoleGroup::flags},      {2, &tConsoleGroup::regions},    {3, &tConsoleGroup::kinds},
    {4, &tConsoleGroup::meterRange}, {5, &tConsoleGroup::vuScale},    {6, &tConsoleGroup::peakFlags},
    {7, &tConsoleGroup::vuFlags},    {8, &tConsoleGroup::scopeStyle},
};
constexpr uint32_t NAME = 9, WIDTHS = 10, SIZES = 18, PANES = 24;
// Places in the widths.
constexpr size_t DEFAULT = 0, NARROW = 1, WIDE = 2, CURRENT = 3, SURROUND = 4;

uint32_t KeyOf(size_t group, uint32_t offset) {
    return KEY_FIRST + KEYS_A_GROUP * static_cast<uint32_t>(group) + offset;
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
        const uint32_t offset = WIDTHS + static_cast<uint32_t>(kind + CURRENT);
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
}

void SaveGroup(const tConsoleGroup& group, size_t n, const GroupStore& store) {
    for (const Word& word : WORDS) store.set(KeyOf(n, word.offset), group.*word.field);
    store.setText(KeyOf(n, NAME), group.name);
    const auto set = [&](uint32_t offset, std::span<const int32_t> values) {
        for (const int32_t value : values) store.set(KeyOf(n, offset++), static_cast<uint32_t>(value));
    };
    set(WIDTHS, group.widths);
    set(SIZES, group.sizes);
    const int32_t panes[] = {group.paneWidth,     group.listHeight,     group.groupSizes[0],
                             group.groupSizes[1], group.buttonSizes[0], group.buttonSizes[1]};
    set(PANES, panes);
}

void ClearGroup(size_t n, const GroupStore& store) {
    for (const Word& word : WORDS) store.set(KeyOf(n, word.offset), 0);
    store.setText(KeyOf(n, NAME), {});
    for (uint32_t offset = WIDTHS; offset < PANES + 6; offset++) store.set(KeyOf(n, offset), 0);
}
}  // namespace

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

void ApplyView(const tConsoleGroup& group, StripView& view) {
    tConsoleMetrics& m = MeasuredConsoleMetrics();
    // A record of which the host kept no regions would show strips without anything in them.
    const bool any =
        std::ranges::any_of(REGION_BITS, [&](const RegionBit& row) { return group.regions & row.bit; });
    if (any && group.flags & GROUP_STORES_REGIONS) {
        for (const RegionBit& row : REGION_BITS) view.show.*row.flag = (group.regions & row.bit) != 0;
        view.show.bVerticalLayout = 1;
    }
    if (group.flags & GROUP_STORES_WIDTHS) {
        m.cxChannelCurrent = group.widths[CURRENT];
        m.cxSurroundCurrent = group.widths[SURROUND + CURRENT];
    }
    if (group.flags & GROUP_STORES_SIZES) {
        for (size_t i = 0; i < std::size(SIZE_ORDER); i++) view.sizes.*SIZE_ORDER[i] = group.sizes[i];
        view.sizes = UsableSizes(view.sizes, m);
    }
    if (group.flags & GROUP_STORES_METERS) {
        view.meterRange = group.meterRange;
        view.vuScale = group.vuScale;
        view.peakFlags = group.peakFlags;
        view.scopeStyle = group.scopeStyle;
    }
}
