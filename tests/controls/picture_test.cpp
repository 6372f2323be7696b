// Pictures of the controls, kept in the build folder for the eye, and the few checks on
// them that a machine can make.
#include "controls/fader.h"
#include "controls/meter.h"
#include "fake_window.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/image_list.h"
#include "platform/ui/paint.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QImage>

#include <cmath>

namespace {
constexpr uint32_t kAudioFader = 0x2889;  // of the console's strips
constexpr uint32_t kBarMeter = METERS_VERTICAL | METERS_UI_COLORS;

struct Canvas {
    QImage image;
    QPainter painter;

    Canvas(int width, int height, qreal scale)
        : image((QSizeF(width, height) * scale).toSize(), QImage::Format_RGB32) {
        image.setDevicePixelRatio(scale);
        ApplyTheme(Theme::Dark);
        image.fill(ToColor(QmGetUIColor(COLOR_BTNFACE)));
        painter.begin(&image);
    }
    void Save(const char* name) {
        painter.end();
        QDir().mkpath(TARN_PICTURES);
        const QString file = QString("%1/%2@%3x.png").arg(TARN_PICTURES, name).arg(image.devicePixelRatio());
        EXPECT_TRUE(image.save(file));
    }
};

class Pictures : public testing::TestWithParam<double> {
protected:
    FakeWindow host;
};
INSTANTIATE_TEST_SUITE_P(Scales, Pictures, testing::Values(1.0, 1.25, 1.5, 2.0));

void DrawFader(Canvas& canvas, FakeWindow& host, uint32_t style, RECT rect, std::vector<int32_t> values,
               bool tapered, const ImageList* thumbs = nullptr, bool focused = false) {
    tQMFADER fader;
    FaderInst_Init(&fader, style, &rect, &host, 1, nullptr, 0, 1.0f);
    if (thumbs) FaderInst_SetThumbImageList(&fader, thumbs, std::array{thumbs->Size()}.data());
    if (tapered)
        FaderInst_Message(&fader, FADERM_SETRANGE, 0,
                          static_cast<intptr_t>(PackWords(static_cast<uint32_t>(-720), 120)));
    for (size_t i = 0; i < values.size(); i++)
        FaderInst_Message(&fader, FADERM_SETVALUES, PackWords(0, static_cast<uint32_t>(i) + 1), values[i]);
    if (focused) {
        FaderInst_Message(&fader, FADERM_SETFOCUSRECT, 0, 1);
        FaderInst_Message(&fader, WM_SETFOCUS, 0, 0);
    }
    FaderInst_Draw(&fader, &canvas.painter);
    FaderInst_Deinit(&fader);
}

ImageList Thumbs(std::string_view name, SIZE size) {
    return ImageList(std::span(&name, 1), size, ThumbTones());
}
}  // namespace

TEST_P(Pictures, Faders) {
    Canvas canvas(760, 320, GetParam());
    const ImageList mono = Thumbs("thumb_fader", {13, 19}), pair = Thumbs("thumb_fader_pair", {13, 19}),
                    small = Thumbs("thumb_small", {13, 9}), across = Thumbs("thumb_fader_h", {19, 13}),
                    pairAcross = Thumbs("thumb_fader_pair_h", {19, 13});
    const uint32_t ticks = kAudioFader | FADERS_TICKS, labels = ticks | FADERS_LABELS;
    DrawFader(canvas, host, ticks, {10, 10, 36, 310}, {0}, true, &mono);
    DrawFader(canvas, host, ticks, {50, 10, 76, 310}, {-60}, true, &mono, true);
    DrawFader(canvas, host, labels, {90, 10, 150, 310}, {60}, true, &mono);
    DrawFader(canvas, host, labels | FADERS_STEREO, {160, 10, 220, 310}, {-60, -150}, true, &pair);
    DrawFader(canvas, host, ticks | FADERS_STEREO, {230, 10, 256, 310}, {0, 0}, true, &pair);
    DrawFader(canvas, host, ticks, {270, 10, 296, 160}, {-300}, true, &small);
    DrawFader(canvas, host, labels, {310, 10, 370, 310}, {30}, true);
    DrawFader(canvas, host, ticks | FADERS_DISABLED, {380, 10, 406, 310}, {0}, true, &mono);
    DrawFader(canvas, host, ticks | FADERS_DISABLED, {415, 10, 445, 310}, {0}, true);
    DrawFader(canvas, host, kAudioFader, {455, 10, 481, 310}, {-720}, true, &mono);
    DrawFader(canvas, host, FADERS_VERTICAL | FADERS_UI_COLORS | FADERS_TICKS, {490, 10, 520, 310}, {70},
              false);
    DrawFader(canvas, host, labels | FADERS_STEREO, {530, 10, 590, 310}, {-20, -90}, true);
    const uint32_t flat = FADERS_UI_COLORS | FADERS_TAPER | FADERS_TICKS;
    DrawFader(canvas, host, flat, {600, 10, 750, 36}, {-30}, true, &across);
    DrawFader(canvas, host, flat | FADERS_LABELS, {600, 50, 750, 96}, {-120}, true, &across);
    DrawFader(canvas, host, flat | FADERS_STEREO, {600, 110, 750, 136}, {-30, -90}, true, &pairAcross);
    DrawFader(canvas, host, FADERS_UI_COLORS | FADERS_TICKS, {600, 150, 750, 176}, {30}, false);
    canvas.Save("faders");
}

TEST_P(Pictures, Meters) {
    Canvas canvas(700, 320, GetParam());
    const MeterTones tones = ThemeMeterTones();
    struct Row {
        RECT rect;
        uint32_t style;
        int32_t range, displayRange;
        std::vector<double> decibels, peaks;
    };
    const uint32_t holds = METERS_HOLD_HIGH | METERS_HOLD_LOW, strip = METERS_CLIP_SHOWN | METERS_STRIP_EACH;
    const Row rows[] = {
        {{10, 10, 24, 310}, kBarMeter | holds, 32768, 0, {-9, -14}, {-4, -8}},
        {{34, 10, 54, 310}, kBarMeter | METERS_HOLD_HIGH, 32768, 0, {-1, -3}, {0, -1}},
        {{64, 10, 110, 310}, kBarMeter | METERS_LABELS | METERS_HOLD_HIGH, 32768, 0, {-20, -24}, {-12, -13}},
        {{120, 10, 176, 310}, kBarMeter | METERS_LABELS | strip | METERS_HOLD_HIGH, 1 << 23, 0, {-6.2}, {-2}},
        {{186, 10, 256, 310},
         kBarMeter | METERS_LABELS | METERS_CLIP_SHOWN | METERS_LABELS_OTHER_SIDE,
         32768,
         1024,
         {-10, -31},
         {3, 3}},
        {{266, 10, 346, 310},
         kBarMeter | strip | holds,
         32768,
         0,
         {-12, -6, -40, -3, -20, -1},
         {-6, -3, -30, -1, -12, 2}},
        {{356, 10, 362, 310}, kBarMeter, 32768, 0, {-18, -20}, {-18, -20}},
        {{372, 10, 386, 110}, kBarMeter, 32768, 0, {-30, -5}, {-30, -5}},
        {{396, 10, 410, 310}, kBarMeter, 32768, 0, {}, {}},
        {{420, 10, 690, 24}, METERS_UI_COLORS | holds, 32768, 0, {-10, -16}, {-4, -6}},
        {{420, 40, 690, 80}, METERS_UI_COLORS | METERS_LABELS | strip, 32768, 16, {-10, -6}, {-1, 2}},
    };
    for (const Row& row : rows) {
        tQMMETER meter;
        MeterInst_Init(&meter, row.style, &row.rect, &host, 1, 0, METERST_CENTRED | METERST_MAY_CUT);
        const auto send = [&](uint32_t message, uintptr_t w, intptr_t l) {
            MeterInst_Message(&meter, message, w, l);
        };
        send(METERM_SETCOLORS, tones.background, static_cast<intptr_t>(tones.text));
        send(METERM_SETCLIPCOLORS, tones.clipText, static_cast<intptr_t>(tones.clipTextBackground));
        send(METERM_SETCLIPBACKGROUND, tones.clipBackground, 0);
        send(METERM_SETRANGE, 0, row.range);
        send(METERM_SETDISPLAYRANGE, 0, row.displayRange);
        send(METERM_SETCHANNELS, 0, std::max<intptr_t>(static_cast<intptr_t>(row.decibels.size()), 2));
        for (const auto& levels : {row.peaks, row.decibels, row.peaks, row.decibels}) {
            std::vector<int32_t> counts;
            for (const double db : levels)
                counts.push_back(static_cast<int32_t>(std::lround(std::pow(10, db / 20) * row.range)));
            if (!counts.empty())
                send(METERM_SETLEVELS, PackWords(0, static_cast<uint32_t>(counts.size())),
                     reinterpret_cast<intptr_t>(counts.data()));
            QImage scratch(QSize(700, 320) * 2, QImage::Format_RGB32);
            scratch.setDevicePixelRatio(GetParam());
            QPainter painter(&scratch);
            MeterInst_Draw(&meter, &painter);
        }
        MeterInst_Draw(&meter, &canvas.painter);
        MeterInst_Deinit(&meter);
    }
    canvas.Save("meters");
}

TEST_P(Pictures, Icons) {
    constexpr std::string_view names[] = {"kind_audio",
                                          "kind_bus",
                                          "kind_master",
                                          "kind_monitor",
                                          "kind_fx",
                                          "kind_synth",
                                          "kind_midi",
                                          "kind_input",
                                          "mute",
                                          "solo",
                                          "phase",
                                          "arm",
                                          "input_monitor",
                                          "lock",
                                          "add",
                                          "cursor_thumb_left",
                                          "cursor_thumb_right"};
    Canvas canvas(420, 190, GetParam());
    LONG y = 10;
    for (const LONG size : {12, 13, 16, 18}) {
        const ImageList icons(names, {size, size}, IconTones());
        EXPECT_TRUE(icons.IsComplete());
        for (int32_t i = 0; i < icons.Count(); i++)
            for (const auto state : {ImageState::Normal, ImageState::Hot, ImageState::Disabled})
                if (state == ImageState::Normal || size == 16)
                    icons.Draw(canvas.painter, i, {10 + i * 24, y + static_cast<LONG>(state) * 22}, state);
        y += size == 16 ? 76 : 24;
    }
    canvas.Save("icons");
}
