// Which reader a file is for: by its first bytes, by its ending, by what was used last, by trying all.
#pragma once

#include "fileio/plugin_list.h"

namespace tarn {

struct FileIdentity {
    GUID reader{};
    ComPtr<IQmReadFile> file;  ///< as that reader has opened it
};

/// Each candidate opens the file; the first that can has it. MEDIA_E_OPEN for what cannot be read or is no
/// regular file, MEDIA_E_NOT_STARTED where a reader that might have read it does not start, else
/// MEDIA_E_UNSUPPORTED_FORMAT. [any-thread]
class FileIdentifier {
public:
    FileIdentifier(PluginList& plugins, PluginList::Log log) : m_plugins(plugins), m_log(std::move(log)) {}

    HRESULT Identify(std::u16string_view path, const GUID& lastUsed, FileIdentity* found) const;
    /// Without the first bytes.
    HRESULT IdentifySlow(std::u16string_view path, const GUID& lastUsed, FileIdentity* found) const;
    HRESULT OpenWith(std::u16string_view path, const GUID& reader, FileIdentity* found) const;

private:
    PluginList& m_plugins;
    const PluginList::Log m_log;
};

}  // namespace tarn
