// What the commands ask of the manager of file plug-ins. Throws std::runtime_error where it cannot be made.
#pragma once

#include "fileio/convert/file_manager.h"
#include "tools/tarn-media/info.h"
#include "tools/tarn-media/media_tool.h"

#include <optional>

/// The path by which plug-ins reach an open file, also one without a name.
std::u16string PathOf(HQMFILE file);

/// What a plug-in tells of a file; false, and the reason in `result.error` alone, where no plug-in reads it.
bool DescribeByPlugin(const std::string& name, const tarn::OwnedFile& file, FileResult& result);

/// Of the files that plug-ins read, "flac;ogg".
std::string EndingsOfReaders();

struct PluginsOptions {
    bool json = false, templates = false, log = false, fresh = false;
};
int ListPlugins(const PluginsOptions& options);
