// The checks of includes and of names: what they are there for they find, and nothing else.
#include "platform/file.h"
#include "platform/process.h"

#include <gtest/gtest.h>

#include <filesystem>

using namespace tarn;

namespace {

namespace fs = std::filesystem;

/// Empty when nothing is wrong; else the last line of what the check wrote.
std::string Check(const fs::path& tree, const char* script = "check_includes.sh") {
    std::string error;
    const std::string path = std::string(SOURCE_FOLDER "/tools/") + script;
    return RunProgram({path, tree.string(), tree.string()}, error) ? "" : error;
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

TEST(Names, ThatSourcesOfATargetShareAreFound) {
    struct Row {
        const char *one, *other;
        const char* told;  ///< empty: nothing is wrong
    };
    const Row rows[] = {
        {"namespace {\nint a = 1;\n}\nint B();\n", "namespace {\nvoid B() {}\n}\nint A::a = 2;\n", ""},
        {"namespace {\nconstexpr int A = 1, X[] = {2};\n}\n",
         "namespace n {\nnamespace {\nstruct X {};\n}\n}\n", "have X"},
        {"namespace {\nenum E { A, X = 2 };\n}\n", "static int X;\n", "have X"},
        {"namespace {\nvoid F(int a) {}\n}\n", "static void F(int other) {}\n", "have F"},
        {"namespace {\nvoid F(int a) {}\n}\n", "static void F(char a) {}\n", ""},
        {"namespace n {\nnamespace {\nvoid F(int a) {}\n}\n}\n", "static void F(char a) {}\n", "have F"},
        {"static A B = [] { return \"}\"; }();\nstatic int C;\n",
         "template <class T>\nvoid D() {}\nstatic int C;\n", "have C"},
        {"#define M 1\n", "#define N 2\n#undef N\n", "one.cpp leaves the macro M"},
    };
    const fs::path tree = fs::path(testing::TempDir()) / "tarn_names_test";
    fs::create_directories(tree);
    std::string commands, error;
    for (const char* name : {"one", "other"})
        commands.append("\"command\": \"c++ -o CMakeFiles/t.dir/x.o\",\n\"file\": \"")
            .append(tree / name)
            .append(".cpp\"\n");
    ASSERT_TRUE(ReplaceFile(tree / "compile_commands.json", commands, error)) << error;
    for (const Row& row : rows) {
        ASSERT_TRUE(ReplaceFile(tree / "one.cpp", row.one, error)) << error;
        ASSERT_TRUE(ReplaceFile(tree / "other.cpp", row.other, error)) << error;
        const std::string told = Check(tree, "check_names.sh");
        EXPECT_EQ(told.empty(), *row.told == 0) << told;
        EXPECT_NE(told.find(row.told), told.npos) << told;
    }
    fs::remove_all(tree);
}

}  // namespace
