#include "locale_fixture.h"
#include "platform/memory.h"

#include <atomic>
#include <thread>

using namespace tarn;

namespace {

TEST(PrintToken, IsFoundWhateverItsCase) {
    EXPECT_TRUE(QmPrintF_AddToken(u"AppName", u"Tarn"));
    EXPECT_EQ(PrintText(u"<$(AppName)|$(APPNAME)|$(appname)|%(AppName)>"), u"<Tarn|Tarn|Tarn|%(AppName)>");
    EXPECT_TRUE(QmPrintF_AddToken(u"APPNAME", u"Tarn 2"));
    EXPECT_EQ(PrintText(u"$(AppName)"), u"Tarn 2");
    EXPECT_TRUE(QmPrintF_AddToken(u"Empty", nullptr));
    EXPECT_EQ(PrintText(u"<$(Empty)>"), u"<>");
    EXPECT_FALSE(QmPrintF_AddToken(u"", u"x"));
    EXPECT_FALSE(QmPrintF_AddToken(nullptr, u"x"));
    for (int i = 0; i < 100; i++)
        EXPECT_TRUE(QmPrintF_AddToken(PrintText(u"Token%d", i * 37 % 100).c_str(),
                                      PrintText(u"%d", i * 37 % 100).c_str()));
    for (int i = 0; i < 100; i++)
        EXPECT_EQ(PrintText(PrintText(u"$$(tOKEN%d)", i).c_str()), PrintText(u"%d", i));
    for (int i = 0; i < 100; i++) EXPECT_TRUE(QmPrintF_DeleteToken(PrintText(u"TOKEN%d", i).c_str()));
    EXPECT_TRUE(QmPrintF_DeleteToken(u"appNAME"));
    EXPECT_FALSE(QmPrintF_DeleteToken(u"appNAME"));
    EXPECT_TRUE(QmPrintF_DeleteToken(u"Empty"));
    EXPECT_EQ(PrintText(u"$(AppName)"), u"$(AppName)");
}

TEST(PrintToken, WithoutMemoryTheOldOneIsGone) {
    EXPECT_TRUE(QmPrintF_AddToken(u"Name", u"old"));
    const MemGate gate = SetMemGate([](size_t) { return false; });
    EXPECT_FALSE(QmPrintF_AddToken(u"Name", u"new"));
    SetMemGate(gate);
    EXPECT_EQ(PrintText(u"$(Name)"), u"$(Name)");
}

TEST(PrintToken, MayChangeWhileOthersPrint) {
    EXPECT_TRUE(QmPrintF_AddToken(u"Name", u"aaaa"));
    std::atomic<int> wrong = 0;
    std::thread printer([&] {
        for (int i = 0; i < 3000; i++) {
            const std::u16string text = PrintText(u"$(Name)");
            wrong += text != u"aaaa" && text != u"bbbbbbbb" && text != u"$(Name)";
        }
    });
    for (int i = 0; i < 3000; i++) QmPrintF_AddToken(u"Name", i % 2 ? u"aaaa" : u"bbbbbbbb");
    printer.join();
    EXPECT_EQ(wrong, 0);
    QmPrintF_DeleteToken(u"Name");
}

}  // namespace
