#include "host/demo/piece.h"

#include <algorithm>
#include <span>

namespace host {
namespace {
constexpr uint16_t kTicksPerQuarter = 480;
constexpr int kStepsPerBar = 16;
constexpr uint32_t kStepTicks = kTicksPerQuarter / 4;
constexpr uint32_t kSwingTicks = 14;  ///< how late every second sixteenth comes
constexpr uint8_t kDrumChannel = 9;

/// A bar in sixteenths: a digit starts a note of that strength, '-' holds it, '.' is a rest.
struct Grid {
    const char* steps;

    consteval Grid(const char (&text)[kStepsPerBar + 1]) : steps(text) {
        for (int i = 0; i < kStepsPerBar; i++) {
            const char c = text[i];
            if (c != '.' && c != '-' && (c < '1' || c > '9')) throw "a grid holds digits, '-' and '.'";
        }
    }
};
constexpr Grid kRest = "................";

uint32_t TickOf(int step) { return static_cast<uint32_t>(step) * kStepTicks + (step % 2 ? kSwingTicks : 0); }

MidiNote NoteAt(int bar, int step, int length, int key, int strength) {
    const int from = bar * kStepsPerBar + step;
    // A note ends a little before the next may begin.
    const uint32_t start = TickOf(from), end = TickOf(from + length) - kStepTicks / 6;
    return {start, end - start, static_cast<uint8_t>(key), static_cast<uint8_t>(strength * 14)};
}

/// Calls f(step, length, strength) for each note of a bar.
template <class F>
void ForEachNote(Grid grid, F f) {
    for (int i = 0; i < kStepsPerBar; i++) {
        if (grid.steps[i] < '1') continue;
        int length = 1;
        while (i + length < kStepsPerBar && grid.steps[i + length] == '-') length++;
        f(i, length, grid.steps[i] - '0');
    }
}

// Drums and percussion: rows of a key and its grid, gathered to bars.

enum DrumKey : uint8_t {
    Kick = 36,
    Rim = 37,
    Snare = 38,
    FloorTom = 43,
    Hat = 42,
    LowTom = 45,
    OpenHat = 46,
    HighTom = 48,
    Crash = 49,
    Ride = 51,
    Tambourine = 54,
    MuteConga = 62,
    HighConga = 63,
    LowConga = 64,
    Maracas = 70
};

struct DrumRow {
    DrumKey key;
    Grid grid;
};
using DrumBar = std::span<const DrumRow>;

constexpr DrumRow kIntro[] = {
    {Hat, "5.3.6.3.5.3.6.34"}, {Rim, "....6.......6..."}, {Kick, "7.......6......."}};
constexpr DrumRow kIntroFill[] = {{Hat, "5.3.6.3........."},
                                  {Kick, "7.......6......."},
                                  {Snare, "....5...3.45.678"},
                                  {OpenHat, "..............5."}};
constexpr DrumRow kVerse[] = {{Kick, "9.....7.8..5...."},
                              {Snare, "....9..2.2..9..3"},
                              {Hat, "7.4.7.4.7.4.7..."},
                              {OpenHat, "..............6."}};
constexpr DrumRow kVerseFill[] = {{Kick, "9.....7.8......."},   {Snare, "....9..2.27....."},
                                  {Hat, "7.4.7.4.7......."},    {HighTom, "..........78...."},
                                  {LowTom, "............87.."}, {FloorTom, "..............89"}};
constexpr DrumRow kChorus[] = {
    {Kick, "9..6..7...8.5..."}, {Snare, "....9..2.2..9..3"}, {Ride, "8.5.7.5.8.5.7.5."}};
constexpr DrumRow kChorusFill[] = {{Kick, "9..6..7...8....."},
                                   {Snare, "....9..2.2..9.68"},
                                   {Ride, "8.5.7.5.8.5....."},
                                   {HighTom, "............7..."}};
constexpr DrumRow kStops[] = {
    {Kick, "9..9..9........."}, {Crash, "8..6..8........."}, {Snare, "9..9..9...456789"}};
constexpr DrumRow kFinal[] = {{Kick, "9..............."}};

constexpr DrumBar kDrums[kPieceBars] = {kIntro,  kIntro,     kIntro,  kIntroFill, kVerse,  kVerse,
                                        kVerse,  kVerseFill, kChorus, kChorus,    kChorus, kChorusFill,
                                        kChorus, kChorus,    kChorus, kStops,     kFinal};
constexpr int kCrashBars[] = {4, 8, 12, 16};  ///< counted from 0

constexpr DrumRow kShaker[] = {{Maracas, "6.3.5.3.6.3.5.34"}};
constexpr DrumRow kCongas[] = {{Maracas, "6.3.5.3.6.3.5.34"},
                               {MuteConga, "5.5......5.5...."},
                               {HighConga, "......7.......77"},
                               {LowConga, "...6........7..."}};
constexpr DrumRow kFull[] = {{Maracas, "6.3.5.3.6.3.5.34"},
                             {MuteConga, "5.5......5.5...."},
                             {HighConga, "......7..7....77"},
                             {LowConga, "...6...6....7..."},
                             {Tambourine, "..4.7.4...4.7.4."}};
constexpr DrumRow kRattle[] = {{Tambourine, "8..8..8...334455"}};
constexpr DrumRow kLastShake[] = {{Tambourine, "8..............."}};

constexpr DrumBar kPercussion[kPieceBars] = {kShaker, kShaker, kCongas, kCongas, kCongas,   kCongas,
                                             kCongas, kCongas, kFull,   kFull,   kFull,     kFull,
                                             kFull,   kFull,   kFull,   kRattle, kLastShake};

// Harmony: Am9 F C/E Gsus-G, Am9 F Dm9 Esus-E7; F G6 Em7 Am7, Dm9 G13 C E7(b9); Am.

struct Chord {
    int steps;
    uint8_t keys[4];
    uint8_t strings[4];
};
constexpr Chord kChords[] = {
    {16, {55, 59, 60, 64}, {45, 57, 64, 71}},  // Am9
    {16, {57, 60, 64, 67}, {41, 57, 64, 72}},  // Fmaj9
    {16, {55, 59, 62, 64}, {40, 55, 62, 71}},  // C/E
    {8, {55, 60, 62, 67}, {43, 55, 62, 72}},   // Gsus4
    {8, {55, 59, 62, 67}, {43, 55, 62, 71}},   // G
    {16, {55, 59, 60, 64}, {45, 57, 64, 71}},  // Am9
    {16, {57, 60, 64, 67}, {41, 57, 64, 72}},  // Fmaj9
    {16, {53, 57, 60, 64}, {50, 57, 65, 72}},  // Dm9
    {8, {52, 57, 59, 62}, {40, 57, 64, 71}},   // E7sus4
    {8, {52, 56, 59, 62}, {40, 56, 62, 71}},   // E7
    {16, {57, 60, 64, 69}, {41, 60, 69, 76}},  // Fmaj7
    {16, {59, 62, 64, 67}, {43, 62, 67, 76}},  // G6
    {16, {55, 59, 62, 64}, {40, 59, 67, 74}},  // Em7
    {16, {55, 60, 64, 69}, {45, 60, 67, 76}},  // Am7
    {16, {53, 60, 64, 69}, {50, 60, 69, 77}},  // Dm9
    {16, {53, 59, 64, 69}, {43, 59, 65, 76}},  // G13
    {16, {52, 59, 62, 67}, {48, 59, 67, 74}},  // Cmaj9
    {16, {56, 62, 65, 71}, {40, 56, 65, 74}},  // E7(b9)
    {16, {57, 60, 64, 71}, {45, 60, 64, 76}},  // Am(add9)
};

constexpr Grid kComp[kPieceBars] = {
    "7--------.4-5---", "6--------.4-5---", "7--------.4-5---", "6-------6---5-5-", "7--.5-..6--.4-5-",
    "7--.5-..6-.5--5-", "7--.5-..6--.4-5-", "7--.5-..7--.5-6-", "8--.6-.6--.6-.5-", "8--.6-.6--.6-.5-",
    "8--.6-.6--.6-.5-", "8--.6-.6--.6-6--", "8--.6-.6--.6-.5-", "8--.6-.6--.6-.5-", "8--.6-.6--.6-.6-",
    "8-.8-.8---......", "6---------------"};

constexpr Grid kPad[kPieceBars] = {kRest,
                                   kRest,
                                   "3---------------",
                                   "4-------4-------",
                                   "4---------------",
                                   "4---------------",
                                   "5---------------",
                                   "5-------5-------",
                                   "6---------------",
                                   "6---------------",
                                   "6---------------",
                                   "6-----------6---",
                                   "6---------------",
                                   "7---------------",
                                   "7---------------",
                                   "7-------6---7---",
                                   "5---------------"};

// Bass and lead have pitches of their own: as many as their grid has notes.

struct LineBar {
    Grid grid;
    uint8_t keys[9];
};
constexpr Grid kBassGroove = "9--.6.8-..7-6-7-";
constexpr LineBar kBass[kPieceBars] = {
    {"8-----------5-5-", {33, 33, 31}},
    {"8-----------5-5-", {29, 29, 29}},
    {"8-----------5-5-", {28, 28, 29}},
    {"8-------7---6-6-", {31, 31, 31, 32}},
    {kBassGroove, {33, 33, 45, 43, 40, 31}},
    {kBassGroove, {29, 29, 41, 36, 33, 40}},
    {kBassGroove, {38, 38, 45, 41, 36, 29}},
    {kBassGroove, {28, 28, 40, 35, 32, 28}},
    {kBassGroove, {29, 29, 41, 36, 33, 29}},
    {kBassGroove, {31, 31, 43, 38, 31, 29}},
    {kBassGroove, {28, 28, 40, 35, 31, 32}},
    {kBassGroove, {33, 33, 45, 43, 40, 36}},
    {kBassGroove, {38, 38, 45, 41, 36, 33}},
    {kBassGroove, {31, 31, 43, 41, 38, 35}},
    {kBassGroove, {36, 36, 43, 40, 36, 31}},
    {"9-.9-.9-..7-7-7-", {28, 28, 28, 32, 35, 38}},
    {"9---------------", {33}},
};
constexpr LineBar kLead[kPieceBars] = {
    {kRest, {}},
    {kRest, {}},
    {kRest, {}},
    {"..........5-6-7-", {69, 71, 72}},
    {"8-----6-7---7---", {76, 74, 72, 71}},
    {"8-----6-7-----5-", {72, 71, 69, 67}},
    {"7-----6-7---8---", {69, 72, 74, 76}},
    {"8-------7---6---", {74, 71, 68}},
    {"7---7---8-----7-", {69, 72, 76, 77}},
    {"9-----7-8---7---", {79, 77, 76, 74}},
    {"8---6-7-----6---", {76, 74, 71, 67}},
    {"7-------6---5-6-", {72, 71, 69, 71}},
    {"7---7---8---8---", {72, 74, 77, 76}},
    {"9-----8-8---8---", {81, 79, 77, 76}},
    {"9-----7-8-----7-", {79, 76, 74, 76}},
    {"8-.9-.8---7-7-6-", {77, 77, 76, 74, 71, 68}},
    {"8-----------....", {69}},
};

constexpr bool HasKeysForItsNotes(const LineBar& bar) {
    int notes = 0, keys = 0;
    for (int i = 0; i < kStepsPerBar; i++) notes += bar.grid.steps[i] >= '1';
    for (uint8_t key : bar.keys) keys += key != 0;
    return notes == keys;
}
static_assert(std::ranges::all_of(kBass, HasKeysForItsNotes) &&
              std::ranges::all_of(kLead, HasKeysForItsNotes));

constexpr int Total(std::span<const Chord> chords) {
    int steps = 0;
    for (const Chord& c : chords) steps += c.steps;
    return steps;
}
static_assert(Total(kChords) == kPieceBars * kStepsPerBar);

std::vector<MidiNote> DrumNotes(std::span<const DrumBar> bars) {
    std::vector<MidiNote> notes;
    for (int bar = 0; bar < kPieceBars; bar++)
        for (const DrumRow& row : bars[static_cast<size_t>(bar)])
            ForEachNote(row.grid, [&](int step, int length, int strength) {
                notes.push_back(NoteAt(bar, step, length, row.key, strength));
            });
    return notes;
}

std::vector<MidiNote> ChordNotes(std::span<const Grid> bars, const uint8_t (Chord::*voicing)[4]) {
    std::vector<MidiNote> notes;
    const Chord* chord = kChords;
    int chordEnd = chord->steps;
    for (int bar = 0; bar < kPieceBars; bar++)
        ForEachNote(bars[static_cast<size_t>(bar)], [&](int step, int length, int strength) {
            while (bar * kStepsPerBar + step >= chordEnd) chordEnd += (++chord)->steps;
            for (uint8_t key : chord->*voicing) notes.push_back(NoteAt(bar, step, length, key, strength));
        });
    return notes;
}

std::vector<MidiNote> LineNotes(std::span<const LineBar> bars) {
    std::vector<MidiNote> notes;
    for (int bar = 0; bar < kPieceBars; bar++) {
        const uint8_t* key = bars[static_cast<size_t>(bar)].keys;
        ForEachNote(bars[static_cast<size_t>(bar)].grid, [&](int step, int length, int strength) {
            notes.push_back(NoteAt(bar, step, length, *key++, strength));
        });
    }
    return notes;
}
}  // namespace

MidiSong MakePiece() {
    MidiSong song;
    song.ticksPerQuarter = kTicksPerQuarter;
    song.tempo = kPieceTempo;
    song.end = (kPieceBars + 1) * 4 * kTicksPerQuarter;
    enum : uint8_t { ElectricPiano = 4, FingeredBass = 33, StringEnsemble = 48, Flute = 73 };
    song.tracks = {{"Drums", kDrumChannel, 0, DrumNotes(kDrums)},
                   {"Percussion", kDrumChannel, 0, DrumNotes(kPercussion)},
                   {"Bass", 0, FingeredBass, LineNotes(kBass)},
                   {"Keys", 1, ElectricPiano, ChordNotes(kComp, &Chord::keys)},
                   {"Strings", 2, StringEnsemble, ChordNotes(kPad, &Chord::strings)},
                   {"Lead", 3, Flute, LineNotes(kLead)}};
    for (int bar : kCrashBars) song.tracks[0].notes.push_back(NoteAt(bar, 0, 8, Crash, 8));
    return song;
}

}  // namespace host
