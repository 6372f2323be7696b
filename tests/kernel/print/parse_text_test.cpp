#include "kernel/print/parse_text.h"

#include "kernel/print/labels.h"
#include "locale_fixture.h"

#include <cstdlib>
#include <limits>
#include <random>

namespace {

class ParseText : public LocaleTest {};

TEST_F(ParseText, WholeNumbers) {
    const struct {
        const char16_t *text, *delimiters;
        int64_t value;
        size_t end;
    } rows[] = {
        {u"  42 rest", nullptr, 42, 4}, {u"42,7", u",;", 42, 2},
        {u"42,7", nullptr, 42, 4},      {u"-17x", nullptr, -17, 4},
        {u"+5", nullptr, 5, 2},         {u"x9", nullptr, 0, 2},
        {u"", nullptr, 0, 0},           {u"   ", nullptr, 0, 3},
        {u"--5", nullptr, 0, 3},        {u",5", u",", 0, 0},
        {u"007\t8", nullptr, 7, 3},
    };
    for (const auto& row : rows) {
        const char16_t* end = nullptr;
        EXPECT_EQ(QmTextToLongToken(row.text, &end, row.delimiters), row.value);
        EXPECT_EQ(end, row.text + row.end);
        EXPECT_EQ(QmTextToLongLongToken(row.text, nullptr, row.delimiters), row.value);
        EXPECT_EQ(QmTextToDWordToken(row.text, nullptr, row.delimiters),
                  row.text[0] == u'-' || row.text[0] == u'+' ? 0 : row.value);
    }
    EXPECT_EQ(QmTextToLongToken(nullptr, nullptr, nullptr), 0);
}

TEST_F(ParseText, WhatDoesNotFitIsTheNearestBound) {
    EXPECT_EQ(QmTextToDWordToken(u"4294967295", nullptr, nullptr), UINT32_MAX);
    EXPECT_EQ(QmTextToDWordToken(u"4294967296", nullptr, nullptr), UINT32_MAX);
    EXPECT_EQ(QmTextToDWordLongToken(u"18446744073709551615", nullptr, nullptr), UINT64_MAX);
    EXPECT_EQ(QmTextToDWordLongToken(u"18446744073709551616", nullptr, nullptr), UINT64_MAX);
    EXPECT_EQ(QmTextToLongToken(u"-2147483648", nullptr, nullptr), INT32_MIN);
    EXPECT_EQ(QmTextToLongToken(u"-2147483649", nullptr, nullptr), INT32_MIN);
    EXPECT_EQ(QmTextToLongToken(u"2147483648", nullptr, nullptr), INT32_MAX);
    EXPECT_EQ(QmTextToLongLongToken(u"-9223372036854775808", nullptr, nullptr), INT64_MIN);
    EXPECT_EQ(QmTextToLongLongToken(u"-99999999999999999999", nullptr, nullptr), INT64_MIN);
    EXPECT_EQ(QmHexToDWordToken(u"FFFFFFFFF", nullptr, nullptr), UINT32_MAX);
    EXPECT_EQ(QmHexToDWordToken(u"0xdeadBEEFg", nullptr, nullptr), 0xDEADBEEFu);
    EXPECT_EQ(QmHexToDWordLongToken(u"ffffffffffffffff", nullptr, nullptr), UINT64_MAX);
    EXPECT_EQ(QmTextToDoubleToken(u"1e999", nullptr, nullptr), std::numeric_limits<double>::max());
    EXPECT_EQ(QmTextToDoubleToken(u"-1e999", nullptr, nullptr), -std::numeric_limits<double>::max());
    EXPECT_EQ(QmTextToDoubleToken(u"1e-999", nullptr, nullptr), 0);
}

TEST_F(ParseText, DecimalNumbersAsTheCLibraryAndWithTheUsersSeparator) {
    std::mt19937_64 random(5);
    for (int i = 0; i < 20000; i++) {
        std::string text = random() % 2 ? "-" : "";
        for (uint64_t n = random() % 25; n; n--) text += static_cast<char>('0' + random() % 10);
        if (random() % 2) text += "." + std::to_string(random() % 1000000);
        if (random() % 4 == 0) text += "e" + std::to_string(static_cast<int>(random() % 600) - 300);
        const double expected = std::strtod(text.c_str(), nullptr);
        if (!std::isfinite(expected) || (expected != 0 && std::fabs(expected) < 1e-300)) continue;
        ASSERT_EQ(QmTextToDoubleToken(std::u16string(text.begin(), text.end()).c_str(), nullptr, nullptr),
                  expected)
            << text;
    }
    for (const char16_t* word : {u"inf", u"nan", u"-infinity", u"-nan", u"x", u"", u"-", u"."})
        EXPECT_EQ(QmTextToDoubleToken(word, nullptr, nullptr), 0);
    Use("de_DE");
    EXPECT_EQ(QmTextToDoubleToken(u"-3,25dB", nullptr, nullptr), -3.25);
    EXPECT_EQ(QmTextToDoubleToken(u"-3.25", nullptr, nullptr), -3.25);
    const char16_t* end = nullptr;
    const char16_t* list = u"1,5;2";
    EXPECT_EQ(QmTextToDoubleToken(list, &end, u";"), 1.5);
    EXPECT_EQ(end, list + 3);
}

TEST_F(ParseText, DefaultsAndClamps) {
    EXPECT_EQ(QmTextToLongTokenEx(7, u"50", 0, 10, nullptr), 10);
    EXPECT_EQ(QmTextToLongTokenEx(7, u"-50", -10, 10, nullptr), -10);
    EXPECT_EQ(QmTextToLongTokenEx(7, u"junk", 0, 10, nullptr), 7);
    EXPECT_EQ(QmTextToLongTokenEx(7, u"0", 0, 10, nullptr), 7);
    EXPECT_EQ(QmTextToLongTokenEx(7, u"  ", 3, 10, nullptr), 3);
    EXPECT_EQ(QmTextToLongTokenEx(7, nullptr, 3, 10, nullptr), 3);
    EXPECT_EQ(QmTextToDWordTokenEx(7, u"3", 5, 10, nullptr), 5u);
    EXPECT_EQ(QmTextToDWordLongTokenEx(7, u"30", 5, 10, nullptr), 10u);
    EXPECT_EQ(QmTextToLongLongTokenEx(7, u"-30", -5, 10, nullptr), -5);
    EXPECT_EQ(QmHexToDWordTokenEx(7, u"ff", 0, 200, nullptr), 200u);
    EXPECT_EQ(QmHexToDWordLongTokenEx(7, u"zz", 0, 200, nullptr), 7u);
    EXPECT_EQ(QmTextToDoubleTokenEx(0.5, u"2.5", 0, 1, nullptr), 1);
    EXPECT_EQ(QmTextToDoubleTokenEx(0.5, u"none", 0, 1, nullptr), 0.5);
    EXPECT_EQ(QmTextToColorrefTokenEx(0x123456, u"none", nullptr), 0x123456u & 0xFFFFFF);
}

TEST_F(ParseText, ColoursInAllTheirForms) {
    const struct {
        const char16_t* text;
        COLORREF color;
        size_t end;
    } rows[] = {
        {u"255,128,0 x", 0x0080FF, 9},
        {u" 255 , 128 ; 0", 0x0080FF, 14},
        {u"255 128 0", 0x0080FF, 9},
        {u"#FF8000", 0x0080FF, 7},
        {u"0x0080FF", 0x0080FF, 8},
        {u"0080ff", 0x0080FF, 6},
        {u"999,0,300", 0xFF00FF, 9},
        {u"", 0, 0},
        {u"1,2", 1, 3},
    };
    for (const auto& row : rows) {
        const char16_t* end = nullptr;
        EXPECT_EQ(QmTextToColorrefToken(row.text, &end, nullptr), row.color);
        EXPECT_EQ(end, row.text + row.end);
    }
    char16_t text[16];
    EXPECT_EQ(QmColorrefToText(0x0080FF, text), 11);
    EXPECT_EQ(std::u16string(text), u"255, 128, 0");
    EXPECT_EQ(QmTextToColorref(text), 0x0080FFu);
    EXPECT_EQ(QmColorrefToTextEx(0x0080FF, text, 16, 1), 7);
    EXPECT_EQ(QmTextToColorref(text), 0x0080FFu);
}

}  // namespace
