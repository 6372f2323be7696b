#include "host/app/script.h"

#include "host/app/contract_gesture.h"
#include "host/app/main_window.h"
#include "host/app/options.h"
#include "host/contract/channel_words.h"
#include "host/media/import.h"
#include "host/media/template_render.h"

#include "fileio/convert/file_manager.h"
#include "fileio/extensions.h"
#include "platform/file.h"

#include <QBuffer>
#include <QEventLoop>
#include <QPixmap>
#include <QTimer>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

using namespace tarn;

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

const char* ModeText(AutomationMode mode) {
    constexpr const char* WORDS[] = {"off", "read", "touch", "latch", "write"};
    return WORDS[static_cast<size_t>(mode)];
}

nlohmann::ordered_json NameOf(const Session& session, ChannelId id) {
    const Channel* channel = FindChannel(session, id);
    return channel ? nlohmann::ordered_json(channel->name) : nlohmann::ordered_json();
}

nlohmann::ordered_json Describe(const ChannelReport& state, const Session& session) {
    const Channel& channel = state.channel;
    nlohmann::ordered_json row;
    row["engine_db"] = channel.fader_db;
    // In surround the pad's position is where the channel stands.
    const bool placed = IsPlaced(session, channel);
    row["pan"] = placed ? channel.place.x : channel.pan;
    if (placed) row["front"] = channel.place.y;
    row["width"] = channel.width;
    row["mute"] = channel.mute;
    row["solo"] = channel.solo;
    row["arm"] = channel.arm;
    row["monitor"] = channel.monitor;
    row["automation"] = ModeText(channel.automation_mode);
    row["output"] = NameOf(session, channel.output);
    row["sends"] = nlohmann::json::array();
    for (const Send& send : channel.sends)
        row["sends"].push_back({{"target", NameOf(session, send.target)},
                                {"level_db", send.level_db},
                                {"pre", send.pre_fader},
                                {"mute", send.mute}});
    row["inserts"] = nlohmann::json::array();
    for (size_t i = 0; i < channel.inserts.size(); i++) {
        const Insert& insert = channel.inserts[i];
        row["inserts"].push_back({{"name", insert.name},
                                  {"uri", insert.uri},
                                  {"bypass", insert.bypass},
                                  {"missing", static_cast<bool>(state.missing[i])}});
    }
    if (channel.instrument) row["instrument"] = channel.instrument->uri;
    row["peak_db"] = state.peakDb;
    return row;
}

/// Where the page has a control for it, with the mouse; else as a plug-in would.
bool Perform(MainWindow& window, Project& project, const Gesture& gesture, QString* error) {
    if (gesture.kind == Gesture::Kind::Command) {
        const auto command = static_cast<uint32_t>(gesture.number);
        *error = QStringLiteral("the console does not take the command %1").arg(command);
        return window.RunCommand(command);
    }
    if (gesture.kind == Gesture::Kind::Import) {
        const ImportResult result = ImportRecordings(project, FileManager(), {gesture.word.toStdString()}, 0);
        if (!result.problems.empty()) *error = QString::fromStdString(result.problems.front());
        return result.tracks > 0;
    }
    const Session session = project.Snapshot();
    const ChannelId channel = ChannelNamed(session, gesture.channel, error);
    if (channel == kNoChannel) return false;
    if (IsOnPage(gesture.kind)) return Perform(*window.ConsolePage(), gesture, channel, error);
    *error = QStringLiteral("\"%1\" did not take it").arg(gesture.channel);
    const std::string before = project.Refusal();
    if (PerformByContract(*project.PluginHost(), session, gesture, channel, error)) return true;
    if (project.Refusal() != before)
        *error += QStringLiteral(": ") + QString::fromStdString(project.Refusal());
    return false;
}

/// A wave without a template is the engine's own, which tells its loudness, too.
RenderResult Render(Project& project, const Options& options) {
    const std::filesystem::path file = options.render;
    const std::string ending = ExtensionOf(WideFromPath(file));
    if (options.renderTemplate.empty() && (ending.empty() || ending == "wav"))
        return project.Render(file, options.seconds);
    IQmFileIOMgrForApp& manager = FileManager();
    const OwnedTemplate settings = TemplateFor(manager, project.Snapshot(), file, options.renderTemplate);
    return RenderByTemplate(project, manager, file, *settings, options.seconds);
}

bool WriteReport(Project& project, QWidget& page, int64_t frames, const std::optional<RenderResult>& mix,
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
    const Session session = project.Snapshot();
    for (const ChannelReport& state : project.Report()) {
        const auto strip = shown.find(state.channel.id);
        nlohmann::ordered_json row;
        row["name"] = state.channel.name;
        row["kind"] = KindText(state.channel.kind);
        row["fader_db"] =
            strip == shown.end() ? nlohmann::ordered_json() : nlohmann::ordered_json(strip->second);
        row.update(Describe(state, session));
        report["channels"].push_back(row);
    }
    if (mix) {
        report["loudness_lufs"] = mix->loudnessLufs;
        report["true_peak_dbtp"] = mix->truePeakDbtp;
    }
    std::vector<std::string> problems = status.problems;
    for (const std::string& problem : mix ? mix->problems : std::vector<std::string>())
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
        if (!Perform(window, project, gesture, &reason)) good = Complain(reason);
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
    std::optional<RenderResult> mix;
    if (!options.render.empty()) {
        try {
            mix = Render(project, options);
            frames = mix->frames;
            // The file is there, but it is not the whole mix.
            for (const std::string& problem : mix->problems) good = Complain(QString::fromStdString(problem));
        } catch (const std::exception& e) {
            good = Complain(QString::fromUtf8(e.what()));
        }
    }
    if (!options.report.empty()) good &= WriteReport(project, *page, frames, mix, options.report);
    return good ? 0 : 1;
}

}  // namespace host
