// The module's four entry points.
#include "plugin/module_entry.h"
#include "console/console_plugin.h"
#include "console/mixer_page.h"
#include "console/shell_page.h"
#include "console/text_ids.h"

using namespace tarn;

extern "C" {

/// Makes the plug-in object; *out receives its IUnknown with one reference.
QM_API HRESULT QmOPTPlug_CreateOPTObject(IUnknown** out) {
    return CreatePluginObject<CConsoleControlPlugin>(out);
}

/// Tells who the module is, before any object exists. `name` is cut to nameSize characters with its
/// terminator.
QM_API HRESULT QmOPTPlug_GetOPTObjectInfo(GUID* classId, char16_t* name, uint32_t nameSize, uint32_t* flags) {
    return TellPluginObject(CLSID_ConsolePlugin, IDS_MIXING_CONSOLE, u"Mixer Console", classId, name,
                            nameSize, flags);
}

/// Makes a page by its class id; E_NOINTERFACE for one that the module does not have, and when it can't be
/// made.
QM_API HRESULT QmOPTPlug_CreateOPTPropertyPage(const GUID* pageId, IPropertyPage** out) {
    constexpr HRESULT (*PAGES[])(const GUID*, IPropertyPage**) = {
        CreatePluginPage<CConsoleCfgPage, CLSID_ConsoleCfgPage>,
        CreatePluginPage<CConsolePage, CLSID_ConsolePage>,
        CreatePluginPage<CConsoleMixerPage, CLSID_ConsoleMixerPage>};
    HRESULT hr = E_NOINTERFACE;
    for (const auto make : PAGES)
        if (hr == E_NOINTERFACE) hr = make(pageId, out);
    return hr;
}

/// Changes the language of the module; 0 is US English. [page-thread]
QM_API HRESULT QmOPTPlug_UpdateKernelLCID(uint32_t lcid) {
    return Guarded([&] { return ApplyModuleLcid(lcid), S_OK; });
}

}  // extern "C"
