// The check of the rooms: it passes the tree as it is, and finds what it is there for.
#include "platform/file.h"
#include "platform/process.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace tarn;

namespace {

namespace fs = std::filesystem;

/// Empty when nothing is wrong; else the last line of what the check wrote.
std::string Check(const fs::path& tree) {
    std::string error;
    return RunProgram({SOURCE_FOLDER "/tools/check_includes.sh", tree.string()}, error) ? "" : error;
}

TEST(Includes, OfTheTreeFollowTheOrderOfTheRooms) { EXPECT_EQ(Check(SOURCE_FOLDER), ""); }

TEST(Includes, ThatPointUpwardOrInACircleAreFound) {
    struct Row {
        const char *rooms, *low, *high;
        const char* told;  ///< empty: nothing is wrong
    };
    const Row rows[] = {
        {"low:\nhigh: low\n", "", "#include \"low/a.h\"\n", ""},
        {"low:\nhigh: low\n", "#pragma once\n  #  include \"high/b.h\"\n", "",
         "low/a.h:2: low may not include high (high/b.h)"},
        {"low:\nhigh: low\n", "#include \"a.h\"\n", "", "low/a.h:1: \"a.h\" is no path of a room"},
        {"low: high\nhigh: low\n", "", "", "tools/rooms.txt:1: high does not stand above low"},
        {"low:\n", "", "", "high/b.h: lies in no room"},
        {"low:\nhigh: low\n", "#include \"low/c.h\"\n", "", "files that include each other"},
    };
    const fs::path tree = fs::path(testing::TempDir()) / "tarn_includes_test";
    for (const Row& row : rows) {
        fs::remove_all(tree);
        for (const char* folder : {"tools", "low", "high"}) fs::create_directories(tree / folder);
        std::string error;
        ASSERT_TRUE(ReplaceFile(tree / "tools/rooms.txt", row.rooms, error)) << error;
        ASSERT_TRUE(ReplaceFile(tree / "low/a.h", row.low, error)) << error;
        ASSERT_TRUE(ReplaceFile(tree / "high/b.h", std::string(row.high) + "#include \"low/a.h\"\n", error));
        ASSERT_TRUE(ReplaceFile(tree / "low/c.h", "#include \"low/a.h\"\n", error)) << error;
        const std::string told = Check(tree);
        EXPECT_EQ(told.empty(), *row.told == 0) << told;
        EXPECT_NE(told.find(row.told), told.npos) << told;
    }
    fs::remove_all(tree);
}

}  // namespace
