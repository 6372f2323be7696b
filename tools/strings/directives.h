// What a format string of the print engine reads from its arguments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// One entry for each argument that the UTF-8 format reads, in order ("32-bit integer", "text", ...),
/// then one for each token it names ("$(Name)"), sorted. Formats with the same list take the same arguments.
std::vector<std::string> DirectivesOf(std::string_view format);
