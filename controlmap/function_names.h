// The words of function table files, by value. [any-thread]
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

struct NamedValue {
    std::string_view name;
    uint32_t value;
};

std::span<const NamedValue> CommandTypeNames();
/// In the order in which they are written.
std::span<const NamedValue> FunctionFlagNames();
/// The index is the value.
std::span<const NamedValue> ControlGroupNames();
/// Ascending by value.
std::span<const NamedValue> EventTypeNames();

/// Empty when no name has the value.
std::string_view NameOfValue(std::span<const NamedValue> names, uint32_t value);
std::optional<uint32_t> ValueOfName(std::span<const NamedValue> names, std::string_view name);
