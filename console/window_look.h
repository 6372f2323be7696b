// The console's colours and fonts for windows of the window system's own kinds: lists and bars.
#pragma once

#include "platform/types.h"

class QWidget;

/// `selection` is the ground of selected rows.
void UseConsoleColours(QWidget& window, COLORREF selection = 0);
