// Points and sizes that can be compared.
#pragma once

#include "platform/types.h"

inline bool operator==(const POINT& a, const POINT& b) { return a.x == b.x && a.y == b.y; }
inline bool operator==(const SIZE& a, const SIZE& b) { return a.cx == b.cx && a.cy == b.cy; }
