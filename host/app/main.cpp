// mixhost: the reference host.
#include "host/app/main_window.h"
#include "host/app/options.h"
#include "host/app/script.h"
#include "host/app/settings.h"
#include "host/app/theme.h"

#include <QApplication>

#include <cstdio>
#include <memory>

namespace {

constexpr int EXIT_SESSION = 2;  ///< the session cannot be read

bool HasDisplay() {
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

std::filesystem::path ConsoleModule() {
    return std::filesystem::path(QCoreApplication::applicationDirPath().toStdString()) / "mixconsole.so";
}

}  // namespace

int main(int argc, char** argv) {
    host::Options options;
    if (const std::optional<int> code = host::ParseOptions(argc, argv, &options)) return *code;
    if (!HasDisplay()) options.headless = true;
    if (options.headless) qputenv("QT_QPA_PLATFORM", "offscreen");
    if (options.scale > 0) qputenv("QT_SCALE_FACTOR", QByteArray::number(options.scale));

    // Qt would take arguments of its own out of ours.
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    QApplication::setApplicationName(QStringLiteral("mixhost"));
    host::ApplyHostTheme(app);

    host::EngineOptions engine;
    engine.systemDevice = !options.nullDevice && (!options.headless || !options.device.empty());
    engine.deviceName = options.device;
    host::Project project(engine);
    try {
        if (!options.session.empty()) project.Open(options.session);
    } catch (const host::SessionError& e) {
        std::fprintf(stderr, "mixhost: %s\n", e.what());
        return EXIT_SESSION;
    }
    try {
        host::Settings settings(!options.IsScripted());
        const uint32_t lcid = options.lcid ? options.lcid : settings.Language();
        auto window = std::make_unique<host::MainWindow>(project, settings, ConsoleModule(), lcid);
        if (options.size || !window->restoreGeometry(settings.Geometry()))
            window->resize(options.size.value_or(host::DEFAULT_WINDOW_SIZE));
        window->show();
        if (options.IsScripted()) return host::RunScript(*window, project, options);
        const int code = QApplication::exec();
        window.reset();  // a plug-in leaves its preferences when it goes
        project.SavePreferences();
        return code;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mixhost: %s\n", e.what());
        return 1;
    }
}
