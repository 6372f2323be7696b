#include "platform/process.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tarn {

namespace {
std::string Reason(int code) { return std::generic_category().message(code); }

/// Reads until all writers have closed. Keeps the end of what comes.
std::string ReadTail(int fd) {
    constexpr size_t kKept = 4096;
    std::string tail;
    char block[4096];
    for (;;) {
        const ssize_t n = ::read(fd, block, sizeof(block));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return tail;
        tail.append(block, static_cast<size_t>(n));
        if (tail.size() > kKept) tail.erase(0, tail.size() - kKept);
    }
}

std::string LastLine(const std::string& text) {
    const size_t end = text.find_last_not_of("\r\n \t");
    if (end == std::string::npos) return {};
    const size_t before = text.find_last_of('\n', end);
    return text.substr(before + 1, end - before);  // npos + 1 is the start
}

std::string HowItEnded(int status) {
    if (WIFSIGNALED(status)) return "was ended by signal " + std::to_string(WTERMSIG(status));
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}
}  // namespace

bool RunProgram(const std::vector<std::string>& arguments, std::string& error) {
    const std::string& program = arguments.at(0);
    std::vector<char*> argv;
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        error = "cannot run " + program + ": " + Reason(errno);
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    pid_t pid = 0;
    const int code = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    const std::string tail = ReadTail(ends[0]);
    ::close(ends[0]);
    if (code != 0) {
        error = "cannot run " + program + ": " + Reason(code);
        return false;
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
    error = program + " " + HowItEnded(status);
    if (const std::string line = LastLine(tail); !line.empty()) error += ": " + line;
    return false;
}

}  // namespace tarn
