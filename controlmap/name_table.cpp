#include "controlmap/name_table.h"

#include "controlmap/function_names.h"
#include "controlmap/xml_text.h"
#include "platform/text.h"

using namespace tarn;

namespace {
using Groups = std::map<uint32_t, std::map<uint32_t, std::string>>;

bool Read(const XmlText& xml, Groups& groups, std::string& error) {
    const pugi::xml_node root = xml.Root();
    if (std::string_view(root.name()) != "functiontables") {
        error = xml.At(root, JoinText({"the root is \"", root.name(), "\", not \"functiontables\""}));
        return false;
    }
    for (const pugi::xml_node group : root.children("group")) {
        const char* name = group.attribute("name").value();
        const auto number = ValueOfName(ControlGroupNames(), name);
        if (!number) {
            error = xml.At(group, JoinText({"there is no group \"", name, "\""}));
            return false;
        }
        for (const pugi::xml_node function : group.children("function")) {
            const auto value = LeadingNumber(function.attribute("value").value());
            if (!value || *value < 0 || *value > UINT32_MAX) {
                error = xml.At(function, "the value is no function number");
                return false;
            }
            groups[*number][static_cast<uint32_t>(*value)] = function.attribute("name").value();
        }
    }
    return true;
}
}  // namespace

bool NameTable::Load(const std::filesystem::path& path, std::string& error) {
    XmlText xml;
    Groups groups;
    if (!xml.Load(path, error) || !Read(xml, groups, error)) return false;
    m_groups = std::move(groups);
    return true;
}

bool NameTable::Parse(std::string_view bytes, const std::string& name, std::string& error) {
    XmlText xml;
    Groups groups;
    if (!xml.Parse(bytes, name, error) || !Read(xml, groups, error)) return false;
    m_groups = std::move(groups);
    return true;
}

const std::map<uint32_t, std::string>& NameTable::Group(uint32_t group) const {
    static const std::map<uint32_t, std::string> none;
    const auto it = m_groups.find(group);
    return it == m_groups.end() ? none : it->second;
}

std::string NameTable::FunctionName(uint32_t group, uint32_t function) const {
    const auto& names = Group(group);
    const auto it = names.find(function);
    return it == names.end() ? std::string() : it->second;
}

uint32_t NameTable::FunctionNumber(uint32_t group, std::string_view name) const {
    for (const auto& [number, known] : Group(group))
        if (known == name) return number;
    return 0;
}
