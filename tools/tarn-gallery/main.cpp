// tarn-gallery: shows every control in every style, fed by a recording.
#include "controls/meter_scales.h"
#include "kernel/lang/languages.h"
#include "tools/tarn-gallery/gallery_window.h"

#include <CLI/CLI.hpp>

#include <QApplication>
#include <QFontDatabase>
#include <QStyleFactory>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <map>

namespace {
struct Options {
    std::string recording, screenshot;
    Theme theme = Theme::Dark;
    double from = 0, seconds = 2, scale = 1;
    uint32_t meterScale = 4;
};

bool WantsPicture(const Options& o) { return !o.screenshot.empty(); }

int Run(const Options& o, int argc, char** argv) {
    const auto path = o.recording.empty() ? DefaultRecording() : std::filesystem::path(o.recording);
    if (path.empty()) {
        std::fprintf(stderr, "tarn-gallery: there is no demo session yet; name a recording\n");
        return 1;
    }
    Recording recording;
    std::string error;
    if (!ReadRecording(path, recording, error)) {
        std::fprintf(stderr, "tarn-gallery: %s\n", error.c_str());
        return 1;
    }
    if (WantsPicture(o) ||
        (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (o.scale != 1) qputenv("QT_SCALE_FACTOR", QByteArray::number(o.scale));
    QApplication app(argc, argv);
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QFont font(QFontDatabase::hasFamily("Inter") ? QStringLiteral("Inter") : QStringLiteral("DejaVu Sans"));
    font.setPixelSize(12);
    app.setFont(font);

    GalleryChoices choices;
    choices.theme = o.theme;
    choices.scale = o.meterScale;
    choices.from = o.from;
    GalleryWindow window(std::move(recording), QString::fromStdString(path.filename().string()), choices);
    window.show();
    if (!WantsPicture(o)) return app.exec();
    int result = 0;
    QTimer::singleShot(static_cast<int>(o.seconds * 1000), &window, [&] {
        if (!window.grab().save(QString::fromStdString(o.screenshot))) {
            std::fprintf(stderr, "tarn-gallery: %s: cannot be written\n", o.screenshot.c_str());
            result = 1;
        }
        app.quit();
    });
    app.exec();
    return result;
}
}  // namespace

int main(int argc, char** argv) try {
    CLI::App app{"Shows every control of the console in every style, live.", "tarn-gallery"};
    Options o;
    app.add_option("recording", o.recording, "audio file that the meters and scopes follow");
    const std::map<std::string, Theme> themes{
        {"dark", Theme::Dark}, {"light", Theme::Light}, {"system", Theme::System}};
    app.add_option("--theme", o.theme, "dark, light, or system for the window system's palette")
        ->transform(CLI::CheckedTransformer(themes));
    app.add_option("--meter-scale", o.meterScale, "scale of the large meter, 0 to 6")
        ->check(CLI::Range(0u, kMeterScaleCount - 1));
    app.add_option("--screenshot", o.screenshot, "save a picture as PNG, without a window, and end");
    app.add_option("--from", o.from, "second of the recording to start at")->check(CLI::Range(0.0, 600.0));
    app.add_option("--seconds", o.seconds, "how long it has run in the picture")
        ->check(CLI::Range(0.0, 600.0));
    app.add_option("--scale", o.scale, "device pixels a logical pixel")->check(CLI::Range(0.5, 4.0));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
    return Run(o, argc, argv);
} catch (const std::exception& e) {
    std::fprintf(stderr, "tarn-gallery: %s\n", e.what());
    return 1;
}
