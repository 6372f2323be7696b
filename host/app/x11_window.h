// What the X server knows of a window that another toolkit has made.
#pragma once

#include <QSize>

#include <cstdint>

namespace host {

/// In pixels; empty where there is no such window, or no X server. [ui-thread]
QSize SizeOfX11Window(uintptr_t window);

}  // namespace host
