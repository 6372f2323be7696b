#include "tests/host/test_session.h"

#include <cstdlib>
#include <stdexcept>

namespace host::test {

Session FullSession() {
    Session s;
    s.sample_rate = 44100;
    s.length = 12.5;
    s.loop = {1.0 / 3, 2.25, true};
    s.tempo = 97.3;
    s.channels = {
        {.id = 9,
         .kind = ChannelKind::AudioTrack,
         .name = "Gitarre \u00e4\u6f22",
         .fader_db = -3.0102999566398,
         .pan = -0.25,
         .mute = true,
         .phase = true,
         .selected = true,
         .colour = 51,
         .output = 4,
         .clips = {{"audio/a b.wav", 0, 0.1, 3, -6}, {"../c.flac", 3.5, 0, 1e-3, 0}}},
        {.id = 4, .kind = ChannelKind::AudioBus, .name = "Bus", .solo = true, .hidden = true, .output = 1},
        {.id = 1, .kind = ChannelKind::Master, .name = "", .fader_db = kSilenceDb},
        {.id = 2, .kind = ChannelKind::PreviewBus, .name = "Preview"},
        {.id = 5,
         .kind = ChannelKind::Fx,
         .name = "Room",
         .output = 1,
         .input_db = -6,
         .input_pan = 0.5,
         .inserts = {{3, "urn:room", "Room", true, true, "a \"state\""}, {1, "urn:eq"}},
         .chain_bypass = true,
         .automation_mode = AutomationMode::Touch,
         .automation = {{{AutomationTarget::Volume}, {{0, -3}, {1.5, 0}}},
                        {{AutomationTarget::Parameter, 3, "size"}, {{0.25, 1e-3}}}}},
        {.id = 6,
         .kind = ChannelKind::Synth,
         .output = 4,
         .instrument = Insert{1, "urn:piano"},
         .sends = {{2, 5, -12, 0.5, true, true, false, PanModel::Film}}},
        {.id = 7,
         .kind = ChannelKind::MidiTrack,
         .output = 6,
         .clips = {{"a.mid", 0, 0, 3, 0}},
         .input = {.midi_port = "Keys", .midi_channel = 16},
         .midi_channel = 3},
        {.id = 8,
         .kind = ChannelKind::InputBus,
         .output = 1,
         .input = {.source = InputSource::Device, .first = 2, .mono = true}},
    };
    s.channels[0].fader_right_db = -4;
    s.channels[0].pan_model = PanModel::Add;
    s.channels[0].width = 0.5;
    s.channels[0].solo_safe = s.channels[0].arm = s.channels[0].monitor = true;
    s.channels[0].input = {.source = InputSource::Channel, .channel = 6};
    s.channels[0].place = {-0.5, -1, -10};
    s.channels[0].sends = {{1, 5}, {2, 4}};
    s.channels[2].faders = {-1, -2, -3};
    s.mode = ChannelMode::Surround51;
    s.monitoring = {true, true};
    s.preferences[{"Mixer Console", "ShowGroups"}] = uint32_t{0xFFFFFFFF};
    s.preferences[{"Mixer Console", uint32_t{100}}] = int32_t{-1};
    s.preferences[{"Mixer Console", uint32_t{2010}}] = std::string("View \u2014 \"1\"");
    s.preferences[{"Other", uint32_t{100}}] = std::vector<uint8_t>{0, 0x7f, 0xff};
    return s;
}

TempFolder::TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tarn-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    m_path = name;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

}  // namespace host::test
