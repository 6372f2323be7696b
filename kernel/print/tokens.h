// The table behind $(Name).
#pragma once

#include "platform/types.h"

#include <string_view>

/// Gives the value of the token named so, whatever its case, to `write` while the table is locked. False when
/// there is none.
bool WithPrintToken(std::u16string_view name, void (*write)(void* context, std::u16string_view value),
                    void* context);
