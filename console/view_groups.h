// View groups: what is shown of the console and of which channels, kept under a name. The first record is the
// state of the console itself. Here are the records and how they are kept; the host keeps them as
// preferences.
#pragma once

#include "console/pane_layout.h"
#include "console/strip_show.h"
#include "contract/host_contract.h"
#include "kernel/list.h"

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

inline constexpr size_t GROUP_NAME_SIZE = 256;
/// With the state of the console.
inline constexpr uint32_t MOST_GROUPS = 256;

/// tConsoleGroup::flags: what a record stores.
inline constexpr uint32_t GROUP_CURRENT_STATE = 0x1, GROUP_MIX = 0x1000, GROUP_VIEW = 0x2000;
/// tConsoleGroup::flags of a record of the whole state of the console.
inline constexpr uint32_t GROUP_WHOLE_STATE = 0x2FFE, GROUP_STORES_REGIONS = 0x2, GROUP_STORES_KINDS = 0x4,
                          GROUP_STORES_SIZES = 0x8, GROUP_STORES_WIDTHS = 0x10, GROUP_STORES_METERS = 0x20,
                          GROUP_STORES_LIST = 0x40, GROUP_STORES_LIST_SIZE = 0x80,
                          GROUP_STORES_BUTTONS = 0x100, GROUP_STORES_BUTTONS_SIZE = 0x200,
                          GROUP_STORES_GROUPS = 0x400, GROUP_STORES_GROUPS_SIZE = 0x800;
/// tConsoleGroup::regions: switches stand beside the fader. Set in every record that is loaded.
inline constexpr uint32_t GROUP_REGION_VERTICAL = 0x8000;

/// A channel of a group.
struct tConsoleGroupChannel {
    uint64_t id[2] = {}, second[2] = {};  ///< the first number is the channel's; the others are 0
    int32_t width = 0;                    ///< of its strip, 0 for the current width of its kind
    uint32_t selected = 0, hidden = 0;
    uint32_t meterRange = 0, vuScale = 0, peakFlags = 0, vuFlags = 0, scopeStyle = 0;
};
static_assert(sizeof(tConsoleGroupChannel) == 64);

/// The list of a group's channels; null where none are kept.
class GroupChannels {
public:
    GroupChannels() = default;
    GroupChannels(const GroupChannels& other);
    GroupChannels& operator=(const GroupChannels&) = delete;
    ~GroupChannels() { QmList_Destroy(m_list); }

    std::span<const tConsoleGroupChannel> All() const {
        return QmList_Records<const tConsoleGroupChannel>(m_list);
    }
    /// E_OUTOFMEMORY leaves those that it had.
    HRESULT Add(std::span<const tConsoleGroupChannel> more);

private:
    HQMLIST m_list = nullptr;
};

struct tConsoleGroup {
    uint32_t flags = 0;    ///< GROUP_
    uint32_t regions = 0;  ///< regions and panes that are shown
    uint32_t kinds = 0;    ///< kinds of channels that are shown
    uint32_t meterRange = 32768, vuScale = 1800, peakFlags = 0, vuFlags = 1602, scopeStyle = 1;
    GroupChannels channels;
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
/// Those of them that both the record stores and `wanted` names, GROUP_STORES_. The process's metrics get the
/// widths.
void ApplyView(const tConsoleGroup& group, StripView& view, uint32_t wanted);
/// The same for the left pane.
void CapturePane(tConsoleGroup& group, const PaneView& pane);
void ApplyPane(const tConsoleGroup& group, PaneView& pane, uint32_t wanted);

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
