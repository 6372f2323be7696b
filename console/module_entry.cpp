// The module's four entry points.
#include "console/console_plugin.h"
#include "console/mixer_page.h"
#include "console/text_ids.h"
#include "platform/text.h"
#include "plugin/module_state.h"

#include <new>

namespace {

/// Runs an entry point so that no exception leaves the module.
template <class F>
HRESULT EntryPoint(F&& body) {
    try {
        return body();
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace

extern "C" {

/// Makes the plug-in object; *out receives its IUnknown with one reference.
QM_API HRESULT QmOPTPlug_CreateOPTObject(IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return EntryPoint([&]() -> HRESULT {
        auto* object = new (std::nothrow) CConsoleControlPlugin(nullptr);
        if (!object) return E_OUTOFMEMORY;
        ComPtr<COPTPlugin> held(object);
        const HRESULT hr = object->FinalConstruct();
        return Failed(hr) ? hr : object->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(out));
    });
}

/// Tells who the module is, before any object exists. `name` is cut to nameSize characters with its
/// terminator.
QM_API HRESULT QmOPTPlug_GetOPTObjectInfo(GUID* classId, char16_t* name, uint32_t nameSize, uint32_t* flags) {
    if (!classId || !name || !flags) return E_POINTER;
    return EntryPoint([&]() -> HRESULT {
        if (QmLoadString(ThisModule().texts, QmTextId(IDS_MIXING_CONSOLE), name, nameSize) == 0)
            CopyText(name, nameSize, u"Mixer Console");
        *classId = CLSID_ConsolePlugin;
        *flags = OPTOBJECT_INFO_FLAGS;
        return S_OK;
    });
}

/// Makes a page by its class id; E_NOINTERFACE for one that the module does not have, and when it can't be
/// made.
QM_API HRESULT QmOPTPlug_CreateOPTPropertyPage(const GUID* pageId, IPropertyPage** out) {
    if (!pageId || !out) return E_POINTER;
    *out = nullptr;
    if (*pageId != CLSID_ConsoleMixerPage) return E_NOINTERFACE;
    const HRESULT hr = EntryPoint([&]() -> HRESULT {
        ComPtr<CBaseListPage> page(new CConsoleMixerPage(nullptr));
        const HRESULT made = page->Init();
        return Failed(made) ? made : page->QueryInterface(IID_IPropertyPage, reinterpret_cast<void**>(out));
    });
    return hr == S_OK ? S_OK : E_NOINTERFACE;
}

/// Changes the language of the module; 0 is US English. [page-thread]
QM_API HRESULT QmOPTPlug_UpdateKernelLCID(uint32_t lcid) {
    return EntryPoint([&]() -> HRESULT {
        ApplyModuleLcid(lcid);
        return S_OK;
    });
}

}  // extern "C"
