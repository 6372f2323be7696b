// The table behind $(Name) in what is printed. [any-thread]
#pragma once

#include "platform/types.h"

#include <string_view>

/// Gives the value of the token named so, whatever its case, to `write` while the table is locked. False when
/// there is none.
bool WithPrintToken(std::u16string_view name, void (*write)(void* context, std::u16string_view value),
                    void* context);

extern "C" {

/// Makes $(name) write `value`; a token of the same name, whatever its case, is replaced. False when out of
/// memory, and then the old one is gone.
QM_API BOOL QmPrintF_AddToken(const char16_t* name, const char16_t* value);
/// True if there was one.
QM_API BOOL QmPrintF_DeleteToken(const char16_t* name);

}  // extern "C"
