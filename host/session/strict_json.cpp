#include "host/session/strict_json.h"

#include "host/session/session.h"

#include <algorithm>
#include <set>

namespace host {

using nlohmann::json;

namespace {

// A reference token of RFC 6901.
std::string PointerToken(std::string_view name) {
    std::string token;
    for (char c : name) {
        if (c == '~')
            token += "~0";
        else if (c == '/')
            token += "~1";
        else
            token += c;
    }
    return token;
}

// Watches the parser for members that come twice; a document tree would silently keep the last of them.
class DuplicateWatch {
public:
    bool operator()(int, json::parse_event_t event, json& parsed) {
        switch (event) {
        case json::parse_event_t::object_start: m_open.push_back({}); break;
        case json::parse_event_t::array_start: m_open.push_back({.is_array = true}); break;
        case json::parse_event_t::object_end:
        case json::parse_event_t::array_end:
            m_open.pop_back();
            CountElement();
            break;
        case json::parse_event_t::value: CountElement(); break;
        case json::parse_event_t::key:
            m_open.back().current = parsed.get_ref<const std::string&>();
            if (!m_open.back().members.insert(m_open.back().current).second)
                throw SessionError({}, Place(), "this member is given twice");
            break;
        }
        return true;
    }

private:
    struct Level {
        bool is_array = false;
        size_t index = 0;
        std::string current{};
        std::set<std::string> members{};
    };

    void CountElement() {
        if (!m_open.empty() && m_open.back().is_array) m_open.back().index++;
    }

    std::string Place() const {
        std::string place;
        for (const Level& level : m_open)
            place += "/" + (level.is_array ? std::to_string(level.index) : PointerToken(level.current));
        return place;
    }

    std::vector<Level> m_open;
};

}  // namespace

json ParseStrictJson(std::string_view text) {
    try {
        return json::parse(text.begin(), text.end(), DuplicateWatch());
    } catch (const json::parse_error& e) {
        throw SessionError({}, "byte " + std::to_string(e.byte), "not JSON");
    } catch (const json::exception&) {
        throw SessionError({}, {}, "not JSON: a number is out of range");
    }
}

void JsonNode::Refuse(std::string_view reason) const {
    throw SessionError({}, m_place.empty() ? "/" : m_place, reason);
}

void JsonNode::ExpectMembers(std::initializer_list<std::string_view> known) const {
    if (!m_value.is_object()) Refuse("must be an object");
    for (const auto& [name, value] : m_value.items())
        if (std::find(known.begin(), known.end(), name) == known.end())
            JsonNode(value, m_place + "/" + PointerToken(name)).Refuse("no such member");
}

JsonNode JsonNode::Member(const char* name) const {
    if (auto node = Optional(name)) return *node;
    Refuse(std::string("lacks \"") + name + "\"");
}

std::optional<JsonNode> JsonNode::Optional(const char* name) const {
    if (!m_value.is_object()) Refuse("must be an object");
    auto it = m_value.find(name);
    if (it == m_value.end()) return std::nullopt;
    return JsonNode(*it, m_place + "/" + name);
}

double JsonNode::Number(double low, double high) const {
    if (!m_value.is_number()) Refuse("must be a number");
    const double v = m_value.get<double>();
    if (!(v >= low && v <= high)) Refuse("must lie in " + json(low).dump() + " to " + json(high).dump());
    return v;
}

int64_t JsonNode::Integer(int64_t low, int64_t high) const {
    const bool fits =
        m_value.is_number_integer() &&
        !(m_value.is_number_unsigned() && m_value.get<uint64_t>() > static_cast<uint64_t>(INT64_MAX));
    if (!fits || m_value.get<int64_t>() < low || m_value.get<int64_t>() > high)
        Refuse("must be a whole number in " + std::to_string(low) + " to " + std::to_string(high));
    return m_value.get<int64_t>();
}

bool JsonNode::Bool() const {
    if (!m_value.is_boolean()) Refuse("must be true or false");
    return m_value.get<bool>();
}

std::string JsonNode::Text(size_t maxBytes) const {
    if (!m_value.is_string()) Refuse("must be a text");
    auto text = m_value.get<std::string>();
    if (text.size() > maxBytes) Refuse("is longer than " + std::to_string(maxBytes) + " bytes");
    if (text.find('\0') != std::string::npos) Refuse("holds a character 0");
    return text;
}

void JsonNode::ExpectArray(size_t maxCount) const {
    if (!m_value.is_array()) Refuse("must be an array");
    if (m_value.size() > maxCount) Refuse("has more than " + std::to_string(maxCount) + " elements");
}

}  // namespace host
