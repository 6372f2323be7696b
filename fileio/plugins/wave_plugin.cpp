// The plug-in of our own files: wave, RF64, BW64, Wave64, AIFF and AIFC, with metadata.
#include "fileio/plugins/plugin_entry.h"
#include "fileio/plugins/wave_renderer.h"

using namespace tarn;

QMFIOPLUG_EXPORT HRESULT QmFioPlug_GetInfo(uint32_t, FIOPLUGININFO* info) {
    return FillPluginInfo(info, FIO_PLUGIN_IN_PROCESS, wave::READER, wave::RENDERER,
                          {u"Wave and AIFF", wave::READ_EXTENSIONS, wave::RENDER_EXTENSIONS});
}

QMFIOPLUG_EXPORT HRESULT QmFioPlug_CreateClass(const GUID* classId, const GUID* iid, void** out) {
    if (!classId || !iid || !out) return E_POINTER;
    *out = nullptr;
    if (*classId == wave::READER) return CreatePluginClass(wave::MakeReader, *iid, out);
    if (*classId == wave::RENDERER) return CreatePluginClass(wave::MakeRenderer, *iid, out);
    return E_NOINTERFACE;
}
