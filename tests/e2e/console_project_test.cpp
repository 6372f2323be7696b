// The console on a real project: the module loaded as a host loads it, the engine playing behind the
// contract.
#include "tests/e2e/console_project.h"

#include <atomic>
#include <cmath>
#include <thread>

namespace {

constexpr double SECONDS = SINE_SECONDS;

TEST_F(ConsoleProject, AFaderMovesTheStripTheEngineAndTheRender) {
    Do("Bass:mute=on");
    Do("Keys:mute=on");
    const double before = RenderDb("before.wav");
    Do("Drums:fader=-12.0");
    EXPECT_NEAR(FaderDb("Drums"), -12.0, 0.05);
    EXPECT_NEAR(Find("Drums").fader_db, -12.0, 0.001);
    EXPECT_NEAR(RenderDb("after.wav"), before - 12.0, 0.01);
    Do("Drums:mute=on");
    EXPECT_TRUE(Find("Drums").mute);
    EXPECT_LT(RenderDb("muted.wav"), -150);
    Do("Drums:mute=off");
    Do("Drums:fader=-100");
    EXPECT_EQ(Find("Drums").fader_db, kSilenceDb) << "the lowest position is silence";
}

TEST_F(ConsoleProject, AGestureReachesItsValueAtEveryHeightOfTheWindow) {
    for (int height = 300; height < 700; height += 23) {
        place.resize(760, height);
        Settle();
        for (const char* gesture :
             {"Drums:fader=-12.0", "Drums:fader=-0.3", "Drums:fader=-33.3", "Drums:fader=6.0"}) {
            SCOPED_TRACE(testing::Message() << gesture << " at " << height);
            Do(gesture);
        }
    }
}

TEST_F(ConsoleProject, SoloIsHeardAloneAndEverySwitchReachesTheSession) {
    const double all = RenderDb("all.wav");
    Do("Keys:solo=on");
    EXPECT_TRUE(Find("Keys").solo);
    EXPECT_NEAR(RenderDb("solo.wav"), all - 10 * std::log10(3.0), 0.05) << "one of three equal tones";
    Do("Keys:solo=off");
    Click(Centre("Drums", "Invert Phase"));
    EXPECT_TRUE(Find("Drums").phase);
}

TEST_F(ConsoleProject, SelectedStripsKeepTheirOffsets) {
    project.EditChannel(Find("Bass").id, [](Channel& c) { c.fader_db = -6; });
    ASSERT_TRUE(Until([&] { return FaderDb("Bass") == -6.0; })) << "the host's change reaches the strip";
    Click(Title("Drums"));
    Click(Title("Bass"), Qt::ControlModifier);
    EXPECT_TRUE(Find("Drums").selected && Find("Bass").selected && !Find("Keys").selected);
    Do("Drums:fader=-9.5");
    EXPECT_NEAR(Find("Bass").fader_db, -15.5, 0.001);
    EXPECT_NEAR(Find("Keys").fader_db, 0, 0.001);
    ASSERT_TRUE(Until([&] { return FaderDb("Bass") == -15.5; }));
}

TEST_F(ConsoleProject, FollowsChannelsThatComeGoMoveAndAreRenamed) {
    EXPECT_EQ(Channels().mid(0, 3), (QStringList{"Drums", "Bass", "Keys"}));
    const ChannelId bus = project.AddChannel(ChannelKind::AudioBus, "Room");
    const ChannelId track = project.AddChannel(ChannelKind::AudioTrack, "Guitar");
    ASSERT_TRUE(Until([&] { return Channels().contains("Room") && Channels().value(3) == "Guitar"; }));
    EXPECT_TRUE(project.MoveChannel(track, 0));
    ASSERT_TRUE(Until([&] {
        return Channels().mid(0, 4) == QStringList{"Guitar", "Drums", "Bass", "Keys"};
    }));
    EXPECT_TRUE(project.RenameChannel(track, "Gitarre"));
    ASSERT_TRUE(Until([&] { return Channels().value(0) == "Gitarre"; }));
    Do("Gitarre:fader=-3.0");
    EXPECT_TRUE(project.RemoveChannel(track));
    EXPECT_TRUE(project.RemoveChannel(bus));
    ASSERT_TRUE(Until([&] { return Channels().value(0) == "Drums" && !Channels().contains("Room"); }));
}

TEST_F(ConsoleProject, ThePageClosesAndOpensWhileAudioRuns) {
    project.SetLoop({0, SECONDS, true});  // however slow the machine is, it does not come to the end
    project.Play();
    for (int round = 0; round < 3; round++) {
        ASSERT_TRUE(Until([&] { return LevelDb("Drums") > -30; })) << "the meters of a new page move";
        place.Close();
        const int64_t before = project.Transport().frame;
        ASSERT_TRUE(Until([&] { return project.Transport().frame != before; }))
            << "audio goes on without the page";
        ASSERT_TRUE(OpenPage());
    }
    project.Stop();
}

TEST_F(ConsoleProject, AnotherSessionOpensUnderTheOpenPage) {
    Session other = NewSession();
    Channel track;
    track.id = 7;
    track.name = "Only";
    for (const Channel& channel : other.channels)
        if (channel.kind == ChannelKind::Master) track.output = channel.id;
    other.length = 1;
    other.channels.insert(other.channels.begin(), track);
    SaveSession(other, Folder() / "other.tarn");
    plugin->ProjectClosing();
    project.Open(Folder() / "other.tarn");
    plugin->ProjectOpened();
    EXPECT_TRUE(Until([&] { return Channels().value(0) == "Only"; }));
    EXPECT_THROW(project.Open(Folder() / "missing.tarn"), SessionError);
    EXPECT_EQ(Find("Only").id, 7u) << "the open project stands";
}

TEST_F(ConsoleProject, SavedElsewhereItStillFindsItsFiles) {
    const double before = RenderDb("before.wav");
    std::filesystem::create_directory(Folder() / "other");
    project.SaveAs(Folder() / "other" / "moved.tarn");
    EXPECT_FALSE(project.IsModified());
    project.Open(Folder() / "other" / "moved.tarn");
    EXPECT_NEAR(RenderDb("after.wav"), before, 0.001);
}

TEST_F(ConsoleProject, PreferencesAreKeptAndTheMixThatWasNotSavedIsNot) {
    Do("Drums:fader=-12.0");
    place.Close();
    plugin->ProjectClosing();
    plugin.reset();
    project.SavePreferences();
    const Session saved = LoadSession(Folder() / "test.tarn");
    EXPECT_EQ(FindChannel(saved, Find("Drums").id)->fader_db, 0);
    EXPECT_EQ(std::get<uint32_t>(saved.preferences.at({"Mixer Console", 100u})), 1015u);
}

TEST_F(ConsoleProject, FourThreadsOfHostChangesWhileThePageIsWorked) {
    project.Play();
    const ChannelId ids[] = {Find("Drums").id, Find("Bass").id, Find("Keys").id};
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
        threads.emplace_back([&, t] {
            for (int i = 0; !stop; i++) {
                const ChannelId id = ids[i % 3];
                if (t == 0) project.EditChannel(id, [i](Channel& c) { c.fader_db = -(i % 60); });
                if (t == 1) project.EditChannel(id, [i](Channel& c) { c.mute = i & 4; });
                if (t == 2) project.RenameChannel(id, "N" + std::to_string(i % 10));
                if (t == 3) {
                    const ChannelId made = project.AddChannel(ChannelKind::AudioTrack, "T");
                    project.MoveChannel(made, 0);
                    project.RemoveChannel(made);
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    for (int i = 0; i < 150; i++) {
        // Among the faders: a menu would wait for a choice.
        const QPoint at(200 + i * 37 % 700, 230 + i * 13 % 180);
        Press(at);
        Move(at + QPoint(0, i % 50 - 25));
        Release(at + QPoint(0, i % 50 - 25));
        Wheel(at, i & 1 ? 120 : -120);
        Settle();
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    for (size_t i = 0; i < 3; i++) project.RenameChannel(ids[i], "Final" + std::to_string(i));
    EXPECT_TRUE(Until([&] {
        QStringList tracks = Channels().mid(0, 3);
        tracks.sort();
        return tracks == QStringList{"Final0", "Final1", "Final2"};
    })) << "in the end the page shows what the host has: "
        << Channels().join(' ').toStdString();
}

}  // namespace
