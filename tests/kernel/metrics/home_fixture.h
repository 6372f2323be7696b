// A user's home of its own for each test.
#pragma once

#include "platform/store.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

class HomeTest : public testing::Test {
protected:
    HomeTest() {
        std::filesystem::remove_all(m_home);
        ::setenv("XDG_CONFIG_HOME", (m_home / "config").c_str(), 1);
        ::setenv("XDG_CONFIG_DIRS", (m_home / "machine").c_str(), 1);
    }
    ~HomeTest() override { std::filesystem::remove_all(m_home); }

    std::filesystem::path Database() const { return tarn::StorePath(tarn::StoreScope::User); }

    const std::filesystem::path m_home =
        std::filesystem::path(testing::TempDir()) /
        (std::string("home-") + testing::UnitTest::GetInstance()->current_test_info()->name());
};
