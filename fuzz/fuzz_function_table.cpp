// Function tables and name tables on any text: refused with a reason, or read, and then written as what reads
// the same.
#include "controlmap/xml_function_map.h"

#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string error;
    NameTable names;
    if (!names.Parse(text, "f", error) && error.empty()) std::abort();
    error.clear();
    FUNCTIONMAPENTRY entry{};
    if (ParseFunctionTables(text, "f", names, 0, entry, error) != S_OK) {
        if (error.empty() || entry.tables) std::abort();
        return 0;
    }
    const std::string once = PrintFunctionTables(entry, names, "d", 1);
    FreeFunctionTables(entry);
    if (ParseFunctionTables(once, "f", names, 0, entry, error) != S_OK) std::abort();
    if (PrintFunctionTables(entry, names, "d", 1) != once) std::abort();
    FreeFunctionTables(entry);
    return 0;
}
