#include "host/demo/demo_session.h"

#include "host/demo/piece.h"

namespace host {
namespace {
// Master and preview bus have their ids from NewSession.
enum Id : ChannelId { Rhythm = 101, Music = 102, FirstTrack = 11 };
constexpr ChannelId kMasterOutput = kNoChannel;

struct TrackRow {
    const char* name;  ///< the part's
    double faderDb, pan;
    ChannelId output;
    uint32_t colour;
};
constexpr TrackRow kTracks[] = {
    {"Drums", 0, 0, Rhythm, 1},
    {"Percussion", -7, 0.3, Rhythm, 4},
    {"Bass", -7, 0, Rhythm, 8},
    {"Keys", -8, -0.25, Music, 16},
    {"Strings", -10, 0.15, Music, 22},
    {"Lead", -10, 0.05, Music, 30},
    {kDemoVoice, -3, 0, kMasterOutput, 40},
};

struct BusRow {
    Id id;
    const char* name;
    double faderDb;
    uint32_t colour;
};
constexpr BusRow kBusses[] = {{Rhythm, "Rhythm", 0, 2}, {Music, "Music", -1, 18}};

/// When the voice speaks, between the phrases.
struct VoiceRow {
    double bar, gainDb;
};
constexpr VoiceRow kVoice[] = {{0.5, 0}, {3.25, -2}, {7.5, 0}, {15.625, -3}};
constexpr double kVoiceSeconds = 1.42;
constexpr double kLoopFromBar = 4, kLoopToBar = 16;

std::vector<Clip> VoiceClips() {
    std::vector<Clip> clips;
    for (const VoiceRow& r : kVoice)
        clips.push_back({.file = DemoAudioFile(kDemoVoice),
                         .start = r.bar * kBarSeconds,
                         .length = kVoiceSeconds,
                         .gain_db = r.gainDb});
    return clips;
}

ChannelId MasterOf(const Session& session) {
    for (const Channel& c : session.channels)
        if (c.kind == ChannelKind::Master) return c.id;
    return kNoChannel;
}
}  // namespace

std::string DemoAudioFile(std::string_view part) { return "audio/" + std::string(part) + ".wav"; }

Session MakeDemoSession() {
    Session session = NewSession();
    const ChannelId master = MasterOf(session);
    const double length = (kPieceBars + 1) * kBarSeconds;
    std::vector<Channel> channels;
    for (const TrackRow& r : kTracks) {
        Channel c{.id = FirstTrack + channels.size(), .kind = ChannelKind::AudioTrack, .name = r.name};
        c.fader_db = r.faderDb;
        c.pan = r.pan;
        c.colour = r.colour;
        c.output = r.output == kMasterOutput ? master : r.output;
        c.clips = r.name == kDemoVoice ? VoiceClips()
                                       : std::vector<Clip>{{.file = DemoAudioFile(r.name), .length = length}};
        channels.push_back(std::move(c));
    }
    for (const BusRow& r : kBusses) {
        Channel c{.id = r.id, .kind = ChannelKind::AudioBus, .name = r.name};
        c.fader_db = r.faderDb;
        c.colour = r.colour;
        c.output = master;
        channels.push_back(std::move(c));
    }
    session.channels.insert(session.channels.begin(), channels.begin(), channels.end());
    session.length = length;
    session.tempo = kPieceTempo;
    session.loop = {kLoopFromBar * kBarSeconds, kLoopToBar * kBarSeconds, true};
    return session;
}

}  // namespace host
