// Function table files: XML in UTF-8, one document a surface.
//
//   <functiontable ver device name channels tables>
//     <functionmap index> <map name maps> <function>...
//
// A file is taken whole or not at all. Errors name file, line and reason.
#pragma once

#include "controlmap/function_map.h"
#include "controlmap/name_table.h"

/// What a file says of itself.
struct TABLEHEADER {
    uint32_t version;
    std::string device, name;
    uint32_t channels, tables;
};

/// S_FALSE and an error when the file can't be read or is none.
HRESULT ReadTableHeader(const std::filesystem::path& path, TABLEHEADER& out, std::string& error);

/// Fills an entry with the tables, name and path of a file. `channels` must be the file's, unless it is 0.
/// The caller frees the tables with FreeFunctionTables. On failure the entry is as before: S_FALSE for a file
/// that can't be read or is none, E_OUTOFMEMORY.
HRESULT ReadFunctionTables(const std::filesystem::path& path, const FunctionNames& names, uint32_t channels,
                           FUNCTIONMAPENTRY& entry, std::string& error);
/// The same from memory; `name` is what errors call it.
HRESULT ParseFunctionTables(std::string_view xml, const std::string& name, const FunctionNames& names,
                            uint32_t channels, FUNCTIONMAPENTRY& entry, std::string& error);

/// S_FALSE for an entry without tables, E_FAIL and an error when the file can't be written.
HRESULT WriteFunctionTables(const std::filesystem::path& path, const FUNCTIONMAPENTRY& entry,
                            const FunctionNames& names, std::string_view device, uint32_t version,
                            std::string& error);
/// The document as it is written.
std::string PrintFunctionTables(const FUNCTIONMAPENTRY& entry, const FunctionNames& names,
                                std::string_view device, uint32_t version);
