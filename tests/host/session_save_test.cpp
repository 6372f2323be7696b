// Saving must leave the old session or the new one, whole, whatever goes wrong and whenever.
#include "tests/host/test_session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>

#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host {
namespace {

using test::FullSession;
using test::TempFolder;

Session OldSession() {
    Session s = FullSession();
    s.channels[0].name = "old";
    return s;
}

// Longer than the writer's buffers, so that the text is not written at one stroke.
Session LargeSession() {
    Session s = FullSession();
    for (int i = 0; i < 3000; i++) s.channels[0].clips.push_back({"audio/file.wav", i * 0.25, 0, 0.25, 0});
    return s;
}

TEST(SessionSave, ReplacesTheFileAndLeavesNothingBeside) {
    const TempFolder folder;
    const auto path = folder / "a.tarn";
    SaveSession(OldSession(), path);
    SaveSession(LargeSession(), path);
    EXPECT_EQ(LoadSession(path), LargeSession());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

TEST(SessionSave, AnOldFormatIsKeptBeside) {
    const TempFolder folder;
    const auto path = folder / "a.tarn", kept = folder / "a.tarn.v1";
    const std::string old = R"({"format":"tarn-session","version":1,"sample_rate":48000,"length":1,
        "channels":[{"id":1,"kind":"master","name":"M","pan":0.5}]})";
    std::ofstream(path) << old;
    Session session = LoadSession(path);
    EXPECT_EQ(session.channels.at(0).pan, 0.5);
    for (double pan : {0.25, 0.75}) {
        session.channels[0].pan = pan;
        SaveSession(session, path);
        EXPECT_EQ(LoadSession(path), session);
        std::ifstream file(kept);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), old);
    }
}

TEST(SessionSave, NamesTheFileThatCannotBeReadOrWritten) {
    const TempFolder folder;
    const auto refusal = [](auto action) -> std::string {
        try {
            action();
        } catch (const SessionError& e) {
            return e.what();
        }
        return "accepted";
    };
    const auto missing = folder / "no/such.tarn";
    EXPECT_EQ(refusal([&] { LoadSession(missing); }),
              "cannot open " + missing.string() + ": No such file or directory");
    EXPECT_NE(refusal([&] { SaveSession(FullSession(), missing); }).find((folder / "no").string()),
              std::string::npos);
    EXPECT_NE(refusal([&] { LoadSession(folder.Path()); }).find(folder.Path().string()), std::string::npos);
    const auto bad = folder / "bad\nname.tarn";
    std::ofstream(bad) << "{";
    const std::string text = refusal([&] { LoadSession(bad); });
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_NE(text.find("bad?name.tarn: byte 2: not JSON"), std::string::npos) << text;
}

TEST(SessionSave, AFullDiskKeepsTheOldSession) {
    const TempFolder folder;
    const auto path = folder / "a.tarn";
    SaveSession(OldSession(), path);
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{10000, 10000};
        setrlimit(RLIMIT_FSIZE, &limit);
        try {
            SaveSession(LargeSession(), path);
        } catch (const SessionError&) {
            _exit(0);
        }
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the failed write was not reported";
    EXPECT_EQ(LoadSession(path), OldSession());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

// Whether the stopped child enters or leaves a call that gets or returns memory. They touch no file, and how
// many there are depends on the allocator's history.
bool AtMemoryCall(pid_t child, uint64_t& call) {
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) call = info.entry.nr;
    constexpr uint64_t memoryCalls[] = {SYS_mmap, SYS_munmap, SYS_mprotect, SYS_madvise, SYS_brk};
    return std::find(std::begin(memoryCalls), std::end(memoryCalls), call) != std::end(memoryCalls);
}

// Runs a save in a traced child and kills it at its stop-th system call stop (each call stops before and
// after). Returns true when the child was killed, false when it ended first.
bool KilledAtStop(int stop, const std::filesystem::path& path, const Session& session) {
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(77);
        raise(SIGSTOP);
        SaveSession(session, path);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status)) {
        ADD_FAILURE() << "tracing a child is not permitted here";
        return false;
    }
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD);
    uint64_t call = 0;
    for (int seen = 0; seen < stop;) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) return false;
        seen += !AtMemoryCall(child, call);
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return true;
}

TEST(SessionSave, KilledAtAnySystemCallLeavesOldOrNew) {
    const TempFolder folder;
    const auto path = folder / "a.tarn";
    const Session before = OldSession(), after = LargeSession();
    int stops = 0, oldSeen = 0, newSeen = 0;
    for (bool killed = true; killed; stops++) {
        SaveSession(before, path);
        killed = KilledAtStop(stops, path, after);
        const Session found = LoadSession(path);
        ASSERT_TRUE(found == before || found == after) << "torn at stop " << stops;
        (found == before ? oldSeen : newSeen)++;
    }
    EXPECT_GT(oldSeen, 4) << "open, write, flush, rename: each stops twice";
    EXPECT_GT(newSeen, 2) << "killed after the rename, and not killed at all";
    // What a killed save left beside does not hinder the next one.
    SaveSession(after, path);
    EXPECT_EQ(LoadSession(path), after);
}

}  // namespace
}  // namespace host
