// The program as a script runs it.
#include "host/session/session.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

namespace {

struct RunResult {
    int code;
    QByteArray errors;
};

RunResult Mixhost(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral(TARN_MIXHOST), arguments);
    EXPECT_TRUE(process.waitForFinished(120000));
    QByteArray errors;
    for (const QByteArray& line : process.readAllStandardError().split('\n'))
        if (line.startsWith("mixhost: ")) errors += line + '\n';  // Qt's platform has remarks of its own
    return {process.exitCode(), errors};
}

void Write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

TEST(Mixhost, ASessionThatCannotBeReadEndsWithOneLineAndCode2) {
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("bad.tarn"));
    for (const QByteArray& bytes : {QByteArray("{"), QByteArray("{\"format\": \"tarn-session\", \"version\": 2}"),
                                    QByteArray("\0\xff", 2), QByteArray()}) {
        Write(path, bytes);
        const RunResult run = Mixhost({path, QStringLiteral("--headless"), QStringLiteral("--seconds"), QStringLiteral("0")});
        EXPECT_EQ(run.code, 2);
        EXPECT_EQ(run.errors.count('\n'), 1) << run.errors.toStdString();
        EXPECT_TRUE(run.errors.contains("bad.tarn")) << run.errors.toStdString();
    }
    EXPECT_EQ(Mixhost({folder.filePath(QStringLiteral("none.tarn")), QStringLiteral("--headless")}).code, 2);
}

TEST(Mixhost, AScriptedRunLeavesPictureRenderAndReport) {
    QTemporaryDir folder;
    host::Session session = host::NewSession();
    session.length = 1;
    const std::string path = folder.filePath(QStringLiteral("small.tarn")).toStdString();
    host::SaveSession(session, path);
    const QString png = folder.filePath(QStringLiteral("a.png")), wav = folder.filePath(QStringLiteral("a.wav")),
                  json = folder.filePath(QStringLiteral("a.json"));
    const QStringList common = {QString::fromStdString(path), QStringLiteral("--headless"), QStringLiteral("--seconds"),
                                QStringLiteral("0.2")};
    const RunResult good = Mixhost(common + QStringList{"--screenshot", png, "--render", wav, "--report", json, "--gesture",
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
