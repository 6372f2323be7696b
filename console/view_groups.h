// View groups: what is shown of the console and of which channels, kept under a name. The first record is the
// state of the console itself. Here are the records and how they are kept; the host keeps them as
// preferences.
#pragma once

#include "console/strip_show.h"
#include "contract/host_contract.h"
#include "kernel/list.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

inline constexpr size_t GROUP_NAME_SIZE = 256;

/// tConsoleGroup::flags: what a record stores.
inline constexpr uint32_t GROUP_CURRENT_STATE = 0x1, GROUP_MIX = 0x1000, GROUP_VIEW = 0x2000;
/// tConsoleGroup::flags of a record of the whole state of the console.
inline constexpr uint32_t GROUP_WHOLE_STATE = 0x2FFE, GROUP_STORES_REGIONS = 0x2, GROUP_STORES_SIZES = 0x8,
                          GROUP_STORES_WIDTHS = 0x10, GROUP_STORES_METERS = 0x20;
/// tConsoleGroup::regions: switches stand beside the fader. Set in every record that is loaded.
inline constexpr uint32_t GROUP_REGION_VERTICAL = 0x8000;

struct tConsoleGroup {
    uint32_t flags = 0;    ///< GROUP_
    uint32_t regions = 0;  ///< regions and panes that are shown
    uint32_t kinds = 0;    ///< kinds of channels that are shown
    uint32_t meterRange = 32768, vuScale = 1800, peakFlags = 0, vuFlags = 1602, scopeStyle = 1;
    HQMLIST channels = nullptr;  ///< of the group's channels; null where none are kept
    char16_t name[GROUP_NAME_SIZE] = {};
    /// Channel default, narrow, wide, current; the same for surround.
    int32_t widths[8] = {};
    int32_t sizes[6] = {};  ///< regions: peak, send, insert, fader, scope, VU
    int32_t paneWidth = 0, listHeight = 0;
    int32_t groupSizes[2] = {}, buttonSizes[2] = {};
    uint64_t reserved632 = 0;
};
static_assert(sizeof(tConsoleGroup) == 640);

/// The regions, their sizes, the strips' widths and the meters as they are now, into a record of all of it.
void CaptureView(tConsoleGroup& group, const StripView& view);
/// What the record stores of them. The process's metrics get the widths.
void ApplyView(const tConsoleGroup& group, StripView& view);

/// How groups reach the host's preferences.
struct GroupStore {
    std::function<uint32_t(uint32_t key, uint32_t defaultValue)> get;
    std::function<std::u16string(uint32_t key)> getText;
    std::function<void(uint32_t key, uint32_t value)> set;
    std::function<void(uint32_t key, const std::u16string& text)> setText;
};

using ViewGroups = std::vector<std::unique_ptr<tConsoleGroup>>;

/// Fills the first record and makes or fills the others; one that is there and is no view group stays. The
/// metrics of the console are measured when there is a group. E_OUTOFMEMORY leaves those made so far.
/// [page-thread]
HRESULT LoadGroups(ViewGroups& groups, const GroupStore& store);
/// Keys of groups that there are no more are emptied.
void SaveGroups(const ViewGroups& groups, const GroupStore& store);
