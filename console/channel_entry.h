// The channel entry: the console's record of one channel, one a strip. The plug-in object owns the entries;
// the page's thread reads and changes them, and other threads touch nothing of an entry but its pending word.
#pragma once

#include "contract/host_contract.h"

#include <atomic>
#include <memory>

/// State bits of an entry.
inline constexpr uint32_t ENTRY_LOCKED = 0x8,
                          ENTRY_UNLOCKED = 0x10;     ///< of a pair of faders; neither: locked
inline constexpr uint32_t ENTRY_HIDDEN_HERE = 0x20;  ///< counts where the host does not keep what is hidden
inline constexpr uint32_t ENTRY_HIDDEN_BY_HOST = 0x40;
inline constexpr uint32_t ENTRY_MAIN_OUTPUT = 0x80;
inline constexpr uint32_t ENTRY_SECOND_OUTPUT = 0x100;
inline constexpr uint32_t ENTRY_GESTURE = 0x400;  ///< a touch of this channel has begun at the host

inline constexpr size_t CHANNEL_NAME_SIZE = 256;
inline constexpr uint32_t SURROUND_HEAD_BITS = KIND_SURROUND | KIND_MASTER_BIT;

/// The drawn form of an entry, made by the page and dropped with it.
class EntryView {
public:
    virtual ~EntryView() = default;
};

struct ChannelEntry {
    MPCHANNELID id{};
    uint32_t kind = 0;  ///< KIND_; the console adds KIND_NO_STRIP to companions of a surround group
    int32_t order = 0;
    uint32_t pairSelector = 0;
    uint32_t countClass = 0;
    uint32_t lookColour = 0, lookWidth = 0, lookFlags = 0;
    char16_t shortName[CHANNEL_NAME_SIZE] = {};
    char16_t longName[CHANNEL_NAME_SIZE] = {};
    uint32_t hasCompanions = 0;
    MPCHANNELID companions[4] = {};
    uint32_t state = 0;                ///< ENTRY_
    uint32_t position = 0;             ///< the channel counter at creation
    int32_t width = 0;                 ///< of its strip, pixels; 0 for the current width of its kind
    std::atomic<uint32_t> pending{0};  ///< dirty bits for the page; [any-thread]
    std::unique_ptr<EntryView> view;

    bool HasStrip() const { return !(kind & KIND_NO_STRIP) && !(state & ENTRY_HIDDEN_BY_HOST); }
    bool IsMidi() const { return kind & KIND_MIDI_TRACK; }
    bool IsSurroundMaster() const { return (kind & SURROUND_HEAD_BITS) == SURROUND_HEAD_BITS; }
    const char16_t* Name() const { return longName[0] ? longName : shortName; }
};

/// Dirty bits of a channel, for the page.
inline constexpr uint32_t DIRTY_ALL = 0x1;
inline constexpr uint32_t DIRTY_CONTROLS = 0x10002;
inline constexpr uint32_t DIRTY_FADER = 0x8;
inline constexpr uint32_t DIRTY_PAN = 0x10;
inline constexpr uint32_t DIRTY_SENDS = 0x20;
inline constexpr uint32_t DIRTY_ROUTING = 0x100;
inline constexpr uint32_t DIRTY_NAME = 0x4000;
inline constexpr uint32_t DIRTY_PARTS = 0x40000;  ///< its effects and sends
inline constexpr uint32_t DIRTY_SWITCHES = 0x80000;
inline constexpr uint32_t DIRTY_ROUTES = MASK_INPUT_ROUTE | MASK_OUTPUT_ROUTE;
