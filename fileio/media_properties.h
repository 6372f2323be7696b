// What there is to know of a file, as texts by name. One thread at a time.
#pragma once

#include "fileio/plugin.h"

#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// Of the n-th audio or video stream, counted from 0; nothing for a name or a stream that is not there. The
/// names are those of IQmFileIOManager.
std::optional<std::string> AudioPropertyOf(IQmReadFile& file, uint32_t stream, std::string_view name);
std::optional<std::string> VideoPropertyOf(IQmReadFile& file, uint32_t stream, std::string_view name);

}  // namespace tarn
