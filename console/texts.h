// The console's texts by number, in the language of the module.
#pragma once

#include "console/text_ids.h"

/// Lives until the language changes. [page-thread]
const char16_t* ConsoleText(ConsoleTextId id);
