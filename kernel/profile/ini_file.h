// A text file of named values under headings in brackets: `[section]`, then lines `key=value`. Comments
// (lines that begin with ';' or '#'), unknown lines and their order are kept when a value is changed. Names
// are compared without case. UTF-8. [any-thread]
#pragma once

#include "platform/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace tarn {

class IniFile {
public:
    IniFile() = default;
    /// Any bytes are a file: a line that is no heading and no value is kept, and found by no name.
    QM_API explicit IniFile(std::string_view bytes);

    /// Null when there is no such value. Spaces around it do not count. Lives until the next Set.
    QM_API const std::string* Find(std::string_view section, std::string_view key) const;
    /// Of a section, in their order; each once.
    QM_API std::vector<std::string> Keys(std::string_view section) const;
    QM_API void Set(std::string_view section, std::string_view key, std::string_view value);
    QM_API std::string Text() const;

private:
    struct Line {
        std::string raw;      // as it stands in the file
        std::string section;  // that it stands under
        std::string key, value;
    };
    std::vector<Line> m_lines;
};

}  // namespace tarn
