// The program as a script runs it, and its window.
#include "host/app/effect_window.h"
#include "host/app/main_window.h"
#include "host/app/settings.h"
#include "host/session/session.h"
#include "tests/e2e/midi_cable.h"
#include "tests/host/test_effects.h"
#include "tests/support/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <QApplication>
#include <QDoubleSpinBox>
#include <QFile>
#include <QHelpEvent>
#include <QImage>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSet>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <csignal>
#include <functional>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

struct RunResult {
    int code;
    QByteArray errors;
};

RunResult Execute(const QString& program, const QStringList& arguments,
                  const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
                  const std::function<void()>& inChild = {}) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setChildProcessModifier(inChild);
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(120000));
    QByteArray errors;
    for (const QByteArray& line : process.readAllStandardError().split('\n'))
        if (line.startsWith("mixhost: ")) errors += line + '\n';  // Qt's platform has remarks of its own
    return {process.exitCode(), errors};
}

RunResult Mixhost(const QStringList& arguments, const std::function<void()>& inChild = {}) {
    return Execute(QStringLiteral(TARN_MIXHOST), arguments, QProcessEnvironment::systemEnvironment(),
                   inChild);
}

constexpr uint32_t ENGLISH = 1033;
const std::filesystem::path MODULES = std::filesystem::path(TARN_CONSOLE_MODULE).parent_path();
host::Settings NO_SETTINGS(false);

nlohmann::json ReadJson(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return nlohmann::json::parse(file.readAll().toStdString());
}

void Write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

TEST(Mixhost, ASessionThatCannotBeReadEndsWithOneLineAndCode2) {
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("bad.tarn"));
    for (const QByteArray& bytes :
         {QByteArray("{"), QByteArray("{\"format\": \"tarn-session\", \"version\": 2}"),
          QByteArray("\0\xff", 2), QByteArray()}) {
        Write(path, bytes);
        const RunResult run =
            Mixhost({path, QStringLiteral("--headless"), QStringLiteral("--seconds"), QStringLiteral("0")});
        EXPECT_EQ(run.code, 2);
        EXPECT_EQ(run.errors.count('\n'), 1) << run.errors.toStdString();
        EXPECT_TRUE(run.errors.contains("bad.tarn")) << run.errors.toStdString();
    }
    EXPECT_EQ(Mixhost({folder.filePath(QStringLiteral("none.tarn")), QStringLiteral("--headless")}).code, 2);
}

TEST(Mixhost, WorksInARealWindowSystem) {
    QTemporaryDir folder;
    const std::string path = folder.filePath(QStringLiteral("x.tarn")).toStdString();
    host::SaveSession(host::NewSession(), path);
    const QString png = folder.filePath(QStringLiteral("x.png"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    // The page is a native child of the host's window here, which the offscreen platform knows nothing of.
    const RunResult run =
        Execute(QStringLiteral("xvfb-run"),
                {QStringLiteral("-a"), QStringLiteral(TARN_MIXHOST), QString::fromStdString(path),
                 "--null-device", "--seconds", "0.2", "--screenshot", png, "--gesture", "Master:fader=-3.0"},
                environment);
    EXPECT_EQ(run.code, 0) << run.errors.toStdString();
    const QImage picture(png);
    ASSERT_FALSE(picture.isNull());
    const QImage strips = picture.copy(0, 120, 160, 300);
    QSet<QRgb> colours;
    for (int y = 0; y < strips.height(); y++)
        for (int x = 0; x < strips.width(); x++) colours.insert(strips.pixel(x, y));
    EXPECT_GT(colours.size(), 20) << "strips are painted";
}

TEST(Mixhost, AScreenReaderReadsAndWorksTheConsoleOverItsBus) {
    QTemporaryDir folder;
    const std::string path = folder.filePath(QStringLiteral("x.tarn")).toStdString();
    host::Project project;
    project.AddChannel(host::ChannelKind::AudioTrack, "Drums");
    project.SaveAs(path);
    const auto ask = [&](const std::string& actions) {
        return RunShell(
            "XDG_CONFIG_HOME=" + folder.path().toStdString() +
            " dbus-run-session -- xvfb-run -a sh -c 'QT_QPA_PLATFORM=xcb "
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 " TARN_MIXHOST " " +
            path + " --null-device --midi none > /dev/null 2>&1 & host=$!; " TARN_AT_SPI_CLIENT " mixhost " +
            actions + " 2>&1; code=$?; kill $host; wait; exit $code' 2> /dev/null");
    };
    const Outcome tree = ask("");
    EXPECT_EQ(tree.code, 0);
    for (const char* line : {"0\tpanel\tMixing Console", "1\tpanel\tDrums\t", "2\tslider\tVolume\t0.0\n",
                             "2\tslider\tPan\t0.0\n", "2\tcheck box\tMute\toff\n", "2\tprogress bar\tLevel",
                             "1\tpanel\tMaster\t", "1\ttool bar\t"})
        EXPECT_NE(tree.text.find(line), std::string::npos) << line << " is not in\n" << tree.text;
    const Outcome worked = ask("set Drums Volume -6 get Drums Volume press Drums Mute get Drums Mute");
    EXPECT_EQ(worked.code, 0);
    EXPECT_NE(worked.text.find("-6.0\non\n"), std::string::npos) << worked.text;
}

TEST(Mixhost, ASkinsImagesTakeThePlaceOfOurs) {
    QTemporaryDir folder;
    const std::string path = folder.filePath(QStringLiteral("x.tarn")).toStdString();
    host::SaveSession(host::NewSession(), path);
    const QString png = folder.filePath(QStringLiteral("x.png"));
    const auto shown = [&](QSize strip) {
        QImage images(strip, QImage::Format_ARGB32);
        images.fill(QColor(255, 0, 255));
        EXPECT_TRUE(images.save(folder.filePath(QStringLiteral("15-13x19.png"))));
        const RunResult run = Mixhost({QString::fromStdString(path), "--headless", "--seconds", "0",
                                       "--screenshot", png, "--skin", folder.path()});
        if (run.code) return -1;
        const QImage picture(png);
        int count = 0;
        for (int y = 0; y < picture.height(); y++)
            for (int x = 0; x < picture.width(); x++) count += picture.pixel(x, y) == qRgb(255, 0, 255);
        return count;
    };
    EXPECT_EQ(shown({13, 19}), 13 * 19) << "the thumb of the preview, and nothing else";
    EXPECT_EQ(shown({52, 38}), 13 * 19) << "two images with twice the pixels";
    EXPECT_EQ(shown({14, 19}), -1) << "is no row of such images";
}

TEST(Mixhost, AScriptedRunLeavesPictureRenderAndReport) {
    QTemporaryDir folder;
    host::Session session = host::NewSession();
    session.length = 1;
    const std::string path = folder.filePath(QStringLiteral("small.tarn")).toStdString();
    host::SaveSession(session, path);
    const QString png = folder.filePath(QStringLiteral("a.png")),
                  wav = folder.filePath(QStringLiteral("a.wav")),
                  json = folder.filePath(QStringLiteral("a.json"));
    const QStringList common = {QString::fromStdString(path), QStringLiteral("--headless"),
                                QStringLiteral("--seconds"), QStringLiteral("0.2")};
    const RunResult good =
        Mixhost(common + QStringList{"--screenshot", png, "--render", wav, "--report", json, "--gesture",
                                     "Master:fader=-6.0", "--gesture", "Master:mute=on"});
    EXPECT_EQ(good.code, 0) << good.errors.toStdString();
    EXPECT_GT(QImage(png).width(), 600);
    const nlohmann::json report = ReadJson(json);
    EXPECT_EQ(report["sample_rate"], 48000);
    EXPECT_EQ(report["frames"], 9600);
    for (const auto& channel : report["channels"]) {
        if (channel["kind"] != "master") continue;
        EXPECT_NEAR(channel["fader_db"].get<double>(), -6.0, 0.05);
        EXPECT_TRUE(channel["mute"].get<bool>());
    }
    EXPECT_NE(host::FindChannel(host::LoadSession(path), 1), nullptr) << "the session itself is not changed";

    const RunResult bad = Mixhost(common + QStringList{"--gesture", "Nobody:fader=1"});
    EXPECT_EQ(bad.code, 1) << "not all was done";
    EXPECT_TRUE(bad.errors.contains("Nobody"));
    EXPECT_EQ(Mixhost(common + QStringList{"--gesture", "nonsense"}).code, 1);
    EXPECT_EQ(Mixhost(common + QStringList{"--render", "/nonexistent/x.wav"}).code, 1);
}

// Taken for rich text a name would have the picture that it names opened; a pipe there would keep the window.
TEST(Mixhost, NamesFromASessionAreNeverTakenForRichText) {
    QTemporaryDir folder;
    const std::string picture = folder.filePath(QStringLiteral("x.png")).toStdString();
    Write(QString::fromStdString(picture), "no picture");
    const std::string html = "<img src=\"" + picture + "\">";
    host::Session session = host::NewSession();
    session.length = 1;
    session.channels[0].name = html;
    session.channels.push_back({.id = 3, .name = html, .output = 1, .clips = {{html, 0, 0, 1, 0}}});
    const std::string path = folder.filePath(QStringLiteral("<b>s[*].tarn")).toStdString();
    host::SaveSession(session, path);
    const int watch = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(watch, picture.c_str(), IN_OPEN), 0);

    host::Project project({.systemDevice = false});
    project.Open(path);
    host::MainWindow window(project, NO_SETTINGS, MODULES, ENGLISH);
    window.show();
    for (int i = 0; i < 20; i++) QApplication::processEvents();
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        QHelpEvent help(QEvent::ToolTip, {}, widget->mapToGlobal(QPoint()));
        QApplication::sendEvent(widget, &help);
        EXPECT_FALSE(widget->toolTip().contains(QString::fromStdString(html)))
            << "a tip that Qt would take so";
    }
    EXPECT_TRUE(window.windowTitle().startsWith(QStringLiteral("<b>s[*][*]")));
    char event[256];
    EXPECT_LT(read(watch, event, sizeof event), 0) << "the picture was opened";
    close(watch);
}

TEST(Mixhost, AChangeOfTheLanguageLeavesNothingBehind) {
    host::Project project({.systemDevice = false});
    host::MainWindow window(project, NO_SETTINGS, MODULES, ENGLISH);
    const auto change = [&](const QString& language) {
        for (QAction* action : window.findChildren<QAction*>())
            if (action->text() == language) action->trigger();
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    change(QStringLiteral("Deutsch"));
    EXPECT_EQ(window.menuBar()->actions().front()->text(), QStringLiteral("&Datei"));
    const auto objects = window.findChildren<QObject*>().size();
    for (int i = 0; i < 3; i++) change(i % 2 ? QStringLiteral("Deutsch") : QStringLiteral("English"));
    change(QStringLiteral("Deutsch"));
    EXPECT_EQ(window.findChildren<QObject*>().size(), objects);
    change(QStringLiteral("\u05E2\u05D1\u05E8\u05D9\u05EA"));  // Hebrew, by its own name
    EXPECT_TRUE(window.isRightToLeft());
    const auto* page = window.findChild<QWidget*>(QStringLiteral("QM.ConsoleMixerChannel"));
    ASSERT_NE(page, nullptr);
    ASSERT_FALSE(page->findChildren<QTreeView*>().empty());
    for (const auto* list : page->findChildren<QTreeView*>())
        EXPECT_FALSE(list->isRightToLeft()) << "in a page that is not mirrored";
    change(QStringLiteral("Suomi"));
    EXPECT_FALSE(window.isRightToLeft());
    EXPECT_EQ(window.menuBar()->actions().front()->text(), QStringLiteral("&Tiedosto"));
}

TEST(Mixhost, ShortcutsWorkInTheSurfacesWindowToo) {
    QTemporaryDir folder;
    BytesCable cable;
    host::Project project({.systemDevice = false}, cable.Driver());
    project.SaveAs(folder.filePath(QStringLiteral("s.tarn")).toStdString());
    host::MainWindow window(project, NO_SETTINGS, MODULES, ENGLISH);
    window.show();
    QWidget* surface = window.ShowSurface();
    ASSERT_TRUE(surface && QTest::qWaitForWindowActive(surface));
    project.RenameChannel(1, "other");
    QTest::keyClick(surface, Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(project.IsModified());
}

TEST(Mixhost, UndoIsTheHostsInAnEffectsWindowUnlessATextIsBeingTyped) {
    host::EngineOptions options;
    options.systemDevice = false;
    options.effects = std::make_shared<host::test::TestEffects>();
    host::Project project(options);
    const host::ChannelId track = project.AddChannel(host::ChannelKind::AudioTrack, "Track");
    const host::SubId gain = project.InsertEffect(track, "urn:gain");
    const auto effect = project.FindEffect(track, gain);
    host::MainWindow window(project, NO_SETTINGS, MODULES, ENGLISH);
    window.show();
    tarn::ComPtr<IMPCtrlChannels> channels;
    project.PluginHost()->QueryInterface(IID_IMPCtrlChannels, channels.OutVoid());
    const MPCHANNELID id{track, gain, 0};
    MPCHANNELREC rec{};
    rec.effectState = EFFECT_EDITOR;
    ASSERT_EQ(channels->Set(&id, LEVEL_SUB_OBJECT, &rec, MASK_EFFECT_STATE), S_OK);
    QWidget* editor = nullptr;
    ASSERT_TRUE(QTest::qWaitFor([&] {
        for (QWidget* top : QApplication::topLevelWidgets())
            if (dynamic_cast<host::EffectWindow*>(top)) editor = top;
        return editor;
    }));
    ASSERT_TRUE(QTest::qWaitForWindowActive(editor));
    auto& slider = *editor->findChild<QSlider*>();
    auto& box = *editor->findChild<QDoubleSpinBox*>();
    const auto press = [](QWidget& at, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        at.setFocus();
        QTest::keyClick(&at, key, modifiers);
    };
    const auto shows = [&](double value) {
        return QTest::qWaitFor([&] { return box.value() == value && box.text().toDouble() == value; });
    };
    const auto type = [&](const char* text) {
        box.setFocus();
        box.selectAll();
        QTest::keyClicks(&box, QLatin1String(text));
    };
    press(slider, Qt::Key_End);
    EXPECT_EQ(effect->Value(0), 4);
    press(slider, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(effect->Value(0), 1);
    type("3");
    press(box, Qt::Key_Return);
    EXPECT_EQ(effect->Value(0), 3);
    press(box, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(effect->Value(0), 1);
    EXPECT_TRUE(shows(1));
    press(box, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(shows(3));
    type("2");
    press(box, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(effect->Value(0), 3) << "the text alone went back";
    EXPECT_EQ(project.NextRedo(), std::nullopt);
}

TEST(Mixhost, AnAudioServerThatEndsIsToldOf) {
    std::string why;
    std::unique_ptr<MidiCable> cable = NewJackCable(why);
    if (!cable) GTEST_SKIP() << why;
    std::signal(SIGPIPE, SIG_IGN);  // as the program does
    host::EngineOptions options;
    options.deviceName = "system";
    host::Project project(options);
    ASSERT_EQ(project.Status().engine.device, "system");
    EXPECT_TRUE(project.Status().problems.empty());
    cable.reset();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !project.Status().problems.empty(); }, 120000));
    EXPECT_EQ(project.Status().problems.front(), "system: the device or its server has gone");
}

TEST(Mixhost, ChannelsOfOneNameAreToldApart) {
    QTemporaryDir folder;
    host::Session session = host::NewSession();
    session.length = 1;
    const std::string longName(1000, 'n');
    for (const char* name : {"Twin", "Twin", "Twin#2", longName.c_str()})
        session.channels.push_back({.id = session.channels.size() + 1, .name = name, .output = 1});
    const std::string path = folder.filePath(QStringLiteral("s.tarn")).toStdString();
    host::SaveSession(session, path);
    const QString json = folder.filePath(QStringLiteral("a.json"));
    const QStringList common = {
        QString::fromStdString(path), "--headless", "--seconds", "0", "--report", json};
    const RunResult run =
        Mixhost(common + QStringList{"--gesture", "Twin#1:fader=-3", "--gesture", "Twin#2:mute=on",
                                     "--gesture", QString::fromStdString(longName) + ":fader=-9"});
    EXPECT_EQ(run.code, 0) << run.errors.toStdString();
    const double faders[] = {0, 0, -3, 0, 0, -9};
    const nlohmann::json channels = ReadJson(json)["channels"];
    for (size_t i = 0; i < std::size(faders); i++) {
        EXPECT_NEAR(channels[i]["fader_db"].get<double>(), faders[i], 0.05) << i;
        EXPECT_EQ(channels[i]["mute"].get<bool>(), i == 4) << "the whole name comes first";
    }
    for (const char* gesture : {"Twin:mute=on", "Twin#3:mute=on", "Twin#0:mute=on", "#1:mute=on"}) {
        const RunResult refused = Mixhost(common + QStringList{"--gesture", gesture});
        EXPECT_EQ(refused.code, 1) << gesture;
        EXPECT_EQ(refused.errors.count('\n'), 1) << refused.errors.toStdString();
    }
}

TEST(Mixhost, WhatTheSystemDoesNotGiveIsAMessage) {
    QTemporaryDir folder;
    host::Session session = host::NewSession();
    session.length = 1;
    session.channels.push_back({.id = 3, .name = "T", .output = 1, .clips = {{"gone.wav", 0, 0, 1, 0}}});
    const std::string path = folder.filePath(QStringLiteral("s.tarn")).toStdString();
    host::SaveSession(session, path);
    const QStringList arguments = {QString::fromStdString(path), "--headless", "--seconds", "0"};
#ifndef __SANITIZE_THREAD__  // whose own thread is the first that can't be had
    // Stacks of threads that no memory holds.
    const RunResult threads = Mixhost(arguments, [] {
        rlimit limit{};
        getrlimit(RLIMIT_STACK, &limit);
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, rlim_t{1} << 46);
        setrlimit(RLIMIT_STACK, &limit);
    });
    EXPECT_EQ(threads.code, 1);
    EXPECT_EQ(threads.errors.count('\n'), 1) << threads.errors.toStdString();
#endif

    const QString json = folder.filePath(QStringLiteral("a.json")),
                  wav = folder.filePath(QStringLiteral("a.wav"));
    const RunResult media = Mixhost(arguments + QStringList{"--render", wav, "--report", json});
    EXPECT_EQ(media.code, 1);
    EXPECT_EQ(media.errors, QByteArray("mixhost: gone.wav: no such file\n"));
    EXPECT_EQ(ReadJson(json)["problems"], nlohmann::json::array({"gone.wav: no such file"}));
}

}  // namespace
