// Names of clipboard formats.
#pragma once

#include "platform/types.h"

namespace tarn {

/// The process-wide number of a clipboard format, the same for the same name; never 0. [any-thread]
QM_API uint32_t RegisterClipboardFormat(const char16_t* name);

}  // namespace tarn
