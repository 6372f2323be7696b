// The meter's scale, levels, holds and readout, through its messages and with a clock that the test turns.
#include "controls/meter.h"
#include "controls/meter_layout.h"
#include "controls/meter_levels.h"
#include "fake_window.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace {
int32_t Bits(float value) { return std::bit_cast<int32_t>(value); }

class Meter : public testing::Test {
protected:
    FakeWindow host;
    tQMMETER m{};

    void Make(uint32_t style, uint32_t channels = 1, RECT rect = {0, 0, 40, 300}, uint32_t flags = 0) {
        MeterInst_Init(&m, style, &rect, &host, 5, 0, flags);
        Send(METERM_SETCHANNELS, 0, channels);
        MeterRescale(m, 300);
    }
    void TearDown() override { MeterInst_Deinit(&m); }
    intptr_t Send(uint32_t message, uintptr_t w = 0, intptr_t l = 0) {
        return MeterInst_Message(&m, message, w, l);
    }
    void Level(int32_t level) { Send(METERM_SETLEVELS, 0, level); }
    const METERCHANNEL& At(uint32_t milliseconds) {
        MeterAdvance(m, host.now + milliseconds);
        return m.channel[0];
    }
};

MeterScale Scale(int32_t range, bool isFloat = false, int32_t displayRange = 0, bool linear = false) {
    MeterScale scale;
    scale.SetRange(range, isFloat);
    scale.displayRange = displayRange;
    scale.linear = linear;
    return scale;
}
}  // namespace

TEST(MeterScale, LevelsToPixels) {
    struct Row {
        MeterScale scale;
        double level;
        int32_t pixel;
    };
    const MeterScale bits16 = Scale(32768), floats = Scale(1 << 23, true);
    const double half = 0.5, nan = std::numeric_limits<double>::quiet_NaN();
    for (const Row& row :
         {Row{bits16, 0, 0}, Row{bits16, 0.5 / 32768, 0}, Row{bits16, 1.0 / 32768, 3},
          Row{bits16, 2.0 / 32768, 20}, Row{bits16, half, 280}, Row{bits16, 32767.0 / 32768, 300},
          Row{floats, 1, 300}, Row{floats, half, 287}, Row{floats, 1e-9, 0}, Row{floats, 1.2e-7, 2},
          Row{floats, nan, 0}, Row{Scale(32768, false, 0, true), half, 150}, Row{Scale(1), 0, 0},
          Row{Scale(1, true), 1, 300}, Row{Scale(1, true), half, 0}})
        EXPECT_EQ(row.scale.Pixel(row.level, 300), row.pixel) << row.level;
    EXPECT_EQ(Scale(1).unit, 1.0);
    EXPECT_EQ(Scale(0).range, 1);
}

TEST(MeterScale, ADisplayRangePushesTheRestOffTheLowEnd) {
    for (const int32_t length : {60, 100, 300, 600, 1000}) {
        for (const int32_t shown : {4, 16, 128, 1024, 8192}) {
            const MeterScale s = Scale(32768, false, shown);
            const int32_t pixels = s.ScalePixels(length);
            // The level at the low end of the bar is the one that the range begins with.
            EXPECT_NEAR(s.Pixel(1.0 / shown, pixels), pixels - length, 0.02 * pixels)
                << length << " " << shown;
            EXPECT_EQ(s.Pixel(1, pixels), pixels);
        }
        EXPECT_EQ(Scale(32768, false, 32768).ScalePixels(length), length)
            << "no less than the range: all of it";
        EXPECT_EQ(Scale(32768, false, 8192, true).ScalePixels(length), 4 * length)
            << "linear: a quarter is shown";
    }
    for (int32_t length = 0; length < 8; length++)
        EXPECT_GE(Scale(32768, false, 2).ScalePixels(length), length);
}

TEST(MeterScale, TicksHaveRoomAndLabelsToo) {
    EXPECT_EQ(MeterTickStep(90, 300), 3);
    EXPECT_EQ(MeterTickStep(90, 90), 3);
    EXPECT_EQ(MeterTickStep(90, 89), 6);
    EXPECT_EQ(MeterTickStep(90, 60), 6);
    EXPECT_EQ(MeterTickStep(138, 60), 9);
    EXPECT_EQ(Scale(32768).Decibels(), 90);
    EXPECT_EQ(Scale(32768, false, 4).Decibels(), 12);
    EXPECT_EQ(Scale(1 << 23).Decibels(), 138);

    for (const int32_t length : {60, 150, 300, 700}) {
        const MeterScale s = Scale(32768);
        const std::vector<MeterTick> ticks = MeterTicks(s, length, MeterTickStep(90, length), 16);
        ASSERT_FALSE(ticks.empty());
        int32_t lastLabel = std::numeric_limits<int32_t>::max();
        for (const MeterTick& tick : ticks) {
            EXPECT_EQ(tick.pixel, s.Pixel(std::pow(10.0, tick.decibels / 20.0), length));
            if (!tick.labelled) continue;
            EXPECT_GE(length - tick.pixel, 8) << "half a label stays free at the top";
            EXPECT_GE(lastLabel - tick.pixel, 15) << "labels do not meet";
            lastLabel = tick.pixel;
        }
        EXPECT_LT(lastLabel, length) << "some are labelled";
    }
}

TEST_F(Meter, LevelsAndTheStickyPeak) {
    struct Row {
        int32_t sent, level, clip;
        const char* what;
    };
    Make(0);
    for (const Row& row : {Row{1000, 1000, 1000, "the first"}, Row{500, 500, 1000, "a lower one"},
                           Row{32768, 32767, 32768, "clipped"}, Row{40000, 32767, 40000, "by more"},
                           Row{33000, 32767, 40000, "the larger one stays"}, Row{0, 0, 40000, "silence"},
                           Row{700, 700, 40000, "and on"}, Row{-1, -1, 0, "a reset"},
                           Row{123, 123, 123, "from new"}, Row{45, 45, 123, "a lower one again"}}) {
        Level(row.sent);
        EXPECT_EQ(Send(METERM_GETLEVELS), row.level) << row.what;
        EXPECT_EQ(Send(METERM_GETCLIP), row.clip) << row.what;
        if (row.sent > 0) continue;
        EXPECT_EQ(m.channel[0].highHold, 0) << row.what;
        EXPECT_EQ(At(0).pixel, 0) << row.what;
    }
    Send(METERM_RESETCLIP);
    EXPECT_EQ(Send(METERM_GETCLIP), 45);
    Send(METERM_SETCLIP, 0, -9);
    EXPECT_EQ(Send(METERM_GETCLIP), 0);

    Make(METERS_LOWEST);
    EXPECT_EQ(Send(METERM_GETCLIP), 32767);
    for (const Row& row : {Row{1000, 1000, 1000, "the first"}, Row{2000, 2000, 1000, "a higher one"},
                           Row{0, 0, 1000, "silence is no level"}, Row{-1, -1, 32767, "a reset"}}) {
        Level(row.sent);
        EXPECT_EQ(Send(METERM_GETCLIP), row.clip) << "lowest: " << row.what;
    }
    Send(METERM_CLEAR);
    EXPECT_EQ(m.channel[0].highHold, 32767);
}

TEST_F(Meter, SeveralChannelsInOneMessage) {
    Make(0, 9);
    EXPECT_EQ(Send(METERM_GETCHANNELS), 6);
    std::array<int32_t, 6> levels{1, 2, 3, 4, 5, 6}, out{};
    Send(METERM_SETLEVELS, PackWords(0, 6), reinterpret_cast<intptr_t>(levels.data()));
    EXPECT_EQ(Send(METERM_GETLEVELS, PackWords(0, 99), reinterpret_cast<intptr_t>(out.data())), 6);
    EXPECT_EQ(out, levels);
    Send(METERM_SETCHANNELS, 0, 2);
    EXPECT_EQ(Send(METERM_GETCLIP, PackWords(0, 6), reinterpret_cast<intptr_t>(out.data())), 2);
    host.invalid.clear();
    Send(METERM_SETLEVELS, PackWords(0, 2), reinterpret_cast<intptr_t>(levels.data()));
    EXPECT_TRUE(host.invalid.empty());
    Send(METERM_SETLEVELS, PackWords(1, 2), reinterpret_cast<intptr_t>(levels.data()));
    EXPECT_EQ(host.invalid.size(), 1u);
}

TEST_F(Meter, AHoldStaysForItsTimeThenJumps) {
    Make(METERS_HOLD_HIGH | METERS_HOLD_LOW);
    Level(16384);
    const int32_t peak = At(0).highPixel;
    EXPECT_EQ(peak, 280);
    Level(100);
    const int32_t low = m.scale.Pixel(100.0 / 32768, 300);
    EXPECT_EQ(At(1).pixel, low);
    EXPECT_EQ(m.channel[0].lowPixel, low) << "a lower level is followed at once";
    EXPECT_EQ(At(700).highPixel, peak) << "700 ms have not passed";
    EXPECT_EQ(At(701).highPixel, low);
    Level(16384);
    EXPECT_EQ(At(702).highPixel, peak) << "a higher level is followed at once";
    EXPECT_EQ(m.channel[0].lowPixel, low);
    EXPECT_EQ(At(1402).lowPixel, peak) << "taken anew at 701, so 700 ms later";

    host.now = std::numeric_limits<uint32_t>::max() - 100;
    Level(20000);
    At(0);
    Level(5);
    EXPECT_EQ(At(600).highHold, 20000) << "the clock's turn is no time passed";
    EXPECT_EQ(At(801).highHold, 5);
}

TEST_F(Meter, ReadoutTexts) {
    const int32_t half = 16384, infinite = Bits(std::numeric_limits<float>::infinity());
    enum { kCounts, kFloats, kPlainFloats, kWhole, kLowest };
    struct Row {
        int meter;
        int32_t clip;
        const char16_t* text;
        bool clipped;
    };
    for (const Row& row : {Row{kCounts, 0, u"", false}, Row{kCounts, half, u"-6.0", false},
                           Row{kCounts, 32768, u"Clip", true}, Row{kWhole, half, u"-6 dB", false},
                           Row{kFloats, Bits(2.0f), u"6.0", true}, Row{kFloats, infinite, u"+Inf.", true},
                           Row{kPlainFloats, infinite, u"Clip", true}, Row{kFloats, 0, u"", false},
                           Row{kLowest, 16000, u"-6.3", false}, Row{kLowest, 0, u"-Inf.", false}}) {
        SCOPED_TRACE(testing::Message() << row.meter << ' ' << row.clip);
        Make(METERS_CLIP_SHOWN | (row.meter == kLowest ? METERS_LOWEST : 0));
        const bool floats = row.meter == kFloats || row.meter == kPlainFloats;
        if (floats) Send(METERM_SETRANGE, PackWords(0, 1), 1 << 23);
        if (row.meter == kWhole) Send(METERM_SETFORMAT, 0, reinterpret_cast<intptr_t>(u"$.0f dB"));
        Send(METERM_SETPLAINCLIP, row.meter != kPlainFloats);
        Send(METERM_SETCLIP, 0, row.clip);
        const MeterReadout readout = MeterClipText(m, m.channel[0].clip);
        EXPECT_EQ(readout.text, row.text);
        EXPECT_EQ(readout.clipped, row.clipped);
        if (!floats) continue;
        Level(Bits(2.0f));
        EXPECT_EQ(Send(METERM_GETLEVELS), Bits(1.0f));
    }
}

TEST_F(Meter, AClickOnTheReadoutResetsItsChannel) {
    const auto click = [&](LONG x) { Send(WM_LBUTTONDOWN, MK_LBUTTON, PackPoint({x, 4})); };
    const std::array<int32_t, 3> peaks{900, 800, 700};
    const auto clips = [&] {
        std::array<int32_t, 3> out{};
        Send(METERM_GETCLIP, PackWords(0, 3), reinterpret_cast<intptr_t>(out.data()));
        return out;
    };
    for (const uint32_t each : {METERS_STRIP_EACH, 0u}) {
        Make(METERS_VERTICAL | METERS_CLIP_SHOWN | METERS_CLIP_CLICK | each, 3, {0, 0, 90, 300});
        Send(METERM_SETCLIP, PackWords(0, 3), reinterpret_cast<intptr_t>(peaks.data()));
        Send(WM_LBUTTONDOWN, MK_LBUTTON, PackPoint({40, 200}));
        EXPECT_EQ(clips(), peaks) << "a click on the bar is none on the readout";
        click(40);
        EXPECT_EQ(clips(), (each ? std::array<int32_t, 3>{900, 0, 700} : std::array<int32_t, 3>{}));
    }
    Make(METERS_VERTICAL | METERS_CLIP_SHOWN, 3, {0, 0, 90, 300});
    Send(METERM_SETCLIP, PackWords(0, 3), reinterpret_cast<intptr_t>(peaks.data()));
    click(40);
    EXPECT_EQ(clips(), peaks) << "not clickable";
    EXPECT_EQ(MeterCommonClip(m), 900);
    EXPECT_EQ(Send(WM_NCHITTEST, 0, PackPoint({40, 4})), HTCLIENT);
    EXPECT_EQ(Send(WM_NCHITTEST, 0, PackPoint({140, 4})), HTTRANSPARENT);
}

TEST_F(Meter, RangeStyleAndFormat) {
    Make(METERS_AUTO_VERTICAL);
    EXPECT_TRUE(m.state & METERST_VERTICAL);
    const RECT flat{0, 0, 300, 40};
    MeterInst_Move(&m, &flat);
    EXPECT_FALSE(m.state & METERST_VERTICAL);

    Level(5);
    Send(METERM_SETRANGE, PackWords(0, 1), 1 << 23);
    BOOL isFloat = 0;
    float range = 0;
    Send(METERM_GETRANGE, reinterpret_cast<uintptr_t>(&isFloat), reinterpret_cast<intptr_t>(&range));
    EXPECT_TRUE(isFloat);
    EXPECT_EQ(range, 8388608.0f);
    EXPECT_EQ(Send(METERM_GETLEVELS), 0) << "another range, no levels";

    Send(METERM_SETDISPLAYRANGE, 0, 1024);
    EXPECT_EQ(Send(METERM_GETDISPLAYRANGE), 1024);
    Send(METERM_SETDISPLAYRANGE, 0, 1 << 23);
    EXPECT_EQ(Send(METERM_GETDISPLAYRANGE), 0) << "as large as the range is the range";

    EXPECT_EQ(Send(METERM_CHANGESTYLE, METERS_HOLD_HIGH, 1),
              static_cast<intptr_t>(METERS_AUTO_VERTICAL | METERS_HOLD_HIGH));
    EXPECT_EQ(Send(METERM_CHANGESTYLE, METERS_AUTO_VERTICAL, 0), static_cast<intptr_t>(METERS_HOLD_HIGH));

    Send(METERM_SETFORMAT, 0, reinterpret_cast<intptr_t>(u"a format that is too long"));
    char16_t format[32];
    EXPECT_EQ(Send(METERM_GETFORMAT, 32, reinterpret_cast<intptr_t>(format)), 15);
    EXPECT_EQ(Send(METERM_GETFORMAT, 4, reinterpret_cast<intptr_t>(format)), 3);
    EXPECT_EQ(std::u16string(format), u"a f");
}
