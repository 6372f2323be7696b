#include "kernel/time/time_parse.h"

#include "kernel/formats/inat.h"
#include "kernel/print/digits.h"
#include "kernel/print/parse_text.h"
#include "kernel/time/time_math.h"
#include "kernel/time/time_text.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

using namespace tarn;

namespace {

bool IsBlank(char16_t c) {
    return c == u' ' || (c >= u'\t' && c <= u'\r') || c == u'\u00A0' || c == u'\u202F';
}

/// A place in a text.
class TimeReader {
public:
    explicit TimeReader(const char16_t* text) : m_at(text ? text : u"") {}

    const char16_t* At() const { return m_at; }
    void SkipSpace() {
        while (IsBlank(*m_at)) m_at++;
    }
    bool Take(char16_t c) {
        if (*m_at != c) return false;
        m_at++;
        return true;
    }

    /// Digits, held at the largest number; false without one.
    bool Digits(uint64_t& value, bool grouped = false) {
        if (!digits::IsDigit(*m_at)) return false;
        value = 0;
        for (; digits::IsDigit(*m_at) || (grouped && TakeGroup()); m_at++) {
            const auto digit = static_cast<uint64_t>(*m_at - u'0');
            value = value > (UINT64_MAX - digit) / 10 ? UINT64_MAX : value * 10 + digit;
        }
        return true;
    }
    /// A number in the user's way of writing, with decimals or not.
    bool Real(double& value) {
        char16_t plain[400];
        size_t length = 0;
        while ((digits::IsDigit(*m_at) || (length && TakeGroup())) && length < 300) plain[length++] = *m_at++;
        const bool hasPoint = TakePoint();
        if (hasPoint) plain[length++] = u'.';
        while (hasPoint && digits::IsDigit(*m_at) && length < 390) plain[length++] = *m_at++;
        plain[length] = 0;
        value = QmTextToDoubleToken(plain, nullptr, nullptr);
        return length > (hasPoint ? 1 : 0);
    }

private:
    bool TakeText(const Separator& separator) {
        const std::u16string_view text(separator.text, separator.length);
        for (size_t i = 0; i < text.size(); i++)
            if (m_at[i] != text[i]) return false;
        m_at += text.size();
        return !text.empty();
    }
    bool TakePoint() {
        if (TakeText(CurrentInat().decimal)) return true;
        return Take(u'.');
    }
    /// A thousands separator counts as one only with a digit behind it.
    bool TakeGroup() {
        const char16_t* const before = m_at;
        if (TakeText(CurrentInat().thousands) && digits::IsDigit(*m_at)) return true;
        m_at = before;
        return false;
    }

    const char16_t* m_at;
};

/// Up to four groups of digits with anything between; the last stands at the right.
struct Groups {
    std::array<uint64_t, 4> values{};
    size_t count = 0;
    bool isClock = true;  ///< two digits each, and time separators between
};

Groups ReadGroups(TimeReader& reader) {
    Groups groups;
    uint64_t value = 0;
    for (const char16_t* from = reader.At(); groups.count < 4 && reader.Digits(value); from = reader.At()) {
        groups.isClock &= reader.At() - from == 2;
        std::copy(groups.values.begin() + 1, groups.values.end(), groups.values.begin());
        groups.values[3] = value;
        groups.count++;
        // What lies between belongs to the text only when another group follows.
        TimeReader ahead = reader;
        while (*ahead.At() && !digits::IsDigit(*ahead.At())) ahead = TimeReader(ahead.At() + 1);
        if (!*ahead.At() || groups.count == 4) break;
        const Separator& time = CurrentInat().time;
        groups.isClock &= std::u16string_view(reader.At(), static_cast<size_t>(ahead.At() - reader.At())) ==
                          std::u16string_view(time.text, time.length);
        reader = ahead;
    }
    return groups;
}

double SecondsOf(uint64_t hours, uint64_t minutes, uint64_t seconds) {
    return (static_cast<double>(hours) * 60 + static_cast<double>(minutes)) * 60 +
           static_cast<double>(seconds);
}

int64_t NanosOf(double seconds) { return timemath::Truncate(seconds * timemath::PER_SECOND + 0.5); }

uint32_t To32(uint64_t value) { return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX)); }

struct MusicTime {
    uint64_t measure = 0, beat = 0, tick = 0;
    size_t count = 0;
};

/// Where the user groups digits by points, a measure's groups can't be told from the beats behind it: what is
/// more than three numbers then belongs to the measure.
MusicTime ReadMusic(TimeReader& reader) {
    const bool ambiguous = CurrentInat().thousands.text[0] == CurrentInat().measureBeat.text[0];
    uint64_t values[5] = {};
    size_t count = 0;
    while (count < std::size(values) && reader.Digits(values[count], count == 0 && !ambiguous)) {
        count++;
        TimeReader ahead = reader;
        while (*ahead.At() && !digits::IsDigit(*ahead.At()) && !IsBlank(*ahead.At()))
            ahead = TimeReader(ahead.At() + 1);
        if (!digits::IsDigit(*ahead.At()) || (!ambiguous && count == 3)) break;
        reader = ahead;
    }
    size_t at = 0;
    for (; count > 3; count--, at++) values[at + 1] += std::min<uint64_t>(values[at], UINT32_MAX) * 1000;
    return {values[at], values[at + 1], values[at + 2], count};
}

int64_t NanosOfMusic(const MusicTime& music, const _qmposfmt& format) {
    const double beats = std::max<uint16_t>(format.beatsPerMeasure, 1);
    const double ticks = std::max<uint16_t>(format.ticksPerBeat, 1);
    const double tempo = format.tempo > 0 ? format.tempo : 1;
    const double total = static_cast<double>(music.measure) * beats + static_cast<double>(music.beat) +
                         static_cast<double>(music.tick) / ticks;
    return NanosOf(total * 60 / tempo);
}

void CountFromZero(MusicTime& music) {
    if (music.measure) music.measure--;
    if (music.beat) music.beat--;
}

/// Reads a time without its sign and offset; false, with the reader at the stop, when there is none.
using ReadTime = bool (*)(TimeReader& reader, const _qmposfmt& format, uint32_t flags, int64_t& nanos);

int64_t Hold(uint64_t value) { return static_cast<int64_t>(std::min<uint64_t>(value, INT64_MAX)); }

bool ReadSamples(TimeReader& reader, const _qmposfmt& format, uint32_t, int64_t& nanos) {
    uint64_t samples = 0;
    if (!reader.Digits(samples, true)) return false;
    if (format.rate == 0) return true;
    // Late rather than early, so that the same sample comes back.
    const uint64_t seconds = samples / format.rate, rest = samples % format.rate;
    const uint64_t inSecond = (rest * NANO_TIME_PER_SECOND + format.rate / 2) / format.rate;
    nanos = seconds > INT64_MAX / NANO_TIME_PER_SECOND
                ? INT64_MAX
                : timemath::AddHeld(static_cast<int64_t>(seconds) * NANO_TIME_PER_SECOND,
                                    static_cast<int64_t>(inSecond));
    return true;
}

template <bool hasMillis>
bool ReadClock(TimeReader& reader, const _qmposfmt&, uint32_t flags, int64_t& nanos) {
    const Groups g = ReadGroups(reader);
    if (g.count == 0) return false;
    const auto& v = g.values;
    nanos = hasMillis && !(flags & TIME_TEXT_SHORT)
                ? NanosOf(SecondsOf(v[0], v[1], v[2]) + static_cast<double>(v[3]) / 1000)
                : NanosOf(SecondsOf(v[1], v[2], v[3]));
    return true;
}

/// From a day on the text shows days, and no milliseconds.
bool ReadDaysOrClock(TimeReader& reader, const _qmposfmt& format, uint32_t flags, int64_t& nanos) {
    TimeReader ahead = reader;
    const Groups g = ReadGroups(ahead);
    if (!g.isClock || g.count < 4) return ReadClock<true>(reader, format, flags, nanos);
    reader = ahead;
    const auto& v = g.values;
    nanos = NanosOf(static_cast<double>(v[0]) * 86400 + SecondsOf(v[1], v[2], v[3]));
    return true;
}

bool ReadSeconds(TimeReader& reader, const _qmposfmt&, uint32_t, int64_t& nanos) {
    double value = 0;
    if (!reader.Real(value)) return false;
    nanos = NanosOf(value);
    return true;
}

bool ReadFrames(TimeReader& reader, const _qmposfmt& format, uint32_t, int64_t& nanos) {
    double value = 0;
    if (!reader.Real(value)) return false;
    if (format.framesPerSecond > 0) nanos = NanosOf(value / format.framesPerSecond);
    return true;
}

bool ReadBeats(TimeReader& reader, const _qmposfmt& format, uint32_t, int64_t& nanos) {
    double value = 0;
    if (!reader.Real(value)) return false;
    if (format.tempo > 0) nanos = NanosOf(value * 60 / format.tempo);
    return true;
}

bool ReadLabel(TimeReader& reader, _smpteval label, double rate, int64_t& nanos) {
    const Groups g = ReadGroups(reader);
    label.hours = To32(g.values[0]);
    label.minutes = To32(g.values[1]);
    label.seconds = To32(g.values[2]);
    label.frames = To32(g.values[3]);
    nanos = QmHMSFToNanoTime(&label, rate);
    return g.count > 0;
}

bool ReadTimeAndFrames(TimeReader& reader, const _qmposfmt& format, uint32_t flags, int64_t& nanos) {
    if (flags & TIME_TEXT_SHORT) return ReadClock<false>(reader, format, flags, nanos);
    return ReadLabel(reader, {}, format.framesPerSecond, nanos);
}

bool ReadCd(TimeReader& reader, const _qmposfmt& format, uint32_t flags, int64_t& nanos) {
    if (flags & TIME_TEXT_SHORT) return ReadClock<false>(reader, format, flags, nanos);
    return ReadLabel(reader, {}, 75, nanos);
}

template <SmpteFormat smpte>
bool ReadSmpte(TimeReader& reader, const _qmposfmt&, uint32_t, int64_t& nanos) {
    return ReadLabel(reader, {smpte, 0, 0, 0, 0, 0}, 0, nanos);
}

template <bool fromOne>
bool ReadMeasures(TimeReader& reader, const _qmposfmt& format, uint32_t flags, int64_t& nanos) {
    MusicTime music = ReadMusic(reader);
    if (fromOne && !(flags & TIME_TEXT_DURATION)) CountFromZero(music);
    nanos = NanosOfMusic(music, format);
    return music.count > 0;
}

template <uint32_t framesPerFoot>
bool ReadFeet(TimeReader& reader, const _qmposfmt& format, uint32_t, int64_t& nanos) {
    const char16_t* end = nullptr;
    const auto frames = static_cast<double>(QmTextToFeetAndFramesToken(reader.At(), framesPerFoot, &end));
    const bool any = end != reader.At();
    reader = TimeReader(end);
    if (format.framesPerSecond > 0) nanos = NanosOf(frames / format.framesPerSecond);
    return any;
}

template <int64_t unit>
bool ReadUnits(TimeReader& reader, const _qmposfmt&, uint32_t, int64_t& nanos) {
    uint64_t value = 0;
    if (!reader.Digits(value, true)) return false;
    if (__builtin_mul_overflow(Hold(value), unit, &nanos)) nanos = INT64_MAX;
    return true;
}

constexpr ReadTime READERS[POSITION_FORMATS] = {
    ReadSamples,
    ReadDaysOrClock,
    ReadSeconds,
    ReadTimeAndFrames,
    ReadFrames,
    ReadMeasures<true>,
    ReadSmpte<SMPTE_29_97>,
    ReadSmpte<SMPTE_30>,
    ReadSmpte<SMPTE_DROP>,
    ReadSmpte<SMPTE_EBU>,
    ReadSmpte<SMPTE_FILM>,
    ReadUnits<1>,
    ReadUnits<10>,
    ReadMeasures<false>,
    ReadBeats,
    ReadFeet<40>,
    ReadFeet<16>,
    ReadCd,
    ReadSmpte<SMPTE_23_976>,
    ReadClock<false>,
};

/// Skips what stands before a number; true for a minus.
bool TakeSign(TimeReader& reader) {
    reader.SkipSpace();
    return reader.Take(u'-');
}

bool ReadPosition(const char16_t* text, const _qmposfmt& format, uint32_t flags, const char16_t** end,
                  int64_t& nanos) {
    TimeReader reader(text);
    const bool negative = TakeSign(reader);
    nanos = 0;
    const ReadTime read = format.format < POSITION_FORMATS ? READERS[format.format] : ReadUnits<1>;
    const bool any = read(reader, format, flags, nanos);
    if (end) *end = reader.At();
    if (!any) return false;
    if (negative) nanos = -nanos;
    // A count is shown without its offset, and so read.
    const bool hasOffset = format.format < POSITION_FORMATS && !(flags & TIME_TEXT_DURATION);
    if (hasOffset) nanos = timemath::AddHeld(nanos, format.offset);
    return true;
}

}  // namespace

extern "C" {

int64_t QmTextToNanoTimeToken2(const char16_t* text, const _qmposfmt* format, uint32_t flags,
                               const char16_t** end) {
    int64_t nanos = 0;
    return ReadPosition(text, *format, flags, end, nanos) ? nanos : 0;
}

int64_t QmTextToNanoTimeToken(const char16_t* text, const _qmposfmt* format, const char16_t** end) {
    return QmTextToNanoTimeToken2(text, format, 0, end);
}

int64_t QmTextToNanoTimeTokenEx(int64_t defaultValue, const char16_t* text, const _qmposfmt* format,
                                int64_t minimum, int64_t maximum, const char16_t** end) {
    int64_t nanos = 0;
    if (!ReadPosition(text, *format, 0, end, nanos)) return defaultValue;
    return std::max(minimum, std::min(nanos, maximum));
}

int64_t QmTextToTimeToken(const char16_t* text, const _qmposfmt* format, BOOL frames, const char16_t** end) {
    TimeReader reader(text);
    const bool negative = TakeSign(reader);
    int64_t nanos = 0;
    const bool any =
        frames ? ReadTimeAndFrames(reader, *format, 0, nanos) : ReadClock<true>(reader, *format, 0, nanos);
    if (end) *end = reader.At();
    return !any ? 0 : negative ? -nanos : nanos;
}

BOOL QmTextToHMSFToken(const char16_t* text, _smpteval* value, const char16_t** end) {
    TimeReader reader(text);
    reader.SkipSpace();
    const Groups g = ReadGroups(reader);
    if (end) *end = reader.At();
    value->hours = To32(g.values[0]);
    value->minutes = To32(g.values[1]);
    value->seconds = To32(g.values[2]);
    value->frames = To32(g.values[3]);
    return g.count > 0;
}

int64_t QmTextToFeetAndFramesToken(const char16_t* text, uint32_t framesPerFoot, const char16_t** end) {
    TimeReader reader(text);
    reader.SkipSpace();
    uint64_t feet = 0, frames = 0;
    if (reader.Digits(feet, true)) {
        TimeReader ahead = reader;
        if (ahead.Take(u'+') && ahead.Digits(frames, true)) reader = ahead;
    }
    if (end) *end = reader.At();
    int64_t total = 0;
    if (__builtin_mul_overflow(Hold(feet), int64_t{framesPerFoot}, &total)) return INT64_MAX;
    return timemath::AddHeld(total, Hold(frames));
}

int64_t QmTextToMusicTimeToken(const char16_t* text, const _qmposfmt* format, const char16_t** end) {
    TimeReader reader(text);
    const bool negative = TakeSign(reader);
    int64_t nanos = 0;
    const bool any = ReadMeasures<true>(reader, *format, 0, nanos);
    if (end) *end = reader.At();
    return !any ? 0 : negative ? -nanos : nanos;
}

int32_t QmTextToMeasuresBeatsTicks(const char16_t* text, uint32_t* measures, uint32_t* beats,
                                   uint32_t* ticks) {
    TimeReader reader(text);
    reader.SkipSpace();
    const MusicTime music = ReadMusic(reader);
    *measures = To32(music.measure);
    *beats = To32(music.beat);
    *ticks = To32(music.tick);
    return static_cast<int32_t>(music.count);
}

int32_t QmTextToBeatsTicks(const char16_t* text, uint32_t* beats, uint32_t* ticks) {
    uint32_t none = 0;
    const int32_t count = QmTextToMeasuresBeatsTicks(text, beats, ticks, &none);
    return std::min(count, 2);
}

uint32_t QmTextToTicks(const char16_t* text, const _qmposfmt* format) {
    uint32_t first = 0, second = 0;
    if (QmTextToBeatsTicks(text, &first, &second) < 2) return first;
    const uint64_t perBeat = std::max<uint16_t>(format->ticksPerBeat, 1);
    return To32(std::min<uint64_t>(first * perBeat, UINT32_MAX) + second);
}

}  // extern "C"
