// Which files are open, and by which reader. [any-thread]
#pragma once

#include "fileio/plugin.h"
#include "platform/file.h"

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace tarn {

class OpenFiles {
public:
    /// The same file as an object that is counted among the open ones for as long as it is held. What it
    /// gives may be held longer. With one reference; throws std::bad_alloc.
    static IQmReadFile* Track(const std::shared_ptr<OpenFiles>& all, ComPtr<IQmReadFile> file,
                              const GUID& reader, std::u16string_view path);

    /// The reader that has the file open, whatever name it has; nothing for one that is not.
    std::optional<GUID> ReaderOf(std::u16string_view path) const;

private:
    friend class TrackedFile;
    struct Entry {
        const void* file;
        GUID reader;
        uint64_t device, inode;
    };

    mutable std::mutex m_lock;
    std::vector<Entry> m_entries;
};

}  // namespace tarn
