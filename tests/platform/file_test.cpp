#include "platform/file.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

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
