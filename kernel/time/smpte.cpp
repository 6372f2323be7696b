#include "kernel/time/smpte.h"

#include "kernel/time/time_math.h"

#include <algorithm>

namespace {

struct FormatRow {
    uint32_t labels;  ///< a second
    double rate;      ///< frames a second
    uint32_t dayFrames;
};

constexpr FormatRow FORMATS[] = {
    {30, 30, 2592000},
    {30, 30, 2592000},
    {30, 30000.0 / 1001, 2589408},
    {25, 25, 2160000},
    {24, 24, 2073600},
    {30, 30000.0 / 1001, 2592000},
    {24, 24000.0 / 1001, 2073600},
};

bool IsKnown(uint32_t format) { return format >= SMPTE_30 && format <= SMPTE_23_976; }
const FormatRow& FormatOf(uint32_t format) { return FORMATS[IsKnown(format) ? format : 0]; }

constexpr uint32_t DROP_PER_MINUTE = 2, DROP_PER_HOUR = 108;
constexpr uint32_t DROP_MINUTE = 1798, DROP_TEN_MINUTES = 17982;

bool DropsIn(uint32_t minute) { return minute % 10 != 0; }

/// The label's place among all labels that a clock without drops would have.
uint32_t LabelOfDropFrame(uint32_t frame) {
    const uint32_t tens = frame / DROP_TEN_MINUTES, rest = frame % DROP_TEN_MINUTES;
    const uint32_t dropsInTen = DROP_PER_MINUTE * 9;
    const uint32_t minutes = rest < DROP_PER_MINUTE ? 0 : (rest - DROP_PER_MINUTE) / DROP_MINUTE;
    return frame + tens * dropsInTen + minutes * DROP_PER_MINUTE;
}

uint32_t WrapToDay(int64_t frames, const FormatRow& format) {
    const int64_t day = format.dayFrames, rest = frames % day;
    return static_cast<uint32_t>(rest < 0 ? rest + day : rest);
}

int64_t NanosOfFrames(double frames, double rate) {
    return timemath::Truncate(frames / rate * static_cast<double>(NANO_TIME_PER_SECOND) + 0.999);
}

/// Digits of a label's fields, from the left.
class Fields {
public:
    void Digit(char16_t c) {
        if (m_blank && m_digits) End();
        m_blank = false;
        m_digits++;
        m_value = (m_value * 10 + (c - u'0')) % 100;
        m_run = (m_run * 10 + (c - u'0')) % 100000000;
        m_any = true;
    }
    void Blank() { m_blank = true; }
    void End() {
        std::copy(m_fields + 1, m_fields + 4, m_fields);
        m_fields[3] = m_value;
        m_count++;
        m_value = 0;
        m_digits = 0;
        m_blank = false;
    }
    bool Finish(_smpteval& value) {
        End();
        if (m_count == 1)
            for (uint32_t *field = m_fields + 4, run = m_run; field != m_fields; run /= 100)
                *--field = run % 100;
        value.hours = m_fields[0];
        value.minutes = m_fields[1];
        value.seconds = m_fields[2];
        value.frames = m_fields[3];
        return m_any;
    }

private:
    uint32_t m_fields[4] = {}, m_value = 0, m_run = 0;
    size_t m_digits = 0, m_count = 0;
    bool m_blank = false, m_any = false;
};

}  // namespace

extern "C" {

int64_t QMSMPTE_SMPTEToFrameCount(const _smpteval* value) {
    if (!value || !IsKnown(value->format)) return 0;
    const int64_t hours = value->hours, minutes = value->minutes, seconds = value->seconds;
    int64_t frames = value->frames;
    int64_t dropped = 0;
    if (value->format == SMPTE_DROP) {
        dropped = hours * DROP_PER_HOUR + (minutes - minutes / 10) * DROP_PER_MINUTE;
        if (frames < DROP_PER_MINUTE && seconds == 0 && DropsIn(value->minutes)) frames = DROP_PER_MINUTE;
    }
    return ((hours * 60 + minutes) * 60 + seconds) * FormatOf(value->format).labels - dropped + frames;
}

void QMSMPTE_FrameCountToSMPTE(_smpteval* value, int64_t frames) {
    if (!value) return;
    const FormatRow& format = FormatOf(value->format);
    uint32_t label = WrapToDay(frames, format);
    if (value->format == SMPTE_DROP) label = LabelOfDropFrame(label);
    const uint32_t seconds = label / format.labels;
    value->frames = label % format.labels;
    value->seconds = seconds % 60;
    value->minutes = seconds / 60 % 60;
    value->hours = seconds / 3600;
}

void QMSMPTE_AddSMPTE(_smpteval* a, const _smpteval* b) {
    if (a && b) QMSMPTE_FrameCountToSMPTE(a, QMSMPTE_SMPTEToFrameCount(a) + QMSMPTE_SMPTEToFrameCount(b));
}

void QMSMPTE_SubtractSMPTE(_smpteval* a, const _smpteval* b) {
    if (a && b) QMSMPTE_FrameCountToSMPTE(a, QMSMPTE_SMPTEToFrameCount(a) - QMSMPTE_SMPTEToFrameCount(b));
}

int32_t QMSMPTE_SMPTECompare(const _smpteval* a, const _smpteval* b) {
    if (!a || !b) return 0;
    for (const auto field : {&_smpteval::hours, &_smpteval::minutes, &_smpteval::seconds, &_smpteval::frames})
        if (a->*field != b->*field) return a->*field > b->*field ? 1 : -1;
    return 0;
}

void QMSMPTE_IncrementByFrame(_smpteval* value) {
    if (!value || ++value->frames < FormatOf(value->format).labels) return;
    value->frames = 0;
    if (++value->seconds < 60) return;
    value->seconds = 0;
    if (++value->minutes >= 60) {
        value->minutes = 0;
        value->hours = (value->hours & 31) + 1;
    }
    if (value->format == SMPTE_DROP && DropsIn(value->minutes)) value->frames = DROP_PER_MINUTE;
}

void QMSMPTE_DeccrementByFrame(_smpteval* value, uint32_t count) {
    if (value) QMSMPTE_FrameCountToSMPTE(value, QMSMPTE_SMPTEToFrameCount(value) - count);
}

void QMSMPTE_NanoToSMPTE(int64_t nanos, _smpteval* value) {
    if (!value) return;
    const double rate = FormatOf(value->format).rate;
    const double frames =
        static_cast<double>(nanos) * rate / static_cast<double>(NANO_TIME_PER_SECOND) + 0.000005;
    QMSMPTE_FrameCountToSMPTE(value, timemath::Truncate(frames));
}

int64_t QMSMPTE_SMPTEToNanos(const _smpteval* value) {
    if (!value || !IsKnown(value->format)) return 0;
    return NanosOfFrames(static_cast<double>(QMSMPTE_SMPTEToFrameCount(value)), FormatOf(value->format).rate);
}

int64_t QMSMPTE_SmpteLikeToNanos(double rate, const _smpteval* value) {
    if (!value || !(rate > 0)) return 0;
    const double seconds = (value->hours * 60.0 + value->minutes) * 60.0 + value->seconds;
    return NanosOfFrames(seconds * rate + value->frames, rate);
}

BOOL QMSMPTE_TextToSMPTE(const char16_t* text, _smpteval* value) {
    if (!value) return 0;
    Fields fields;
    for (const char16_t* at = text ? text : u""; *at; at++) {
        if (*at >= u'0' && *at <= u'9')
            fields.Digit(*at);
        else if (*at == u' ' || *at == u'_')
            fields.Blank();
        else
            fields.End();
    }
    return fields.Finish(*value);
}

}  // extern "C"
