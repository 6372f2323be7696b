// The controls' own texts by number: help on menu items.
#pragma once

#include "kernel/lang/lang.h"

/// A handle in the kernel's language. [UI thread]
HQMLANG ControlLang();
