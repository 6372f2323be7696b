#include "host/contract/plugin.h"

#include <cstdio>
#include <stdexcept>

using namespace tarn;

namespace host {
namespace {

template <class Proc>
Proc Entry(const Module& module, const char* name) {
    std::string error;
    auto* entry = module.Find<std::remove_pointer_t<Proc>>(name, error);
    if (!entry) throw std::runtime_error(error);
    return entry;
}

void Check(HRESULT hr, const std::filesystem::path& module, const char* what) {
    if (hr == S_OK) return;
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(hr));
    throw std::runtime_error(module.string() + ": " + what + " failed with " + code);
}

}  // namespace

Plugin::Plugin(const std::filesystem::path& path, Project& project, Project::Keeps keeps)
    : m_project(project), m_seat(project.NewSeat(keeps)) {
    std::string error;
    m_module = Module::Load(path, error);
    if (!m_module) throw std::runtime_error(error);
    const auto info = Entry<QmOPTPlug_GetOPTObjectInfoProc>(m_module, "QmOPTPlug_GetOPTObjectInfo");
    const auto create = Entry<QmOPTPlug_CreateOPTObjectProc>(m_module, "QmOPTPlug_CreateOPTObject");
    m_updateLcid = Entry<QmOPTPlug_UpdateKernelLCIDProc>(m_module, "QmOPTPlug_UpdateKernelLCID");
    m_createPage = Entry<QmOPTPlug_CreateOPTPropertyPageProc>(m_module, "QmOPTPlug_CreateOPTPropertyPage");

    GUID classId{};
    char16_t name[128] = {};
    uint32_t flags = 0;
    Check(info(&classId, name, static_cast<uint32_t>(std::size(name)), &flags), path, "its description");
    name[std::size(name) - 1] = 0;
    m_name = name;
    Check(create(m_object.Out()), path, "making its object");
    Check(m_object->QueryInterface(IID_IMPInitialise, m_initialise.OutVoid()), path,
          "asking for IMPInitialise");
    uint32_t capabilities = 0xFFFFFFFF;
    IUnknown* host = m_seat.host.Get();
    Check(m_initialise->Initialise(host, host, INITFLAG_CONTROL, 0, &capabilities), path,
          "its initialisation");
    if (m_object->QueryInterface(IID_IMPEventFilter, m_filter.OutVoid()) == S_OK)
        project.AddFilter(m_filter.Get());
}

Plugin::~Plugin() {
    if (m_filter) m_project.RemoveFilter(m_filter.Get());
    m_filter.Reset();
    m_initialise->Terminate();
    m_initialise.Reset();
    m_object.Reset();
}

void Plugin::ProjectOpened() {
    Send(MPCTRL_PROJECT, PROJECT_OPEN);
    Send(MPCTRL_ACTIVATE, ACTIVATE_ON);
}

void Plugin::ProjectClosing() {
    Send(MPCTRL_ACTIVATE, 0);
    Send(MPCTRL_PROJECT, 0);
}

void Plugin::Send(const GUID& id, uint32_t flags) { m_project.SendControl(id, flags, m_seat.number); }

ComPtr<IPropertyPage> Plugin::MakePage(const GUID& pageId) {
    ComPtr<IPropertyPage> page;
    if (m_createPage(&pageId, page.Out()) != S_OK) return {};
    return page;
}

}  // namespace host
