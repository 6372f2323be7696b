// Enumerators of readers, renderers and plug-ins over what there was when they were made. Each keeps the
// manager alive. Made with no reference yet.
#pragma once

#include "fileio/manager.h"
#include "fileio/plugin_list.h"

namespace tarn {

FIOPLUGINSTATE StateOf(const PluginSummary& summary);

IQmFileIOTypeEnum* MakeTypeEnum(IUnknown* manager, const PluginList& plugins, PluginRole role);
IQmFIOPluginEnum* MakePluginEnum(IUnknown* manager, const PluginList& plugins);

}  // namespace tarn
