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
    };
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
