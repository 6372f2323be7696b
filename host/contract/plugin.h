// A plug-in module in use: loaded, its object made and connected to a project, driven through its life in the
// order that the contract asks for. [ui-thread]
#pragma once

#include "contract/host_contract.h"
#include "host/contract/project.h"
#include "platform/module.h"

#include <filesystem>
#include <string>

namespace host {

class Plugin {
public:
    /// Loads the module, makes its object and initialises it on the project. Throws std::runtime_error with
    /// the module's name and the reason.
    /// Its preferences are kept with the session, or for the user. Events that come in over MIDI are shown
    /// to it.
    Plugin(const std::filesystem::path& module, Project& project,
           Project::Keeps keeps = Project::Keeps::ForSession);
    /// Terminates and releases the object. Its project is closed and its pages are gone by then.
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    void ProjectOpened();   ///< project open, then activate
    void ProjectClosing();  ///< deactivate, then project close

    /// The language of its texts; 0 is US English. Its pages are closed.
    void SetLanguage(uint32_t lcid) { m_updateLcid(lcid); }

    const std::u16string& Name() const { return m_name; }
    IUnknown* Object() { return m_object.Get(); }
    /// A page of the plug-in, or null.
    tarn::ComPtr<IPropertyPage> MakePage(const GUID& pageId);

private:
    void Send(const GUID& id, uint32_t flags);

    tarn::Module m_module;
    QmOPTPlug_CreateOPTPropertyPageProc m_createPage = nullptr;
    QmOPTPlug_UpdateKernelLCIDProc m_updateLcid = nullptr;
    Project& m_project;
    Project::Seat m_seat;
    std::u16string m_name;
    tarn::ComPtr<IUnknown> m_object;
    tarn::ComPtr<IMPInitialise> m_initialise;
    tarn::ComPtr<IMPEventFilter> m_filter;
};

}  // namespace host
