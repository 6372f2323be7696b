#undef NDEBUG  // the check is there in asserting builds only
#include "platform/thread_check.h"

#include <gtest/gtest.h>

using namespace tarn;

namespace {
TEST(ThreadCheck, TellsThreadsApart) {
    ThreadCheck check;
    EXPECT_TRUE(check.IsHere());
    std::thread([&] {
        EXPECT_FALSE(check.IsHere());
        check.MoveHere();
        EXPECT_TRUE(check.IsHere());
    }).join();
    EXPECT_FALSE(check.IsHere());
}
}  // namespace
