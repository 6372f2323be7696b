#include "host/session/strict_json.h"

#include "host/session/session.h"

#include <algorithm>
#include <vector>

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

// Far above what a session needs, and low enough that no file costs more than a second and some hundred MB.
constexpr size_t kMaxDepth = 8, kMaxMembers = 32, kMaxElements = kMaxClips, kMaxValues = 2'000'000;

// Builds the tree while the text is read, so that what is too much is refused before it is held. A member
// that comes twice is refused as well, where the library would silently keep the last one.
class TreeBuilder final : public nlohmann::json_sax<json> {
public:
    // NOLINTNEXTLINE(bugprone-exception-escape): null, which the tree is at first, is not allocated
    TreeBuilder() = default;
    TreeBuilder(const TreeBuilder&) = delete;  // levels point into the tree
    TreeBuilder& operator=(const TreeBuilder&) = delete;

    json Take() { return std::move(m_root); }

    bool null() override { return Put(nullptr); }
    bool boolean(bool value) override { return Put(value); }
    bool number_integer(number_integer_t value) override { return Put(value); }
    bool number_unsigned(number_unsigned_t value) override { return Put(value); }
    bool number_float(number_float_t value, const string_t&) override { return Put(value); }
    bool string(string_t& value) override { return Put(std::move(value)); }
    bool binary(binary_t&) override { return false; }  // no JSON text has any
    bool start_object(size_t) override { return Open(json::object()); }
    bool start_array(size_t) override { return Open(json::array()); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(string_t& name) override {
        Level& level = m_open.back();
        const auto [member, isNew] = level.value->emplace(name, nullptr);
        level.current = &*member;
        level.name = std::move(name);
        if (!isNew) Refuse("this member is given twice");
        if (level.value->size() > kMaxMembers) Refuse("too many members");
        return true;
    }

    bool parse_error(size_t, const std::string&, const json::exception& e) override {
        if (const auto* at = dynamic_cast<const json::parse_error*>(&e))
            throw SessionError({}, "byte " + std::to_string(at->byte), "not JSON");
        throw SessionError({}, {}, "not JSON: a number is out of range");
    }

private:
    struct Level {
        json* value;
        json* current = nullptr;  ///< of an object: the member whose value comes next
        std::string name{};       ///< of that member
    };

    [[noreturn]] void Refuse(std::string_view reason) const {
        std::string place;
        for (const Level& level : m_open)
            place.append(1, '/').append(level.value->is_array() ? std::to_string(level.value->size() - 1)
                                                                : PointerToken(level.name));
        throw SessionError({}, place, reason);
    }

    /// Where the value stands from now on.
    json& Place(json value) {
        if (++m_values > kMaxValues) Refuse("too many values in one file");
        if (m_open.empty()) return m_root = std::move(value);
        Level& level = m_open.back();
        if (!level.value->is_array()) return *level.current = std::move(value);
        level.value->push_back(std::move(value));
        if (level.value->size() > kMaxElements) Refuse("too many elements");
        return level.value->back();
    }
    bool Put(json value) {
        Place(std::move(value));
        return true;
    }
    bool Open(json container) {
        json& value = Place(std::move(container));
        if (m_open.size() == kMaxDepth) Refuse("too deep");
        m_open.push_back({.value = &value});
        return true;
    }
    bool Close() {
        m_open.pop_back();
        return true;
    }

    json m_root;
    std::vector<Level> m_open;
    size_t m_values = 0;
};

}  // namespace

json ParseStrictJson(std::string_view text) {
    TreeBuilder builder;
    json::sax_parse(text.begin(), text.end(), &builder);
    return builder.Take();
}

void JsonNode::Refuse(std::string_view reason) const {
    throw SessionError({}, m_place.empty() ? "/" : m_place, reason);
}

void JsonNode::ExpectMembers(std::span<const std::string_view> known) const {
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
        Refuse("must be an integer in " + std::to_string(low) + " to " + std::to_string(high));
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

size_t JsonNode::OneOf(std::span<const char* const> names) const {
    const std::string text = Text(kMaxTextBytes);
    std::string all;
    for (size_t i = 0; i < names.size(); i++) {
        if (text == names[i]) return i;
        all += (i == 0 ? "" : i + 1 < names.size() ? ", " : " or ") + std::string(names[i]);
    }
    Refuse("must be " + all);
}

void JsonNode::ExpectArray(size_t maxCount) const {
    if (!m_value.is_array()) Refuse("must be an array");
    if (m_value.size() > maxCount) Refuse("has more than " + std::to_string(maxCount) + " elements");
}

}  // namespace host
