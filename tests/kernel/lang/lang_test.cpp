#include "kernel/lang/kernel_strings.h"
#include "kernel/lang/lang.h"
#include "kernel/lang/string_resources.h"
#include "platform/layout_direction.h"
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using namespace tarn;

namespace {

constexpr StringRow ENGLISH_ROWS[] = {
    {15, u"Fifteen"}, {16, u"Sixteen"}, {1020, u"Mixing Console"}, {1021, u"^*Marked"}, {65535, u"Last"}};
constexpr StringRow GERMAN_ROWS[] = {{16, u"Sechzehn"}, {1020, u"Mischpult"}};
constexpr StringRow FRENCH_ROWS[] = {{1020, u"Console de mixage"}};
constexpr StringRow HEBREW_ROWS[] = {{1020, u"\u05E7\u05D5\u05E0\u05E1\u05D5\u05DC\u05D4"}};
constexpr StringTable TEST_TABLES[] = {
    {1, ENGLISH_ROWS}, {3, GERMAN_ROWS}, {5, FRENCH_ROWS}, {QMLANG_SLOTS + 1, HEBREW_ROWS}};

class LangTest : public testing::Test {
protected:
    static constexpr uint32_t GERMAN = 0x407, SWISS_GERMAN = 0x807, FRENCH = 0x40C, CANADIAN_FRENCH = 0xC0C,
                              ARABIC = 0x401, HEBREW = 0x40D;

    HQMLANG Open(uint32_t lcid, uint32_t ringSize = 0) {
        HQMLANG lang = nullptr;
        EXPECT_EQ(QmLang_Open(&lang, &m_module, lcid, ringSize), S_OK);
        m_opened.push_back(lang);
        return lang;
    }
    ~LangTest() override {
        for (const HQMLANG lang : m_opened) QmLang_Close(lang);
        QmLang_UpdateKernelLCID(nullptr, LCID_ENGLISH_US);
    }
    static std::u16string Text(HQMLANG lang, uint32_t id) { return QmGetString(lang, QmTextId(id)); }

    int m_module = 0;
    ModuleStrings m_strings{&m_module, TEST_TABLES};
    std::vector<HQMLANG> m_opened;
};

QMLANGSTRINGID Record(std::initializer_list<const char16_t*> texts) {
    QMLANGSTRINGID record{};
    record.word[0] = QMLANGSTRINGID_MARKER | texts.size() << 16;
    uint64_t* word = record.word;
    for (const char16_t* text : texts) *++word = reinterpret_cast<uint64_t>(text);
    return record;
}
const char16_t* AsText(QMLANGSTRINGID& record) { return reinterpret_cast<const char16_t*>(&record); }

TEST(LangLcid, FallsOnTheMainFormOfItsLanguage) {
    const struct {
        uint32_t lcid, conditioned;
    } rows[] = {
        {0x0409, 0x0409}, {0x0809, 0x0409}, {0x0C0C, 0x040C},  {0x0407, 0x0407}, {0x0C07, 0x0407},
        {0x0804, 0x0804}, {0x1004, 0x0804}, {0x1C04, 0x0804},  // mainland, Singapore, and 7 by the rule
        {0x0404, 0x0404}, {0x0C04, 0x0404}, {0x1404, 0x0404},  // Taiwan, Hong Kong, Macao
        {0x0416, 0x0416}, {0x0816, 0x0816}, {0x10407, 0x0407},
    };
    for (const auto& row : rows) EXPECT_EQ(QmLang_GetConditionedLCID(row.lcid), row.conditioned) << row.lcid;
}

TEST_F(LangTest, ANumberIsLookedUpInTheLanguageThenInEnglish) {
    EXPECT_EQ(Text(Open(GERMAN), 1020), u"Mischpult");
    EXPECT_EQ(Text(Open(SWISS_GERMAN), 16), u"Sechzehn");
    EXPECT_EQ(Text(Open(CANADIAN_FRENCH), 1020), u"Console de mixage");
    EXPECT_EQ(Text(Open(GERMAN), 15), u"Fifteen");
    EXPECT_EQ(Text(Open(ARABIC), 1020), u"Mixing Console");
    EXPECT_EQ(Text(Open(HEBREW), 1020), HEBREW_ROWS[0].text);
    EXPECT_EQ(Text(Open(HEBREW), 16), u"Sixteen");
    EXPECT_EQ(Text(Open(GERMAN), 65535), u"Last");
    EXPECT_EQ(Text(Open(GERMAN), 17), u"");
    EXPECT_EQ(Text(nullptr, 1020), u"");
    EXPECT_EQ(Text(Open(GERMAN), 1021), u"Marked");
    int other = 0;
    HQMLANG foreign = nullptr;
    ASSERT_EQ(QmLang_Open(&foreign, &other, GERMAN, 0), S_OK);
    EXPECT_EQ(Text(foreign, 1020), u"");
    QmLang_Close(foreign);
}

TEST_F(LangTest, ATextStaysWhereItIsUntilTheLanguageChanges) {
    const HQMLANG lang = Open(GERMAN);
    const char16_t* first = QmGetString(lang, QmTextId(1020));
    for (const uint32_t id : {15u, 65535u, 16u, 1021u}) Text(lang, id);
    EXPECT_EQ(QmGetString(lang, QmTextId(1020)), first);
    QmLang_UpdateKernelLCID(lang, GERMAN);
    EXPECT_EQ(QmGetString(lang, QmTextId(1020)), first);
    QmLang_UpdateKernelLCID(lang, FRENCH);
    EXPECT_EQ(Text(lang, 1020), u"Console de mixage");
    QmLang_UpdateKernelLCID(lang, 0);
    EXPECT_EQ(QmLang_GetLCID(lang), 1033u);
    EXPECT_EQ(QmLang_GetLCID(KernelLang()), 1033u);
    EXPECT_EQ(Text(lang, 1020), u"Mixing Console");
}

TEST_F(LangTest, LoadingCutsToTheCapacity) {
    const HQMLANG lang = Open(GERMAN);
    char16_t text[10];
    for (uint32_t capacity = 1; capacity <= 10; capacity++) {
        std::fill(std::begin(text), std::end(text), u'#');
        const std::u16string expected = std::u16string(u"Mischpult").substr(0, capacity - 1);
        EXPECT_EQ(QmLoadString(lang, QmTextId(1020), text, capacity), static_cast<int32_t>(expected.size()));
        EXPECT_EQ(text, expected);
        for (uint32_t i = capacity; i < 10; i++) EXPECT_EQ(text[i], u'#');
    }
    EXPECT_EQ(QmLoadString(lang, QmTextId(1020), nullptr, 0), 0);
    EXPECT_EQ(QmLoadString(nullptr, QmTextId(1020), text, 10), 0);
    EXPECT_EQ(text[0], 0);
}

TEST_F(LangTest, ARecordFollowsTheSlotAndNeverPassesItsEnd) {
    QMLANGSTRINGID three = Record({u"one", u"two", u"three"}), empty = Record({}), uncounted = three;
    uncounted.word[0] = QMLANGSTRINGID_MARKER;
    EXPECT_EQ(std::u16string_view(QmGetString(Open(GERMAN), AsText(uncounted))), u"one");
    EXPECT_EQ(std::u16string_view(QmGetString(Open(LCID_ENGLISH_US), AsText(three))), u"one");
    EXPECT_EQ(std::u16string_view(QmGetString(Open(GERMAN), AsText(three))), u"three");
    EXPECT_EQ(std::u16string_view(QmGetString(Open(FRENCH), AsText(three))), u"three");
    for (const uint32_t lcid : {ARABIC, HEBREW})
        EXPECT_EQ(std::u16string_view(QmGetString(Open(lcid), AsText(three))), u"one");
    EXPECT_EQ(std::u16string_view(QmGetString(nullptr, AsText(three))), u"one");
    EXPECT_EQ(std::u16string_view(QmGetString(Open(GERMAN), AsText(empty))), u"");
}

TEST_F(LangTest, ANumberInARecordIsReplacedByItsText) {
    const auto id = [](uint32_t number) { return QmTextId(number); };
    QMLANGSTRINGID record = Record({id(1020), u"two", id(1020)});
    const HQMLANG german = Open(GERMAN);
    EXPECT_EQ(std::u16string_view(QmGetString(german, AsText(record))), u"Mischpult");
    EXPECT_GE(record.word[3], 0x10000u);
    EXPECT_EQ(record.word[1], 1020u);
    QmLang_UpdateKernelLCID(german, LCID_ENGLISH_US);
    EXPECT_EQ(std::u16string_view(QmGetString(german, AsText(record))), u"Mixing Console");

    // What the language lacks becomes the English word, for good.
    QMLANGSTRINGID partly = Record({id(15), u"two", id(15)});
    EXPECT_EQ(std::u16string_view(QmGetString(Open(GERMAN), AsText(partly))), u"Fifteen");
    EXPECT_EQ(partly.word[3], partly.word[1]);
    QMLANGSTRINGID nowhere = Record({id(99), u"two", id(98)});
    EXPECT_EQ(std::u16string_view(QmGetString(Open(GERMAN), AsText(nowhere))), u"");
}

TEST_F(LangTest, EveryWayToNameATextIsTold) {
    const HQMLANG lang = Open(GERMAN);
    QMLANGSTRINGID record = Record({u"one", u"two", u"three"});
    EXPECT_EQ(QmGetStringSmart(lang, nullptr), nullptr);
    EXPECT_EQ(std::u16string_view(QmGetStringSmart(lang, QmTextId(1020))), u"Mischpult");
    EXPECT_EQ(std::u16string_view(QmGetStringSmart(lang, AsText(record))), u"three");
    const char16_t* plain = u"plain";
    EXPECT_EQ(QmGetStringSmart(lang, plain), plain);
    alignas(4) const char16_t empty[] = u"";
    EXPECT_EQ(QmGetStringSmart(lang, empty), empty);
    EXPECT_TRUE(IsQMLANGSTRINGID(lang, &KS_Value_dB));
    EXPECT_FALSE(IsQMLANGSTRINGID(lang, QmTextId(4)));
    EXPECT_FALSE(IsQMLANGSTRINGID(lang, nullptr));
    EXPECT_EQ(std::u16string_view(KernelText(KS_Value_MinusInfinity)), u"-Inf.");
}

TEST_F(LangTest, TheRingGivesLatestTextsAndStartsAgain) {
    const HQMLANG lang = Open(GERMAN, 1);  // grows to the least size, 2048
    char16_t* const first = QmLang_TemporaryText(lang, 25);
    EXPECT_EQ(QmLang_TemporaryText(lang, 26), first + 26);
    for (char16_t* at = first + 52; at <= first + 1024; at += 26)
        EXPECT_EQ(QmLang_TemporaryText(lang, 26), at);
    EXPECT_EQ(QmLang_TemporaryText(lang, 1024), first);
    char16_t* const last = QmLang_TemporaryText(lang, 1024);
    EXPECT_EQ(last, first + 1024);
    last[1023] = u'x';
    EXPECT_EQ(QmLang_TemporaryText(lang, 1025), nullptr);
    EXPECT_EQ(QmLang_TemporaryText(nullptr, 1), nullptr);
}

TEST_F(LangTest, WhatIsToldOfALanguage) {
    const struct {
        uint32_t lcid;
        const char16_t *abbreviation, *country;
        bool rtl, reversed;
        const char16_t* name;
    } rows[] = {
        {0x409, u"ENU", u"", false, false, u"Anna Berg"},
        {0x407, u"DEU", u"de-DE", false, false, u"Anna Berg"},
        {0x411, u"JPN", u"ja-JP", false, true, u"Berg Anna"},
        {0x401, u"ARA", u"", true, false, u"Anna Berg"},
        {0x40D, u"HEB", u"", true, false, u"Anna Berg"},
        {0x416, u"PTB", u"pt-BR", false, false, u"Anna Berg"},
    };
    for (const auto& row : rows) {
        const HQMLANG lang = Open(row.lcid);
        char16_t text[32];
        EXPECT_TRUE(QmLang_GetLangAbbrev(lang, text, 32));
        EXPECT_EQ(std::u16string_view(text), row.abbreviation);
        EXPECT_EQ(QmLang_GetLangllCC(lang, text, 32), *row.country ? 0 : 1);
        EXPECT_EQ(std::u16string_view(text), row.country);
        EXPECT_EQ(QmLang_UseRTL(lang), row.rtl) << row.lcid;
        EXPECT_EQ(QmLang_IsNameOrderReversed(lang), row.reversed) << row.lcid;
        EXPECT_EQ(QmLang_LocalizeUserName(lang, u"Anna", u"Berg", text, 32), 9);
        EXPECT_EQ(std::u16string_view(text), row.name);
    }
    char16_t text[8];
    EXPECT_EQ(QmLang_LocalizeUserName(Open(0x409), u"Anna", u"Berg", text, 8), 7);
    EXPECT_EQ(std::u16string_view(text), u"Anna Be");
    EXPECT_EQ(QmLang_LocalizeUserName(Open(0x409), nullptr, u"Berg", text, 8), 4);
    EXPECT_EQ(std::u16string_view(text), u"Berg");
}

bool rightToLeft = false;

TEST_F(LangTest, TheLanguageTurnsTheLayout) {
    SetLayoutDirectionHandler([](bool rtl) { rightToLeft = rtl; });
    const HQMLANG lang = Open(GERMAN);
    QmLang_UpdateKernelLCID(lang, ARABIC);
    EXPECT_TRUE(rightToLeft);
    QmLang_UpdateKernelLCID(lang, FRENCH);
    EXPECT_FALSE(rightToLeft);
    QmLang_EnableProcessMirroring();
    EXPECT_TRUE(rightToLeft);
    QmLang_DisableProcessMirroring();
    EXPECT_FALSE(rightToLeft);
    SetLayoutDirectionHandler(nullptr);
}

int allocationsLeft = 0;

TEST_F(LangTest, TheCodeOfTheLanguageIsThreeLetters) {
    char16_t code[4];
    for (const auto& [set, got] :
         {std::pair{u"DEU", u"DEU"}, {u"DEUTSCH", u"DEU"}, {u"SV", u"SV"}, {u"", u"ENU"}}) {
        QmSetLangID(set);
        QmGetLangID(code);
        EXPECT_EQ(std::u16string(code), got);
    }
    QmSetLangID(nullptr);
    QmGetLangID(code);
    EXPECT_EQ(std::u16string(code), u"ENU");
}

TEST_F(LangTest, WithoutMemoryNothingIsHalfMade) {
    KernelLang();
    const MemGate previous = SetMemGate([](size_t) { return allocationsLeft-- > 0; });
    HRESULT hr = E_OUTOFMEMORY;
    HQMLANG lang = nullptr;
    int failed = 0;
    for (int n = 0; hr == E_OUTOFMEMORY && n < 20; n++) {
        allocationsLeft = n;
        hr = QmLang_Open(&lang, &m_module, GERMAN, 0);
        if (Failed(hr)) {
            failed++;
            EXPECT_EQ(lang, nullptr);
        }
    }
    EXPECT_EQ(hr, S_OK);
    EXPECT_GE(failed, 3);
    allocationsLeft = 0;
    EXPECT_EQ(Text(lang, 1020), u"");
    allocationsLeft = 100;
    EXPECT_EQ(Text(lang, 1020), u"Mischpult");
    SetMemGate(previous);
    QmLang_Close(lang);
}

TEST_F(LangTest, AnyThreadLooksTextsUp) {
    const HQMLANG lang = Open(GERMAN);
    QMLANGSTRINGID record = Record({QmTextId(1020), QmTextId(1020), QmTextId(1020)});
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < 4; t++)
        threads.emplace_back([&] {
            for (uint32_t i = 0; i < 2000; i++) {
                wrong += Text(lang, 1020) != u"Mischpult";
                wrong += Text(lang, 15 + i % 2) != (i % 2 ? u"Sechzehn" : u"Fifteen");
                wrong += std::u16string(QmGetString(lang, reinterpret_cast<const char16_t*>(&record))) !=
                         u"Mischpult";
                char16_t* slot = QmLang_TemporaryText(lang, 8);
                std::copy_n(u"ring", 5, slot);
                wrong += std::u16string(slot) != u"ring";
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
