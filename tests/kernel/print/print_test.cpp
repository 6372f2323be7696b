#include "kernel/lang/kernel_strings.h"
#include "locale_fixture.h"
#include "platform/text.h"

#include <unicode/dcfmtsym.h>
#include <unicode/numberformatter.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>

using namespace tarn;

namespace {

class Print : public LocaleTest {};

TEST_F(Print, WhatIsNoDirectiveStaysAsItIs) {
    EXPECT_EQ(PrintText(u"plain"), u"plain");
    EXPECT_EQ(PrintText(u"$$ %% 5"), u"$ % 5");
    EXPECT_EQ(PrintText(u"$(Nope) $(Nope"), u"$(Nope) $(Nope");
    EXPECT_EQ(PrintText(u"$() $("), u"$() $(");
    EXPECT_EQ(PrintText(u"100%"), u"100%");
    EXPECT_EQ(PrintText(u"%5"), u"%5");
    EXPECT_EQ(PrintText(u"%n$q%.$"), u"%n$q%.$");
    EXPECT_EQ(PrintText(u"%k %d", 7), u"%k 7");
    EXPECT_EQ(PrintText(u""), u"");
    EXPECT_EQ(PrintText(nullptr), u"");
    // A bracket may have 260 characters, a directive too.
    const std::u16string name(260, u'n'), zeros(259, u'0');
    EXPECT_EQ(PrintText((u"$(" + name + u")").c_str()), u"$(" + name + u")");
    EXPECT_EQ(PrintText((u"$(" + name + u"n)").c_str()), u"$(" + name + u"n)");
    EXPECT_EQ(PrintText((u"%" + zeros + u"d").c_str(), 5), u"5");
    EXPECT_EQ(PrintText((u"%" + zeros + u"0d").c_str(), 5), u"%" + zeros + u"0d");
}

TEST_F(Print, NumbersInTheUsersSeparators) {
    const struct {
        const char* locale;
        std::u16string small, literal, general;
    } rows[] = {
        {"en_US", u"12.34", u"1,234.5", u"1234.5"},      {"de_DE", u"12,34", u"1.234,5", u"1234,5"},
        {"fr_FR", u"12,34", u"1\u202F234,5", u"1234,5"}, {"hi_IN", u"12.34", u"1,234.5", u"1234.5"},
        {"es_ES", u"12,34", u"1234,5", u"1234,5"},       {"sv_SE", u"12,34", u"1\u00A0234,5", u"1234,5"},
    };
    for (const auto& row : rows) {
        Use(row.locale);
        EXPECT_EQ(PrintText(u"%d", 1234567), u"1234567") << row.locale;
        EXPECT_EQ(PrintText(u"%.1f", -3.14159), u"-3.1") << row.locale;
        EXPECT_EQ(PrintText(u"%.2z", 1234), row.small) << row.locale;
        EXPECT_EQ(PrintText(u"$(1234.5)"), row.literal) << row.locale;
        EXPECT_EQ(PrintText(u"$(1,234.5)"), row.literal) << row.locale;
        EXPECT_EQ(PrintText(u"$g", 1234.5), row.general) << row.locale;
        EXPECT_EQ(PrintText(u"$g", 1e20), u"1e+20") << row.locale;
        EXPECT_EQ(PrintText(u"$e", 1.5), u"1.500000e+00") << row.locale;
    }
}

TEST_F(Print, FlagsOfLocalNumbers) {
    EXPECT_EQ(PrintText(u"[$10d]", 1234567), u"[   1,234,567]");
    EXPECT_EQ(PrintText(u"[$-9d]", 12345), u"[12,345    ]");
    EXPECT_EQ(PrintText(u"$+d", 12345), u"+12,345");
    EXPECT_EQ(PrintText(u"$.0f", 1234567.5), u"1,234,568");
    EXPECT_EQ(PrintText(u"$f", std::numeric_limits<double>::infinity()), u"inf");
    EXPECT_EQ(PrintText(u"$f", -std::numeric_limits<double>::infinity()), u"-inf");
    EXPECT_EQ(PrintText(u"$d", INT32_MIN), u"-2,147,483,648");
    EXPECT_EQ(PrintText(u"$I64d", INT64_MIN), u"-9,223,372,036,854,775,808");
    EXPECT_EQ(PrintText(u"$.3f", 1e300).size(), 301 + 100 + 4u);
}

TEST_F(Print, FixedPoint) {
    const struct {
        const char16_t* format;
        int32_t value;
        const char16_t* text;
    } rows[] = {
        {u"$.2z", 1234, u"12.34"},
        {u"$.1z", -5, u"-0.5"},
        {u"%.1z", -5, u"-0.5"},
        {u"%z", -5, u"-5"},
        {u"%.0z", 7, u"7"},
        {u"$z", 1234567, u"1,234,567"},
        {u"$.3z", 1234567, u"1,234.567"},
        {u"%.3z", 1234567, u"1234.567"},
        {u"%.3z", 0, u"0.000"},
        {u"%.9z", INT32_MIN, u"-2.147483648"},
        {u"%.10z", INT32_MIN, u"-0.2147483648"},
        {u"%.16z", 7, u"0.0000000000000007"},
        {u"[%7.2z]", -123, u"[  -1.23]"},
        {u"[%07.2z]", -123, u"[-001.23]"},
    };
    for (const auto& row : rows) EXPECT_EQ(PrintText(row.format, row.value), row.text);
}

TEST_F(Print, SeparatorsOfTimesAndLists) {
    EXPECT_EQ(PrintText(u"%02u$:%02u$:%02u$*%03u", 1, 2, 3, 4), u"01:02:03.004");
    EXPECT_EQ(PrintText(u"1$, 2"), u"1, 2");
    EXPECT_EQ(PrintText(u"1$!,2$!.3$!:4$!x"), u"1;2:3:4x");
    EXPECT_EQ(PrintText(u"1$&:2$&.3$&4%!"), u"1.2.34");
    Use("fi_FI");
    EXPECT_EQ(PrintText(u"%u%:%02u%*%u%, %u", 1, 2, 3, 4), u"1.02,3; 4");
}

TEST_F(Print, Texts) {
    const char16_t* name = u"Drums";
    EXPECT_EQ(PrintText(u"[%s|%8s|%-8s|%.2s|%8.3s]", name, name, name, name, name),
              u"[Drums|   Drums|Drums   |Dr|     Dru]");
    EXPECT_EQ(PrintText(u"%s $s", static_cast<const char16_t*>(nullptr), name), u"(null) Drums");
    EXPECT_EQ(PrintText(u"%ls%hs", name, name), u"DrumsDrums");
    EXPECT_EQ(PrintText(u"%c$c[%3c]", u'a', u'\u00E4', u'x'), u"a\u00E4[  x]");
    EXPECT_EQ(PrintText(u"%s", reinterpret_cast<const char16_t*>(&KS_Value_dB)), u" dB");
    EXPECT_EQ(PrintText(u"%s", QmTextId(77)), u"") << "a resource's number that the kernel has not";
    for (const size_t length : {254, 255, 256, 1023, 1024, 5000, 65535})
        EXPECT_EQ(PrintText(u"%s", std::u16string(length, u'x').c_str()), std::u16string(length, u'x'));
    // A format is named in any way that a text is.
    QMLANGSTRINGID record{};
    record.word[0] = QMLANGSTRINGID_MARKER | 1 << 16;
    record.word[1] = reinterpret_cast<uint64_t>(u"%d takes");
    EXPECT_EQ(PrintText(reinterpret_cast<const char16_t*>(&record), 3), u"3 takes");
    EXPECT_EQ(PrintText(QmTextId(77), 3), u"");
}

TEST_F(Print, AWidthThatATranslationGotWrongStaysSmall) {
    EXPECT_EQ(PrintText(u"%99999999999d", 1).size(), 512u);
    EXPECT_EQ(PrintText(u"%.99999999999f", 1.0).size(), 514u);
    EXPECT_EQ(PrintText(u"%512.512f", -1e308).size(), 1 + 309 + 1 + 512u);
}

TEST_F(Print, ABoundIsNeverPassed) {
    const std::u16string full = u"a1,234,567b3.14c  Drumsd$(x)e01;02f-0.5g2,000.5";
    for (uint32_t capacity = 0; capacity <= full.size() + 2; capacity++) {
        std::u16string buffer(full.size() + 8, u'#');
        uint32_t length = 99;
        const int32_t written =
            QmCchPrintF(buffer.data(), capacity, &length, u"a$db%.2fc%7sd$(x)e%02u$!,%02uf%.1zg$(2000.5)",
                        1234567, 3.14159, u"Drums", 1u, 2u, -5);
        const std::u16string expected = full.substr(0, capacity ? capacity - 1 : 0);
        ASSERT_EQ(written, static_cast<int32_t>(expected.size()));
        ASSERT_EQ(length, expected.size());
        ASSERT_EQ(buffer.substr(0, expected.size()), expected);
        if (capacity) {
            ASSERT_EQ(buffer[expected.size()], 0);
        }
        ASSERT_EQ(buffer.find_first_not_of(u'#', capacity), buffer.npos) << capacity;
    }
    char16_t unbounded[100];
    EXPECT_EQ(QmPrintF(unbounded, u"$d", 1234567), 9);
    EXPECT_EQ(std::u16string(unbounded), u"1,234,567");
}

/// ICU's text, its minus sign made the plain one.
class IcuFormatter {
public:
    explicit IcuFormatter(const char* name) {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale locale(name);
        locale.setKeywordValue("numbers", "latn", status);
        m_format = icu::number::NumberFormatter::withLocale(locale).roundingMode(UNUM_ROUND_HALFEVEN);
        m_minus = icu::DecimalFormatSymbols(locale, status)
                      .getConstSymbol(icu::DecimalFormatSymbols::kMinusSignSymbol);
        EXPECT_TRUE(U_SUCCESS(status));
    }
    std::u16string Whole(int64_t value) {
        UErrorCode status = U_ZERO_ERROR;
        return Plain(m_format.formatInt(value, status).toString(status));
    }
    std::u16string Fixed(double value, int32_t decimals) {
        UErrorCode status = U_ZERO_ERROR;
        const auto format = m_format.precision(icu::number::Precision::fixedFraction(decimals));
        return Plain(format.formatDouble(value, status).toString(status));
    }

private:
    std::u16string Plain(icu::UnicodeString text) const {
        text.findAndReplace(m_minus, u"-");
        return {text.getBuffer(), static_cast<size_t>(text.length())};
    }
    icu::number::LocalizedNumberFormatter m_format;
    icu::UnicodeString m_minus;
};

TEST_F(Print, AgreesWithIcuInManyLocales) {
    std::mt19937_64 random(7);
    for (const char* locale : {"en_US", "de_DE", "de_CH", "fr_FR", "es_ES", "pl_PL", "hi_IN", "bn_BD",
                               "ar_EG", "fa_IR", "sv_SE", "pt_PT", "ja_JP", "ru_RU"}) {
        Use(locale);
        IcuFormatter icu(locale);
        for (int i = 0; i < 2000; i++) {
            const auto value = static_cast<int64_t>(random()) >> random() % 64;
            ASSERT_EQ(PrintText(u"$I64d", value), icu.Whole(value)) << locale;
            ASSERT_EQ(PrintText(u"$d", static_cast<int32_t>(value)), icu.Whole(static_cast<int32_t>(value)))
                << locale;
            ASSERT_EQ(PrintText(u"$u", static_cast<uint32_t>(value)), icu.Whole(static_cast<uint32_t>(value)))
                << locale;
            const int32_t decimals = static_cast<int32_t>(random() % 7);
            // A multiple of 2^-10 is exact, so that both see the same ties.
            const double x = std::ldexp(static_cast<double>(static_cast<int32_t>(value)), -10);
            const char16_t format[] = {u'$', u'.', static_cast<char16_t>(u'0' + decimals), u'f', 0};
            ASSERT_EQ(PrintText(format, x), icu.Fixed(x, decimals)) << locale << " " << x << " " << decimals;
        }
    }
}

}  // namespace
