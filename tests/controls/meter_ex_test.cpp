// The scale meter: its law, and the seven scales against what the standards say of tones and bursts.
#include "controls/meter_ex.h"
#include "controls/meter_model.h"
#include "controls/meter_scales.h"
#include "fake_window.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {
enum Scale : uint32_t { kVu, kExtended, kLog, kUk, kEbu, kDin, kNordic };

float Amplitude(double decibels) { return static_cast<float>(std::pow(10, decibels / 20)); }

class MeterEx : public testing::Test {
protected:
    FakeWindow host;
    tQMMETEREX m{};

    void Make(uint32_t scale) {
        const RECT rect{0, 0, 60, 300};
        MeterExInst_Init(&m, METERS_VERTICAL | METERS_HOLD_HIGH, &rect, &host, 1, 0, 0);
        MeterExInst_SetScale(&m, &MeterScaleOf(scale));
        m.base.model->rescale(m.base, 300);
    }
    void TearDown() override { MeterExInst_Deinit(&m); }
    void Set(float level) { Send(METEREXM_SETLEVELS, 0, std::bit_cast<int32_t>(level)); }
    intptr_t Send(uint32_t message, uintptr_t w = 0, intptr_t l = 0) {
        return MeterExInst_Message(&m, message, w, l);
    }
    float Paint(uint32_t after = 0) {
        host.now += after;
        m.base.model->advance(m.base, host.now);
        return m.channel[0].displayed;
    }
};
}  // namespace

TEST(MeterExLaw, LevelsToPixels) {
    constexpr METERSEGMENT kExtendedScale[] = {{10, 0, 0}, {0, 1, 0.4f}, {-45, 0, 1}};
    struct Row {
        float level;
        int32_t pixel;
    };
    for (const Row& row :
         {Row{10, 100}, Row{12, 108}, Row{5, 80}, Row{0, 60}, Row{-45, 0}, Row{-22.5f, 15}, Row{-46, -1}})
        EXPECT_EQ(MeterExPixel(kExtendedScale, 3, row.level, 100), row.pixel) << row.level;
    constexpr METERSEGMENT kFlat[] = {{3, 0, 0}, {3, 0, 1}};
    EXPECT_EQ(MeterExPixel(kFlat, 2, 1, 100), 100);
    EXPECT_EQ(MeterExPixel(kFlat, 1, 5, 100), 0) << "without a scale the bar is empty";
    for (uint32_t scale = 0; scale < kMeterScaleCount; scale++) {
        const METERSCALE& s = MeterScaleOf(scale);
        const auto count = static_cast<uint32_t>(s.segments.size());
        int32_t last = 1000000;
        for (float level = s.segments.front().level; level >= s.segments.back().level; level -= 0.01f) {
            const int32_t pixel = MeterExPixel(s.segments.data(), count, level, 1000);
            ASSERT_LE(pixel, last) << "scale " << scale << " level " << level;
            last = pixel;
        }
        EXPECT_EQ(MeterExPixel(s.segments.data(), count, s.segments.front().level, 1000), 1000);
        EXPECT_LE(last, 1);
    }
}

// IEC 60268-10: alignment levels of the types; 60268-17: a VU meter at its reference reads 0. Amplitudes are
// decibels below full scale, where the alignment is -18 for VU and -22 for the programme meters.
TEST_F(MeterEx, SteadyTonesReadWhatTheScaleSays) {
    struct Row {
        uint32_t scale;
        double decibels, reading;
    };
    for (const Row& row :
         {Row{kVu, -18, 0},       Row{kVu, -15, 3},         Row{kVu, -28, -10},  Row{kVu, -38, -20},
          Row{kExtended, -8, 10}, Row{kExtended, -48, -30}, Row{kLog, -18, 0},   Row{kLog, -88, -70},
          Row{kUk, -22, 4},       Row{kUk, -18, 5},         Row{kUk, -10, 7},    Row{kUk, -34, 1},
          Row{kUk, -6, 8},        Row{kEbu, -22, 0},        Row{kEbu, -10, 12},  Row{kEbu, -34, -12},
          Row{kDin, -16, 0},      Row{kDin, -11, 5},        Row{kDin, -66, -50}, Row{kNordic, -22, 0},
          Row{kNordic, -10, 12},  Row{kNordic, -64, -42}})
        for (const uint32_t interval : {10u, 33u, 100u}) {
            Make(row.scale);
            for (uint32_t t = 0; t < 1000; t += interval) {
                Set(MeterScaleLevel(MeterScaleOf(row.scale), Amplitude(row.decibels)));
                Paint(interval);
            }
            EXPECT_NEAR(Paint(), row.reading, 0.1)
                << "scale " << row.scale << " at " << row.decibels << " dB";
        }
    Make(kUk);
    Set(MeterScaleLevel(MeterScaleOf(kUk), Amplitude(-6)));
    Paint();
    EXPECT_EQ(m.base.channel[0].pixel, 300) << "above the scale the bar is full";
    EXPECT_NEAR(MeterScaleLevel(MeterScaleOf(kLog), 0), -162, 0.01);
}

// A burst is read at once, kept for the hold, and falls as the type tells: 24 dB in 2.8 s for IIa and IIb, 20
// dB in 1.7 s for type I; a VU meter follows what it is given.
TEST_F(MeterEx, BurstsFallAsTheirTypeTells) {
    struct Row {
        uint32_t scale;
        double decibels;
        uint32_t milliseconds;  // after the burst
        double reading;
    };
    for (const Row& row :
         {Row{kEbu, -10, 100, 12}, Row{kEbu, -10, 150, 12}, Row{kEbu, -10, 1550, 0},
          Row{kEbu, -10, 2950, -12}, Row{kUk, -10, 150, 7}, Row{kUk, -10, 2950, 1}, Row{kDin, -11, 0, 5},
          Row{kDin, -11, 850, -5}, Row{kDin, -11, 1700, -15}, Row{kNordic, -10, 1700, -8},
          Row{kNordic, -10, 850, 2}, Row{kVu, -18, 0, 0}, Row{kVu, -18, 200, -162}})
        for (uint32_t interval = 10; interval <= 100; interval++) {
            Make(row.scale);
            const METERSCALE& s = MeterScaleOf(row.scale);
            Paint(1000);
            Set(MeterScaleLevel(s, Amplitude(row.decibels)));
            Paint(interval);
            Set(MeterScaleLevel(s, 0));
            uint32_t passed = 0;
            for (; passed + interval <= row.milliseconds; passed += interval) Paint(interval);
            if (row.milliseconds > passed) Paint(row.milliseconds - passed);
            ASSERT_NEAR(m.channel[0].displayed, row.reading, 0.1)
                << "scale " << row.scale << " after " << row.milliseconds << " ms, painted every "
                << interval;
        }
}

TEST_F(MeterEx, AFallingDisplayRisesAtOnceAndHoldsFollowIt) {
    Make(kEbu);
    Set(10);
    Paint(10);
    Set(-16);
    EXPECT_LT(Paint(1000), 3);
    EXPECT_EQ(m.channel[0].highHold, Paint()) << "after 700 ms the hold jumps";
    Set(5);
    EXPECT_EQ(Paint(10), 5);
    Set(-16);
    Paint(600);
    EXPECT_EQ(m.channel[0].highHold, 5);
    EXPECT_EQ(Send(METEREXM_SETCHANNELS, 0, 7), 0);
    EXPECT_EQ(Send(METEREXM_GETCHANNELS), 6);
    const float six[] = {1, 2, 3, 4, 5, std::nanf("")};
    Send(METEREXM_SETLEVELS, PackWords(0, 6), reinterpret_cast<intptr_t>(six));
    float out[6];
    EXPECT_EQ(Send(METEREXM_GETLEVELS, PackWords(0, 6), reinterpret_cast<intptr_t>(out)), 6);
    EXPECT_EQ(out[4], 5);
    EXPECT_EQ(out[5], -17) << "no number is no level";
    EXPECT_EQ(Send(METEREXM_GETCLIP, PackWords(0, 6), reinterpret_cast<intptr_t>(out)), 6);
    EXPECT_EQ(out[0], 10) << "the highest since the reset";
    EXPECT_EQ(m.base.model->readout(m.base, std::bit_cast<int32_t>(15.0f)).text, u"15.0");
    EXPECT_TRUE(m.base.model->readout(m.base, std::bit_cast<int32_t>(15.0f)).clipped);
}

TEST_F(MeterEx, LabelsOfLessImportanceGiveWay) {
    Make(kUk);
    const auto texts = [&](int32_t room) {
        std::u16string all;
        for (const MeterMark& mark : m.base.model->marks(m.base, 600, 300, room)) all += mark.text;
        return all;
    };
    EXPECT_EQ(texts(12), u"7654321");
    EXPECT_EQ(texts(80), u"642") << "the reference first, then those next in importance that fit";
    EXPECT_EQ(texts(200), u"4");
}
