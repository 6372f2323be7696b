#include "kernel/print/group.h"

#include "kernel/print/digits.h"
#include "kernel/print/number_text.h"
#include "platform/text.h"

using namespace tarn;

namespace {

/// The number's digits, rounded to `decimals`. A number has as many of them as a double can print, and a few.
class Decimal {
public:
    static constexpr size_t MOST = 1024;

    /// `whole` and `fraction` are digits; what exceeds MOST of the fraction is dropped, and false is returned
    /// for a whole part that is longer.
    bool Set(std::u16string_view whole, std::u16string_view fraction, int32_t decimals) {
        if (whole.size() > MOST) return false;
        const size_t kept = std::min(decimals < 0 ? fraction.size() : static_cast<size_t>(decimals), MOST);
        m_text[0] = u'0';  // a carry's place
        m_whole = whole.copy(m_text + 1, MOST) + 1;
        m_decimals = kept;
        const size_t copied = fraction.copy(m_text + m_whole, kept);
        std::fill_n(m_text + m_whole + copied, kept - copied, u'0');
        if (kept < fraction.size() && fraction[kept] >= u'5') Carry();
        return true;
    }
    /// Without leading zeros, one digit at least.
    std::u16string_view Whole() const {
        const std::u16string_view digits(m_text, m_whole);
        return digits.substr(std::min(digits.find_first_not_of(u'0'), digits.size() - 1));
    }
    std::u16string_view Fraction() const { return {m_text + m_whole, m_decimals}; }

private:
    void Carry() {
        char16_t* at = m_text + m_whole + m_decimals;
        while (*--at == u'9') *at = u'0';
        ++*at;
    }

    char16_t m_text[1 + 2 * MOST];
    size_t m_whole = 0, m_decimals = 0;
};

}  // namespace

void PutGrouped(TextWriter& out, std::u16string_view whole, const Inat& inat) {
    const size_t primary = inat.primaryGroup, secondary = inat.secondaryGroup;
    if (primary == 0 || whole.size() < primary + inat.leastGrouped) return out.Put(whole);
    const std::u16string_view separator(inat.thousands.text, inat.thousands.length);
    size_t rest = whole.size() - primary;
    size_t count = secondary ? (rest - 1) % secondary + 1 : rest;
    out.Put(whole.substr(0, count));
    for (size_t at = count; rest -= count; at += count) {
        count = secondary;
        out.Put(separator);
        out.Put(whole.substr(at, count));
    }
    out.Put(separator);
    out.Put(whole.substr(whole.size() - primary));
}

void PutNumber(TextWriter& out, std::u16string_view number, bool group, int32_t decimals, const Inat& inat) {
    const auto isStart = [](char16_t c) { return digits::IsDigit(c) || c == u'-' || c == u'.'; };
    size_t at = 0;
    while (at < number.size() && !isStart(number[at])) at++;
    out.Put(number.substr(0, at));
    const bool minus = at < number.size() && number[at] == u'-';
    at += minus;

    const auto digits = [&] {
        const size_t from = at;
        while (at < number.size() && digits::IsDigit(number[at])) at++;
        return number.substr(from, at - from);
    };
    const std::u16string_view whole = digits();
    std::u16string_view fraction;
    if (at < number.size() && number[at] == u'.') {
        at++;
        fraction = digits();
    }
    const std::u16string_view behind = number.substr(at);

    if (minus) out.Put(u'-');
    Decimal decimal;
    if (whole.empty() && fraction.empty()) return out.Put(behind);  // "-inf"
    if (!decimal.Set(whole, fraction, decimals))
        return out.Put(number.substr(static_cast<size_t>(whole.data() - number.data())));
    const std::u16string_view shown = decimal.Whole();
    if (inat.leadingZero || shown != u"0" || decimal.Fraction().empty()) {
        if (group)
            PutGrouped(out, shown, inat);
        else
            out.Put(shown);
    }
    if (!decimal.Fraction().empty()) {
        out.Put({inat.decimal.text, inat.decimal.length});
        out.Put(decimal.Fraction());
    }
    out.Put(behind);
}

namespace {

int32_t Format(const char16_t* text, char16_t* out, uint32_t capacity, bool group, int32_t decimals) {
    TextWriter writer(out, capacity);
    PutNumber(writer, {text ? text : u""}, group, decimals, CurrentInat());
    return writer.Finish();
}

}  // namespace

extern "C" {

int32_t QmFormatNumber(const char16_t* digits, char16_t* out, uint32_t capacity) {
    return Format(digits, out, capacity, true, 0);
}
int32_t QmFormatDecimalNumber(const char16_t* digits, char16_t* out, uint32_t capacity) {
    return Format(digits, out, capacity, false, -1);
}
int32_t QmFormatGroupDecimalNumber(const char16_t* digits, char16_t* out, uint32_t capacity,
                                   int32_t decimals) {
    return Format(digits, out, capacity, true, decimals);
}

}  // extern "C"
