// A plug-in module in use: loaded, its object made and connected to a project, driven through its life in the order that
// the contract asks for.
#pragma once

#include "platform/module.h"
#include "plugin/host_contract.h"

#include <filesystem>
#include <string>

namespace host {

class Project;

class Plugin {
public:
    /// Loads the module, makes its object and initialises it on the project. Throws std::runtime_error with the module's
    /// name and the reason.
    Plugin(const std::filesystem::path& module, Project& project);
    /// Deactivates, closes, terminates, releases. Pages must be gone. [ui-thread]
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    void ProjectOpened();  ///< project open, activate
    void ProjectClosing(); ///< deactivate, project close

    const std::string& Name() const;
    IUnknown* Object();
    /// A page of the plug-in, or null. [ui-thread]
    ComPtr<IPropertyPage> MakePage(const GUID& pageId);

private:
    struct Entries;
};

}  // namespace host
