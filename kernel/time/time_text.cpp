#include "kernel/time/time_text.h"

#include "kernel/lang/lang.h"
#include "kernel/print/print.h"
#include "kernel/time/time_math.h"

#include <algorithm>
#include <string_view>

using namespace tarn;

namespace {

constexpr uint32_t TEXT_CAPACITY = 64;
constexpr int64_t PER_MILLISECOND = NANO_TIME_PER_SECOND / 1000;
constexpr int64_t LAST_WITHOUT_DAYS = 863999000000;
constexpr double CD_FRAMES = 75;

constexpr const char16_t* WHOLE = u"$I64d";
constexpr const char16_t* SHORT_SECONDS = u"$.0f";

/// What a format number means to the formatter.
struct Kind {
    const char16_t *longFormat, *shortFormat;
    int32_t (*print)(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt& format,
                     int64_t nanos, uint32_t flags);
};

double Seconds(int64_t nanos) { return static_cast<double>(nanos) / timemath::PER_SECOND; }

int32_t PrintWhole(char16_t* out, uint32_t capacity, int64_t value) {
    return QmCchPrintF(out, capacity, nullptr, WHOLE, value);
}

int32_t PrintReal(char16_t* out, uint32_t capacity, const char16_t* text, double value) {
    if (std::u16string_view(text) == SHORT_SECONDS)
        return PrintWhole(out, capacity, timemath::Truncate(std::round(value)));
    return QmCchPrintF(out, capacity, nullptr, text, value);
}

int32_t PrintSamples(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt& format,
                     int64_t nanos, uint32_t) {
    // Whole seconds apart, so that nothing is lost of long times at high rates.
    const int64_t seconds = nanos / NANO_TIME_PER_SECOND, rest = nanos % NANO_TIME_PER_SECOND;
    const int64_t inSecond = (rest * format.rate + NANO_TIME_PER_SECOND / 2) / NANO_TIME_PER_SECOND;
    int64_t samples = 0;
    if (__builtin_mul_overflow(seconds, int64_t{format.rate}, &samples)) samples = INT64_MAX;
    return QmCchPrintF(out, capacity, nullptr, text, timemath::AddHeld(samples, inSecond));
}

int32_t PrintTime(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt&, int64_t nanos,
                  uint32_t) {
    const int64_t millis = timemath::AddHeld(nanos, PER_MILLISECOND / 2) / PER_MILLISECOND;
    const int64_t seconds = millis / 1000;
    const auto ms = static_cast<uint32_t>(millis % 1000), s = static_cast<uint32_t>(seconds % 60),
               m = static_cast<uint32_t>(seconds / 60 % 60), h = static_cast<uint32_t>(seconds / 3600 % 24);
    if (nanos <= LAST_WITHOUT_DAYS) return QmCchPrintF(out, capacity, nullptr, text, h, m, s, ms);
    const auto days = static_cast<uint32_t>(seconds / 86400);
    return QmCchPrintF(out, capacity, nullptr, u"%02u$:%02u$:%02u$:%02u", days, h, m, s);
}

int32_t PrintSeconds(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt&, int64_t nanos,
                     uint32_t) {
    return PrintReal(out, capacity, text, Seconds(nanos));
}

int32_t PrintBeats(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt& format,
                   int64_t nanos, uint32_t) {
    return PrintReal(out, capacity, text, Seconds(nanos) * format.tempo / 60);
}

int32_t PrintFrames(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt& format,
                    int64_t nanos, uint32_t) {
    return QmCchPrintF(out, capacity, nullptr, text, Seconds(nanos) * format.framesPerSecond);
}

int32_t PrintLabel(char16_t* out, uint32_t capacity, const char16_t* text, _smpteval label, double rate,
                   int64_t nanos) {
    QmNanoTimeToHMSF(nanos, &label, rate, 0);
    return QmCchPrintF(out, capacity, nullptr, text, label.hours, label.minutes, label.seconds, label.frames);
}

int32_t PrintTimeAndFrames(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt& format,
                           int64_t nanos, uint32_t) {
    return PrintLabel(out, capacity, text, {}, format.framesPerSecond, nanos);
}

int32_t PrintCd(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt&, int64_t nanos,
                uint32_t) {
    return PrintLabel(out, capacity, text, {}, CD_FRAMES, nanos);
}

template <SmpteFormat smpte>
int32_t PrintSmpte(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt&, int64_t nanos,
                   uint32_t) {
    return PrintLabel(out, capacity, text, {smpte, 0, 0, 0, 0, 0}, 0, nanos);
}

template <uint32_t first>
int32_t PrintMeasures(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt& format,
                      int64_t nanos, uint32_t flags) {
    uint32_t measure = 0, beat = 0, tick = 0;
    QmNanoTimeToMeasures(nanos, &format, &measure, &beat, &tick);
    const uint32_t from = flags & TIME_TEXT_DURATION ? 0 : first;
    return QmCchPrintF(out, capacity, nullptr, text, measure + from, beat + from, tick);
}

template <int64_t framesPerFoot>
int32_t PrintFeet(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt& format,
                  int64_t nanos, uint32_t) {
    const int64_t frames = timemath::Truncate(std::round(Seconds(nanos) * format.framesPerSecond + 0.00001));
    return QmCchPrintF(out, capacity, nullptr, text, frames / framesPerFoot, frames % framesPerFoot);
}

int32_t PrintRaw(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt&, int64_t nanos,
                 uint32_t) {
    return QmCchPrintF(out, capacity, nullptr, text, nanos);
}

int32_t PrintMicroseconds(char16_t* out, uint32_t capacity, const char16_t* text, const _qmposfmt&,
                          int64_t nanos, uint32_t) {
    return QmCchPrintF(out, capacity, nullptr, text, timemath::AddHeld(nanos, 5) / 10);
}

int32_t PrintShortest(char16_t* out, uint32_t capacity, const char16_t*, const _qmposfmt&, int64_t nanos,
                      uint32_t) {
    const int64_t seconds = nanos / NANO_TIME_PER_SECOND;
    const auto h = static_cast<uint32_t>(std::min<int64_t>(seconds / 3600, UINT32_MAX)),
               m = static_cast<uint32_t>(seconds / 60 % 60), s = static_cast<uint32_t>(seconds % 60);
    if (h > 0) return QmCchPrintF(out, capacity, nullptr, u"%u$:%02u$:%02u", h, m, s);
    return QmCchPrintF(out, capacity, nullptr, m >= 10 ? u"%02u$:%02u" : u"%u$:%02u", m, s);
}

constexpr const char16_t* CLOCK = u"%02u$:%02u$:%02u";
constexpr const char16_t* LABEL = u"%02u:%02u:%02u:%02u";
constexpr const char16_t* MUSIC = u"$u$&:%u$&.%03u";
constexpr const char16_t* SHORT_MUSIC = u"$u$&:%u";
constexpr const char16_t* FEET = u"$I64d+$I64d";

constexpr Kind KINDS[POSITION_FORMATS] = {
    {WHOLE, WHOLE, PrintSamples},
    {u"%02u$:%02u$:%02u$*%03u", CLOCK, PrintTime},
    {u"$.3f", SHORT_SECONDS, PrintSeconds},
    {u"%02u$:%02u$:%02u$*%02u", CLOCK, PrintTimeAndFrames},
    {u"$.3f", SHORT_SECONDS, PrintFrames},
    {MUSIC, SHORT_MUSIC, PrintMeasures<1>},
    {LABEL, LABEL, PrintSmpte<SMPTE_29_97>},
    {LABEL, LABEL, PrintSmpte<SMPTE_30>},
    {u"%02u:%02u:%02u;%02u", u"%02u:%02u:%02u;%02u", PrintSmpte<SMPTE_DROP>},
    {LABEL, LABEL, PrintSmpte<SMPTE_EBU>},
    {LABEL, LABEL, PrintSmpte<SMPTE_FILM>},
    {WHOLE, WHOLE, PrintRaw},
    {WHOLE, WHOLE, PrintMicroseconds},
    {MUSIC, SHORT_MUSIC, PrintMeasures<0>},
    {u"$.3f", SHORT_SECONDS, PrintBeats},
    {FEET, FEET, PrintFeet<40>},
    {FEET, FEET, PrintFeet<16>},
    {LABEL, CLOCK, PrintCd},
    {LABEL, LABEL, PrintSmpte<SMPTE_23_976>},
    {CLOCK, CLOCK, PrintShortest},
};

}  // namespace

const char16_t* tarn::PrintFormatOfTime(uint32_t format, bool isShort) {
    if (format >= POSITION_FORMATS) return WHOLE;
    return isShort ? KINDS[format].shortFormat : KINDS[format].longFormat;
}

extern "C" {

int32_t QmNanoTimeToTextFormatN(char16_t* out, uint32_t capacity, const _qmposfmt* format, int64_t nanos,
                                const char16_t* printFormat, uint32_t flags) {
    if (!out || capacity == 0) return 0;
    if (!printFormat) printFormat = PrintFormatOfTime(format->format, flags & TIME_TEXT_SHORT);
    printFormat = QmGetStringSmart(KernelLang(), printFormat);
    if (format->format >= POSITION_FORMATS) return PrintWhole(out, capacity, nanos);
    if (!(flags & TIME_TEXT_DURATION)) nanos = timemath::SubtractHeld(nanos, format->offset);
    int32_t sign = 0;
    if (nanos < 0) {
        sign = QmCchPrintF(out, capacity, nullptr, u"-");
        nanos = timemath::SubtractHeld(0, nanos);
    }
    return sign + KINDS[format->format].print(out + sign, capacity - static_cast<uint32_t>(sign), printFormat,
                                              *format, nanos, flags);
}

int32_t QmNanoTimeToTextFormat(char16_t* out, const _qmposfmt* format, int64_t nanos,
                               const char16_t* printFormat, uint32_t flags) {
    return QmNanoTimeToTextFormatN(out, TEXT_CAPACITY, format, nanos, printFormat, flags);
}

int32_t QmNanoTimeToTextExN(char16_t* out, uint32_t capacity, const _qmposfmt* format, int64_t nanos,
                            uint32_t flags) {
    const char16_t* text = PrintFormatOfTime(format->format, flags & TIME_TEXT_SHORT);
    return QmNanoTimeToTextFormatN(out, capacity, format, nanos, text, flags);
}

int32_t QmNanoTimeToTextEx(char16_t* out, const _qmposfmt* format, int64_t nanos, uint32_t flags) {
    return QmNanoTimeToTextExN(out, TEXT_CAPACITY, format, nanos, flags);
}

int32_t QmNanoTimeToText(char16_t* out, const _qmposfmt* format, int64_t nanos, BOOL isShort) {
    return QmNanoTimeToTextExN(out, TEXT_CAPACITY, format, nanos, isShort ? TIME_TEXT_SHORT : 0);
}

int32_t QmNanoTimeToTextN(char16_t* out, uint32_t capacity, const _qmposfmt* format, int64_t nanos,
                          BOOL isShort) {
    return QmNanoTimeToTextExN(out, capacity, format, nanos, isShort ? TIME_TEXT_SHORT : 0);
}

int32_t QmMeasuresAndTicksToText(char16_t* out, const _qmposfmt* format, uint32_t measure, uint32_t ticks) {
    const uint32_t perBeat = std::max<uint32_t>(format->ticksPerBeat, 1);
    return QmCchPrintF(out, TEXT_CAPACITY, nullptr, MUSIC, measure + 1, ticks / perBeat + 1, ticks % perBeat);
}

int32_t QmTicksToText(char16_t* out, const _qmposfmt* format, uint32_t ticks) {
    const uint32_t perBeat = std::max<uint32_t>(format->ticksPerBeat, 1);
    return QmCchPrintF(out, TEXT_CAPACITY, nullptr, u"$u$&.%03u", ticks / perBeat, ticks % perBeat);
}

}  // extern "C"
