// Names of codecs by format tag; they are the same in every language. [any-thread]
#pragma once

#include <cstdint>

/// Null where there is none.
const char16_t* LongCodecName(uint32_t tag);
const char16_t* ShortCodecName(uint32_t tag);
