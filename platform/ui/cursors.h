// Mouse cursors by number.
#pragma once

#include "platform/types.h"

class QCursor;

/// CURSOR_ ids; the arrow for any other. Made once, kept.
const QCursor& QmGetUICursor(uint32_t id);
