#include "kernel/time/time_text.h"

#include "../print/locale_fixture.h"
#include "kernel/time/time_parse.h"

#include <cmath>
#include <random>

using namespace tarn;

namespace {

constexpr int64_t SECOND = NANO_TIME_PER_SECOND;

class TimeText : public LocaleTest {
protected:
    static _qmposfmt Format(uint32_t number) { return {number, 48000, 25, 120, 0, 4, 960}; }
    static std::u16string Text(const _qmposfmt& format, int64_t nanos, uint32_t flags = 0) {
        char16_t text[64];
        const int32_t length = QmNanoTimeToTextEx(text, &format, nanos, flags);
        return {text, static_cast<size_t>(length)};
    }
};

TEST_F(TimeText, EachFormat) {
    const int64_t time = 3723 * SECOND + 5000000;  // 1:02:03.5
    const struct {
        uint32_t format;
        const char16_t *text, *shortText;
    } rows[] = {
        {0, u"178,728,000", u"178,728,000"},
        {1, u"01:02:03.500", u"01:02:03"},
        {2, u"3,723.500", u"3,724"},
        {3, u"01:02:03.13", u"01:02:03"},
        {4, u"93,087.500", u"93,088"},
        {5, u"1,862.4.000", u"1,862.4"},
        {6, u"01:01:59:23", u"01:01:59:23"},
        {7, u"01:02:03:15", u"01:02:03:15"},
        {8, u"01:02:03;15", u"01:02:03;15"},
        {9, u"01:02:03:12", u"01:02:03:12"},
        {10, u"01:02:03:12", u"01:02:03:12"},
        {11, u"37,235,000,000", u"37,235,000,000"},
        {12, u"3,723,500,000", u"3,723,500,000"},
        {13, u"1,861.3.000", u"1,861.3"},
        {14, u"7,447.000", u"7,447"},
        {15, u"2,327+8", u"2,327+8"},
        {16, u"5,818+0", u"5,818+0"},
        {17, u"01:02:03:38", u"01:02:03"},
        {18, u"01:01:59:18", u"01:01:59:18"},
        {19, u"1:02:03", u"1:02:03"},
        {20, u"37,235,000,000", u"37,235,000,000"},
        {0xFFFFFFFF, u"37,235,000,000", u"37,235,000,000"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Text(Format(row.format), time), row.text) << row.format;
        EXPECT_EQ(Text(Format(row.format), time, TIME_TEXT_SHORT), row.shortText) << row.format;
    }
}

TEST_F(TimeText, SignsOffsetsAndDays) {
    EXPECT_EQ(Text(Format(2), -SECOND), u"-1.000");
    EXPECT_EQ(Text(Format(8), -SECOND), u"-00:00:00;29");
    _qmposfmt late = Format(2);
    late.offset = 10 * SECOND;
    EXPECT_EQ(Text(late, 4 * SECOND), u"-6.000");
    EXPECT_EQ(Text(late, 4 * SECOND, TIME_TEXT_DURATION), u"4.000");
    late.offset = INT64_MAX;
    EXPECT_EQ(Text(late, INT64_MIN), u"-922,337,203,685.478");
    EXPECT_EQ(Text(Format(5), 0), u"1.1.000");
    EXPECT_EQ(Text(Format(5), 0, TIME_TEXT_DURATION), u"0.0.000");

    EXPECT_EQ(Text(Format(1), 86399 * SECOND), u"23:59:59.000");
    EXPECT_EQ(Text(Format(1), 863999000000), u"23:59:59.900");
    EXPECT_EQ(Text(Format(1), 863999000001), u"00:23:59:59");
    EXPECT_EQ(Text(Format(1), 5 * 86400 * SECOND + 61 * SECOND), u"05:00:01:01");
    EXPECT_EQ(Text(Format(1), 9999500), u"00:00:01.000") << "rounded";
    EXPECT_EQ(Text(Format(1), 9994999), u"00:00:00.999");

    EXPECT_EQ(Text(Format(19), 3600 * SECOND), u"1:00:00");
    EXPECT_EQ(Text(Format(19), 62 * SECOND), u"1:02");
    EXPECT_EQ(Text(Format(19), 11 * 3600 * SECOND), u"11:00:00");
    EXPECT_EQ(Text(Format(19), 600 * SECOND), u"10:00");
    EXPECT_EQ(Text(Format(19), 5 * SECOND), u"0:05");
    Use("fi_FI");
    EXPECT_EQ(Text(Format(1), 3723 * SECOND), u"01.02.03,000");
    EXPECT_EQ(Text(Format(9), 3723 * SECOND), u"01:02:03:00") << "SMPTE labels are the same everywhere";
}

TEST_F(TimeText, ExtremesStayInTheBuffer) {
    for (uint32_t number = 0; number < 21; number++)
        for (const int64_t nanos : {INT64_MIN, INT64_MAX, int64_t{0}, int64_t{-1}})
            for (const double tempo : {0.0, 1e-300, 960.0, 1e300, std::nan("")}) {
                _qmposfmt format = Format(number);
                format.rate = UINT32_MAX;
                format.tempo = tempo;
                format.framesPerSecond = tempo;
                format.beatsPerMeasure = format.ticksPerBeat = tempo == 0 ? 0 : UINT16_MAX;
                std::u16string buffer(80, u'#');
                const int32_t length = QmNanoTimeToTextEx(buffer.data(), &format, nanos, 0);
                ASSERT_LT(length, 64);
                ASSERT_EQ(buffer.find_first_not_of(u'#', 64), buffer.npos);
                for (uint32_t capacity = 0; capacity < 20; capacity++) {
                    std::u16string cut(24, u'#');
                    QmNanoTimeToTextN(cut.data(), capacity, &format, nanos, 0);
                    ASSERT_EQ(cut.find_first_not_of(u'#', capacity), cut.npos);
                    if (capacity > 1) {
                        ASSERT_EQ(
                            cut.substr(0, std::min<size_t>(capacity - 1, static_cast<size_t>(length))),
                            buffer.substr(0, std::min<size_t>(capacity - 1, static_cast<size_t>(length))));
                    }
                }
                QmTextToNanoTimeToken(buffer.c_str(), &format, nullptr);
            }
}

TEST_F(TimeText, WhatWasShownComesBack) {
    // How far the shown value may lie from the time: half a unit of what the format shows, or one frame.
    const int64_t tolerance[POSITION_FORMATS] = {
        SECOND / 48000, 5000,        5000,        SECOND / 25, 400, SECOND / 1920, SECOND / 29, SECOND / 29,
        SECOND / 29,    SECOND / 24, SECOND / 23, 0,           5,   SECOND / 1920, 5000,        SECOND / 49,
        SECOND / 49,    SECOND / 75, SECOND / 23, SECOND};
    std::mt19937_64 random(9);
    for (const char* locale : {"en_US", "de_DE", "fr_FR", "fi_FI", "hi_IN", "de_CH"}) {
        Use(locale);
        for (uint32_t number = 0; number < POSITION_FORMATS; number++)
            for (int i = 0; i < 500; i++) {
                _qmposfmt format = Format(number);
                format.offset = i % 3 ? 0 : 7 * SECOND;
                int64_t time = static_cast<int64_t>(random() % (86000 * static_cast<uint64_t>(SECOND)));
                if (i % 5 == 0 && number != 5) time = -time;
                const std::u16string text = Text(format, time);
                const char16_t* end = nullptr;
                const int64_t back = QmTextToNanoTimeToken(text.c_str(), &format, &end);
                ASSERT_EQ(end, text.c_str() + text.size()) << locale << " " << number;
                ASSERT_LE(std::abs(back - time), tolerance[number]) << locale << " " << number << " " << time;
                ASSERT_EQ(Text(format, back), text) << locale << " " << number << " " << time;
            }
    }
}

TEST_F(TimeText, ShortTextsLongTimesAndCountsComeBack) {
    const struct {
        uint32_t format, flags;
        int64_t time;
        const char16_t* text;
    } rows[] = {
        {1, TIME_TEXT_SHORT, 3723 * SECOND, u"01:02:03"},
        {3, TIME_TEXT_SHORT, 3723 * SECOND, u"01:02:03"},
        {17, TIME_TEXT_SHORT, 3723 * SECOND, u"01:02:03"},
        {1, 0, (2 * 86400 + 3723) * SECOND, u"02:01:02:03"},
        {1, TIME_TEXT_SHORT, -(2 * 86400 + 3723) * SECOND, u"-02:01:02:03"},
        {99, 0, 1234, u"1,234"},
    };
    for (const auto& row : rows) {
        _qmposfmt format = Format(row.format);
        // A count of no format is shown as it stands; all others without their offset.
        format.offset = 7 * SECOND;
        const int64_t time = row.time + (row.format < POSITION_FORMATS ? format.offset : 0);
        EXPECT_EQ(Text(format, time, row.flags), row.text);
        EXPECT_EQ(QmTextToNanoTimeToken2(row.text, &format, row.flags, nullptr), time) << row.format;
    }
    char16_t text[64];
    const _qmposfmt seconds = Format(2);
    QmNanoTimeToTextFormat(text, &seconds, SECOND, nullptr, 0);
    EXPECT_EQ(std::u16string(text), u"1.000");
}

TEST_F(TimeText, TimesAsPeopleTypeThem) {
    const _qmposfmt format = Format(1);
    const struct {
        const char16_t* text;
        BOOL frames;
        int64_t nanos;
        size_t end;
    } rows[] = {
        {u"1:02:03.500", 0, 3723 * SECOND + SECOND / 2, 11},
        {u"  2.250 later", 0, 2 * SECOND + SECOND / 4, 7},
        {u"5", 0, 5 * SECOND / 1000, 1},
        {u"-1:02.000", 0, -62 * SECOND, 9},
        {u"01:02:03:04", 0, 3723 * SECOND + 4 * SECOND / 1000, 11},
        {u"12345", 0, 12345 * SECOND / 1000, 5},
        {u"1:00:10", 1, 60 * SECOND + 10 * SECOND / 25, 7},
        {u"1:2:3:4:5", 1, 3723 * SECOND + 4 * SECOND / 25, 7},
        {u"", 0, 0, 0},
        {u"soon", 0, 0, 0},
        {u"99999999999999999999:0:0:0", 0, INT64_MAX, 26},
    };
    for (const auto& row : rows) {
        const char16_t* end = nullptr;
        EXPECT_EQ(QmTextToTimeToken(row.text, &format, row.frames, &end), row.nanos);
        EXPECT_EQ(end, row.text + row.end);
    }
    _smpteval label{};
    EXPECT_TRUE(QmTextToHMSFToken(u"2:03:04", &label, nullptr));
    EXPECT_EQ(label.minutes * 10000 + label.seconds * 100 + label.frames, 20304u);
    EXPECT_EQ(QmTextToNanoTimeTokenEx(5, u"nothing", &format, 0, 10, nullptr), 5);
    EXPECT_EQ(QmTextToNanoTimeTokenEx(5, u"1:00.000", &format, 0, SECOND, nullptr), SECOND);
    EXPECT_EQ(QmTextToFeetAndFramesToken(u"2+8", 16, nullptr), 40);
    EXPECT_EQ(QmTextToFeetAndFramesToken(u"3 +", 16, nullptr), 48);

    const _qmposfmt music = Format(5);
    EXPECT_EQ(QmTextToMusicTimeToken(u"2.3.480", &music, nullptr), (4 + 2) * SECOND / 2 + SECOND / 4);
    EXPECT_EQ(QmTextToMusicTimeToken(u"2", &music, nullptr), 4 * SECOND / 2);
    EXPECT_EQ(QmTextToMusicTimeToken(u"-2.1.000", &music, nullptr), -4 * SECOND / 2);
    uint32_t measures = 9, beats = 9, ticks = 9;
    EXPECT_EQ(QmTextToMeasuresBeatsTicks(u"7.2", &measures, &beats, &ticks), 2);
    EXPECT_EQ(measures * 100 + beats * 10 + ticks, 720u);
    EXPECT_EQ(QmTextToTicks(u"2.30", &music), 1950u);
    EXPECT_EQ(QmTextToTicks(u"30", &music), 30u);
    EXPECT_EQ(QmTextToTicks(u"4294967295.4294967295", &music), UINT32_MAX);
    char16_t text[64];
    QmMeasuresAndTicksToText(text, &music, 4, 2000);
    EXPECT_EQ(std::u16string(text), u"5.3.080");
    QmTicksToText(text, &music, 2000);
    EXPECT_EQ(std::u16string(text), u"2.080");
}

}  // namespace
