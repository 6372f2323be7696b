// The program as a script runs it.
#include "host/session/session.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSet>
#include <QTemporaryDir>

namespace {

struct RunResult {
    int code;
    QByteArray errors;
};

RunResult Execute(const QString& program, const QStringList& arguments,
                  const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(120000));
    QByteArray errors;
    for (const QByteArray& line : process.readAllStandardError().split('\n'))
        if (line.startsWith("mixhost: ")) errors += line + '\n';  // Qt's platform has remarks of its own
    return {process.exitCode(), errors};
}

RunResult Mixhost(const QStringList& arguments) { return Execute(QStringLiteral(TARN_MIXHOST), arguments); }

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
    QFile file(json);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const nlohmann::json report = nlohmann::json::parse(file.readAll().toStdString());
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

}  // namespace
