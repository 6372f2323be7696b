#include "host/app/script.h"

#include "host/app/main_window.h"
#include "host/app/options.h"

#include "platform/file.h"

#include <QBuffer>
#include <QEventLoop>
#include <QPixmap>
#include <QTimer>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

namespace host {
namespace {

constexpr double DEFAULT_SECONDS = 2;
constexpr double SETTLE_SECONDS = 0.2;  ///< until what is on its way to the device has been heard

void RunEvents(double seconds) {
    QEventLoop loop;
    QTimer::singleShot(static_cast<int>(seconds * 1000), &loop, &QEventLoop::quit);
    loop.exec();
}

bool Complain(const QString& what) {
    std::fprintf(stderr, "mixhost: %s\n", qPrintable(what));
    return false;
}

bool SavePicture(QWidget& window, const std::string& path) {
    QBuffer picture;
    std::string error = path + ": the picture could not be made";
    const bool good =
        window.grab().save(&picture, "PNG") &&
        ReplaceFile(path, {picture.data().constData(), static_cast<size_t>(picture.size())}, error);
    return good || Complain(QString::fromStdString(error));
}

const char* KindText(ChannelKind kind) {
    switch (kind) {
    case ChannelKind::AudioTrack: return "audio";
    case ChannelKind::MidiTrack: return "midi";
    case ChannelKind::Fx: return "fx";
    case ChannelKind::Synth: return "synth";
    case ChannelKind::InputBus: return "input";
    case ChannelKind::AudioBus: return "bus";
    case ChannelKind::Master: return "master";
    case ChannelKind::PreviewBus: return "preview";
    }
    return "";
}

bool WriteReport(Project& project, QWidget& page, int64_t frames, const std::vector<std::string>& ofRender,
                 const std::string& path) {
    const ProjectStatus status = project.Status();
    nlohmann::ordered_json report;
    report["sample_rate"] = status.engine.sampleRate;
    report["frames"] = frames;
    report["meter_ticks"] = status.meterTicks;
    report["dropouts"] = status.engine.diskUnderruns + status.engine.lateBlocks;
    report["channels"] = nlohmann::json::array();
    // Where the strips stand, not where the engine is: the two are compared by whoever reads the report.
    const std::map<ChannelId, double> shown = ShownFadersDb(page);
    for (const ChannelReport& channel : project.Report()) {
        const auto strip = shown.find(channel.id);
        nlohmann::ordered_json row;
        row["name"] = channel.name;
        row["kind"] = KindText(channel.kind);
        row["fader_db"] =
            strip == shown.end() ? nlohmann::ordered_json() : nlohmann::ordered_json(strip->second);
        row["engine_db"] = channel.faderDb;
        row["mute"] = channel.mute;
        row["solo"] = channel.solo;
        row["peak_db"] = {channel.peakDb[0], channel.peakDb[1]};
        report["channels"].push_back(row);
    }
    std::vector<std::string> problems = status.problems;
    for (const std::string& problem : ofRender)
        if (std::ranges::find(problems, problem) == problems.end()) problems.push_back(problem);
    report["problems"] = problems;
    std::string error;
    return ReplaceFile(path, report.dump(2) + "\n", error) || Complain(QString::fromStdString(error));
}

}  // namespace

int RunScript(MainWindow& window, Project& project, const Options& options) {
    bool good = true;
    RunEvents(0);
    QWidget* page = window.ConsolePage();
    if (!page) return Complain(QStringLiteral("the console has no page")), 1;

    project.Play();
    for (const Gesture& gesture : options.gestures) {
        QString reason;
        const ChannelId channel = ChannelNamed(project.Snapshot(), gesture.channel, &reason);
        if (channel == kNoChannel || !Perform(*page, gesture, channel, &reason)) good = Complain(reason);
    }
    RunEvents(SETTLE_SECONDS);
    project.ResetPeaks();  // what the gestures passed through is not the mix
    const int64_t begun = project.Transport().frame;
    RunEvents(options.seconds.value_or(DEFAULT_SECONDS));
    int64_t frames = project.Transport().frame - begun;

    if (!options.screenshot.empty()) good &= SavePicture(window, options.screenshot);
    if (!options.surfaceScreenshot.empty()) {
        QWidget* surface = window.ShowSurface();
        RunEvents(SETTLE_SECONDS);
        good &= surface ? SavePicture(*surface, options.surfaceScreenshot)
                        : Complain(QStringLiteral("there is no control surface: is --midi given?"));
    }
    project.Stop();
    RunEvents(SETTLE_SECONDS);
    std::vector<std::string> problems;
    if (!options.render.empty()) {
        try {
            const RenderResult mix = project.Render(options.render, options.seconds);
            frames = mix.frames;
            problems = mix.problems;
            // The file is there, but it is not the whole mix.
            for (const std::string& problem : problems) good = Complain(QString::fromStdString(problem));
        } catch (const std::exception& e) {
            good = Complain(QString::fromUtf8(e.what()));
        }
    }
    if (!options.report.empty()) good &= WriteReport(project, *page, frames, problems, options.report);
    return good ? 0 : 1;
}

}  // namespace host
