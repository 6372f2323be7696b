// Stored settings as people read and type them.
#pragma once

#include "platform/store.h"

#include <optional>
#include <string>

/// "number", "text", "binary", "texts"; "type N" for one that nobody writes.
std::string TypeName(uint32_t type);
/// The type of such a name, but not of "type N".
std::optional<uint32_t> TypeNamed(std::string_view name);

/// What a value with that name is likely to be: metrics call texts S7, bytes B7, lists Z7, and numbers 7.
uint32_t TypeByName(std::u16string_view name);

/// A number, a text, bytes in hexadecimal, or texts in lines.
std::string ShownValue(const tarn::StoreEntry& entry);
/// The bytes to store for a typed value; empty with the reason when it is none of its type.
std::optional<std::string> ParsedValue(uint32_t type, const std::string& text, std::string& error);
