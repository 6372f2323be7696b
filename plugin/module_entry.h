// What the entry points of every plug-in module share.
#pragma once

#include "platform/guarded.h"
#include "platform/text.h"
#include "plugin/base_list_page.h"
#include "plugin/module_state.h"

#include <new>

/// QmOPTPlug_CreateOPTObject: *out receives the object's IUnknown with one reference.
template <class Plugin>
HRESULT CreatePluginObject(IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return tarn::Guarded([&]() -> HRESULT {
        tarn::ComPtr<Plugin> object(new Plugin(nullptr));
        const HRESULT hr = object->FinalConstruct();
        return tarn::Failed(hr) ? hr : object->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(out));
    });
}

/// QmOPTPlug_GetOPTObjectInfo: `name` is cut to nameSize characters with its terminator, and `plain` where
/// there is no text.
inline HRESULT TellPluginObject(const GUID& id, int32_t text, const char16_t* plain, GUID* classId,
                                char16_t* name, uint32_t nameSize, uint32_t* flags) {
    if (!classId || !name || !flags) return E_POINTER;
    return tarn::Guarded([&]() -> HRESULT {
        if (QmLoadString(ThisModule().texts, QmTextId(text), name, nameSize) == 0)
            tarn::CopyText(name, nameSize, plain);
        *classId = id;
        *flags = OPTOBJECT_INFO_FLAGS;
        return S_OK;
    });
}

/// QmOPTPlug_CreateOPTPropertyPage for a module's page: E_NOINTERFACE for another id, and when it can't be
/// made.
template <class Page, const GUID& id>
HRESULT CreatePluginPage(const GUID* pageId, IPropertyPage** out) {
    if (!pageId || !out) return E_POINTER;
    *out = nullptr;
    if (*pageId != id) return E_NOINTERFACE;
    const HRESULT hr = tarn::Guarded([&]() -> HRESULT {
        tarn::ComPtr<CBaseListPage> page(new Page(nullptr));
        const HRESULT made = page->Init();
        return tarn::Failed(made) ? made
                                  : page->QueryInterface(IID_IPropertyPage, reinterpret_cast<void**>(out));
    });
    return hr == S_OK ? S_OK : E_NOINTERFACE;
}
