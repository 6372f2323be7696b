// Records as JSON objects: each lists its members once, in Fields<Record>::Visit, and is read and written by
// that list. What stands before Since(2) is written always, what stands behind it where it differs from a new
// record.
#pragma once

#include "host/session/session.h"
#include "host/session/strict_json.h"

#include <span>
#include <string_view>
#include <utility>

namespace host {

template <class Record>
struct Fields;

enum class Presence : bool { Optional, Required };

/// Fills a record from an object and refuses members that the record does not have.
template <class Record>
class FieldReader {
public:
    static Record Read(const JsonNode& node, int version) {
        FieldReader reader(node, version);
        Fields<Record>::Visit(reader);
        node.ExpectMembers(reader.m_known);
        return std::move(reader.m_record);
    }

    void Since(int version) { m_listening = m_version >= version; }

    void Number(const char* name, double Record::*member, double low, double high,
                Presence presence = Presence::Optional) {
        With(name, presence, [&](const JsonNode& n) { m_record.*member = n.Number(low, high); });
    }
    void Number(const char* name, std::optional<double> Record::*member, double low, double high) {
        With(name, Presence::Optional, [&](const JsonNode& n) { m_record.*member = n.Number(low, high); });
    }
    template <class Integral>
    void Integer(const char* name, Integral Record::*member, int64_t low, int64_t high,
                 Presence presence = Presence::Optional) {
        With(name, presence,
             [&](const JsonNode& n) { m_record.*member = static_cast<Integral>(n.Integer(low, high)); });
    }
    void Flag(const char* name, bool Record::*member) {
        With(name, Presence::Optional, [&](const JsonNode& n) { m_record.*member = n.Bool(); });
    }
    void Text(const char* name, std::string Record::*member, size_t maxBytes,
              Presence presence = Presence::Optional) {
        With(name, presence, [&](const JsonNode& n) { m_record.*member = n.Text(maxBytes); });
    }
    /// One of the names, by its place among them.
    template <class Enum>
    void Choice(const char* name, Enum Record::*member, std::span<const char* const> names,
                Presence presence = Presence::Optional) {
        With(name, presence,
             [&](const JsonNode& n) { m_record.*member = static_cast<Enum>(n.OneOf(names)); });
    }
    template <class Item>
    void Object(const char* name, Item Record::*member) {
        With(name, Presence::Optional,
             [&](const JsonNode& n) { m_record.*member = FieldReader<Item>::Read(n, m_version); });
    }
    template <class Item>
    void Object(const char* name, std::optional<Item> Record::*member) {
        With(name, Presence::Optional,
             [&](const JsonNode& n) { m_record.*member = FieldReader<Item>::Read(n, m_version); });
    }
    template <class Item>
    void List(const char* name, std::vector<Item> Record::*member, size_t maxCount) {
        With(name, Presence::Optional, [&](const JsonNode& n) {
            n.Each(maxCount, [&](const JsonNode& item) {
                (m_record.*member).push_back(FieldReader<Item>::Read(item, m_version));
            });
        });
    }
    /// [[seconds, value], ...]
    void Points(const char* name, std::vector<AutomationPoint> Record::*member) {
        With(name, Presence::Required, [&](const JsonNode& n) {
            n.Each(kMaxPoints, [&](const JsonNode& pair) {
                double both[2] = {};
                size_t count = 0;
                pair.Each(2, [&](const JsonNode& v) { both[count++] = v.Number(-kMaxValue, kMaxValue); });
                if (count != 2) pair.Refuse("must have a time and a value");
                (m_record.*member).push_back({both[0], both[1]});
            });
        });
    }

private:
    static constexpr double kMaxValue = 1e30;

    FieldReader(const JsonNode& node, int version) : m_node(node), m_version(version) {}

    template <class Take>
    void With(const char* name, Presence presence, Take take) {
        if (!m_listening) return;
        m_known.emplace_back(name);
        if (presence == Presence::Required)
            take(m_node.Member(name));
        else if (auto n = m_node.Optional(name))
            take(*n);
    }

    const JsonNode& m_node;
    const int m_version;
    bool m_listening = true;
    Record m_record{};
    std::vector<std::string_view> m_known;
};

template <class Record>
class FieldWriter {
public:
    static nlohmann::ordered_json Write(const Record& record) {
        FieldWriter writer(record);
        Fields<Record>::Visit(writer);
        return std::move(writer.m_out);
    }

    void Since(int) { m_always = false; }

    void Number(const char* name, double Record::*member, double, double, Presence = {}) {
        Put(name, member);
    }
    void Number(const char* name, std::optional<double> Record::*member, double, double) {
        if (m_record.*member) m_out[name] = *(m_record.*member);
    }
    template <class Integral>
    void Integer(const char* name, Integral Record::*member, int64_t low, int64_t, Presence = {}) {
        // An id that may be missing is 0 then, which is below what may be written.
        if (static_cast<int64_t>(m_record.*member) >= low) Put(name, member);
    }
    void Flag(const char* name, bool Record::*member) { Put(name, member); }
    void Text(const char* name, std::string Record::*member, size_t, Presence = {}) { Put(name, member); }
    template <class Enum>
    void Choice(const char* name, Enum Record::*member, std::span<const char* const> names, Presence = {}) {
        if (m_always || m_record.*member != m_new.*member)
            m_out[name] = names[static_cast<size_t>(m_record.*member)];
    }
    template <class Item>
    void Object(const char* name, Item Record::*member) {
        if (m_always || m_record.*member != m_new.*member)
            m_out[name] = FieldWriter<Item>::Write(m_record.*member);
    }
    template <class Item>
    void Object(const char* name, std::optional<Item> Record::*member) {
        if (m_record.*member) m_out[name] = FieldWriter<Item>::Write(*(m_record.*member));
    }
    template <class Item>
    void List(const char* name, std::vector<Item> Record::*member, size_t) {
        if ((m_record.*member).empty()) return;
        nlohmann::ordered_json& items = m_out[name] = nlohmann::ordered_json::array();
        for (const Item& item : m_record.*member) items.push_back(FieldWriter<Item>::Write(item));
    }
    void Points(const char* name, std::vector<AutomationPoint> Record::*member) {
        nlohmann::ordered_json& pairs = m_out[name] = nlohmann::ordered_json::array();
        for (const AutomationPoint& p : m_record.*member) pairs.push_back({p.seconds, p.value});
    }

private:
    explicit FieldWriter(const Record& record) : m_record(record) {}

    template <class Value>
    void Put(const char* name, Value Record::*member) {
        if (m_always || m_record.*member != m_new.*member) m_out[name] = m_record.*member;
    }

    const Record& m_record;
    const Record m_new{};
    bool m_always = true;
    nlohmann::ordered_json m_out = nlohmann::ordered_json::object();
};

}  // namespace host
