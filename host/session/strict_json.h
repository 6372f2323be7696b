// Reading JSON that must be exactly what is expected: every refusal names the place as a JSON pointer.
#pragma once

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace host {

/// Parses a text in which no object has a member twice, and whose depth and counts are those of a session:
/// what is beyond is refused where it begins. Throws SessionError with the byte or the pointer.
nlohmann::json ParseStrictJson(std::string_view text);

/// A value and where it stands. Every accessor throws SessionError when the value is not what the caller
/// needs. Holds a reference: the document must outlive it.
class JsonNode {
public:
    explicit JsonNode(const nlohmann::json& value, std::string place = {})
        : m_value(value), m_place(std::move(place)) {}

    [[noreturn]] void Refuse(std::string_view reason) const;

    /// The value is an object and has no members but these.
    void ExpectMembers(std::span<const std::string_view> known) const;
    void ExpectMembers(std::initializer_list<std::string_view> known) const {
        ExpectMembers(std::span(known.begin(), known.size()));
    }
    JsonNode Member(const char* name) const;
    std::optional<JsonNode> Optional(const char* name) const;

    double Number(double low, double high) const;
    int64_t Integer(int64_t low, int64_t high) const;
    bool Bool() const;
    bool IsText() const { return m_value.is_string(); }
    std::string Text(size_t maxBytes) const;
    /// The place of the text among the names.
    size_t OneOf(std::span<const char* const> names) const;

    /// Calls f(JsonNode) for each element of an array of at most maxCount.
    template <class F>
    void Each(size_t maxCount, F f) const {
        ExpectArray(maxCount);
        for (size_t i = 0; i < m_value.size(); i++)
            f(JsonNode(m_value[i], m_place + "/" + std::to_string(i)));
    }

private:
    void ExpectArray(size_t maxCount) const;

    const nlohmann::json& m_value;
    std::string m_place;
};

}  // namespace host
