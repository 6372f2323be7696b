#include "platform/process.h"

#include <gtest/gtest.h>

using namespace tarn;

namespace {
TEST(Process, TellsHowAProgramEnded) {
    struct Row {
        std::vector<std::string> arguments;
        bool done;
        const char* error;
    };
    std::string error;
    for (const Row& r :
         {Row{{"true"}, true, ""}, Row{{"false"}, false, "false ended with status 1"},
          Row{{"sh", "-c", "kill -KILL $$"}, false, "sh was ended by signal 9"},
          Row{{"sh", "-c", "echo a; printf 'why it failed\\n\\n' >&2; exit 7"},
              false,
              "sh ended with status 7: why it failed"},
          Row{{"no-such-program"}, false, "cannot run no-such-program: No such file or directory"},
          Row{{"sh", "-c", "[ $# = 1 ] && [ \"$1\" = 'a b;*' ]", "sh", "a b;*"}, true, ""},
          Row{{"sh", "-c", "read line; [ -z \"$line\" ]"}, true, ""},
          Row{{"sh", "-c", "head -c 1000000 /dev/zero; echo last; exit 1"}, false, "last"}}) {
        error.clear();
        EXPECT_EQ(r.done, RunProgram(r.arguments, error)) << r.arguments[0] << ' ' << error;
        EXPECT_NE(std::string::npos, error.find(r.error)) << error;
    }
}

TEST(Process, IsSpokenWithLineByLine) {
    using enum ChildProcess::Answer;
    constexpr std::chrono::milliseconds LONG{60000};
    const std::string input(200000, 'x');  // more than a pipe holds
    ChildProcess child;
    std::string error, line;
    ASSERT_TRUE(child.Start({"sh", "-c", "echo one; wc -c; exec sleep 1000"}, input, error)) << error;
    EXPECT_EQ(child.ReadLine(line, LONG), Line);
    EXPECT_EQ(line, "one");
    EXPECT_EQ(child.ReadLine(line, LONG), Line);
    EXPECT_EQ(line, "200000");
    EXPECT_EQ(child.ReadLine(line, std::chrono::milliseconds(1)), Nothing);
    child.Kill();
    EXPECT_EQ(child.ReadLine(line, LONG), End);
    EXPECT_EQ(child.Wait(), "was ended by signal 9");

    ChildProcess other;
    ASSERT_TRUE(other.Start({"sh", "-c", "printf 'no end'"}, {}, error)) << error;
    EXPECT_EQ(other.ReadLine(line, LONG), Line);
    EXPECT_EQ(line, "no end");
    EXPECT_EQ(other.ReadLine(line, LONG), End);
    EXPECT_EQ(other.Wait(), "");
}
}  // namespace
