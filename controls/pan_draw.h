// The picture of a pan pad.
#pragma once

#include "controls/pan.h"

/// Field and speakers look different from now on; the next paint draws them anew.
void FreePanPicture(tQMPAN& pan);
