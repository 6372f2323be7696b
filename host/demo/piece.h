// The demo's music: seventeen bars in A minor for six parts, written as tables.
#pragma once

#include "host/demo/midi_file.h"

namespace host {

inline constexpr double kPieceTempo = 120;  ///< so a bar lasts two seconds
inline constexpr int kPieceBars = 17;       ///< the last one holds the final chord
inline constexpr double kBarSeconds = 4 * 60 / kPieceTempo;

/// Parts Drums, Percussion, Bass, Keys, Strings, Lead, in this order. The song ends a bar after the last one,
/// when the final chord has died away.
MidiSong MakePiece();

}  // namespace host
