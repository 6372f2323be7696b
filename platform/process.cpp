#include "platform/process.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tarn {

namespace {
std::string Reason(int code) { return std::generic_category().message(code); }

std::string HowItEnded(int status) {
    if (WIFSIGNALED(status)) return "was ended by signal " + std::to_string(WTERMSIG(status));
    return WEXITSTATUS(status) == 0 ? "" : "ended with status " + std::to_string(WEXITSTATUS(status));
}

/// A file in memory, from its start; -1 with errno.
int FileOf(std::string_view content) {
    const int fd = ::memfd_create("input", MFD_CLOEXEC);
    while (fd >= 0 && !content.empty()) {
        const ssize_t n = ::write(fd, content.data(), content.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            const int code = errno;
            ::close(fd);
            errno = code;
            return -1;
        }
        content.remove_prefix(static_cast<size_t>(n));
    }
    if (fd >= 0) ::lseek(fd, 0, SEEK_SET);
    return fd;
}
}  // namespace

bool ChildProcess::Start(const std::vector<std::string>& arguments, std::string_view input,
                         std::string& error) {
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);

    int ends[2] = {-1, -1};
    const int content = FileOf(input);
    int code = content < 0 || ::pipe2(ends, O_CLOEXEC) != 0 ? errno : 0;
    if (code == 0) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, content, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
        code = posix_spawnp(&m_pid, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        m_output = ends[0];
    }
    if (content >= 0) ::close(content);
    if (code == 0) return true;
    m_pid = 0;
    error = "cannot run " + arguments.at(0) + ": " + Reason(code);
    return false;
}

ChildProcess::Answer ChildProcess::ReadLine(std::string& line, std::chrono::milliseconds limit) {
    constexpr size_t kLongest = size_t{1} << 20;
    const auto until = std::chrono::steady_clock::now() + limit;
    for (size_t looked = 0;;) {
        if (const size_t end = m_pending.find('\n', looked); end != std::string::npos) {
            line.assign(m_pending, 0, end);
            m_pending.erase(0, end + 1);
            return Answer::Line;
        }
        if (m_pending.size() > 2 * kLongest) m_pending.erase(0, m_pending.size() - kLongest);
        looked = m_pending.size();

        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        pollfd output{m_output, POLLIN, 0};
        const int ready = ::poll(&output, 1, static_cast<int>(std::clamp<int64_t>(left.count(), 0, INT_MAX)));
        if (ready < 0 && errno == EINTR) continue;
        if (ready == 0) return Answer::Nothing;
        char block[4096];
        const ssize_t n = ready < 0 ? 0 : ::read(m_output, block, sizeof(block));
        if (n < 0 && errno == EINTR) continue;
        if (n > 0) {
            m_pending.append(block, static_cast<size_t>(n));
            continue;
        }
        // A last line need not have an end.
        line = std::exchange(m_pending, {});
        return line.empty() ? Answer::End : Answer::Line;
    }
}

void ChildProcess::Kill() {
    const std::lock_guard lock(m_guard);
    if (m_pid > 0) ::kill(m_pid, SIGKILL);
}

std::string ChildProcess::Wait() {
    siginfo_t ended{};
    // It stays a process until its end is taken note of below, so that Kill hits no other.
    while (m_pid > 0 && ::waitid(P_PID, static_cast<id_t>(m_pid), &ended, WEXITED | WNOWAIT) < 0 &&
           errno == EINTR) {
    }
    const std::lock_guard lock(m_guard);
    int status = 0;
    if (m_pid > 0) ::waitpid(m_pid, &status, 0);
    m_pid = 0;
    return HowItEnded(status);
}

ChildProcess::~ChildProcess() {
    Kill();
    Wait();
    if (m_output >= 0) ::close(m_output);
}

bool RunProgram(const std::vector<std::string>& arguments, std::string& error) {
    ChildProcess child;
    if (!child.Start(arguments, {}, error)) return false;
    std::string line, last;
    while (child.ReadLine(line, std::chrono::hours(1)) != ChildProcess::Answer::End)
        if (const size_t end = line.find_last_not_of("\r\n \t"); end != std::string::npos)
            last.assign(line, 0, end + 1);
    const std::string end = child.Wait();
    if (end.empty()) return true;
    error = arguments.at(0) + " " + end;
    if (!last.empty()) error += ": " + last;
    return false;
}

}  // namespace tarn
