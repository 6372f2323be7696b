#include "kernel/metrics/user_lcid.h"

#include "home_fixture.h"

using namespace tarn;

namespace {

class UserLcid : public HomeTest {};

TEST_F(UserLcid, TheUsersChoiceThenTheAdministratorsThenTheEnvironments) {
    uint32_t lcid = 9;
    EXPECT_TRUE(Failed(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 0)));
    EXPECT_EQ(lcid, 0u);
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 1), S_OK);
    EXPECT_EQ(lcid & 0x400, 0x400u);

    // The administrator's file is a user's file elsewhere.
    EXPECT_EQ(QmLang_SaveUserLCIDMetric(u"App", 0, 0x40C, 0), S_OK);
    std::filesystem::create_directories(m_home / "machine" / "Tarn");
    std::filesystem::rename(Database(), m_home / "machine" / "Tarn" / "settings.db");
    for (const char* part : {"-wal", "-shm"})
        if (std::filesystem::exists(Database().string() + part))
            std::filesystem::rename(Database().string() + part,
                                    m_home / "machine" / "Tarn" / (std::string("settings.db") + part));
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 0), S_OK);
    EXPECT_EQ(lcid, 0x40Cu);
    EXPECT_EQ(QmLang_SaveUserLCIDMetric(u"App", 0, 0x407, 0), S_OK);
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 0), S_OK);
    EXPECT_EQ(lcid, 0x407u);
    EXPECT_TRUE(Failed(QmLang_LoadUserLCIDMetric(u"App", 0x02010000, &lcid, 0)))
        << "each version has its own";
    EXPECT_EQ(QmLang_SaveUserLCIDAppReg(u"Software\\Brena Creative Software\\App\\2.1", 0x411, 0), S_OK);
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0x02010000, &lcid, 0), S_OK);
    EXPECT_EQ(lcid, 0x411u);
    EXPECT_EQ(QmLang_SaveUserLCIDMetric(u"App", 0, 0, 1), S_OK);
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 0), S_OK);
    EXPECT_EQ(lcid, 0x40Cu);
}

}  // namespace
