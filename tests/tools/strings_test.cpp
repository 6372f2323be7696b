#include "platform/file.h"
#include "platform/process.h"
#include "tools/strings/directives.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace tarn;

namespace {

namespace fs = std::filesystem;

TEST(Directives, AreWhatTheEngineReads) {
    const struct {
        const char* format;
        std::vector<std::string> reads;
    } rows[] = {
        {"plain", {}},
        {"$d of %u, %I64d bytes, %5.1f %%",
         {"32-bit integer", "32-bit integer", "64-bit integer", "floating-point number"}},
        {"$(AppName) cannot open '%s'", {"text", "$(AppName)"}},
        {"$(1234.5) costs $$5 %c$.2z", {"character", "fixed-point number"}},
        {"%02u$:%02u$*%03u$&.$!,", {"32-bit integer", "32-bit integer", "32-bit integer"}},
        {"$(open", {}},
        {"100%", {}},
    };
    for (const auto& row : rows) EXPECT_EQ(DirectivesOf(row.format), row.reads) << row.format;
}

class CompileStrings : public testing::Test {
protected:
    CompileStrings() { fs::create_directories(m_folder); }
    ~CompileStrings() override { fs::remove_all(m_folder); }

    static std::string Entry(const std::string& key, const std::string& english,
                             const std::string& text = "") {
        return "msgctxt \"" + key + "\"\nmsgid \"" + english + "\"\nmsgstr \"" + text + "\"\n\n";
    }
    void Write(const char* name, const std::string& entries) {
        const std::string head =
            "msgid \"\"\nmsgstr \"\"\n\"Content-Type: text/plain; charset=UTF-8\\n\"\n\n";
        std::string error;
        ASSERT_TRUE(ReplaceFile(m_folder / name, head + entries, error)) << error;
    }
    /// Empty when it went well; else the last line that it wrote.
    std::string Run(const char* kind = "resources") {
        std::string error;
        std::vector<std::string> command{COMPILE_STRINGS, kind, m_folder / "t.pot", m_folder / "t.h",
                                         m_folder / "t.cpp"};
        if (std::string_view(kind) == "resources") command.push_back("Id");
        const bool good = RunProgram(command, error);
        return good ? "" : error;
    }
    std::string Read(const char* name) {
        std::string bytes, error;
        EXPECT_TRUE(ReadWholeFile(m_folder / name, 1 << 20, bytes, error)) << error;
        return bytes;
    }

    const fs::path m_folder =
        fs::path(testing::TempDir()) /
        (std::string("strings-") + testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST_F(CompileStrings, WritesEachLanguageWithWhatItHas) {
    Write("t.pot", Entry("20 SECOND", "Two \\\"%s\\\"") + Entry("7 FIRST", "One\\n"));
    Write("de.po", Entry("7 FIRST", "One\\n", "Eins \u00e4\\n") + Entry("20 SECOND", "Two \\\"%s\\\""));
    ASSERT_EQ(Run(), "");
    EXPECT_NE(Read("t.h").find("IDS_SECOND = 20"), std::string::npos);
    const std::string source = Read("t.cpp");
    EXPECT_LT(source.find("{7, u\"One\\012\"}"), source.find("{20, u\"Two \\\"%s\\\"\"}"));
    Write("he.po", Entry("7 FIRST", "One\\n", "A\\n"));
    ASSERT_EQ(Run(), "");
    EXPECT_NE(Read("t.cpp").find("{19, SLOT_19}"), std::string::npos);
    EXPECT_NE(source.find("SLOT_3[] = {\n    {7, u\"Eins \\u00E4\\012\"},\n}"), std::string::npos) << source;
}

TEST_F(CompileStrings, RefusesWhatWouldGoWrongOnTheScreen) {
    const std::string pot = Entry("7 FIRST", "One %d") + Entry("8 OTHER", "$(AppName)");
    const struct {
        const char* file;
        std::string entries;
        const char* reason;
    } rows[] = {
        {"de.po", Entry("7 FIRST", "One %d", "Eins %s"),
         "reads text where the English text reads 32-bit integer"},
        {"de.po", Entry("7 FIRST", "One %d", "Eins"), "reads nothing where"},
        {"fr.po", Entry("8 OTHER", "$(AppName)", "$(AppNom)"), "reads $(AppNom) where"},
        {"de.po", Entry("9 NONE", "Nine", "Neun"), "is not in the template"},
        {"de.po", Entry("8 FIRST", "One %d", "Eins %d"), "is not in the template"},
        {"de.po", Entry("7 FIRST", "Uno %d", "Eins %d"), "translates another English text"},
        {"xx.po", Entry("7 FIRST", "One %d", "Eins %d"), "no language of that name"},
        {"t.pot", pot + Entry("7 THIRD", "Three"), "stands twice"},
        {"t.pot", pot + Entry("9 FIRST", "Three"), "stands twice"},
        {"t.pot", pot + Entry("THIRD", "Three"), "is no key"},
        {"t.pot", pot + Entry("70000 BIG", "Big"), "is no key"},
        {"t.pot", "", "holds no text"},
    };
    for (const auto& row : rows) {
        for (const fs::directory_entry& old : fs::directory_iterator(m_folder)) fs::remove(old);
        Write("t.pot", pot);
        Write(row.file, row.entries);
        EXPECT_NE(Run().find(row.reason), std::string::npos) << row.reason << "\ngot: " << Run();
    }
}

TEST_F(CompileStrings, RecordsHaveNoRoomForLaterLanguages) {
    Write("t.pot", Entry("Name", "Text"));
    Write("pl.po", Entry("Name", "Text", "Tekst"));
    ASSERT_EQ(Run("records"), "");
    Write("he.po", Entry("Name", "Text", "Word"));
    EXPECT_NE(Run("records").find("no language of that name"), std::string::npos);
}

}  // namespace
