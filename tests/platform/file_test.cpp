#include "platform/file.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <set>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tarn;

namespace fs = std::filesystem;

namespace {
class File : public testing::Test {
protected:
    File() {
        std::string name = (fs::temp_directory_path() / "tarn-file-XXXXXX").string();
        m_folder = ::mkdtemp(name.data());
    }
    ~File() override { fs::remove_all(m_folder); }

    std::string Read(const fs::path& path) {
        std::string bytes, error;
        EXPECT_TRUE(ReadWholeFile(path, SIZE_MAX, bytes, error)) << error;
        return bytes;
    }
    size_t Entries() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(m_folder), {}));
    }

    fs::path m_folder;
    std::string m_error;
};

TEST_F(File, ReplacesAndReadsBack) {
    const fs::path path = m_folder / "a.bin";
    std::string content;
    for (int i = 0; i < 3'000'000; i++) content += static_cast<char>(i * 7);
    for (const std::string& bytes : {std::string(), std::string("short"), content, std::string("again")}) {
        ASSERT_TRUE(ReplaceFile(path, bytes, m_error)) << m_error;
        EXPECT_EQ(bytes, Read(path));
        EXPECT_EQ(1u, Entries());
    }
}

TEST_F(File, ReadingKeepsToTheLimit) {
    const fs::path path = m_folder / "a";
    ASSERT_TRUE(ReplaceFile(path, "12345", m_error));
    std::string bytes;
    EXPECT_TRUE(ReadWholeFile(path, 5, bytes, m_error));
    EXPECT_EQ("12345", bytes);
    EXPECT_FALSE(ReadWholeFile(path, 4, bytes, m_error));
    EXPECT_TRUE(bytes.empty());
    EXPECT_NE(std::string::npos, m_error.find(path.string())) << m_error;
    EXPECT_FALSE(ReadWholeFile("/dev/zero", 100'000, bytes, m_error))
        << "an endless file has no size to look at";
    EXPECT_FALSE(ReadWholeFile(m_folder / "none", 4, bytes, m_error));
    EXPECT_NE(std::string::npos, m_error.find("No such file")) << m_error;
    EXPECT_FALSE(ReadWholeFile(m_folder, 4, bytes, m_error));
}

TEST_F(File, ReplacingKeepsPermissions) {
    const fs::path path = m_folder / "a";
    ASSERT_TRUE(ReplaceFile(path, "1", m_error));
    for (mode_t mode : {0600, 0640, 0755}) {
        ASSERT_EQ(0, ::chmod(path.c_str(), mode));
        ASSERT_TRUE(ReplaceFile(path, "2", m_error)) << m_error;
        struct stat info;
        ASSERT_EQ(0, ::stat(path.c_str(), &info));
        EXPECT_EQ(mode, info.st_mode & 07777);
    }
}

/// What lies at the target or in its folder can't lead the writing elsewhere.
TEST_F(File, ReplacingTouchesNothingButItsTarget) {
    const fs::path folder = m_folder / "shared", victim = m_folder / "victim";
    fs::create_directory(folder);
    ASSERT_TRUE(ReplaceFile(victim, "mine", m_error));
    // The name of the file aside is not the same twice, and a link can't be laid there beforehand.
    std::set<fs::path> names;
    for (int i = 0; i < 20; i++) {
        ReplacingFile file;
        ASSERT_TRUE(file.Open(folder / "a", m_error)) << m_error;
        EXPECT_EQ(file.Aside().parent_path(), folder);
        struct stat info;
        ASSERT_EQ(0, ::lstat(file.Aside().c_str(), &info));
        EXPECT_TRUE(S_ISREG(info.st_mode));
        names.insert(file.Aside());
        ASSERT_TRUE(file.Write("given up", m_error));
    }
    EXPECT_EQ(20u, names.size());
    EXPECT_TRUE(fs::is_empty(folder)) << "what is not committed is gone";
    // Private content is private while it lies aside, too.
    ASSERT_EQ(0, ::chmod(victim.c_str(), 0600));
    ReplacingFile file;
    ASSERT_TRUE(file.Open(victim, m_error));
    EXPECT_EQ(fs::status(file.Aside()).permissions(), fs::perms(0600));

    ASSERT_EQ(0, ::mkfifo((folder / "pipe").c_str(), 0600));
    fs::create_symlink("/dev/full", folder / "device");
    for (const char* name : {"pipe", "device"}) {
        EXPECT_FALSE(ReplaceFile(folder / name, "x", m_error));
        EXPECT_NE(std::string::npos, m_error.find("not a file")) << m_error;
        EXPECT_FALSE(fs::is_regular_file(folder / name));
    }
    if (::geteuid() == 0) return;  // everything may be written by root
    ASSERT_EQ(0, ::chmod(victim.c_str(), 0400));
    EXPECT_FALSE(ReplaceFile(victim, "x", m_error));
    EXPECT_EQ("mine", Read(victim));
    ASSERT_EQ(0, ::chmod(folder.c_str(), 0500));
    EXPECT_FALSE(ReplaceFile(folder / "a", "x", m_error));
    ASSERT_EQ(0, ::chmod(folder.c_str(), 0700));
}

TEST_F(File, NamesThatAreNoTextComeBack) {
    for (const std::string name :
         {"plain", "\xC3\xA4\xF0\x9F\x8E\xB5", "a\xE4", "\xFF\xFE", "\xED\xB2\x80", "\xF0\x9F", "\xC0\x80x"})
        EXPECT_EQ(PathFromWide(WideFromPath(name)).native(), name);
    EXPECT_EQ(WideFromPath("\xC3\xA4"), u"\u00E4");
    EXPECT_EQ(PathFromWide(u"a\xD800").native(), "a\xEF\xBF\xBD");
}

TEST_F(File, ReplacingFollowsLinks) {
    fs::create_directory(m_folder / "deep");
    const fs::path target = m_folder / "deep" / "target", link = m_folder / "link",
                   chain = m_folder / "chain";
    fs::create_symlink("deep/target", link);
    fs::create_symlink(link, chain);
    for (const char* content : {"made through a dangling link", "replaced"}) {
        ASSERT_TRUE(ReplaceFile(chain, content, m_error)) << m_error;
        EXPECT_TRUE(fs::is_symlink(chain));
        EXPECT_TRUE(fs::is_symlink(link));
        EXPECT_FALSE(fs::is_symlink(target));
        EXPECT_EQ(content, Read(target));
    }
    fs::create_symlink("loop", m_folder / "loop");
    EXPECT_FALSE(ReplaceFile(m_folder / "loop", "x", m_error));
    EXPECT_NE(std::string::npos, m_error.find("loop")) << m_error;
}

TEST_F(File, FailedWriteLeavesTheOldFileAlone) {
    const fs::path path = m_folder / "a";
    ASSERT_TRUE(ReplaceFile(path, "old", m_error));
    // The system cuts the write short at the limit and refuses the rest.
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    ASSERT_EQ(0, ::getrlimit(RLIMIT_FSIZE, &old));
    const rlimit small{4096, old.rlim_max};
    ASSERT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &small));
    const bool written = ReplaceFile(path, std::string(10000, 'x'), m_error);
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, previous);
    EXPECT_FALSE(written);
    EXPECT_NE(std::string::npos, m_error.find(path.string() + ": File too large")) << m_error;
    EXPECT_EQ("old", Read(path));
    EXPECT_EQ(1u, Entries()) << "nothing is left aside";

    fs::create_directory(m_folder / "folder");
    EXPECT_FALSE(ReplaceFile(m_folder / "folder", "x", m_error)) << "a folder is no file";
    EXPECT_FALSE(ReplaceFile(m_folder / "none" / "a", "x", m_error));
    EXPECT_FALSE(ReplaceFile(path / "a", "x", m_error));
    EXPECT_EQ(2u, Entries());
}
}  // namespace
