// Endings of files' names, "wav;w64;aif": lists of them, and of one name. [any-thread]
#pragma once

#include "platform/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace tarn {

/// Each of lower-case letters, digits and a few signs; an empty list is one.
bool AreExtensions(std::string_view list);
std::vector<std::string> SplitList(std::string_view list);
QM_API bool HasExtension(std::string_view list, std::string_view extension);
/// In lower case, without the point; empty for a name without one. Also of a mere ending, with a point or
/// not, where `isEnding`.
QM_API std::string ExtensionOf(std::u16string_view path, bool isEnding = false);

}  // namespace tarn
