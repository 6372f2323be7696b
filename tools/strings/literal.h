// A UTF-8 text as a literal of C and C++.
#pragma once

#include <string>
#include <string_view>

/// u"..." with everything outside ASCII escaped.
std::string Utf16Literal(std::string_view utf8);
