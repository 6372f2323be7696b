// Whole files: read within a limit, replaced so that a reader sees the old content or the new, never a part.
// On failure `error` names the file and the reason. [any-thread]
#pragma once

#include "platform/types.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// Reads a file of at most `limit` bytes. On failure `bytes` is empty.
[[nodiscard]] QM_API bool ReadWholeFile(const std::filesystem::path& path, size_t limit, std::string& bytes,
                                        std::string& error);

/// Which file it is and in which state: another one under the same name, and one that was written to, differ.
struct FileStamp {
    uint64_t device = 0, inode = 0;
    int64_t bytes = 0, writtenSeconds = 0, writtenNanoseconds = 0;

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};
/// Nothing for a path under which there is nothing.
[[nodiscard]] QM_API std::optional<FileStamp> StampOf(const std::filesystem::path& path);
[[nodiscard]] QM_API std::optional<FileStamp> StampOf(int descriptor);

/// A new file that takes its target's place when it is complete; whatever writes a file of the user's goes
/// through here. It lies in the target's folder under a name that nobody can foresee, made exclusively, so
/// that a link laid there is not followed. Where the target is a link, what it leads to is replaced. A target
/// that is no regular file, or may not be written, is refused. Without Commit nothing stays. One thread at a
/// time.
class QM_API ReplacingFile {
public:
    ReplacingFile() = default;
    ~ReplacingFile() { Discard(); }
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    /// Whether Commit takes the place of a file that was not there at Open, or not in that state.
    enum class Over { Anything, WhatWasThere };
    /// Once. The file is empty, open for reading and writing, and has an old target's permissions and, where
    /// that is allowed, its owner.
    [[nodiscard]] bool Open(const std::filesystem::path& target, std::string& error,
                            Over over = Over::Anything);
    /// Stays ours; -1 when not open.
    int Descriptor() const { return m_fd; }
    /// Where it lies until then, for those who must remove it by name.
    const std::filesystem::path& Aside() const { return m_aside; }
    [[nodiscard]] bool Write(std::string_view bytes, std::string& error);
    /// Returns when the content is on the disk under the target's name. On failure the old file stays and
    /// nothing is left aside.
    [[nodiscard]] bool Commit(std::string& error);
    void Discard();

private:
    bool TakePlace(std::string& error);

    std::filesystem::path m_target, m_aside;
    Over m_over = Over::Anything;
    std::optional<FileStamp> m_old;  ///< of the target
    int m_fd = -1;
};

/// All at once.
[[nodiscard]] QM_API bool ReplaceFile(const std::filesystem::path& path, std::string_view bytes,
                                      std::string& error);

/// A file's name as wide text and back. Names need not be UTF-8: a byte that is not part of any character
/// becomes the lone surrogate U+DC00 + byte, and comes back as that byte.
QM_API std::u16string WideFromPath(const std::filesystem::path& path);
QM_API std::filesystem::path PathFromWide(std::u16string_view text);

}  // namespace tarn
