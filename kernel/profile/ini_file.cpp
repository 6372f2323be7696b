#include "kernel/profile/ini_file.h"

#include "platform/text.h"

#include <algorithm>
#include <iterator>

namespace tarn {

namespace {
constexpr std::string_view kSpace = " \t\r\f\v";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view Trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(kSpace);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

bool SameName(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return lower(x) == lower(y); });
}
}  // namespace

IniFile::IniFile(std::string_view bytes) {
    while (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
    std::string section;
    while (!bytes.empty()) {
        const size_t end = std::min(bytes.find('\n'), bytes.size());
        std::string_view raw = bytes.substr(0, end);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
        if (raw.ends_with('\r')) raw.remove_suffix(1);
        Line line{std::string(raw), {}, {}, {}};
        const std::string_view text = Trimmed(raw);
        if (text.starts_with('[')) {
            section = Trimmed(text.substr(1, text.find(']') - 1));
        } else if (const size_t sign = text.find('=');
                   sign != text.npos && !text.starts_with(';') && !text.starts_with('#')) {
            line.key = Trimmed(text.substr(0, sign));
            line.value = Trimmed(text.substr(sign + 1));
        }
        line.section = section;
        m_lines.push_back(std::move(line));
    }
}

const std::string* IniFile::Find(std::string_view section, std::string_view key) const {
    const auto it = std::ranges::find_if(m_lines, [&](const Line& l) {
        return !l.key.empty() && SameName(l.section, section) && SameName(l.key, key);
    });
    return it == m_lines.end() ? nullptr : &it->value;
}

std::vector<std::string> IniFile::Keys(std::string_view section) const {
    std::vector<std::string> keys;
    for (const Line& line : m_lines)
        if (!line.key.empty() && SameName(line.section, section) &&
            std::ranges::none_of(keys, [&](const std::string& k) { return SameName(k, line.key); }))
            keys.push_back(line.key);
    return keys;
}

void IniFile::Set(std::string_view section, std::string_view key, std::string_view value) {
    Line line{JoinText({key, "=", value}), std::string(section), std::string(key), std::string(value)};
    const auto same = [&](const Line& l) { return SameName(l.section, section); };
    const auto old = std::ranges::find_if(
        m_lines, [&](const Line& l) { return !l.key.empty() && same(l) && SameName(l.key, key); });
    if (old != m_lines.end()) {
        *old = std::move(line);
        return;
    }
    // Behind the last line of the section that says something.
    const auto last = std::find_if(m_lines.rbegin(), m_lines.rend(),
                                   [&](const Line& l) { return same(l) && !Trimmed(l.raw).empty(); });
    if (last != m_lines.rend()) {
        m_lines.insert(last.base(), std::move(line));
        return;
    }
    if (!section.empty()) m_lines.push_back({JoinText({"[", section, "]"}), std::string(section), {}, {}});
    m_lines.insert(section.empty() ? m_lines.begin() : m_lines.end(), std::move(line));
}

std::string IniFile::Text() const {
    std::string text;
    for (const Line& line : m_lines) text.append(line.raw).append(1, '\n');
    return text;
}

}  // namespace tarn
