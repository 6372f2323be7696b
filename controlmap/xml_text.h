// XML files read whole, with errors that name file and line.
#pragma once

#include <pugixml.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

class XmlText {
public:
    /// On failure `error` has file, line and reason.
    bool Load(const std::filesystem::path& path, std::string& error);
    bool Parse(std::string_view bytes, const std::string& name, std::string& error);

    pugi::xml_node Root() const { return m_document.document_element(); }
    /// "FILE:LINE: REASON" about a node.
    std::string At(const pugi::xml_node& node, const std::string& reason) const;

private:
    std::string AtOffset(ptrdiff_t offset, const std::string& reason) const;

    pugi::xml_document m_document;
    std::string m_bytes, m_name;
};

/// The integer that a text begins with, decimal or hexadecimal behind "0x"; 0 for a text without one.
/// Nothing beyond 64 bits.
std::optional<int64_t> LeadingNumber(std::string_view text);
