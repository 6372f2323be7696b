#include "host/contract/channel_words.h"

#include <algorithm>
#include <iterator>

namespace host {
namespace {

struct KindRow {
    ChannelKind kind;
    uint32_t word;
};
constexpr KindRow KINDS[] = {
    {ChannelKind::AudioTrack, KIND_AUDIO_TRACK},
    {ChannelKind::MidiTrack, KIND_MIDI_TRACK},
    {ChannelKind::AudioBus, KIND_AUDIO_BUS},
    {ChannelKind::Fx, KIND_FX},
    {ChannelKind::Synth, KIND_SYNTH},
    {ChannelKind::InputBus, KIND_INPUT_BUS},
    {ChannelKind::Master, KIND_MASTER},
    {ChannelKind::PreviewBus, KIND_BUS | KIND_SPECIAL},
};

struct SwitchRow {
    uint32_t bit;
    bool Channel::*field;
    bool KindTraits::*needs;  ///< null: every kind has it
};
constexpr SwitchRow SWITCHES[] = {
    {SWITCH_MUTE, &Channel::mute, nullptr},
    {SWITCH_SOLO, &Channel::solo, nullptr},
    {SWITCH_SELECTED, &Channel::selected, nullptr},
    {SWITCH_HIDDEN, &Channel::hidden, nullptr},
    {SWITCH_PHASE, &Channel::phase, nullptr},
    {SWITCH_STRIP_80, &Channel::solo_safe, nullptr},
    {SWITCH_MONITOR, &Channel::monitor, &KindTraits::recordsInput},
    {SWITCH_ARM, &Channel::arm, &KindTraits::recordsInput},
    {SWITCH_STRIP_10000, &Channel::chain_bypass, &KindTraits::audio},
};

struct ModeRow {
    AutomationMode mode;
    uint32_t word;
};
constexpr ModeRow MODES[] = {
    {AutomationMode::Off, 0},
    {AutomationMode::Read, AUTOMATION_READ},
    {AutomationMode::Touch, AUTOMATION_TOUCH_MODE},
    {AutomationMode::Latch, AUTOMATION_LATCH},
    {AutomationMode::Write, AUTOMATION_WRITE},
};

constexpr int COMPANION_SHIFT = 53;  // above every id of the document
static_assert(kMaxChannelId < uint64_t{1} << COMPANION_SHIFT);

}  // namespace

uint32_t KindWord(ChannelKind kind) { return KINDS[static_cast<size_t>(kind)].word; }

uint32_t KindWord(const Session& session, const Channel& channel) {
    const uint32_t word = KindWord(channel.kind);
    if (!IsWide(session, channel.kind)) return word;
    return word | KIND_SURROUND | (channel.kind == ChannelKind::Master ? KIND_NO_STRIP : 0);
}

std::optional<ChannelKind> KindOfWord(uint32_t word) {
    const auto* at = std::ranges::find(KINDS, word & ~KIND_SURROUND, &KindRow::word);
    return at == std::end(KINDS) ? std::nullopt : std::optional(at->kind);
}

bool IsWide(const Session& session, ChannelKind kind) {
    return session.mode == ChannelMode::Surround51 &&
           (kind == ChannelKind::Master || kind == ChannelKind::AudioBus);
}

bool IsPlaced(const Session& session, const Channel& channel) {
    return session.mode == ChannelMode::Surround51 && channel.output != kNoChannel &&
           channel.kind != ChannelKind::MidiTrack && !IsWide(session, channel.kind);
}

bool IsTrack(ChannelKind kind) { return kind == ChannelKind::AudioTrack || kind == ChannelKind::MidiTrack; }

bool ShareRow(ChannelKind a, ChannelKind b) { return a == b || (IsTrack(a) && IsTrack(b)); }

int32_t OrderIndex(const Session& session, ChannelId id) {
    const Channel* channel = FindChannel(session, id);
    if (!channel) return 0;
    if (channel->kind == ChannelKind::PreviewBus) return ORDER_PREVIEW_OUTPUT;
    const bool master = channel->kind == ChannelKind::Master;
    int32_t before = 0;
    for (const Channel& other : session.channels) {
        if (other.id == id && !master) break;
        before += ShareRow(other.kind, master ? ChannelKind::AudioBus : channel->kind);
    }
    return before;
}

uint32_t SwitchesOf(ChannelKind kind) {
    uint32_t bits = 0;
    for (const SwitchRow& row : SWITCHES)
        if (!row.needs || TraitsOf(kind).*row.needs) bits |= row.bit;
    return bits;
}

uint32_t SwitchWord(const Channel& channel) {
    uint32_t word = 0;
    for (const SwitchRow& row : SWITCHES)
        if (channel.*row.field) word |= row.bit;
    return word;
}

void SetSwitches(Channel& channel, uint32_t word) {
    const uint32_t has = SwitchesOf(channel.kind);
    for (const SwitchRow& row : SWITCHES)
        if (has & row.bit) channel.*row.field = word & row.bit;
}

uint32_t AutomationWord(AutomationMode mode) { return MODES[static_cast<size_t>(mode)].word; }

std::optional<AutomationMode> AutomationModeOf(uint32_t word) {
    const auto* at = std::ranges::find(MODES, word & AUTOMATION_MODES, &ModeRow::word);
    return at == std::end(MODES) ? std::nullopt : std::optional(at->mode);
}

uint64_t CompanionId(ChannelId head, size_t slot) { return head | uint64_t{slot + 1} << COMPANION_SHIFT; }

ChannelPlace PlaceOf(uint64_t id) {
    const uint64_t slot = id >> COMPANION_SHIFT;
    if (slot == 0) return {id, 0};
    if (slot > std::size(COMPANION_PAIRS)) return {};
    return {id & kMaxChannelId, COMPANION_PAIRS[slot - 1]};
}

}  // namespace host
