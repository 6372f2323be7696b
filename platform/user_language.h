// The language that the user reads: the environment's, by its Windows number.
#pragma once

#include "platform/types.h"

namespace tarn {

inline constexpr uint32_t LCID_ENGLISH_US = 1033;

/// LCID of the user's language for messages; that of US English when the environment names none. [any-thread]
QM_API uint32_t UserLanguageLcid();

/// Makes the platform's own messages and dates come in that language on the calling thread; nothing changes
/// when the system has no such locale. How numbers are read and written stays as it is. [any-thread]
void SetThreadLanguage(uint32_t lcid);

}  // namespace tarn
