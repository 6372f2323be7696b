// The console's texts by number: from the module's language table, else in English.
#pragma once

#include <cstdint>
#include <string>

inline constexpr uint32_t IDS_MIXING_CONSOLE = 1020;
inline constexpr uint32_t IDS_TRACK_NAME = 1026;
inline constexpr uint32_t IDS_MUTE = 1027;
inline constexpr uint32_t IDS_SOLO = 1028;
inline constexpr uint32_t IDS_FADER = 1033;
inline constexpr uint32_t IDS_PHASE = 1043;
inline constexpr uint32_t IDS_KIND_AUDIO = 1181;  ///< MIDI, master, input, bus, FX and synth follow
inline constexpr uint32_t IDS_KIND_MIDI = 1182;
inline constexpr uint32_t IDS_KIND_MASTER = 1183;
inline constexpr uint32_t IDS_KIND_INPUT = 1184;
inline constexpr uint32_t IDS_KIND_BUS = 1185;
inline constexpr uint32_t IDS_KIND_FX = 1186;
inline constexpr uint32_t IDS_KIND_SYNTH = 1187;
inline constexpr uint32_t IDS_MENU_NAME = 1241;
inline constexpr uint32_t IDS_MUTED = 1629;
inline constexpr uint32_t IDS_OFF_SOLO = 1630;
inline constexpr uint32_t IDS_SILENCE = 1631;

/// Empty for a number without a text. [page-thread]
std::u16string ConsoleText(uint32_t id);
