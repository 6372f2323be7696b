#include "platform/text.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace tarn;

namespace {
TEST(Text, Utf8GoesBothWays) {
    struct Row {
        std::string utf8;
        std::u16string wide;
    };
    for (const Row& r :
         {Row{"", u""}, Row{"a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", u"a\u00E9\u20AC\U0001D11E"},
          Row{std::string("a\0b", 3), std::u16string(u"a\0b", 3)}, Row{"\xEF\xBF\xBF", u"\uFFFF"},
          Row{"\xF4\x8F\xBF\xBF", u"\U0010FFFF"}}) {
        EXPECT_EQ(r.wide, Utf16FromUtf8(r.utf8));
        EXPECT_EQ(r.utf8, Utf8FromUtf16(r.wide));
    }
}

TEST(Text, IllFormedInputIsReplaced) {
    for (const char* bad : {"\x80", "\xFF", "\xC3", "\xC0", "\xE2\x82"})
        EXPECT_EQ(u"x\uFFFDy", Utf16FromUtf8(std::string("x") + bad + "y")) << bad;
    for (const char* bad :
         {"\xC0\xAF", "\xED\xA0\x80", "\xF5\x80\x80\x80"}) {  // overlong, surrogate, past the end
        const std::u16string out = Utf16FromUtf8(std::string("x") + bad + "y");
        EXPECT_EQ(std::u16string(out.size() - 2, 0xFFFD), out.substr(1, out.size() - 2)) << bad;
    }
    const char16_t lone[] = {'x', 0xD800, 'y', 0xDC00};
    EXPECT_EQ("x\xEF\xBF\xBDy\xEF\xBF\xBD", Utf8FromUtf16({lone, 4}));
}

TEST(Text, Windows1252HoldsItsOwnCharacters) {
    EXPECT_EQ(u"\u20AC\u201Cd\u00E9\u0178\u2014\u0081", Utf16FromWindows1252("\x80\x93"
                                                                             "d\xE9\x9F\x97\x81"));
    EXPECT_EQ("\x80\x93"
              "d\xE9\x9F\x97",
              Windows1252FromUtf16(u"\u20AC\u201Cd\u00E9\u0178\u2014"));
    EXPECT_EQ("a?b?", Windows1252FromUtf16(u"a\u4E2Db\U0001D11E"));
    EXPECT_EQ("", Windows1252FromUtf16(u""));
    std::string all;
    for (int c = 1; c < 256; c++) all += static_cast<char>(c);
    EXPECT_EQ(all, Windows1252FromUtf16(Utf16FromWindows1252(all)));
}

TEST(Text, CopyCutsAndTerminates) {
    struct Row {
        const char16_t* src;
        size_t capacity;
        std::u16string copied;
    };
    for (const Row& r :
         {Row{u"abc", 8, u"abc"}, Row{u"abc", 4, u"abc"}, Row{u"abc", 3, u"ab"}, Row{u"abc", 1, u""},
          Row{u"", 5, u""}, Row{nullptr, 5, u""}, Row{u"a\U0001D11Eb", 3, u"a"},
          Row{u"a\U0001D11Eb", 4, u"a\U0001D11E"}, Row{u"\U0001D11E", 2, u""}}) {
        char16_t dst[9];
        std::fill_n(dst, 9, u'#');
        EXPECT_EQ(r.copied.size(), CopyText(dst, r.capacity, r.src));
        EXPECT_EQ(r.copied, dst);
        EXPECT_EQ(u'#', dst[r.capacity]) << "nothing is written past the capacity";
    }
    char16_t untouched = u'#';
    EXPECT_EQ(0u, CopyText(&untouched, 0, u"abc"));
    EXPECT_EQ(u'#', untouched);
    EXPECT_EQ(3u, TextLength(u"abc"));
    EXPECT_EQ(0u, TextLength(nullptr));
}
}  // namespace
