// A program run by the shell, with all that it says.
#pragma once

#include <array>
#include <cstdio>
#include <string>

#include <sys/wait.h>

struct Outcome {
    int code;  ///< -1 when it was ended by a signal
    std::string text;
};

inline Outcome RunShell(const std::string& command) {
    std::FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    std::string text;
    std::array<char, 256> line;
    while (std::fgets(line.data(), line.size(), pipe)) text += line.data();
    const int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
}
