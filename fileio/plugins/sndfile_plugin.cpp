// The plug-in of what libsndfile reads and writes: FLAC, Ogg Vorbis, Opus, MP3, CAF, AU and more.
#include "fileio/plugins/plugin_entry.h"
#include "fileio/plugins/sndfile_formats.h"

using namespace tarn;

QMFIOPLUG_EXPORT HRESULT QmFioPlug_GetInfo(uint32_t, FIOPLUGININFO* info) {
    return FillPluginInfo(info, FIO_PLUGIN_IN_PROCESS, sound::READER, sound::RENDERER,
                          {u"FLAC, Ogg, MP3 and more", sound::READ_EXTENSIONS, sound::RENDER_EXTENSIONS});
}

QMFIOPLUG_EXPORT HRESULT QmFioPlug_CreateClass(const GUID* classId, const GUID* iid, void** out) {
    if (!classId || !iid || !out) return E_POINTER;
    *out = nullptr;
    if (*classId == sound::READER) return CreatePluginClass(sound::MakeReader, *iid, out);
    if (*classId == sound::RENDERER) return CreatePluginClass(sound::MakeRenderer, *iid, out);
    return E_NOINTERFACE;
}
