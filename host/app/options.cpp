#include "host/app/options.h"

#include "host/app/skin.h"
#include "kernel/lang/languages.h"

#include <CLI/CLI.hpp>

#include <algorithm>

#include <cstdio>

using namespace tarn;

namespace host {

namespace {

/// Without a list it can do everything.
HostFace FaceOf(const std::string& kind, const std::vector<std::string>& features) {
    HostFace face;
    face.fullEditor = kind == "editor";
    if (features.empty()) return face;
    const auto has = [&](const char* name) { return std::ranges::find(features, name) != features.end(); };
    face.limited = !has("automation");
    face.features = (has("inputs") ? FEATURE_INPUT_BUSSES : 0) | (has("midi") ? FEATURE_MIDI_TRACKS : 0) |
                    (has("synths") ? FEATURE_SYNTHS : 0) | (has("reorder") ? FEATURE_REORDER : 0);
    return face;
}

}  // namespace

std::optional<int> ParseOptions(int argc, char** argv, Options* options) {
    CLI::App app{"Opens a session on the mixing console, plays, mixes and renders it.", "mixhost"};
    std::vector<std::string> gestures;
    std::string size, language, skin, hostKind = "editor", theme = "dark";
    std::vector<std::string> features;
    app.add_option("session", options->session, "session file (.tarn); without one a new session is opened");
    app.add_flag("--headless", options->headless, "no window: run by script, then end");
    app.add_option("--seconds", options->seconds, "play for that long, and render that much of the project")
        ->check(CLI::Range(0.0, 86400.0));
    app.add_option("--screenshot", options->screenshot, "save a picture of the window as PNG");
    app.add_option("--surface-screenshot", options->surfaceScreenshot,
                   "save a picture of the control surface's page as PNG; needs --midi");
    CLI::Option* render =
        app.add_option("--render", options->render,
                       "render the mix to a file of the kind that its ending tells; waves of 24 bits");
    app.add_option("--template", options->renderTemplate,
                   "with the settings of that name, like \"FLAC, level 8\"")
        ->needs(render);
    app.add_option("--report", options->report, "write what was seen as JSON");
    app.add_option("--gesture", gestures, Gesture::FORMS)->take_all();
    CLI::Option* list =
        app.add_flag("--list-effects", options->listEffects,
                     "tell what effects and instruments there are, and why some can't be used, then end");
    app.add_flag("--rescan-effects", options->rescanEffects, "try those again that could not be used")
        ->needs(list);
    app.add_option("--device", options->device, "audio device, by a part of its name");
    app.add_flag("--null-device", options->nullDevice, "play to a silent clock");
    app.add_option("--midi", options->midi, "MIDI by alsa or jack, or none")
        ->check(CLI::IsMember({"alsa", "jack", "none"}));
    app.add_option("--language", language, "language of the texts by its code, like en, de, fi or he");
    app.add_option("--size", size, "window size, WIDTHxHEIGHT");
    app.add_option("--scale", options->scale, "device pixels a logical pixel")->check(CLI::Range(0.5, 4.0));
    app.add_option("--theme", theme, "colours of the windows")->check(CLI::IsMember({"dark", "light"}));
    app.add_option("--skin", skin, "folder of images for the parts of the console");
    app.add_option("--host-kind", hostKind, "what the plug-ins are told the host is")
        ->check(CLI::IsMember({"editor", "other"}));
    app.add_option("--features", features,
                   "what they are told it can do: of inputs,midi,synths,reorder,automation")
        ->delimiter(',')
        ->check(CLI::IsMember({"inputs", "midi", "synths", "reorder", "automation", "none"}));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
    options->face = FaceOf(hostKind, features);
    try {
        if (!skin.empty())
            options->face.images = [images = std::make_shared<Skin>(skin)](MPIMAGES& record) {
                return images->Get(record);
            };
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mixhost: --skin: %s\n", e.what());
        return 1;
    }
    options->lightTheme = theme == "light";
    for (const std::string& text : gestures) {
        Gesture gesture;
        QString reason;
        if (!Gesture::Parse(QString::fromStdString(text), &gesture, &reason)) {
            std::fprintf(stderr, "mixhost: %s\n", qPrintable(reason));
            return 1;
        }
        options->gestures.push_back(gesture);
    }
    if (!language.empty()) {
        const auto found =
            std::ranges::find_if(Languages(), [&](const LanguageInfo& l) { return language == l.code; });
        if (found == Languages().end()) {
            std::fprintf(stderr, "mixhost: --language: there are no texts in '%s'\n", language.c_str());
            return 1;
        }
        options->lcid = found->lcid;
    }
    if (!size.empty()) {
        int width = 0, height = 0, end = 0;
        if (std::sscanf(size.c_str(), "%dx%d%n", &width, &height, &end) != 2 ||
            size[static_cast<size_t>(end)] || width < 100 || height < 100 || width > 16384 ||
            height > 16384) {
            std::fprintf(stderr, "mixhost: --size takes WIDTHxHEIGHT, 100 to 16384 each\n");
            return 1;
        }
        options->size = QSize(width, height);
    }
    return std::nullopt;
}

}  // namespace host
