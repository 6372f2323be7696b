#include "controlmap/xml_text.h"

#include "platform/file.h"
#include "platform/text.h"

#include <algorithm>
#include <charconv>

using namespace tarn;

namespace {
constexpr size_t LIMIT = size_t{16} << 20;
}  // namespace

bool XmlText::Load(const std::filesystem::path& path, std::string& error) {
    std::string bytes;
    return ReadWholeFile(path, LIMIT, bytes, error) && Parse(bytes, path.string(), error);
}

bool XmlText::Parse(std::string_view bytes, const std::string& name, std::string& error) {
    m_bytes = bytes;
    m_name = name;
    const pugi::xml_parse_result result =
        m_document.load_buffer(m_bytes.data(), m_bytes.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!result) {
        error = AtOffset(result.offset, result.description());
        return false;
    }
    if (Root()) return true;
    error = JoinText({m_name, ":1: no element"});
    return false;
}

std::string XmlText::At(const pugi::xml_node& node, const std::string& reason) const {
    return AtOffset(node.offset_debug(), reason);
}

std::string XmlText::AtOffset(ptrdiff_t offset, const std::string& reason) const {
    const auto end =
        m_bytes.begin() + std::clamp<ptrdiff_t>(offset, 0, static_cast<ptrdiff_t>(m_bytes.size()));
    const auto line = std::count(m_bytes.begin(), end, '\n') + 1;
    return JoinText({m_name, ":", std::to_string(line), ": ", reason});
}

std::optional<int64_t> LeadingNumber(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == text.npos) return 0;
    text.remove_prefix(first);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    if (hex) text.remove_prefix(2);
    uint64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value, hex ? 16 : 10);
    if (result.ec == std::errc::result_out_of_range || value > INT64_MAX) return {};
    return negative ? -static_cast<int64_t>(value) : static_cast<int64_t>(value);
}
