#include "console/texts.h"

#include "plugin/module_state.h"

const char16_t* ConsoleText(ConsoleTextId id) { return QmGetString(ThisModule().texts, QmTextId(id)); }
