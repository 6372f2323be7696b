// What the engine could not do and carried on without, for a person to read.
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace host {

class ProblemLog {
public:
    /// One line. The same line is kept once until the next Clear. [any-thread but audio]
    void Report(const std::string& line);
    std::vector<std::string> Lines() const;  ///< in the order of their first report [any-thread but audio]
    void Clear();                            ///< [any-thread but audio]

private:
    mutable std::mutex m_mutex;
    std::set<std::string> m_seen;
    std::vector<std::string> m_lines;
};

}  // namespace host
