#include "platform/module.h"

#include <gtest/gtest.h>

using namespace tarn;

namespace {
TEST(Module, FindsFunctionsAndNamesWhatIsMissing) {
    std::string error;
    Module module = Module::Load("libz.so.1", error);
    ASSERT_TRUE(module) << error;
    auto* crc = module.Find<unsigned long(unsigned long, const unsigned char*, unsigned)>("crc32", error);
    ASSERT_NE(nullptr, crc) << error;
    EXPECT_EQ(0xCBF43926u, crc(0, reinterpret_cast<const unsigned char*>("123456789"), 9));
    EXPECT_EQ(nullptr, module.Find<void()>("noSuchFunction", error));
    EXPECT_NE(std::string::npos, error.find("noSuchFunction")) << error;

    Module moved = std::move(module);
    EXPECT_TRUE(moved);
    EXPECT_FALSE(module);  // NOLINT: what a move leaves behind is empty
    EXPECT_EQ(nullptr, module.Find<void()>("crc32", error));
}

TEST(Module, LoadFailureNamesTheFile) {
    std::string error;
    EXPECT_FALSE(Module::Load("/nonexistent/x.so", error));
    EXPECT_NE(std::string::npos, error.find("/nonexistent/x.so")) << error;
    EXPECT_FALSE(Module::Load("/proc/self/cmdline", error)) << "a file that is no module";
}
}  // namespace
