#include "locale_fixture.h"

#include <atomic>
#include <thread>

using namespace tarn;

namespace {

class InatTest : public LocaleTest {};

std::u16string TextAt(uint32_t index) {
    char16_t text[64] = u"#";
    EXPECT_EQ(QmGetInat(index, nullptr), QmGetInat(index, text));
    return text;
}

TEST_F(InatTest, TellsTheLocale) {
    Use("de_CH");
    EXPECT_EQ(QmGetInat(INAT_LOCALE, nullptr), 0x807u);
    EXPECT_EQ(QmGetInat(INAT_COUNTRY, nullptr), 756u);
    EXPECT_EQ(TextAt(INAT_LANGUAGE_NAME), u"Deutsch");
    EXPECT_EQ(TextAt(INAT_ENGLISH_LANGUAGE_NAME), u"German");
    EXPECT_EQ(TextAt(INAT_DECIMAL_SEPARATOR), u".");
    EXPECT_EQ(TextAt(INAT_SMPTE_DROP), u";");
    EXPECT_EQ(TextAt(INAT_SMPTE_NON_DROP), u":");
    EXPECT_EQ(TextAt(INAT_MEASURE_BEAT), u".");
    EXPECT_EQ(TextAt(999), u"");
    Use("da_DK");
    EXPECT_EQ(TextAt(INAT_TIME_SEPARATOR), u".");
    EXPECT_EQ(TextAt(INAT_DECIMAL_SEPARATOR), u",");
    EXPECT_EQ(TextAt(INAT_LIST_SEPARATOR), u";");
    char16_t cut[4] = u"###";
    EXPECT_EQ(QmGetInatN(INAT_ENGLISH_LANGUAGE_NAME, cut, 3), 2u);
    EXPECT_EQ(std::u16string(cut), u"Da");
    for (const char* plain : {"C", "POSIX", "C.UTF-8"}) {
        Use(plain);
        EXPECT_EQ(PrintText(u"$d", 1234567), u"1,234,567") << plain;
    }
}

TEST_F(InatTest, MusicSeparatorsAreTokensToo) { EXPECT_EQ(PrintText(u"4$(m.b)2$(B.T)1"), u"4.2.1"); }

TEST_F(InatTest, ALocaleMayChangeWhileOthersPrint) {
    std::atomic<bool> stop = false;
    std::atomic<int> wrong = 0;
    std::thread printer([&] {
        while (!stop) {
            const std::u16string text = PrintText(u"$.1f", 1234.5);
            wrong += text != u"1,234.5" && text != u"1.234,5";
        }
    });
    for (int i = 0; i < 20; i++) Use(i % 2 ? "en_US" : "de_DE");
    stop = true;
    printer.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
