// The names of functions by group and number. A file of its own holds them, since a function table is
// readable only with names, and its programs only with numbers.
//
//   <functiontables><group name="ECONTROL_GRP_INSERT"><function name="Volume" value="7"/>...
#pragma once

#include "platform/types.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

/// What function table files ask. All texts are UTF-8.
struct FunctionNames {
    /// Empty when there is none.
    virtual std::string FunctionName(uint32_t group, uint32_t function) const = 0;
    /// 0 when there is none.
    virtual uint32_t FunctionNumber(uint32_t group, std::string_view name) const = 0;

    // The host's functions; a host without a catalog knows none.
    virtual std::string HostFamilyName(uint32_t) const { return {}; }
    virtual uint32_t HostFamilyNumber(std::string_view) const { return 0; }
    virtual std::string HostFunctionName(uint32_t, uint32_t) const { return {}; }
    virtual uint32_t HostFunctionNumber(uint32_t, std::string_view) const { return 0; }

protected:
    ~FunctionNames() = default;
};

class NameTable : public FunctionNames {
public:
    /// False, with file, line and reason in `error`, and nothing taken, when the file is no name table.
    bool Load(const std::filesystem::path& path, std::string& error);
    bool Parse(std::string_view xml, const std::string& name, std::string& error);

    std::string FunctionName(uint32_t group, uint32_t function) const override;
    uint32_t FunctionNumber(uint32_t group, std::string_view name) const override;
    /// The functions of a group, by number.
    const std::map<uint32_t, std::string>& Group(uint32_t group) const;

private:
    std::map<uint32_t, std::map<uint32_t, std::string>> m_groups;
};
