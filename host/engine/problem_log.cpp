#include "host/engine/problem_log.h"

namespace host {

void ProblemLog::Report(const std::string& line) {
    const std::lock_guard lock(m_mutex);
    if (m_seen.insert(line).second) m_lines.push_back(line);
}

std::vector<std::string> ProblemLog::Lines() const {
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

void ProblemLog::Clear() {
    const std::lock_guard lock(m_mutex);
    m_seen.clear();
    m_lines.clear();
}

}  // namespace host
