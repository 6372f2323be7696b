// A plug-in's library, wherever it runs: what it says of itself, and its class objects.
#pragma once

#include "fileio/out_of_process.h"
#include "fileio/plugin.h"

#include <filesystem>
#include <memory>
#include <string>

namespace tarn {

class PluginLibrary {
public:
    virtual ~PluginLibrary() = default;
    /// False where the process that it ran in is gone, with all that came from it.
    virtual bool IsAlive() const { return true; }
    /// Checked: texts are terminated, endings are lower-case letters and digits, and there is a class. On
    /// failure `reason` is one line without the library's name.
    virtual HRESULT GetInfo(uint32_t langId, FIOPLUGININFO* info, std::string* reason) = 0;
    /// A class object, started.
    virtual HRESULT CreateClass(const GUID& classId, const GUID& iid, uint32_t langId, void** out) = 0;
};

/// Into this process; with all that it gives it has to be gone before the object goes.
QM_API std::unique_ptr<PluginLibrary> LoadPluginHere(const std::filesystem::path& path, std::string* reason);

/// What is wrong with what a plug-in says of itself; empty when it can be used. Terminates the texts.
std::string CheckPluginInfo(FIOPLUGININFO* info);

}  // namespace tarn
