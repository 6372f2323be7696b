#include "controlmap/xml_function_map.h"

#include "controlmap/function_names.h"
#include "controlmap/xml_text.h"
#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/memory.h"
#include "platform/text.h"

#include <cstring>
#include <iterator>
#include <new>
#include <sstream>
#include <stdexcept>

using namespace tarn;

namespace {
/// A file that says what can't be.
struct BadTable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Reader {
public:
    Reader(const XmlText& xml, const FunctionNames& names) : m_xml(xml), m_names(names) {}

    TABLEHEADER Header() const {
        const pugi::xml_node root = m_xml.Root();
        if (std::string_view(root.name()) != "functiontable")
            Refuse(root, JoinText({"the root is \"", root.name(), "\", not \"functiontable\""}));
        return {Attribute(root, "ver"), root.attribute("device").value(), root.attribute("name").value(),
                Attribute(root, "channels"), Attribute(root, "tables")};
    }

    void Tables(const TABLEHEADER& header, FUNCTIONMAPENTRY& entry) const {
        const pugi::xml_node root = m_xml.Root();
        const auto maps = root.children("functionmap");
        RefuseMissing(root, "tables", header.tables, std::distance(maps.begin(), maps.end()));
        entry.tables = NewFunctionTables(header.tables);
        if (!entry.tables) throw std::bad_alloc();
        for (uint32_t index = 0; index < header.tables; index++) {
            const pugi::xml_node map =
                root.find_child_by_attribute("functionmap", "index", std::to_string(index).c_str());
            if (!map) Refuse(root, JoinText({"there is no functionmap with index ", std::to_string(index)}));
            Table(map.child("map"), entry.tables[index]);
            entry.tables[index].id = index + 1;
        }
    }

private:
    [[noreturn]] void Refuse(const pugi::xml_node& node, const std::string& reason) const {
        throw BadTable(m_xml.At(node, reason));
    }

    void RefuseMissing(const pugi::xml_node& node, const char* what, uint32_t said, ptrdiff_t there) const {
        if (said > there)
            Refuse(node, JoinText({what, " says ", std::to_string(said), ", but ", std::to_string(there),
                                   there == 1 ? " is there" : " are there"}));
    }

    int64_t Number(const pugi::xml_node& node, const char* text, int64_t least, int64_t most) const {
        const auto value = LeadingNumber(text);
        if (!value || *value < least || *value > most)
            Refuse(node, JoinText({"\"", text, "\" is not from ", std::to_string(least), " to ",
                                   std::to_string(most)}));
        return *value;
    }

    uint32_t Attribute(const pugi::xml_node& node, const char* name) const {
        return static_cast<uint32_t>(Number(node, node.attribute(name).value(), 0, UINT32_MAX));
    }

    /// An element's number; `absent` when there is no such element.
    int64_t Child(const pugi::xml_node& node, const char* name, int64_t absent, int64_t least,
                  int64_t most) const {
        const pugi::xml_node child = node.child(name);
        return child ? Number(child, child.child_value(), least, most) : absent;
    }

    void Table(const pugi::xml_node& map, FUNCTIONTABLE& table) const {
        const uint32_t count = Attribute(map, "maps");
        const auto functions = map.children("function");
        RefuseMissing(map, "maps", count, std::distance(functions.begin(), functions.end()));
        table.rows = NewFunctionRows(count);
        if (!table.rows) throw std::bad_alloc();
        table.ownsRows = 1;
        table.id = 1;  // so that it is freed when a row is refused
        CopyText(table.name, FUNCTION_NAME_SIZE, Utf16FromUtf8(map.attribute("name").value()).c_str());
        uint32_t read = 0;
        for (const pugi::xml_node function : functions) {
            if (read == count) break;
            Row(function, table.rows[read]);
            // A row without a command would end the array before its time.
            if (table.rows[read].commandType == ECMDTYPE_NULL)
                ClearFunctionRow(table.rows[read]), table.rows[read] = {};
            else
                read++;
        }
    }

    uint32_t Named(const pugi::xml_node& node, const char* child, std::span<const NamedValue> names) const {
        return ValueOfName(names, node.child_value(child)).value_or(0);
    }

    void Row(const pugi::xml_node& node, MPFUNCTIONMAP& row) const {
        row.commandType = Named(node, "CommandType", CommandTypeNames());
        row.first = row.second = EmptyEvent();
        for (const pugi::xml_node flag : node.child("flags").children("flag"))
            row.flags |= ValueOfName(FunctionFlagNames(), flag.child_value()).value_or(0);
        row.group = Named(node, "ControlGroup", ControlGroupNames());
        row.function = m_names.FunctionNumber(row.group, node.child_value("Function"));
        row.channel = static_cast<int32_t>(Child(node, "Channel", 0, INT32_MIN, INT32_MAX));
        row.index = static_cast<uint32_t>(Child(node, "Index", 0, INT32_MIN, UINT32_MAX)) & 0xFF;
        if (row.flags & EFUNCFLAG_HOSTFUNCTION) {
            HostFunction(node, row);
        } else {
            row.minValue = static_cast<int32_t>(Child(node, "MinValue", 0, INT32_MIN, INT32_MAX));
            row.maxValue = static_cast<int32_t>(Child(node, "MaxValue", 0, INT32_MIN, INT32_MAX));
        }
        MPEVENTREC* const events[] = {&row.first, &row.second};
        size_t read = 0;
        for (const pugi::xml_node event : node.children("mpevent"))
            if (read < std::size(events)) Event(event, *events[read++]);
    }

    // By name; a number stands for a function that the host has no name of.
    void HostFunction(const pugi::xml_node& node, MPFUNCTIONMAP& row) const {
        const uint32_t family = m_names.HostFamilyNumber(node.child_value("FunctionGroup"));
        const char* name = node.child_value("HostFunction");
        uint32_t function = m_names.HostFunctionNumber(family, name);
        if (function == 0)
            function = static_cast<uint32_t>(Child(node, "HostFunction", 0, INT32_MIN, UINT32_MAX));
        row.minValue = static_cast<int32_t>(family);
        row.maxValue = static_cast<int32_t>(function);
    }

    void Event(const pugi::xml_node& node, MPEVENTREC& event) const {
        const uint32_t type = ValueOfName(EventTypeNames(), node.child_value("eventype")).value_or(MPNULL);
        // A program change is written, but was never read.
        event.type = type == MPPROG_CHNG ? MPNULL : type;
        const int64_t channel = Child(node, "channel", -1, INT32_MIN, UINT32_MAX);
        const auto any = static_cast<uint32_t>(channel) == MIDI_CHANNEL_ANY;
        event.channel = any ? MIDI_CHANNEL_ANY : static_cast<uint32_t>(channel) & 0xFF;
        if (event.type == MPSYS_EX1) return SystemExclusive(node.child("sysexbytes"), event);
        uint8_t* const bytes[] = {&event.byte1, &event.byte2, &event.byte3, &event.byte4};
        constexpr const char* NAMES[] = {"byte1", "byte2", "byte3", "byte4"};
        for (size_t i = 0; i < std::size(bytes); i++)
            *bytes[i] = static_cast<uint8_t>(Child(node, NAMES[i], 0, 0, 255));
    }

    void SystemExclusive(const pugi::xml_node& node, MPEVENTREC& event) const {
        std::string bytes;
        for (const pugi::xml_node part : node.children("sysex")) {
            std::istringstream words(part.child_value());
            for (std::string word; words >> word;)
                bytes += static_cast<char>(Number(part, word.c_str(), 0, 255));
        }
        if (node.attribute("length").as_ullong() != bytes.size())
            Refuse(node, JoinText({"length says ", node.attribute("length").value(), ", but ",
                                   std::to_string(bytes.size()), " bytes are there"}));
        if (bytes.empty()) return;
        event.data = CoTaskMemAlloc(bytes.size());
        if (!event.data) throw std::bad_alloc();
        event.dataSize = static_cast<uint32_t>(bytes.size());
        std::memcpy(event.data, bytes.data(), bytes.size());
    }

    const XmlText& m_xml;
    const FunctionNames& m_names;
};

class Writer {
public:
    explicit Writer(const FunctionNames& names) : m_names(names) {}

    void Document(pugi::xml_document& document, const FUNCTIONMAPENTRY& entry, std::string_view device,
                  uint32_t version) const {
        pugi::xml_node declaration = document.append_child(pugi::node_declaration);
        declaration.append_attribute("version") = "1.0";
        declaration.append_attribute("encoding") = "UTF-8";
        pugi::xml_node root = document.append_child("functiontable");
        root.append_attribute("ver") = version;
        root.append_attribute("device") = std::string(device).c_str();
        root.append_attribute("name") = Utf8FromUtf16(entry.name).c_str();
        root.append_attribute("channels") = entry.channels;
        pugi::xml_attribute tables = root.append_attribute("tables");
        uint32_t count = 0;
        for (const FUNCTIONTABLE* table = entry.tables; table && table->id != 0; table++)
            Table(root, *table, count++);
        tables = count;
    }

private:
    static pugi::xml_node Element(pugi::xml_node parent, const char* name, std::string_view text) {
        pugi::xml_node node = parent.append_child(name);
        node.text() = std::string(text).c_str();
        return node;
    }
    static void Element(pugi::xml_node parent, const char* name, int32_t number) {
        Element(parent, name, std::to_string(number));
    }

    void Table(pugi::xml_node root, const FUNCTIONTABLE& table, uint32_t index) const {
        pugi::xml_node functions = root.append_child("functionmap");
        functions.append_attribute("index") = index;
        pugi::xml_node map = functions.append_child("map");
        map.append_attribute("name") = Utf8FromUtf16(table.name).c_str();
        map.append_attribute("maps") = static_cast<uint32_t>(CountFunctionRows(table.rows));
        for (const MPFUNCTIONMAP* row = table.rows; row && row->commandType != ECMDTYPE_NULL; row++)
            Row(map.append_child("function"), *row);
    }

    void Row(pugi::xml_node node, const MPFUNCTIONMAP& row) const {
        Element(node, "CommandType", NameOfValue(CommandTypeNames(), row.commandType));
        pugi::xml_node flags = node.append_child("flags");
        for (const NamedValue& flag : FunctionFlagNames())
            if (row.flags & flag.value) Element(flags, "flag", flag.name);
        if (!flags.first_child()) Element(flags, "flag", "EFUNCFLAG_NONE");
        Element(node, "ControlGroup", NameOfValue(ControlGroupNames(), row.group));
        Element(node, "Function", m_names.FunctionName(row.group, row.function));
        Element(node, "Channel", row.channel);
        Element(node, "Index", static_cast<int32_t>(row.index & 0xFF));
        if (row.flags & EFUNCFLAG_HOSTFUNCTION) {
            const auto family = static_cast<uint32_t>(row.minValue),
                       function = static_cast<uint32_t>(row.maxValue);
            const std::string familyName = m_names.HostFamilyName(family);
            const std::string functionName = m_names.HostFunctionName(family, function);
            Element(node, "FunctionGroup", familyName.empty() ? "MPCFUNCGRP_NULL" : familyName);
            Element(node, "HostFunction", functionName.empty() ? std::to_string(row.maxValue) : functionName);
        } else {
            Element(node, "MinValue", row.minValue);
            Element(node, "MaxValue", row.maxValue);
        }
        Event(node.append_child("mpevent"), row.first);
        if (row.second.type != MPNULL) Event(node.append_child("mpevent"), row.second);
    }

    static void Event(pugi::xml_node node, const MPEVENTREC& event) {
        uint32_t lowest = MPNULL;
        for (const NamedValue& type : EventTypeNames())
            if (event.type & type.value) {
                lowest = type.value;
                break;
            }
        Element(node, "eventype", NameOfValue(EventTypeNames(), lowest));
        Element(node, "channel", static_cast<int32_t>(event.channel));
        if (lowest == MPSYS_EX1) {
            pugi::xml_node bytes = node.append_child("sysexbytes");
            bytes.append_attribute("length") = event.dataSize;
            std::string text;
            for (uint32_t i = 0; i < event.dataSize; i++) {
                if (i) text += ' ';
                text += std::to_string(static_cast<const uint8_t*>(event.data)[i]);
            }
            Element(bytes, "sysex", text);
            return;
        }
        Element(node, "byte1", event.byte1);
        Element(node, "byte2", event.byte2);
        Element(node, "byte3", event.byte3);
        Element(node, "byte4", event.byte4);
    }

    const FunctionNames& m_names;
};

// What is read into an entry of its own is given up when the file is refused.
HRESULT Read(const XmlText& xml, const FunctionNames& names, uint32_t channels, FUNCTIONMAPENTRY& entry,
             std::string& error) {
    FUNCTIONMAPENTRY read{};
    HRESULT hr = S_FALSE;
    try {
        const Reader reader(xml, names);
        const TABLEHEADER header = reader.Header();
        if (channels != 0 && header.channels != channels)
            throw BadTable(xml.At(xml.Root(), JoinText({"made for ", std::to_string(header.channels),
                                                        " channels, not for ", std::to_string(channels)})));
        reader.Tables(header, read);
        read.id = 1;
        read.channels = header.channels;
        CopyText(read.name, FUNCTION_NAME_SIZE, Utf16FromUtf8(header.name).c_str());
        read.fromFile = 1;
        entry = read;
        return S_OK;
    } catch (const BadTable& bad) {
        error = bad.what();
    } catch (const std::bad_alloc&) {
        error = "out of memory";
        hr = E_OUTOFMEMORY;
    }
    FreeFunctionTables(read);
    return hr;
}
}  // namespace

HRESULT ReadTableHeader(const std::filesystem::path& path, TABLEHEADER& out, std::string& error) {
    struct NoNames : FunctionNames {
        std::string FunctionName(uint32_t, uint32_t) const override { return {}; }
        uint32_t FunctionNumber(uint32_t, std::string_view) const override { return 0; }
    };
    XmlText xml;
    if (!xml.Load(path, error)) return S_FALSE;
    try {
        out = Reader(xml, NoNames()).Header();
        return S_OK;
    } catch (const BadTable& bad) {
        error = bad.what();
        return S_FALSE;
    }
}

HRESULT ReadFunctionTables(const std::filesystem::path& path, const FunctionNames& names, uint32_t channels,
                           FUNCTIONMAPENTRY& entry, std::string& error) {
    XmlText xml;
    if (!xml.Load(path, error)) return S_FALSE;
    const HRESULT hr = Read(xml, names, channels, entry, error);
    if (hr == S_OK) CopyText(entry.path, FUNCTION_PATH_SIZE, Utf16FromUtf8(path.string()).c_str());
    return hr;
}

HRESULT ParseFunctionTables(std::string_view bytes, const std::string& name, const FunctionNames& names,
                            uint32_t channels, FUNCTIONMAPENTRY& entry, std::string& error) {
    XmlText xml;
    return xml.Parse(bytes, name, error) ? Read(xml, names, channels, entry, error) : S_FALSE;
}

std::string PrintFunctionTables(const FUNCTIONMAPENTRY& entry, const FunctionNames& names,
                                std::string_view device, uint32_t version) {
    pugi::xml_document document;
    Writer(names).Document(document, entry, device, version);
    std::ostringstream text;
    document.save(text, "  ", pugi::format_default, pugi::encoding_utf8);
    return text.str();
}

HRESULT WriteFunctionTables(const std::filesystem::path& path, const FUNCTIONMAPENTRY& entry,
                            const FunctionNames& names, std::string_view device, uint32_t version,
                            std::string& error) {
    if (!entry.tables) return S_FALSE;
    return ReplaceFile(path, PrintFunctionTables(entry, names, device, version), error) ? S_OK : E_FAIL;
}
