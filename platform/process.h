// Another program: run to its end, or spoken with while it works. Programs are found along PATH, their
// arguments are taken as they stand (no shell looks at them), and what they write to their outputs comes as
// one.
#pragma once

#include "platform/types.h"

#include <chrono>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

/// Runs arguments[0]. It has no input. Waits for its end; true when that was status 0, else `error` names the
/// program, how it ended, and the last line it wrote. [worker]
[[nodiscard]] QM_API bool RunProgram(const std::vector<std::string>& arguments, std::string& error);

/// A program at work; ended with the object. One thread at a time but for Kill.
class QM_API ChildProcess {
public:
    enum class Answer { Line, Nothing, End };

    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Once. `input` is all that the program can read.
    [[nodiscard]] bool Start(const std::vector<std::string>& arguments, std::string_view input,
                             std::string& error);
    /// The next line of its outputs, without the end of line; of one beyond a megabyte the end. Nothing when
    /// none came in that time, End when no more can come.
    Answer ReadLine(std::string& line, std::chrono::milliseconds limit);
    void Kill();  ///< [any-thread]
    /// Waits for its end and tells how that was, "ended with status 1"; empty for status 0.
    std::string Wait();

private:
    std::string m_pending;
    int m_output = -1;
    std::mutex m_guard;  ///< of the number, which may be another process's once its end was taken note of
    int m_pid = 0;
};

}  // namespace tarn
