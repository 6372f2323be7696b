#include "kernel/print/labels.h"

#include "locale_fixture.h"

#include <limits>

using namespace tarn;

namespace {

class Labels : public LocaleTest {};

TEST_F(Labels, Decibels) {
    EXPECT_EQ(std::u16string(QmGetdBStringFixed(-120, 1, 0, 1)), u"-12.0 dB");
    EXPECT_EQ(std::u16string(QmGetdBStringFixed(-120, 1, -120, 1)), u"-Inf.");
    EXPECT_EQ(std::u16string(QmGetdBStringFixed(-119, 1, -120, 0)), u"-11.9");
    EXPECT_EQ(std::u16string(QmGetdBStringFloat(-12.25, 1, -144, 1)), u"-12.2 dB");
    EXPECT_EQ(std::u16string(QmGetdBStringFloat(-144, 1, -144, 1)), u"-Inf.");
    Use("de_DE");
    EXPECT_EQ(std::u16string(QmGetdBStringFixed(-12345, 1, 0, 1)), u"-1.234,5 dB");
}

TEST_F(Labels, UnitsAndWholeNumbers) {
    const HQMLANG lang = KernelLang();
    EXPECT_EQ(std::u16string(QmGetLabeledStringFixed(lang, 48000, 0, 0, u" Hz")), u"48,000 Hz");
    EXPECT_EQ(std::u16string(QmGetLabeledStringFixed(lang, 5, -2, 0, nullptr)), u"5");
    EXPECT_EQ(std::u16string(QmGetLabeledStringFixed(lang, 1234567890, 20, 0, u"s")), u"1.234567890s");
    EXPECT_EQ(std::u16string(QmGetLabeledStringFloat(lang, 2.9, 0, 0, u" ms")), u"2 ms");
    EXPECT_EQ(std::u16string(QmGetLabeledStringFloat(lang, -1e300, 0, 0, nullptr)), u"-2,147,483,648");
    EXPECT_EQ(std::u16string(
                  QmGetLabeledStringFloat(lang, std::numeric_limits<double>::quiet_NaN(), 0, 0, nullptr)),
              u"0");
    EXPECT_EQ(std::u16string(QmGetLabeledStringFixed(nullptr, 5, 0, 0, nullptr)), u"Err.");
    const std::u16string longUnit(40, u'x');
    EXPECT_EQ(std::u16string(QmGetLabeledStringFixed(lang, 5, 0, 0, longUnit.c_str())),
              u"5" + longUnit.substr(0, 24));
    const char16_t* first = QmGetLabeledStringFixed(lang, 1, 0, 0, nullptr);
    for (int i = 0; i < 250; i++) QmGetLabeledStringFixed(lang, 2, 0, 0, nullptr);
    EXPECT_EQ(std::u16string(first), u"1") << "a text outlives 250 more";
}

TEST_F(Labels, SizesOfFiles) {
    const struct {
        uint64_t bytes;
        const char16_t *plain, *full, *spaced;
    } rows[] = {
        {0, u"0", u"0 bytes", u"0"},
        {1023, u"1023", u"1023 bytes", u"1023"},
        {1024, u"1.00KB", u"1.00 KB", u"1.00 KB"},
        {1023999, u"1,000.00KB", u"1,000.00 KB", u"1,000.00 KB"},
        {1024000, u"1.00MB", u"1.00 MB", u"1.00 MB"},
        {1024000000, u"1.00GB", u"1.00 GB", u"1.00 GB"},
        {UINT64_MAX, u"18,014,398,509.48GB", u"18,014,398,509.48 GB", u"18,014,398,509.48 GB"},
    };
    char16_t text[64];
    for (const auto& row : rows) {
        QmGetByteSizeText(row.bytes, text);
        EXPECT_EQ(std::u16string(text), row.plain);
        QmGetByteSizeText2(row.bytes, text);
        EXPECT_EQ(std::u16string(text), row.full);
        QmGetByteSizeTextWithSpace(row.bytes, text);
        EXPECT_EQ(std::u16string(text), row.spaced);
    }
    EXPECT_EQ(QmFourCCToString(0x46464952, text), 4);
    EXPECT_EQ(std::u16string(text), u"RIFF");
    QmFourCCToString(0x20FF0041, text);
    EXPECT_EQ(std::u16string(text), u"A?? ");
}

}  // namespace
