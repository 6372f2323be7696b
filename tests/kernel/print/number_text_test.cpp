#include "kernel/print/number_text.h"

#include "locale_fixture.h"

#include <cmath>
#include <limits>
#include <random>

namespace {

class NumberText : public LocaleTest {};

std::u16string Double(double value, int32_t decimals, BOOL group = 0) {
    char16_t text[512];
    const int32_t length = QmDoubleToText(text, value, decimals, group);
    return {text, static_cast<size_t>(length)};
}

TEST_F(NumberText, DoublesRoundAwayFromZeroAndZeroHasNoSign) {
    const struct {
        double value;
        int32_t decimals;
        const char16_t *plain, *grouped;
    } rows[] = {
        {-0.0001, 2, u"0.00", u"0.00"},
        {-0.005, 2, u"-0.01", u"-0.01"},
        {0.5, 0, u"1", u"1"},
        {-0.4, 0, u"0", u"0"},
        {1234567.25, 1, u"1234567.3", u"1,234,567.3"},
        {0.05, 3, u"0.050", u"0.050"},
        {9.9999999999, 9, u"10.000000000", u"10.000000000"},
        {1.25, 99, u"1.250000000", u"1.250000000"},
        {1.75, -3, u"2", u"2"},
        {999.95, 1, u"1000.0", u"1,000.0"},
        {1e18, 1, u"1000000000000000000.0", u"1,000,000,000,000,000,000.0"},
        {-1e19, 1, u"-10000000000000000000.0", u"-10,000,000,000,000,000,000.0"},
        {std::numeric_limits<double>::infinity(), 2, u"inf", u"inf"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Double(row.value, row.decimals), row.plain) << row.value;
        EXPECT_EQ(Double(row.value, row.decimals, 1), row.grouped) << row.value;
    }
    EXPECT_EQ(Double(std::numeric_limits<double>::max(), 9, 1).size(), 309u + 102 + 10);
    EXPECT_EQ(Double(std::nan(""), 2), u"nan");
}

TEST_F(NumberText, DigitsBecomeTheUsersNumber) {
    Use("de_DE");
    const struct {
        const char16_t* digits;
        const char16_t *whole, *decimal, *both, *two;
    } rows[] = {
        {u"1234567.891", u"1.234.568", u"1234567,891", u"1.234.567,891", u"1.234.567,89"},
        {u"-1234.5", u"-1.235", u"-1234,5", u"-1.234,5", u"-1.234,50"},
        {u"  +999.995", u"  +1.000", u"  +999,995", u"  +999,995", u"  +1.000,00"},
        {u".5", u"1", u"0,5", u"0,5", u"0,50"},
        {u"0009.5x", u"10x", u"9,5x", u"9,5x", u"9,50x"},
        {u"abc", u"abc", u"abc", u"abc", u"abc"},
        {u"-", u"-", u"-", u"-", u"-"},
        {u"", u"", u"", u"", u""},
    };
    for (const auto& row : rows) {
        char16_t text[64];
        const auto shown = [&](int32_t length) { return std::u16string(text, static_cast<size_t>(length)); };
        EXPECT_EQ(shown(QmFormatNumber(row.digits, text, 64)), row.whole);
        EXPECT_EQ(shown(QmFormatDecimalNumber(row.digits, text, 64)), row.decimal);
        EXPECT_EQ(shown(QmFormatGroupDecimalNumber(row.digits, text, 64, -1)), row.both);
        EXPECT_EQ(shown(QmFormatGroupDecimalNumber(row.digits, text, 64, 2)), row.two);
    }
    const std::u16string huge(5000, u'7');
    std::u16string out(6000, u'#');
    EXPECT_EQ(QmFormatNumber(huge.c_str(), out.data(), 6000), 5000) << "nothing is lost of what is too long";
    EXPECT_EQ(out.substr(0, 5000), huge);
}

TEST_F(NumberText, WholeNumbersAndTheirBounds) {
    char16_t text[40];
    EXPECT_EQ(QmLongToText(INT32_MIN, text, 1), 14);
    EXPECT_EQ(std::u16string(text), u"-2,147,483,648");
    EXPECT_EQ(QmLongLongToText(INT64_MIN, text, 0), 20);
    EXPECT_EQ(std::u16string(text), u"-9223372036854775808");
    EXPECT_EQ(QmDWordToText(UINT32_MAX, text, 1), 13);
    EXPECT_EQ(QmDWordLongToText(UINT64_MAX, text, 0), 20);
    EXPECT_EQ(std::u16string(text), u"18446744073709551615");
    EXPECT_EQ(QmDWordLongToTextN(UINT64_MAX, text, 1, 6), 5);
    EXPECT_EQ(std::u16string(text), u"18,44");
    EXPECT_EQ(QmLongToTextN(5, nullptr, 1, 0), 0);
    EXPECT_EQ(QmDoubleToTextN(text, -12.5, 1, 1, 4), 3);
    EXPECT_EQ(std::u16string(text), u"-12");
    std::mt19937_64 random(3);
    for (int i = 0; i < 20000; i++) {
        const auto value = static_cast<int64_t>(random()) >> random() % 64;
        const std::string expected = std::to_string(value);
        QmLongLongToText(value, text, 0);
        ASSERT_EQ(std::u16string(text), std::u16string(expected.begin(), expected.end()));
    }
}

}  // namespace
