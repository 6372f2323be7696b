#include "host/demo/demo_session.h"

#include "host/demo/piece.h"
#include "host/effects/lv2_state.h"

namespace host {
namespace {
// Master and preview bus have their ids from NewSession.
enum Id : ChannelId { Rhythm = 101, Music = 102, Room = 103, Piano = 104, PianoNotes = 105, FirstTrack = 11 };
constexpr ChannelId kMasterOutput = kNoChannel;
enum Part : SubId { kFirstEffect = 1, kFirstSend = 2 };

constexpr const char* kEqualiser = "http://plugin.org.uk/swh-plugins/triplePara";
constexpr const char* kCompressor = "http://drobilla.net/plugins/mda/Dynamics";
constexpr const char* kReverb = "http://drobilla.net/plugins/mda/Ambience";
constexpr const char* kElectricPiano = "http://drobilla.net/plugins/mda/EPiano";

constexpr double kNoSend = kSilenceDb;

struct TrackRow {
    const char* name;  ///< the part's
    double faderDb, pan;
    ChannelId output;
    double roomDb;  ///< send to the reverb
    SurroundPlace place;
};
constexpr TrackRow kTracks[] = {
    {"Drums", 0, 0, Rhythm, kNoSend, {0, 0.9, -12}},
    {"Percussion", -7, 0.3, Rhythm, kNoSend, {0.8, -0.3, kSilenceDb}},
    {"Bass", -7, 0, Rhythm, kNoSend, {0, 1, -6}},
    {"Keys", -10, -0.25, Music, -12, {-0.7, 0.3, kSilenceDb}},
    {"Strings", -10, 0.15, Music, -8, {0, -0.8, kSilenceDb}},
    {"Lead", -10, 0.05, Music, -10, {0.3, 0.8, kSilenceDb}},
    {kDemoVoice, -3, 0, kMasterOutput, -14, {0, 1, kSilenceDb}},
};

struct BusRow {
    Id id;
    const char* name;
    double faderDb;
    uint32_t colour;  ///< its tracks have it as well
};
constexpr BusRow kBusses[] = {{Rhythm, "Rhythm", 0, 2}, {Music, "Music", -1, 18}};
constexpr uint32_t kVoiceColour = 40, kRoomColour = 30;

/// When the voice speaks, between the phrases.
struct VoiceRow {
    double bar, gainDb;
};
constexpr VoiceRow kVoice[] = {{0.5, 0}, {3.25, -2}, {7.5, 0}, {15.625, -3}};
constexpr double kVoiceSeconds = 1.42;
constexpr double kLoopFromBar = 4, kLoopToBar = 16;

/// The strings come up into the chorus and leave the end to the others.
struct RideRow {
    double bar, db;
};
constexpr RideRow kRide[] = {{2, -18}, {4, -13}, {8, -9}, {12, -8}, {15, -8}, {16, -14}};
constexpr const char* kRidden = "Strings";

constexpr double kMasterDb = 0, kSurroundMasterDb = 0;

std::vector<Clip> VoiceClips() {
    std::vector<Clip> clips;
    for (const VoiceRow& r : kVoice)
        clips.push_back({.file = DemoAudioFile(kDemoVoice),
                         .start = r.bar * kBarSeconds,
                         .length = kVoiceSeconds,
                         .gain_db = r.gainDb});
    return clips;
}

AutomationCurve FaderRide() {
    AutomationCurve curve{{AutomationTarget::Volume}, {}};
    for (const RideRow& r : kRide) curve.points.push_back({r.bar * kBarSeconds, r.db});
    return curve;
}

ChannelId MasterOf(const Session& session) {
    for (const Channel& c : session.channels)
        if (c.kind == ChannelKind::Master) return c.id;
    return kNoChannel;
}

Insert Effect(const char* uri, const char* name, std::vector<std::pair<std::string, float>> values) {
    return {
        .id = kFirstEffect, .uri = uri, .name = name, .state = FormatLv2State({uri, std::move(values), {}})};
}

Insert Compressor() {
    return Effect(
        kCompressor, "MDA Dynamics",
        {{"thresh", 0.55f}, {"ratio", 0.35f}, {"output", 0.12f}, {"attack", 0.25f}, {"release", 0.5f}});
}

/// Less of the box that the voice was recorded in, more of the consonants.
Insert VoiceEqualiser() {
    return Effect(kEqualiser, "Triple band parametric with shelves",
                  {{"gain_L", -9},
                   {"fc_L", 140},
                   {"gain_1", -4},
                   {"fc_1", 420},
                   {"bw_1", 1.5f},
                   {"gain_2", 3},
                   {"fc_2", 3200},
                   {"bw_2", 1.5f},
                   {"gain_3", 0},
                   {"fc_3", 6000},
                   {"gain_H", 2},
                   {"fc_H", 9000}});
}

Channel MakeTrack(const TrackRow& r, ChannelId id, ChannelId master, double length) {
    Channel c{.id = id, .kind = ChannelKind::AudioTrack, .name = r.name};
    c.fader_db = r.faderDb;
    c.pan = r.pan;
    c.colour = kVoiceColour;
    for (const BusRow& bus : kBusses)
        if (bus.id == r.output) c.colour = bus.colour;
    c.output = r.output == kMasterOutput ? master : r.output;
    c.clips = r.name == kDemoVoice ? VoiceClips()
                                   : std::vector<Clip>{{.file = DemoAudioFile(r.name), .length = length}};
    if (r.roomDb > kNoSend) c.sends = {{.id = kFirstSend, .target = Room, .level_db = r.roomDb}};
    if (r.name == kDemoVoice) c.inserts = {VoiceEqualiser()};
    if (r.name == std::string_view(kRidden)) {
        c.automation = {FaderRide()};
        c.automation_mode = AutomationMode::Read;
    }
    return c;
}
}  // namespace

std::string DemoAudioFile(std::string_view part) { return "audio/" + std::string(part) + ".wav"; }
std::string DemoMidiFile(std::string_view part) { return "midi/" + std::string(part) + ".mid"; }

Session MakeDemoSession(ChannelMode mode) {
    Session session = NewSession();
    session.mode = mode;
    const bool surround = mode == ChannelMode::Surround51;
    const ChannelId master = MasterOf(session);
    const double length = (kPieceBars + 1) * kBarSeconds;
    std::vector<Channel> channels;
    for (const TrackRow& r : kTracks) {
        channels.push_back(MakeTrack(r, FirstTrack + channels.size(), master, length));
        if (surround) channels.back().place = r.place;
    }
    // The same notes as the recorded keys, an instrument plays them along.
    channels.push_back({.id = PianoNotes,
                        .kind = ChannelKind::MidiTrack,
                        .name = "Piano Notes",
                        .fader_db = -2,
                        .colour = kBusses[1].colour,
                        .output = Piano,
                        .clips = {{.file = DemoMidiFile("Keys"), .length = length}}});
    for (const BusRow& r : kBusses) {
        Channel c{.id = r.id, .kind = ChannelKind::AudioBus, .name = r.name};
        c.fader_db = r.faderDb;
        c.colour = r.colour;
        c.output = master;
        channels.push_back(std::move(c));
    }
    channels.push_back(
        {.id = Room,
         .kind = ChannelKind::Fx,
         .name = "Room",
         .fader_db = -3,
         .colour = kRoomColour,
         .output = master,
         .inserts = {Effect(kReverb, "MDA Ambience",
                            {{"size", 0.8f}, {"hf_damp", 0.6f}, {"mix", 1}, {"output", 0.5f}})}});
    channels.push_back({.id = Piano,
                        .kind = ChannelKind::Synth,
                        .name = "Piano",
                        .fader_db = -12,
                        .pan = 0.35,
                        .colour = kBusses[1].colour,
                        .output = Music,
                        .instrument = Effect(kElectricPiano, "MDA ePiano",
                                             {{"modulation", 0.6f}, {"treble_boost", 0.55f}})});
    for (Channel& c : channels) {
        // The compressor has two channels, the busses of the surround session six.
        if (c.id == (surround ? ChannelId{FirstTrack} : ChannelId{Rhythm})) c.inserts = {Compressor()};
        if (surround && c.id == Room) c.place = {0, -1, kSilenceDb};
        if (surround && c.id == Piano) c.place = {-0.5, -0.2, kSilenceDb};
    }
    session.channels.insert(session.channels.begin(), channels.begin(), channels.end());
    for (Channel& c : session.channels)
        if (c.id == master) c.fader_db = surround ? kSurroundMasterDb : kMasterDb;
    session.length = length;
    session.tempo = kPieceTempo;
    session.loop = {kLoopFromBar * kBarSeconds, kLoopToBar * kBarSeconds, true};
    return session;
}

}  // namespace host
