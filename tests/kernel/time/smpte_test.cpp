#include "kernel/time/smpte.h"

#include "kernel/time/position.h"

#include <gtest/gtest.h>

#include <array>

namespace {

_smpteval Label(uint32_t format, uint32_t h, uint32_t m, uint32_t s, uint32_t f) {
    return {format, h, m, s, f, 0};
}

std::array<uint32_t, 4> Fields(const _smpteval& v) { return {v.hours, v.minutes, v.seconds, v.frames}; }

constexpr uint32_t FORMATS[] = {SMPTE_30, SMPTE_DROP, SMPTE_EBU, SMPTE_FILM, SMPTE_29_97, SMPTE_23_976};

/// Walks the labels of a day one by one by the rule as it is told to people: labels are counted like a clock,
/// and at the start of every minute but each tenth two are left out.
class LabelWalk {
public:
    LabelWalk(uint32_t labels, bool drops) : m_labels(labels), m_drops(drops) {}

    std::array<uint32_t, 4> Fields() const { return m_fields; }
    bool Next() {
        auto& [h, m, s, f] = m_fields;
        if (++f == m_labels) f = 0, s++;
        if (s == 60) s = 0, m++;
        if (m == 60) m = 0, h++;
        if (m_drops && f == 0 && s == 0 && m % 10) f = 2;
        return h < 24;
    }

private:
    uint32_t m_labels;
    bool m_drops;
    std::array<uint32_t, 4> m_fields{};
};

TEST(Smpte, EveryFrameOfADayInEveryFormatAndDirection) {
    for (const uint32_t format : FORMATS) {
        const uint32_t labels = format == SMPTE_EBU                              ? 25
                                : format == SMPTE_FILM || format == SMPTE_23_976 ? 24
                                                                                 : 30;
        LabelWalk walk(labels, format == SMPTE_DROP);
        int64_t frame = 0, nanosBefore = -1;
        do {
            _smpteval v = Label(format, 9, 9, 9, 9);
            QMSMPTE_FrameCountToSMPTE(&v, frame);
            ASSERT_EQ(Fields(v), walk.Fields()) << "format " << format << " frame " << frame;
            ASSERT_EQ(QMSMPTE_SMPTEToFrameCount(&v), frame) << "format " << format;

            const int64_t nanos = QMSMPTE_SMPTEToNanos(&v);
            ASSERT_GT(nanos, nanosBefore);
            nanosBefore = nanos;
            _smpteval back = Label(format, 9, 9, 9, 9);
            QMSMPTE_NanoToSMPTE(nanos, &back);
            ASSERT_EQ(Fields(back), walk.Fields()) << "format " << format << " frame " << frame;
            if (nanos > 0) {
                QMSMPTE_NanoToSMPTE(nanos - 50, &back);  // and not before it begins
                ASSERT_NE(Fields(back), walk.Fields()) << "format " << format << " frame " << frame;
            }
            _smpteval next = v;
            QMSMPTE_IncrementByFrame(&next);
            frame++;
            if (!walk.Next()) break;
            ASSERT_EQ(Fields(next), walk.Fields()) << "format " << format << " frame " << frame;
            QMSMPTE_DeccrementByFrame(&next, 1);
            ASSERT_EQ(Fields(next), Fields(v)) << "format " << format << " frame " << frame;
        } while (true);
        EXPECT_EQ(frame, format == SMPTE_DROP ? 2589408 : 86400 * static_cast<int64_t>(labels));
    }
}

TEST(Smpte, LabelsThatDoNotExistAndSums) {
    const _smpteval dropped = Label(SMPTE_DROP, 0, 1, 0, 0), next = Label(SMPTE_DROP, 0, 1, 0, 2);
    EXPECT_EQ(QMSMPTE_SMPTEToFrameCount(&dropped), 1800);
    EXPECT_EQ(QMSMPTE_SMPTEToFrameCount(&next), 1800);
    const _smpteval hour = Label(SMPTE_DROP, 1, 0, 0, 0);
    EXPECT_EQ(QMSMPTE_SMPTEToFrameCount(&hour), 107892);
    const _smpteval unknown = Label(7, 1, 0, 0, 0);
    EXPECT_EQ(QMSMPTE_SMPTEToFrameCount(&unknown), 0);

    _smpteval sum = Label(SMPTE_DROP, 23, 59, 59, 29);
    const _smpteval one = Label(SMPTE_DROP, 0, 0, 0, 1);
    QMSMPTE_AddSMPTE(&sum, &one);
    EXPECT_EQ(Fields(sum), (std::array<uint32_t, 4>{0, 0, 0, 0}));
    QMSMPTE_SubtractSMPTE(&sum, &one);
    EXPECT_EQ(Fields(sum), (std::array<uint32_t, 4>{23, 59, 59, 29}));
    _smpteval self = Label(SMPTE_EBU, 12, 0, 0, 3);
    QMSMPTE_SubtractSMPTE(&self, &self);
    EXPECT_EQ(Fields(self), (std::array<uint32_t, 4>{0, 0, 0, 0}));
    _smpteval before = Label(SMPTE_30, 0, 0, 0, 0);
    QMSMPTE_FrameCountToSMPTE(&before, -1);
    EXPECT_EQ(Fields(before), (std::array<uint32_t, 4>{23, 59, 59, 29}));
    QMSMPTE_FrameCountToSMPTE(&before, 2592000);
    EXPECT_EQ(Fields(before), (std::array<uint32_t, 4>{0, 0, 0, 0}));
    _smpteval late = Label(SMPTE_30, 31, 59, 59, 29);
    QMSMPTE_IncrementByFrame(&late);
    EXPECT_EQ(late.hours, 32u);
    late = Label(SMPTE_30, 32, 59, 59, 29);
    QMSMPTE_IncrementByFrame(&late);
    EXPECT_EQ(late.hours, 1u);

    const _smpteval a = Label(SMPTE_30, 1, 2, 3, 4), b = Label(SMPTE_30, 1, 2, 4, 0);
    EXPECT_EQ(QMSMPTE_SMPTECompare(&a, &b), -1);
    EXPECT_EQ(QMSMPTE_SMPTECompare(&b, &a), 1);
    EXPECT_EQ(QMSMPTE_SMPTECompare(&a, &a), 0);
}

TEST(Smpte, LabelsRunSlowerThanTimeInTheFractionalRates) {
    const _smpteval hour[] = {Label(SMPTE_29_97, 1, 0, 0, 0), Label(SMPTE_23_976, 1, 0, 0, 0)};
    for (const _smpteval& v : hour) EXPECT_EQ(QMSMPTE_SMPTEToNanos(&v), 36036000000);
    const _smpteval likeCd = Label(0, 0, 1, 0, 74);
    EXPECT_EQ(QMSMPTE_SmpteLikeToNanos(75, &likeCd), 609866667);
    EXPECT_EQ(QMSMPTE_SmpteLikeToNanos(0, &likeCd), 0);
}

TEST(Smpte, ExtremesStayInBounds) {
    for (uint32_t format = 0; format < 9; format++) {
        for (const int64_t nanos : {INT64_MIN, INT64_MIN + 1, int64_t{-1}, INT64_MAX}) {
            _smpteval v = Label(format, 0, 0, 0, 0);
            QMSMPTE_NanoToSMPTE(nanos, &v);
            EXPECT_LT(v.hours, 24u);
            EXPECT_LT(v.frames, 30u);
            QmNanoTimeToHMSF(nanos, &v, 25, 1);
            EXPECT_LT(v.minutes, 60u);
        }
        const _smpteval most = Label(format, UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX);
        EXPECT_GE(QMSMPTE_SMPTEToNanos(&most), 0);
        EXPECT_GT(QMSMPTE_SmpteLikeToNanos(1e-300, &most), 0);
        _smpteval v = most;
        QMSMPTE_AddSMPTE(&v, &most);
        QMSMPTE_IncrementByFrame(&v);
        QMSMPTE_DeccrementByFrame(&v, UINT32_MAX);
        EXPECT_LT(v.hours, 24u);
    }
}

TEST(Smpte, LabelsAsPeopleTypeThem) {
    const struct {
        const char16_t* text;
        std::array<uint32_t, 4> fields;
        bool any;
    } rows[] = {
        {u"1:2:3:4", {1, 2, 3, 4}, true},      {u"01 02 03 04", {1, 2, 3, 4}, true},
        {u"01:02:03;04", {1, 2, 3, 4}, true},  {u"1000", {0, 0, 10, 0}, true},
        {u"10:00", {0, 0, 10, 0}, true},       {u"5", {0, 0, 0, 5}, true},
        {u"1020304", {1, 2, 3, 4}, true},      {u"01:02:__:__", {1, 2, 0, 0}, true},
        {u"01:02:  :  ", {1, 2, 0, 0}, true},  {u"9:8:7:6:5", {8, 7, 6, 5}, true},
        {u"1:200", {0, 0, 1, 0}, true},        {u"", {0, 0, 0, 0}, false},
        {u"__:__:__:__", {0, 0, 0, 0}, false}, {u"123456789012", {56, 78, 90, 12}, true},
    };
    for (const auto& row : rows) {
        _smpteval v = Label(SMPTE_DROP, 9, 9, 9, 9);
        EXPECT_EQ(QMSMPTE_TextToSMPTE(row.text, &v), row.any);
        EXPECT_EQ(Fields(v), row.fields);
        EXPECT_EQ(v.format, SMPTE_DROP);
    }
}

}  // namespace
