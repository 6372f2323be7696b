// A module with texts in three languages, and a handle on it.
#pragma once

#include "kernel/lang/lang.h"
#include "kernel/lang/string_resources.h"

#include <gtest/gtest.h>

#include <string>

inline constexpr tarn::StringRow ENGLISH_ROWS[] = {
    {15, u"Fifteen"}, {16, u"Sixteen"}, {1020, u"Mixing Console"}, {1021, u"^*Marked"}, {65535, u"Last"}};
inline constexpr tarn::StringRow GERMAN_ROWS[] = {{16, u"Sechzehn"}, {1020, u"Mischpult"}};
inline constexpr tarn::StringRow FRENCH_ROWS[] = {{1020, u"Console de mixage"}};
inline constexpr tarn::StringTable TEST_TABLES[] = {{1, ENGLISH_ROWS}, {3, GERMAN_ROWS}, {5, FRENCH_ROWS}};

class LangTest : public testing::Test {
protected:
    static constexpr uint32_t GERMAN = 0x407, SWISS_GERMAN = 0x807, FRENCH = 0x40C, CANADIAN_FRENCH = 0xC0C,
                              ARABIC = 0x401;

    HQMLANG Open(uint32_t lcid, uint32_t ringSize = 0) {
        HQMLANG lang = nullptr;
        EXPECT_EQ(QmLang_Open(&lang, &m_module, lcid, ringSize), S_OK);
        m_opened.push_back(lang);
        return lang;
    }
    ~LangTest() override {
        for (const HQMLANG lang : m_opened) QmLang_Close(lang);
        QmLang_UpdateKernelLCID(nullptr, tarn::LCID_ENGLISH_US);
    }
    static std::u16string Text(HQMLANG lang, uint32_t id) { return QmGetString(lang, QmTextId(id)); }

    int m_module = 0;
    tarn::ModuleStrings m_strings{&m_module, TEST_TABLES};
    std::vector<HQMLANG> m_opened;
};
