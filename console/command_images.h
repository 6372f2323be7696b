// The images of commands, in menus and on tool bars.
#pragma once

#include "platform/ui/image_list.h"

#include <cstdint>

/// 16 by 16, in the theme's colours.
ImageList CommandImages();
/// Its place in the list; -1 for a command without. Menus leave some out that buttons have.
int32_t ButtonImage(uint32_t command);
int32_t MenuImage(uint32_t command);
