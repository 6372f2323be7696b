// Whole files: read within a limit, replaced so that a reader sees the old content or the new, never a part.
// On failure `error` names the file and the reason. [any-thread]
#pragma once

#include "platform/types.h"

#include <filesystem>
#include <string>
#include <string_view>

/// Reads a file of at most `limit` bytes. On failure `bytes` is empty.
[[nodiscard]] QM_API bool ReadWholeFile(const std::filesystem::path& path, size_t limit, std::string& bytes,
                                        std::string& error);

/// Writes aside in the same folder and renames. Keeps an old file's permissions, follows a link to its
/// target, and returns when the content is on the disk. On failure the old file stays and nothing is left
/// aside.
[[nodiscard]] QM_API bool ReplaceFile(const std::filesystem::path& path, std::string_view bytes,
                                      std::string& error);
