// A control surface on the real host: bytes on a cable, the module loaded as a host loads it, the engine, and
// bytes back. Without hardware on a cable of the test's own, and through a JACK server where one runs.
#include "host/app/page_host.h"
#include "host/contract/plugin.h"
#include "host/contract/project.h"
#include "tests/e2e/midi_cable.h"
#include "tests/e2e/sine_files.h"
#include "tests/support/page_driver.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <thread>

using namespace tarn;

namespace {

using namespace host;
using Bytes = std::vector<uint8_t>;

constexpr char SECTION[] = "Control Surface";
constexpr uint32_t KEY_OUTPUT = 100, KEY_INPUT = 101, KEY_MAPS = 102, KEY_MAP = 103, KEY_PATH = 400;
constexpr int TRACKS = 10;
/// Where a motor of 14 bits stands at unity and at -6 dB.
constexpr int UNITY = 10747, MINUS_SIX = 6237;

Bytes Bend(int channel, int place) {
    return {static_cast<uint8_t>(0xE0 | channel), static_cast<uint8_t>(place & 127),
            static_cast<uint8_t>(place >> 7)};
}

/// Tells when the plug-ins before it have seen what came in, and counts.
struct LastFilter final : IMPEventFilter {
    std::atomic<int> left{0};
    std::atomic<int> batches{0};
    HRESULT QueryInterface(const GUID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    HRESULT FilterEvents(IMPEventStream* stream, const MPFILTERINFO*) override {
        MPEVENTREC event{};
        uint32_t cookie = 0, more = 0;
        constexpr uint32_t SHORT = 0xFFF;
        for (HRESULT hr = stream->First(&event, &cookie, &more, SHORT); hr == S_OK;
             hr = stream->Next(&event, &cookie, &more, SHORT))
            left++;
        batches++;
        return S_OK;
    }
    HRESULT GetFilterState(uint32_t*, uint32_t*, uint32_t*) override { return S_OK; }
    HRESULT SetFilterState(uint32_t) override { return S_OK; }
};

/// Counts changes of volumes that the host tells of.
struct VolumeCounter final : IMPCtrlChannelSink {
    std::atomic<int> changes{0};
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        *out = iid == IID_IMPCtrlChannelSink ? this : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    HRESULT OnControl(const MPCTRLREC* rec) override {
        if (rec->id == MPCTRL_CHANNEL && rec->kindMask & MASK_VOLUME) changes++;
        return S_OK;
    }
};

class Surface : public testing::Test {
protected:
    QTemporaryDir folder;
    std::unique_ptr<MidiCable> cable;
    std::unique_ptr<Project> project;
    std::unique_ptr<Plugin> plugin;
    LastFilter last;
    Bytes received;  ///< since Forget

    void SetUp() override { cable = std::make_unique<BytesCable>(); }
    void TearDown() override { Unload(); }

    std::filesystem::path Folder() const { return folder.path().toStdString(); }
    void Open() {
        ::setenv("XDG_DATA_HOME", folder.filePath(QStringLiteral("data")).toStdString().c_str(), 1);
        Session session = NewSession();
        session.length = SINE_SECONDS;
        ChannelId master = kNoChannel;
        for (const Channel& channel : session.channels)
            if (channel.kind == ChannelKind::Master) master = channel.id;
        WriteSine(Folder() / "sine.wav", 440);
        for (int i = 0; i < TRACKS; i++) {
            Channel track;
            track.id = 100 + static_cast<ChannelId>(i);
            track.name = "Track " + std::to_string(i + 1);
            track.output = master;
            if (i == 0) track.clips.push_back({"sine.wav", 0, 0, SINE_SECONDS, 0});
            session.channels.insert(session.channels.begin() + i, track);
        }
        SaveSession(session, Folder() / "test.tarn");
        const EngineOptions silent{
            .systemDevice = false, .deviceName = {}, .blockFrames = 512, .openDevice = {}};
        project = std::make_unique<Project>(silent, cable->Driver());
        project->Open(Folder() / "test.tarn");
    }
    void Load(const std::string& map, const std::string& path = {}) {
        Preferences all = project->UserPreferences();
        const auto keep = [&](uint32_t key, PreferenceValue value) {
            all[{SECTION, key}] = std::move(value);
        };
        const auto guid = [](const std::vector<MidiPort>& ports, const std::string& name) -> Bytes {
            const auto at = std::ranges::find(ports, name, &MidiPort::name);
            EXPECT_NE(at, ports.end()) << name;
            if (at == ports.end()) return Bytes(sizeof(GUID));
            const auto* bytes = reinterpret_cast<const uint8_t*>(&at->guid);
            return {bytes, bytes + sizeof at->guid};
        };
        keep(KEY_INPUT, guid(project->Midi()->Inputs(), cable->InputName()));
        keep(KEY_OUTPUT, guid(project->Midi()->Outputs(), cable->OutputName()));
        if (!map.empty()) keep(KEY_MAP, map);
        if (!path.empty()) {
            keep(KEY_MAPS, 1u);
            keep(KEY_PATH, path);
        }
        project->SetUserPreferences(all);
        Start();
        auto* bytes = dynamic_cast<BytesCable*>(cable.get());
        ASSERT_TRUE(!bytes || PageDriver::Until([&] { return bytes->IsOpen(); }));
    }
    /// With the preferences that there are.
    void Start() {
        plugin = std::make_unique<Plugin>(TARN_SURFACE_MODULE, *project, Project::Keeps::ForUser);
        project->AddFilter(&last);
        plugin->ProjectOpened();
    }
    void Unload() {
        if (!plugin) return;
        plugin->ProjectClosing();
        plugin.reset();
        project->RemoveFilter(&last);
    }
    Channel Track(int index) {
        return *FindChannel(project->Snapshot(), 100 + static_cast<ChannelId>(index));
    }
    void SetFader(int index, double db) {
        project->EditChannel(100 + static_cast<ChannelId>(index), [db](Channel& c) { c.fader_db = db; });
    }
    bool Received(const Bytes& wanted) {
        const Bytes more = cable->TakeReceived();
        received.insert(received.end(), more.begin(), more.end());
        return std::search(received.begin(), received.end(), wanted.begin(), wanted.end()) != received.end();
    }
    void Forget() {
        cable->TakeReceived();
        received.clear();
    }
    /// Where a motor was sent to last; -1 for nowhere.
    int MotorPlace(int channel) {
        Received({});
        int place = -1;
        for (size_t i = 0; i + 2 < received.size(); i++)
            if (received[i] == (0xE0 | channel)) place = received[i + 1] + received[i + 2] * 128;
        return place;
    }
    /// Sends, and waits until the plug-in has seen it.
    void SendAndWait(const Bytes& bytes) {
        const int before = last.batches;
        cable->Send(bytes);
        ASSERT_TRUE(PageDriver::Until([&] { return last.batches > before; }));
    }
    /// Sends, and waits until it has been done: a button behind it, which has done its work on a track,
    /// tells.
    void Play(Bytes bytes, int track = 0) {
        const bool before = Track(track).mute;
        bytes.insert(bytes.end(), {0xB0, 17, 127});
        cable->Send(bytes);
        ASSERT_TRUE(PageDriver::Until([&] { return Track(track).mute != before; }));
    }
};

QComboBox* Box(const QWidget& page, const char* name) {
    for (QComboBox* box : page.findChildren<QComboBox*>())
        if (box->accessibleName() == QLatin1String(name)) return box;
    return nullptr;
}

class SurfaceOnACable : public Surface, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        if (GetParam() == std::string("bytes")) return Surface::SetUp();
        std::string why;
        cable = NewJackCable(why);
        if (!cable) GTEST_SKIP() << "no MIDI without hardware here: " << why;
    }
};

TEST_P(SurfaceOnACable, AMotorFaderMovesTheMixAndTheMixMovesIt) {
    Open();
    Load("Motor faders, pitch bend");
    ASSERT_TRUE(PageDriver::Until([&] { return std::abs(MotorPlace(0) - UNITY) <= 1; }));
    ASSERT_TRUE(PageDriver::Until([&] {
        return Received({'T', 'r', 'a', 'c', 'k', '2'});
    })) << "names reach the display";
    const double before = (project->Render(Folder() / "a.wav", {}), RmsDb(Folder() / "a.wav"));

    cable->Send({0x90, 104, 127});  // a hand on the fader
    cable->Send(Bend(0, MINUS_SIX));
    ASSERT_TRUE(PageDriver::Until([&] { return std::abs(Track(0).fader_db + 6) < 0.01; }))
        << Track(0).fader_db;
    project->Render(Folder() / "b.wav", {});
    EXPECT_NEAR(RmsDb(Folder() / "b.wav"), before - 6, 0.02) << "the engine plays it";
    Forget();
    SetFader(0, -20);
    SetFader(1, -6);
    ASSERT_TRUE(PageDriver::Until([&] { return std::abs(MotorPlace(1) - MINUS_SIX) <= 1; }));
    EXPECT_EQ(MotorPlace(0), -1) << "the motor does not pull against the hand";
    cable->Send({0x90, 104, 0});
    ASSERT_TRUE(PageDriver::Until([&] { return MotorPlace(0) > 0; })) << "let go, it goes where the value is";
    EXPECT_LT(MotorPlace(0), MINUS_SIX);

    Forget();
    cable->Send({0x90, 16, 127, 0x90, 16, 0});
    ASSERT_TRUE(PageDriver::Until([&] { return Track(0).mute; }));
    ASSERT_TRUE(PageDriver::Until([&] { return Received({0x90, 16, 127}); })) << "the lamp";
    project->EditChannel(100, [](Channel& c) { c.mute = false; });
    ASSERT_TRUE(PageDriver::Until([&] { return Received({0x90, 16, 0}); }));

    cable->Send({0x90, 94, 127});
    ASSERT_TRUE(PageDriver::Until([&] { return project->Transport().playing; }));
    ASSERT_TRUE(PageDriver::Until([&] { return Received({0x90, 94, 127}); }));
    project->Stop();
    ASSERT_TRUE(PageDriver::Until([&] { return Received({0x90, 94, 0}); }));
}

INSTANTIATE_TEST_SUITE_P(Over, SurfaceOnACable, testing::Values("bytes", "jack"),
                         [](const auto& cable) { return std::string(cable.param); });

TEST_F(Surface, AKeyboardPlaysTheTrackThatListensAndNoOther) {
    Open();
    auto& bytes = dynamic_cast<BytesCable&>(*cable);
    const ChannelId synth = project->AddChannel(ChannelKind::Synth, "Piano");
    const ChannelId keys = project->AddChannel(ChannelKind::MidiTrack, "Keys");
    const auto peak = [&] {
        for (const ChannelReport& row : project->Report())
            if (row.channel.id == keys) return row.peakDb[0];
        return 0.0;
    };
    EXPECT_FALSE(bytes.IsOpen());
    project->EditChannel(keys, [synth](Channel& c) {
        c.output = synth;
        c.monitor = true;
    });
    ASSERT_TRUE(PageDriver::Until([&] { return bytes.IsOpen(); }));
    cable->Send({0x90, 60, 127});
    EXPECT_TRUE(PageDriver::Until([&] { return peak() > -1; }));
    project->EditChannel(keys, [](Channel& c) { c.monitor = false; });
    EXPECT_TRUE(PageDriver::Until([&] { return !bytes.IsOpen(); }));
}

TEST_F(Surface, AFaderWithoutAMotorWaitsForTheValueAndBanksMoveWithoutAJump) {
    Open();
    Load("Eight faders, controllers 1 to 8");
    Play({0xB0, 1, 10});
    Play({0xB0, 1, 20});
    EXPECT_EQ(Track(0).fader_db, 0) << "far from it";
    Play({0xB0, 1, 90});
    EXPECT_GT(Track(0).fader_db, 0.5) << "passed it";
    SetFader(8, -30);
    SendAndWait({0xB0, 33, 127});  // to the second bank
    Play({0xB0, 1, 88}, 8);
    EXPECT_NEAR(Track(8).fader_db, -30, 1e-9);
    EXPECT_GT(Track(0).fader_db, 0.5);
    Play({0xB0, 1, 5}, 8);
    EXPECT_LT(Track(8).fader_db, -30.5);
    EXPECT_EQ(last.left, 0) << "all of it was taken";
}

TEST_F(Surface, TwoHalvesMakeOneValueAndAThousandMovesOneChange) {
    Open();
    const std::filesystem::path path = Folder() / "pair.xml";
    std::ofstream(path) << R"(<functiontable ver="1" device="d" name="Pair" channels="8" tables="1">
      <functionmap index="0"><map name="Pair" maps="2"><function>
        <CommandType>ECMDTYPE_RECIEVE</CommandType><ControlGroup>ECONTROL_GRP_INSERT</ControlGroup>
        <Function>Mute</Function><Channel>0</Channel>
        <mpevent><eventype>MPCNTRL_CHNG</eventype><channel>-1</channel><byte1>17</byte1><byte2>127</byte2></mpevent>
      </function><function>
        <CommandType>ECMDTYPE_RECIEVE</CommandType><flags><flag>EFUNCFLAG_VALUE</flag></flags>
        <ControlGroup>ECONTROL_GRP_INSERT</ControlGroup><Function>Volume</Function>
        <Channel>0</Channel><Index>0</Index><MinValue>0</MinValue><MaxValue>16383</MaxValue>
        <mpevent><eventype>MPCNTRL_CHNG</eventype><channel>-1</channel><byte1>39</byte1></mpevent>
        <mpevent><eventype>MPCNTRL_CHNG</eventype><channel>-1</channel><byte1>7</byte1></mpevent>
      </function></map></functionmap></functiontable>)";
    Load("Pair", path.string());
    const auto move = [](int place) {
        return Bytes{0xB0, 7, static_cast<uint8_t>(place >> 7), 0xB0, 39, static_cast<uint8_t>(place & 127)};
    };
    Play(move(UNITY + 200));  // past the value, so that it follows
    Play(move(UNITY - 200));
    EXPECT_LT(Track(0).fader_db, -0.1);

    VolumeCounter counter;
    ComPtr<IConnectionPointContainer> points;
    ComPtr<IConnectionPoint> point;
    project->PluginHost()->QueryInterface(IID_IConnectionPointContainer, points.OutVoid());
    ASSERT_EQ(points->FindConnectionPoint(IID_IMPCtrlChannelSink, point.Out()), S_OK);
    uint32_t cookie = 0;
    ASSERT_EQ(point->Advise(&counter, &cookie), S_OK);
    project->SendControl(MPCTRL_SUSPEND, SUSPEND_ON);  // while the burst comes in
    Bytes burst;
    for (int i = 1; i <= 1000; i++) {
        const Bytes bytes = move(UNITY - 200 - i * 2 + (i == 1000 ? MINUS_SIX - (UNITY - 200 - 2000) : 0));
        burst.insert(burst.end(), bytes.begin(), bytes.end());
    }
    SendAndWait(burst);
    EXPECT_EQ(counter.changes, 0);
    project->SendControl(MPCTRL_SUSPEND, 0);
    ASSERT_TRUE(PageDriver::Until([&] { return std::abs(Track(0).fader_db + 6) < 0.01; }))
        << Track(0).fader_db;
    EXPECT_EQ(counter.changes, 1);
    point->Unadvise(cookie);
}

TEST_F(Surface, AButtonCallsACommandOfAnotherPlugInByName) {
    Open();
    ComPtr<IMPPropertyStore> store;
    project->PluginHost()->QueryInterface(IID_IMPPropertyStore, store.OutVoid());
    const MPCOMMAND commands[] = {{u"Desk.One", nullptr, 50061, 0}, {u"Desk.Two", nullptr, 50062, 0}};
    MPCOMMANDREG registration{};
    registration.size = sizeof registration;
    registration.action = COMMANDS_REGISTER;
    registration.name = u"Desk";
    registration.commands = commands;
    registration.commandCount = 2;
    ASSERT_EQ(store->SetProperty(&MPPROP_COMMANDS, 0, sizeof registration, &registration), S_OK);
    Load("Eight faders, controllers 1 to 8");
    PageHost place;
    place.resize(860, 620);
    place.show();
    ASSERT_TRUE(place.Open(plugin->MakePage(CLSID_SurfacePage), plugin->Object()));
    auto* table = place.PageWindow()->findChild<QTableWidget*>();
    const int lastRow = table->rowCount() - 1;
    EXPECT_EQ(table->verticalHeaderItem(lastRow)->text(), "Desk.Two");
    table->setCurrentCell(lastRow, 0);
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(table, &enter);
    SendAndWait({0x90, 60, 127});
    ASSERT_TRUE(PageDriver::Until([&] { return !table->item(lastRow, 0)->text().isEmpty(); }));
    EXPECT_EQ(table->item(lastRow - 1, 0)->text(), "");
    place.Close();
    Unload();
    Load({});  // from the file that was written
    std::vector<uint32_t> wishes;
    cable->Send({0x90, 61, 127, 0x90, 60, 0, 0x90, 60, 127});
    ASSERT_TRUE(PageDriver::Until([&] {
        for (const uint32_t wish : project->TakeCommandWishes()) wishes.push_back(wish);
        return !wishes.empty();
    }));
    EXPECT_EQ(wishes, std::vector<uint32_t>{50062}) << "its press alone";
}

TEST_F(Surface, ComesBackWhenItIsPluggedInAgain) {
    Open();
    Load("Motor faders, pitch bend");
    auto& bytes = static_cast<BytesCable&>(*cable);
    ASSERT_TRUE(PageDriver::Until([&] { return bytes.IsOpen() && MotorPlace(0) >= 0; }));
    bytes.Plug(false);
    ASSERT_TRUE(PageDriver::Until([&] { return !bytes.IsOpen(); }));
    Unload();
    Start();  // without it, it is waited for
    Forget();
    bytes.Plug(true);
    ASSERT_TRUE(PageDriver::Until([&] { return bytes.IsOpen() && std::abs(MotorPlace(0) - UNITY) <= 1; }))
        << "and is shown where things are";
    cable->Send({0x90, 16, 127});
    ASSERT_TRUE(PageDriver::Until([&] { return Track(0).mute; }));
}

TEST_F(Surface, AControlIsLearntOnThePageAndTheMapIsTheUsersOwn) {
    Open();
    Load("Eight faders, controllers 1 to 8");
    PageHost place;
    place.resize(860, 620);
    place.show();
    ASSERT_TRUE(place.Open(plugin->MakePage(CLSID_SurfacePage), plugin->Object()));
    QWidget& page = *place.PageWindow();
    auto* table = page.findChild<QTableWidget*>();
    const auto button = [&](const QString& text) -> QPushButton* {
        for (QPushButton* b : page.findChildren<QPushButton*>())
            if (b->text().remove(QLatin1Char('&')) == text) return b;
        return nullptr;
    };
    const auto cell = [&](int row, int column) { return table->item(row, column)->text(); };
    const auto shows = [&](const QString& text) {
        for (QLabel* label : page.findChildren<QLabel*>())
            if (label->text() == text) return true;
        return false;
    };
    EXPECT_EQ(cell(0, 1), "CC 2");
    cable->Send({0xB2, 20, 5});
    ASSERT_TRUE(PageDriver::Until([&] { return shows("Controller 20, channel 3: 5: no function"); }));
    table->setCurrentCell(0, 1);
    button("Learn")->click();
    ASSERT_TRUE(PageDriver::Until([&] { return button("End learning"); }));
    SendAndWait({0x92, 60, 100});  // the touch of the fader is not its move
    SendAndWait({0xB2, 20, 5});
    ASSERT_TRUE(PageDriver::Until([&] { return cell(0, 1) == "CC 20"; })) << cell(0, 1).toStdString();
    EXPECT_TRUE(button("Learn"));
    Play({0xB2, 20, 5});
    Play({0xB2, 20, 127});
    EXPECT_GT(Track(1).fader_db, 11.9) << "and works at once";
    cable->Send({0xB2, 20, 127});
    ASSERT_TRUE(PageDriver::Until([&] { return shows("Controller 20, channel 3: 127: Volume, Strip 2"); }));

    table->setCurrentCell(3, 0);
    button("Learn")->click();
    SendAndWait({0xB2, 20, 127});  // a control has one function
    ASSERT_TRUE(PageDriver::Until([&] { return cell(3, 0) == "CC 20" && cell(0, 1).isEmpty(); }));
    button("Undo")->click();
    EXPECT_EQ(cell(0, 1), "CC 20");
    EXPECT_EQ(cell(3, 0), "CC 17");
    table->setCurrentCell(0, 2);
    button("Forget")->click();
    EXPECT_EQ(cell(0, 2), "");
    EXPECT_EQ(cell(0, 3), "CC 4") << "the others stand";

    auto* maps = Box(page, "Map");
    const auto choose = [&](const char* name) {
        const int index = maps->findText(QString::fromLatin1(name));
        ASSERT_GE(index, 0) << name;
        maps->setCurrentIndex(index);
        emit maps->activated(index);
    };
    choose("Eight faders, controllers 1 to 8");
    EXPECT_EQ(cell(0, 1), "CC 2") << "what came with the program is as it was";
    button("Forget")->click();
    EXPECT_TRUE(maps->currentText().endsWith("(own 2)")) << "the first one is not written over";
    choose("Eight faders, controllers 1 to 8 (own)");
    EXPECT_EQ(cell(0, 1), "CC 20") << "chosen again";

    button("Learn")->click();
    ASSERT_TRUE(button("End learning"));
    place.hide();
    Play({0xB2, 20, 5});  // comes through: nobody waits for a control on a page that is hidden

    place.Close();
    Unload();
    Load({});
    ASSERT_TRUE(place.Open(plugin->MakePage(CLSID_SurfacePage), plugin->Object()));
    table = place.PageWindow()->findChild<QTableWidget*>();
    EXPECT_EQ(cell(0, 1), "CC 20") << "kept, and chosen again";
    EXPECT_EQ(cell(0, 2), "");
    const std::filesystem::path own =
        Folder() / "data/Tarn/1.0/surfaces/Eight faders, controllers 1 to 8 (own).xml";
    EXPECT_TRUE(std::filesystem::exists(own));
    QTimer::singleShot(0, [] {
        auto* question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_TRUE(question);
        question->button(QMessageBox::Yes)->click();
    });
    for (QPushButton* b : place.PageWindow()->findChildren<QPushButton*>())
        if (b->text() == "&Delete map...") b->click();
    EXPECT_FALSE(std::filesystem::exists(own));
    EXPECT_EQ(cell(0, 1), "") << "no map is chosen";
    place.Close();
}

TEST_F(Surface, EventsChangesAndThePageAtOnceAndItsEndInTheMiddle) {
    Open();
    Load("Motor faders, pitch bend");
    PageHost place;
    place.show();
    ASSERT_TRUE(place.Open(plugin->MakePage(CLSID_SurfacePage), plugin->Object()));
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        for (int i = 0; !stop; i++) {
            cable->Send(Bend(i % 8, i * 37 % 16384));
            cable->Send({0x90, static_cast<uint8_t>(i % 100), 127});
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    threads.emplace_back([&] {
        for (int i = 0; !stop; i++) {
            SetFader(i % TRACKS, -(i % 60));
            project->MoveChannel(100 + static_cast<ChannelId>(i % TRACKS), 0);
            if (i % 7 == 0) project->RemoveChannel(project->AddChannel(ChannelKind::AudioTrack, "T"));
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    });
    QComboBox* boxes[] = {Box(*place.PageWindow(), "Map"), Box(*place.PageWindow(), "Input")};
    for (int i = 0; i < 60; i++) {
        QComboBox* box = boxes[i / 4 % 2];
        box->setCurrentIndex(i % box->count());
        emit box->activated(i % box->count());
        PageDriver::Settle();
    }
    place.Close();
    Unload();
    stop = true;
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
