#include "fileio/open_files.h"

#include "platform/counted.h"

#include <algorithm>

namespace tarn {

class TrackedFile final : public Counted<IQmReadFile, IID_IQmReadFile> {
public:
    TrackedFile(std::shared_ptr<OpenFiles> all, ComPtr<IQmReadFile> file, const GUID& reader,
                const FileStamp& stamp)
        : m_all(std::move(all)), m_file(std::move(file)) {
        const std::lock_guard lock(m_all->m_lock);
        m_all->m_entries.push_back({this, reader, stamp.device, stamp.inode});
    }
    ~TrackedFile() override {
        const std::lock_guard lock(m_all->m_lock);
        std::erase_if(m_all->m_entries, [this](const OpenFiles::Entry& e) { return e.file == this; });
    }

    /// What it answers beyond is the plug-in's, or tells where that is.
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        const HRESULT hr = Counted::QueryInterface(iid, out);
        return hr == E_NOINTERFACE ? m_file->QueryInterface(iid, out) : hr;
    }
    HRESULT GetFormatName(char16_t* text, uint32_t capacity) override {
        return m_file->GetFormatName(text, capacity);
    }
    HRESULT GetStreamCount(uint32_t* count) override { return m_file->GetStreamCount(count); }
    HRESULT GetStream(uint32_t index, const GUID& iid, void** out) override {
        return m_file->GetStream(index, iid, out);
    }
    HRESULT GetMeta(const GUID& iid, void** out) override { return m_file->GetMeta(iid, out); }

private:
    const std::shared_ptr<OpenFiles> m_all;
    const ComPtr<IQmReadFile> m_file;
};

IQmReadFile* OpenFiles::Track(const std::shared_ptr<OpenFiles>& all, ComPtr<IQmReadFile> file,
                              const GUID& reader, std::u16string_view path) {
    const auto stamp = StampOf(PathFromWide(path)).value_or(FileStamp{});
    IQmReadFile* tracked = new TrackedFile(all, std::move(file), reader, stamp);
    tracked->AddRef();
    return tracked;
}

std::optional<GUID> OpenFiles::ReaderOf(std::u16string_view path) const {
    const auto stamp = StampOf(PathFromWide(path));
    if (!stamp) return {};
    const std::lock_guard lock(m_lock);
    const auto at = std::ranges::find_if(
        m_entries, [&](const Entry& e) { return e.device == stamp->device && e.inode == stamp->inode; });
    return at == m_entries.end() ? std::nullopt : std::optional(at->reader);
}

}  // namespace tarn
