// The text of kinds of files for a dialog.
#pragma once

#include "fileio/manager.h"
#include "fileio/plugin_list.h"

namespace tarn {

/// With no reference yet. It keeps the manager, which owns the list.
IQmFioFilterBuilder2* MakeFilterBuilder(IUnknown* manager, const PluginList& plugins);

}  // namespace tarn
