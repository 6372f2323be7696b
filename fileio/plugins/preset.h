// Templates as our renderers make them. [any-thread]
#pragma once

#include "fileio/template.h"

#include <cstring>

namespace tarn {

/// With the renderer's own data; a rate and a number of channels of 0 are those of the source.
template <class Data>
HRESULT MakePreset(const GUID& renderer, const char16_t* name, const _qmwaveformat& format, uint32_t bitRate,
                   const Data& data, tagQMTEMPLATExV2** out) {
    if (const HRESULT hr = QmFio_GenerateTemplate(out, &renderer, &data, sizeof data, name, u""); Failed(hr))
        return hr;
    QmFio_InitBasicAudioTemplate(*out, &format);
    (*out)->audio.bitRate = bitRate;
    return QmFio_InitGUIDFromTemplateMD5DataHash(&(*out)->id, *out, 1);
}

/// The renderer's own data; false where they are not of that length.
template <class Data>
bool DataOf(const tagQMTEMPLATExV2* settings, Data* data) {
    if (!IsSoundTemplate(settings) || settings->dataSize != sizeof *data) return false;
    std::memcpy(data, settings->Data(), sizeof *data);
    return true;
}

inline _qmwaveformat FormatOf(QMSAMPLETYPE type, uint32_t rate, uint32_t channels, uint32_t mask = 0) {
    _qmwaveformat format;
    format.Init(rate, type, channels, mask, sizeof format);
    return format;
}

}  // namespace tarn
