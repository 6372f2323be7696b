// Direction in which the process lays out its windows, told by code that knows no window system to the one
// that is there.
#pragma once

#include "platform/types.h"

namespace tarn {

using LayoutDirectionHandler = void (*)(bool rightToLeft);

/// Set once by the module that talks to the window system. [any-thread]
QM_API void SetLayoutDirectionHandler(LayoutDirectionHandler handler);

/// Without a handler it does nothing. [page-thread]
QM_API void ApplyLayoutDirection(bool rightToLeft);

}  // namespace tarn
