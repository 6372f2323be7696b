#include "lang_fixture.h"

#include <thread>

using namespace tarn;

namespace {

TEST_F(LangTest, AnyThreadLooksTextsUp) {
    const HQMLANG lang = Open(GERMAN);
    QMLANGSTRINGID record{};
    record.word[0] = QMLANGSTRINGID_MARKER | 3 << 16;
    for (int slot = 1; slot <= 3; slot++) record.word[slot] = 1020;
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
