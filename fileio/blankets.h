// The objects of a plug-in in a surrogate, as plain objects that any thread may use. Each holds the process.
#pragma once

#include "fileio/plugin_library.h"
#include "fileio/surrogate_process.h"

namespace tarn {

std::unique_ptr<PluginLibrary> PluginInSurrogate(std::shared_ptr<SurrogateProcess> process,
                                                 const std::filesystem::path& library);

}  // namespace tarn
