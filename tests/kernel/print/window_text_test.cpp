#include "kernel/print/window_text.h"

#include "kernel/lang/kernel_strings.h"
#include "kernel/print/print_text.h"
#include "platform/text.h"

#include <gtest/gtest.h>

#include <map>

using namespace tarn;

namespace {

std::map<std::pair<HWND, int32_t>, std::u16string> texts;
int sets = 0;

constexpr WindowTextService SERVICE = {
    [](HWND window, int32_t control, char16_t* out, uint32_t capacity) {
        const auto at = texts.find({window, control});
        if (at == texts.end()) return false;
        CopyText(out, capacity, at->second.c_str());
        return true;
    },
    [](HWND window, int32_t control, const char16_t* text) {
        const auto at = texts.find({window, control});
        if (at == texts.end()) return false;
        sets++;
        at->second = text;
        return true;
    },
};

TEST(WindowText, IsSetThroughTheWindowSystem) {
    EXPECT_FALSE(QmSetWindowTextNoF(5, u"x")) << "there is none";
    SetWindowTextService(&SERVICE);
    texts = {{{5, WINDOW_ITSELF}, u""}, {{5, 7}, u""}};
    EXPECT_TRUE(QmSetWindowTextF(5, u"%s %d", u"Take", 3));
    EXPECT_EQ((texts[{5, WINDOW_ITSELF}]), u"Take 3");
    EXPECT_TRUE(QmSetWindowTextNoF(5, u"100%d"));
    EXPECT_EQ((texts[{5, WINDOW_ITSELF}]), u"100%d");
    EXPECT_TRUE(QmSetDlgItemTextF(5, 7, u"%d", 8));
    EXPECT_EQ((texts[{5, 7}]), u"8");
    EXPECT_FALSE(QmSetDlgItemTextNoF(5, 8, u"x"));
    EXPECT_TRUE(QmSetWindowTextId(5, nullptr, 99, 1));
    EXPECT_EQ((texts[{5, WINDOW_ITSELF}]), u"") << "no such string";

    sets = 0;
    EXPECT_TRUE(QmSetDlgItemTextNoFlashF(5, 7, u"%d", 8));
    EXPECT_TRUE(QmSetDlgItemTextNoFlashNoF(5, 7, u"8"));
    EXPECT_EQ(sets, 0) << "the same text is not set again";
    EXPECT_TRUE(QmSetDlgItemTextNoFlashF(5, 7, u"%d", 9));
    EXPECT_TRUE(QmSetDlgItemTextNoFlashNoF(5, 7, nullptr));
    EXPECT_EQ(sets, 2);
    EXPECT_EQ((texts[{5, 7}]), u"");
    EXPECT_TRUE(QmSetDlgItemTextF(5, 7, u"%2000d", 1)) << "cut, not overrun";
    const auto* record = reinterpret_cast<const char16_t*>(&KS_Value_dB);
    EXPECT_TRUE(QmSetWindowTextF(5, record));
    EXPECT_EQ((texts[{5, WINDOW_ITSELF}]), u" dB");
    EXPECT_TRUE(QmSetDlgItemTextNoFlashNoF(5, 7, record));
    EXPECT_EQ((texts[{5, 7}]), u" dB");
    EXPECT_TRUE(QmSetDlgItemTextF(5, 7, QmTextId(77)));
    EXPECT_EQ((texts[{5, 7}]), u"") << "no such string";
    SetWindowTextService(nullptr);
}

}  // namespace
