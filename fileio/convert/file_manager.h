// The manager of file plug-ins as our programs have it, with settings that they share. Throws
// std::runtime_error where it cannot be made. [any-thread]
#pragma once

#include "fileio/manager.h"

namespace tarn {

/// FIO_INIT_FLAGS. The logger may be null.
ComPtr<IQmFileIOMgrForApp> MakeFileManager(uint32_t flags, IQmFioLogger* logger);

/// Made at the first call, for as long as the program runs.
IQmFileIOMgrForApp& FileManager();

}  // namespace tarn
