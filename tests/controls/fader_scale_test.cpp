// The taper, and the way between values and pixels.
#include "audio/fader_taper.h"
#include "controls/fader_scale.h"
#include "controls/number_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace tarn;

namespace {
FaderScale Scale(int32_t min, int32_t max, bool taper) {
    FaderScale scale;
    scale.min = min;
    scale.max = max;
    scale.taper = taper;
    scale.Update();
    return scale;
}
}  // namespace

TEST(FaderTaper, Table) {
    using Row = std::pair<int32_t, int32_t>;
    for (const auto& [value, position] :
         {Row{0, 0}, Row{1, 8}, Row{30, 250}, Row{60, 400}, Row{61, 401}, Row{120, 500}, Row{250, 600},
          Row{400, 800}, Row{700, 950}, Row{720, 953}, Row{1000, 1000}, Row{1200, 1200}}) {
        EXPECT_EQ(FaderTaper(value), position);
        EXPECT_EQ(FaderTaper(-value), -position);
    }
    EXPECT_EQ(FaderTaperInverse(250), 30);
    EXPECT_EQ(FaderTaperInverse(-500), -120);
    EXPECT_EQ(FaderTaperInverse(1200), 1200);
}

// Each pixel stands for the value of its own place, ends are exact, and neither way ever turns back.
TEST(FaderScale, EveryPixelOfEveryTravel) {
    for (const FaderScale& s : {Scale(-720, 120, true), Scale(-720, 60, true), Scale(0, 127, false),
                                Scale(0, 100, false), Scale(-100, 100, false)})
        for (int32_t travel = 2; travel <= 600; travel++) {
            ASSERT_EQ(s.Value(0, travel), s.min);
            ASSERT_EQ(s.Value(-5, travel), s.min);
            ASSERT_EQ(s.Value(travel, travel), s.max);
            ASSERT_EQ(s.Value(travel + 5, travel), s.max);
            ASSERT_EQ(s.Distance(s.min, travel), 0);
            ASSERT_EQ(s.Distance(s.max, travel), travel);
            int32_t before = s.min;
            for (int32_t d = 0; d <= travel; d++) {
                const int32_t value = s.Value(d, travel);
                ASSERT_GE(value, before) << "travel " << travel << " pixel " << d;
                ASSERT_LE(value, s.max);
                before = value;
                ASSERT_GE(d, s.Distance(std::max(value - 1, s.min), travel) - 2) << "travel " << travel;
                ASSERT_LE(d, s.Distance(std::min(value + 1, s.max), travel) + 2) << "travel " << travel;
            }
            int32_t last = 0;
            for (int32_t value = s.min; value <= s.max; value++) {
                const int32_t d = s.Distance(value, travel);
                ASSERT_GE(d, last);
                last = d;
            }
        }
}

TEST(FaderScale, DegenerateRangesAndTravels) {
    for (const int32_t travel : {0, 1}) EXPECT_EQ(Scale(-720, 120, true).Value(1, travel), -720);
    EXPECT_EQ(Scale(5, 5, false).Distance(5, 100), 0);
    EXPECT_EQ(Scale(5, 5, true).Value(50, 100), 5);
    const FaderScale widest =
        Scale(std::numeric_limits<int32_t>::min() / 2, std::numeric_limits<int32_t>::max() / 2, false);
    EXPECT_EQ(widest.Value(600, 600), widest.max);
    EXPECT_NEAR(widest.Distance(0, 600), 300, 1);
}

TEST(NumberText, AValueThatRoundsToZeroHasNoSign) {
    EXPECT_EQ(NumberText(-72.0), u"-72.0");
    EXPECT_EQ(NumberText(-0.04), u"0.0");
    EXPECT_EQ(NumberText(-0.06), u"-0.1");
    EXPECT_EQ(NumberText(-0.4, u"$.0f dB"), u"0 dB");
    EXPECT_EQ(NumberText(-std::numeric_limits<double>::infinity()), u"-inf");
}

// A surface's fader of 14 bits: it stands where the thumb on the screen does, and every place of it survives
// the way to a gain and back.
TEST(FaderScale, AGainHasItsPlaceOnASurface) {
    const FaderScale screen = Scale(-720, 120, true);
    constexpr int32_t kPlaces = 16383;
    for (int32_t tenths = -719; tenths <= 120; tenths++)
        EXPECT_NEAR(FaderShareOfGain(static_cast<float>(std::pow(10, tenths / 200.0))) * kPlaces,
                    screen.Distance(tenths, kPlaces), 30)
            << tenths;
    for (int32_t place = 0; place <= kPlaces; place++) {
        const float share = static_cast<float>(place) / kPlaces;
        EXPECT_EQ(std::lround(FaderShareOfGain(FaderGainOfShare(share)) * kPlaces), place);
    }
    EXPECT_EQ(FaderGainOfShare(0), 0);
    EXPECT_EQ(FaderShareOfGain(std::numeric_limits<float>::quiet_NaN()), 0);
    EXPECT_NEAR(FaderGainOfShare(2), std::pow(10, 12 / 20.0), 1e-4) << "beyond the end is the end";
}
