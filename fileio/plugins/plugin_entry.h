// What the entry points of our plug-ins share. [any-thread]
#pragma once

#include "fileio/plugin.h"
#include "platform/guarded.h"
#include "platform/text.h"

namespace tarn {

struct PluginTexts {
    const char16_t *name, *readExtensions, *renderExtensions;
};

inline HRESULT FillPluginInfo(FIOPLUGININFO* info, uint32_t flags, const GUID& reader, const GUID& renderer,
                              const PluginTexts& texts) {
    if (!info) return E_POINTER;
    if (info->size < sizeof *info) return E_INVALIDARG;
    info->api = FIO_PLUGIN_API;
    info->flags = flags;
    info->reader = reader;
    info->renderer = renderer;
    CopyText(info->name, std::size(info->name), texts.name);
    CopyText(info->readExtensions, std::size(info->readExtensions), texts.readExtensions);
    CopyText(info->renderExtensions, std::size(info->renderExtensions), texts.renderExtensions);
    return S_OK;
}

/// A new object under the interface that is asked for.
template <class Make>
HRESULT CreatePluginClass(Make make, const GUID& iid, void** out) {
    return Guarded([&] {
        const ComPtr made(make());
        return made->QueryInterface(iid, out);
    });
}

}  // namespace tarn
