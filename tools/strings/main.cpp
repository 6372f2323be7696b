// Builds the translators' files into a module: checks them, and writes a header with the names of the texts
// and a source with the texts.
//
//   compile-strings records TEMPLATE HEADER SOURCE         the kernel's records, a C source
//   compile-strings resources TEMPLATE HEADER SOURCE TYPE  a module's numbered texts; TYPE names their
//   enumeration
#include "tools/strings/catalog.h"
#include "tools/strings/literal.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

std::string Identifier(std::string name) {
    std::ranges::replace(name, '.', '_');
    return name;
}

// Each language's texts lie together, so that a run in one language touches few pages of the others.
const char* SectionOf(size_t slot) {
    constexpr const char* SECTIONS[] = {"strings", "strings2", "strings3", "strings4"};
    return SECTIONS[slot / 5];
}

void WriteRecords(const Catalog& catalog, std::ofstream& header, std::ofstream& source) {
    header << "// The kernel's own texts. Made from resources/strings.\n#pragma once\n\n"
              "#include \"kernel/lang/lang.h\"\n\nextern \"C\" {\n";
    source << "// Made from resources/strings.\n#include <stdint.h>\n#include <uchar.h>\n\n"
              "#define TEXT(section_name) static const char16_t __attribute__((section(section_name)))\n"
              "#define RECORD __attribute__((section(\"qmlang_t\"), visibility(\"default\"), aligned(8)))\n\n"
              "typedef struct {\n    uint64_t word[19];\n} QMLANGSTRINGID;\n\n";
    const auto textName = [](const TextEntry& e, size_t slot) {
        return "text_" + Identifier(e.name) + "_" + std::to_string(slot + 1);
    };
    for (size_t slot = 0; slot < RECORD_LANGUAGES; slot++)
        for (const TextEntry& e : catalog.entries)
            if (e.texts[slot])
                source << "TEXT(\"" << SectionOf(slot) << "\") " << textName(e, slot)
                       << "[] = " << Utf16Literal(*e.texts[slot]) << ";\n";
    for (const TextEntry& e : catalog.entries) {
        const std::string name = "KS_" + Identifier(e.name);
        header << "extern QM_API QMLANGSTRINGID " << name << ";\n";
        source << "\nRECORD QMLANGSTRINGID " << name << " = {{0xFFFE | " << RECORD_LANGUAGES << " << 16";
        for (size_t slot = 0; slot < RECORD_LANGUAGES; slot++)
            source << ",\n    (uint64_t)" << textName(e, e.texts[slot] ? slot : 0);
        source << "}};\n";
    }
    header << "}  // extern \"C\"\n";
}

void WriteResources(const Catalog& catalog, const std::string& type, std::ofstream& header,
                    std::ofstream& source) {
    header << "// The numbers of this module's texts. Made from resources/strings.\n#pragma once\n\n#include "
              "<cstdint>\n\n"
              "enum "
           << type << " : uint32_t {\n";
    for (const TextEntry& e : catalog.entries)
        header << "    IDS_" << Identifier(e.name) << " = " << e.id << ",\n";
    header << "};\n";

    std::vector<TextEntry> sorted = catalog.entries;
    std::ranges::sort(sorted, {}, &TextEntry::id);
    source << "// Made from resources/strings.\n#include \"kernel/lang/string_resources.h\"\n\nusing "
              "namespace tarn;\n\nnamespace {\n";
    std::ostringstream tables;
    for (size_t slot = 0; slot < LANGUAGES; slot++) {
        std::ostringstream rows;
        for (const TextEntry& e : sorted)
            if (e.texts[slot]) rows << "    {" << e.id << ", " << Utf16Literal(*e.texts[slot]) << "},\n";
        if (rows.view().empty()) continue;
        source << "constexpr StringRow SLOT_" << slot + 1 << "[] = {\n" << rows.view() << "};\n";
        tables << "{" << slot + 1 << ", SLOT_" << slot + 1 << "}, ";
    }
    source << "constexpr StringTable TABLES[] = {" << tables.view() << "};\n"
           << "const ModuleStrings strings(ThisInstance(), TABLES);\n}  // namespace\n";
}

}  // namespace

int main(int argc, char** argv) {
    const std::string kind = argc > 1 ? argv[1] : "";
    const bool numbered = kind == "resources";
    if ((kind != "records" && !numbered) || argc != (numbered ? 6 : 5)) {
        std::fprintf(stderr, "usage: compile-strings records|resources TEMPLATE HEADER SOURCE [TYPE]\n");
        return 2;
    }
    const Catalog catalog = ReadCatalog(argv[2], numbered);
    for (const std::string& problem : catalog.problems) std::fprintf(stderr, "%s\n", problem.c_str());
    if (!catalog.problems.empty()) return 1;

    std::ofstream header(argv[3]), source(argv[4]);
    if (numbered)
        WriteResources(catalog, argv[5], header, source);
    else
        WriteRecords(catalog, header, source);
    header.flush();
    source.flush();
    if (header && source) return 0;
    std::fprintf(stderr, "%s, %s: cannot be written\n", argv[3], argv[4]);
    return 1;
}
