// mixhost: the reference host.
#include "host/app/main_window.h"
#include "host/app/options.h"
#include "host/app/script.h"
#include "host/app/settings.h"
#include "host/app/theme.h"
#include "host/effects/lv2_library.h"
#include "host/engine/open_files.h"

#include <QApplication>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>

namespace {

constexpr int EXIT_SESSION = 2;  ///< the session cannot be read

bool HasDisplay() {
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

/// Beside the program in a build folder, else where they are installed.
std::filesystem::path ModuleFolder() {
    const std::filesystem::path programs = QCoreApplication::applicationDirPath().toStdString();
    return exists(programs / "mixconsole.so") ? programs : programs / INSTALLED_MODULES;
}

std::unique_ptr<host::MidiDriver> OpenMidi(const host::Options& options) {
    if (options.midi.value_or(options.IsScripted() ? "none" : "") == "none") return nullptr;
    std::string error;
    auto driver = host::OpenSystemMidi(options.midi.value_or(""), error);
    if (!driver && options.midi) std::fprintf(stderr, "mixhost: MIDI: %s\n", error.c_str());
    return driver;
}

void LoadPluginPreferences(const host::Settings& settings, host::Project& project) {
    const std::string text = settings.PluginPreferences();
    if (text.empty()) return;
    try {
        project.SetUserPreferences(host::ParsePreferences(text));
    } catch (const host::SessionError& e) {
        std::fprintf(stderr, "mixhost: preferences of plug-ins are left out: %s\n", e.what());
    }
}

/// A line for each: family, name, channels, URI, and what is wrong with it. The exit code.
int ListEffects(bool tryAgain) {
    host::Lv2LibraryOptions options;
    options.tryAgain = tryAgain;
    const host::Lv2Library library(options);
    library.Wait();
    const std::vector<host::EffectInfo> effects = library.List();
    int widest = 0;
    for (const host::EffectInfo& e : effects) widest = std::max(widest, static_cast<int>(e.name.size()));
    for (const host::EffectInfo& e : effects)
        std::printf("%-10s  %-*s  %u in, %u out%s  %s%s%s\n", e.family.c_str(), std::min(widest, 40),
                    e.name.c_str(), e.inputs, e.outputs, e.midiInput ? ", MIDI" : "      ", e.uri.c_str(),
                    e.problem.empty() ? "" : "  can't be used: it ", e.problem.c_str());
    const std::string problem = library.Problem();
    if (!problem.empty()) std::fprintf(stderr, "mixhost: %s\n", problem.c_str());
    return problem.empty() ? 0 : 1;
}

int Run(const host::Options& options) {
    host::EngineOptions engine;
    engine.systemDevice = !options.nullDevice && (!options.headless || !options.device.empty());
    engine.deviceName = options.device;
    const auto library = std::make_shared<host::Lv2Library>();
    // A script can't look again.
    if (std::ranges::any_of(options.gestures,
                            [](const host::Gesture& g) { return g.kind == host::Gesture::Kind::InsertAdd; }))
        library->Wait();
    engine.effects = library;
    host::Project project(engine, OpenMidi(options), options.face);
    try {
        if (!options.session.empty()) project.Open(options.session);
    } catch (const host::SessionError& e) {
        std::fprintf(stderr, "mixhost: %s\n", e.what());
        return EXIT_SESSION;
    }
    host::Settings settings(!options.IsScripted());
    LoadPluginPreferences(settings, project);
    const uint32_t lcid = options.lcid ? options.lcid : settings.Language();
    auto window = std::make_unique<host::MainWindow>(project, settings, ModuleFolder(), lcid);
    if (options.size || !window->restoreGeometry(settings.Geometry()))
        window->resize(options.size.value_or(host::DEFAULT_WINDOW_SIZE));
    window->show();
    if (options.IsScripted()) return host::RunScript(*window, project, options);
    const int code = QApplication::exec();
    window.reset();  // a plug-in leaves its preferences when it goes
    settings.SetPluginPreferences(host::FormatPreferences(project.UserPreferences()));
    project.SavePreferences();
    return code;
}

}  // namespace

int main(int argc, char** argv) try {
    host::Options options;
    if (const std::optional<int> code = host::ParseOptions(argc, argv, &options)) return *code;
    if (options.listEffects) return ListEffects(options.rescanEffects);
    if (!HasDisplay()) options.headless = true;
    // A display that can't be opened would have Qt abort.
    const bool mayFail = !options.headless && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM") &&
                         !qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    if (mayFail) qputenv("QT_QPA_PLATFORM", "xcb;offscreen");
    if (options.headless) qputenv("QT_QPA_PLATFORM", "offscreen");
    if (options.scale > 0) qputenv("QT_SCALE_FACTOR", QByteArray::number(options.scale));
    std::signal(SIGPIPE, SIG_IGN);  // an audio or MIDI server that ends takes its end of a socket with it
    host::RaiseOpenFileLimit();

    // Qt would take arguments of its own out of ours.
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    QApplication::setApplicationName(QStringLiteral("mixhost"));
    if (mayFail && QGuiApplication::platformName() == QStringLiteral("offscreen") && !options.IsScripted()) {
        std::fprintf(stderr, "mixhost: display %s cannot be opened\n",
                     qPrintable(qEnvironmentVariable("DISPLAY")));
        return 1;
    }
    host::ApplyHostTheme(app, options.lightTheme);
    return Run(options);
} catch (const std::exception& e) {  // what the system does not give: threads, memory
    std::fprintf(stderr, "mixhost: %s\n", e.what());
    return 1;
}
