#include "home_fixture.h"
#include "platform/file.h"

#include <atomic>
#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace tarn;

namespace {

namespace fs = std::filesystem;

class Store : public HomeTest {
protected:
    static StoreKeyPtr Open(const char16_t* path = u"A\\B") {
        StoreKeyPtr key;
        EXPECT_EQ(StoreOpenKey(StoreScope::User, path, key), S_OK);
        return key;
    }
    static HRESULT Set(const StoreKeyPtr& key, uint32_t value, const char16_t* name = u"n") {
        return StoreWrite(key.get(), name, STORE_NUMBER, &value, sizeof value);
    }
    static uint32_t Get(const StoreKeyPtr& key, const char16_t* name = u"n") {
        uint32_t value = 0, type = 0;
        size_t size = 0;
        return Succeeded(StoreRead(key.get(), name, &value, sizeof value, type, size)) ? value : 0;
    }
    /// Runs `work` in a process of its own; returns its exit status, 1000 + the signal that ended it.
    template <class Work>
    static pid_t Start(Work work) {
        const pid_t child = ::fork();
        if (child == 0) ::_exit(work());
        return child;
    }
    static int End(pid_t child) {
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }
    size_t Damaged() const {
        size_t count = 0;
        for (const fs::directory_entry& file : fs::directory_iterator(Database().parent_path()))
            count += file.path().filename().string().find(".damaged-") != std::string::npos &&
                     file.path().extension() != ".lock";
        return count;
    }
};

TEST_F(Store, ReadingMakesNothing) {
    const StoreKeyPtr key = Open();
    EXPECT_EQ(Get(key), 0u);
    std::vector<StoreEntry> entries;
    EXPECT_EQ(StoreList(u"", entries), S_OK);
    EXPECT_EQ(StoreDelete(key.get(), u"n"), STORE_NOT_FOUND);
    EXPECT_EQ(StoreDeleteKey(u"A"), S_OK);
    EXPECT_FALSE(fs::exists(m_home));
    EXPECT_EQ(Set(key, 5), S_OK);
    EXPECT_EQ(Get(key), 5u);
    EXPECT_TRUE(fs::exists(Database()));
}

TEST_F(Store, KeepsWhatItIsGiven) {
    const StoreKeyPtr key = Open();
    const std::string bytes("\0a\xFF", 3);
    EXPECT_EQ(StoreWrite(key.get(), u"Ünïcode %'\"", STORE_BINARY, bytes.data(), 3), S_OK);
    EXPECT_EQ(StoreWrite(key.get(), u"empty", STORE_BINARY, nullptr, 0), S_OK);
    EXPECT_EQ(StoreWrite(key.get(), u"bad", STORE_NUMBER, bytes.data(), 3), E_INVALIDARG);
    char out[4];
    uint32_t type = 0;
    size_t size = 0;
    EXPECT_EQ(StoreRead(key.get(), u"Ünïcode %'\"", out, 2, type, size), STORE_MORE_DATA);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(StoreRead(key.get(), u"Ünïcode %'\"", out, 4, type, size), S_OK);
    EXPECT_EQ(std::string(out, size), bytes);
    EXPECT_EQ(type, STORE_BINARY);
    EXPECT_EQ(StoreRead(key.get(), u"empty", nullptr, 0, type, size), S_OK);
    std::vector<StoreEntry> entries;
    EXPECT_EQ(Set(Open(u"A\\Bc"), 1), S_OK);
    EXPECT_EQ(StoreList(u"a\\b", entries), S_OK);
    ASSERT_EQ(entries.size(), 2u) << "A\\Bc is no child of A\\B";
    EXPECT_EQ(entries[0].key, u"A\\B");
    EXPECT_EQ(StoreDelete(key.get(), u"empty"), S_OK);
    EXPECT_EQ(StoreDelete(key.get(), u"empty"), STORE_NOT_FOUND);
}

TEST_F(Store, TwoProcessesWriteAtOnce) {
    constexpr uint32_t WRITES = 300;
    const auto work = [](const char16_t* own) {
        return [own] {
            const StoreKeyPtr key = Open();
            for (uint32_t i = 1; i <= WRITES; i++)
                if (Failed(Set(key, i, own)) || Failed(Set(key, i, u"shared")) || Get(key, own) != i)
                    return 1;
            return 0;
        };
    };
    const pid_t first = Start(work(u"first")), second = Start(work(u"second"));
    EXPECT_EQ(End(first), 0);
    EXPECT_EQ(End(second), 0);
    const StoreKeyPtr key = Open();
    EXPECT_EQ(Get(key, u"first"), WRITES);
    EXPECT_EQ(Get(key, u"second"), WRITES);
    EXPECT_EQ(Get(key, u"shared"), WRITES);
}

TEST_F(Store, AKilledWriterLeavesWholeValues) {
    // Both halves of a value are the same number, whenever the writer dies.
    for (int round = 0; round < 15; round++) {
        const pid_t writer = Start([] {
            const StoreKeyPtr key = Open();
            for (uint32_t i = 1;; i++) {
                std::vector<uint32_t> block(3000, i);
                if (Failed(StoreWrite(key.get(), u"b", STORE_BINARY, block.data(), block.size() * 4)))
                    return 1;
            }
        });
        ::usleep(static_cast<useconds_t>(3000 + round * 1700));
        ::kill(writer, SIGKILL);
        EXPECT_EQ(End(writer), 1000 + SIGKILL);
        std::vector<uint32_t> block(3000);
        uint32_t type = 0;
        size_t size = 0;
        const HRESULT hr = StoreRead(Open().get(), u"b", block.data(), block.size() * 4, type, size);
        if (hr == STORE_NOT_FOUND) continue;
        ASSERT_EQ(hr, S_OK);
        ASSERT_EQ(std::count(block.begin(), block.end(), block[0]), 3000);
    }
    EXPECT_EQ(Damaged(), 0u);
}

TEST_F(Store, ADamagedFileIsSetAsideWithOneLine) {
    ASSERT_EQ(Set(Open(), 5), S_OK);
    for (const bool header : {true, false}) {
        std::string bytes(60000, 'x'), error;
        if (!header) {
            ASSERT_TRUE(ReadWholeFile(Database(), 1 << 20, bytes, error)) << error;
            std::fill(bytes.begin() + 4096, bytes.end(), 'x');  // a sound header over a page of nonsense
        }
        ASSERT_TRUE(ReplaceFile(Database(), bytes, error)) << error;
        for (const char* part : {"-wal", "-shm"}) fs::remove(Database().string() + part);
        testing::internal::CaptureStderr();
        const StoreKeyPtr key = Open();
        EXPECT_EQ(Get(key), 0u);
        EXPECT_EQ(Set(key, 6), S_OK);
        EXPECT_EQ(Get(Open()), 6u);
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
        EXPECT_NE(told.find("settings.db are damaged"), std::string::npos) << told;
    }
    EXPECT_EQ(Damaged(), 2u);
}

TEST_F(Store, WhereNothingCanBeWrittenWhatIsThereIsRead) {
    ASSERT_EQ(Set(Open(), 5), S_OK);
    // The journal's places taken by folders: like a disk that can't be written, also for root.
    for (const char* part : {"-wal", "-shm", "-journal"}) {
        fs::remove(Database().string() + part);
        fs::create_directory(Database().string() + part);
    }
    testing::internal::CaptureStderr();
    {
        const StoreKeyPtr key = Open();
        EXPECT_EQ(Get(key), 5u);
        EXPECT_TRUE(Failed(Set(key, 6)));
        EXPECT_EQ(Get(key), 5u);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    fs::remove_all(m_home);
    std::ofstream(m_home) << "a file in the home's place";
    const StoreKeyPtr nowhere = Open();
    EXPECT_EQ(Get(nowhere), 0u);
    EXPECT_EQ(Set(nowhere, 6), STORE_NO_ACCESS);

    ::unsetenv("XDG_CONFIG_HOME");
    const char* home = ::getenv("HOME");
    const std::string kept = home ? home : "";
    ::unsetenv("HOME");
    StoreKeyPtr key;
    EXPECT_EQ(StoreOpenKey(StoreScope::User, u"A", key), STORE_NO_ACCESS);
    EXPECT_EQ(key, nullptr);
    ::setenv("HOME", kept.c_str(), 1);
}

TEST_F(Store, AFullDiskKeepsTheOldValue) {
    ASSERT_EQ(Set(Open(), 5), S_OK);
    const pid_t child = Start([] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{40000, 40000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const StoreKeyPtr key = Open();
        const std::string big(200000, 'x');
        const HRESULT hr = StoreWrite(key.get(), u"n", STORE_BINARY, big.data(), big.size());
        if (hr != STORE_FULL && hr != STORE_IO_ERROR) return 1;
        return Get(key) == 5 ? 0 : 2;
    });
    EXPECT_EQ(End(child), 0);
    EXPECT_EQ(Get(Open()), 5u);
    EXPECT_EQ(Damaged(), 0u);
}

TEST_F(Store, ThreadsShareTheFile) {
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
        threads.emplace_back([&, t] {
            const std::u16string name(1, static_cast<char16_t>(u'a' + t));
            for (uint32_t i = 1; i <= 100; i++) {
                const StoreKeyPtr key = Open();
                wrong += Failed(Set(key, i, name.c_str())) || Get(key, name.c_str()) != i;
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
