// What our renderers of sound share: templates made, checked, read and changed. [any-thread]
#pragma once

#include "fileio/extensions.h"
#include "fileio/plugin.h"
#include "fileio/template.h"
#include "platform/counted.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace tarn {

inline _qmwaveformat FormatOf(QMSAMPLETYPE type, uint32_t rate, uint32_t channels, uint32_t mask = 0) {
    _qmwaveformat format;
    format.Init(rate, type, channels, mask, sizeof format);
    return format;
}

/// What a template tells, with the renderer's own data. A rate and a number of channels of 0 are the
/// source's.
template <class Settings>
struct SoundTemplate {
    _qmwaveformat format{};
    uint32_t bitRate = 0;
    Settings settings{};
};

/// A field with its choices; the present value is one of them, last where it is unusual.
inline FIOTEMPLATEFIELD FieldOf(FIO_FIELD field, uint32_t value, std::vector<uint32_t> choices) {
    if (std::ranges::find(choices, value) == choices.end()) choices.push_back(value);
    FIOTEMPLATEFIELD made{
        field, value, static_cast<uint32_t>(std::min(choices.size(), FIO_MOST_CHOICES)), {}};
    std::copy_n(choices.begin(), made.count, made.choices);
    return made;
}

inline const std::vector<uint32_t> USUAL_RATES = {0,     22050, 32000,  44100, 48000,
                                                  88200, 96000, 176400, 192000};
inline const std::vector<uint32_t> USUAL_CHANNELS = {0, 1, 2, 6};

template <class Data>
class SoundRenderer : public Counted<IQmRenderFileClass, IID_IQmRenderFileClass> {
public:
    using Parts = SoundTemplate<Data>;
    explicit SoundRenderer(const GUID& id) : m_id(id) {}

    HRESULT Start(uint32_t) override { return S_OK; }
    HRESULT GetPreset(uint32_t index, tagQMTEMPLATExV2** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        Parts parts;
        const char16_t* name = Preset(index, &parts);
        return name ? Make(name, parts, out) : S_FALSE;
    }
    HRESULT GetDefault(const char16_t* extension, const _qmwaveformat* source,
                       tagQMTEMPLATExV2** out) override {
        if (!extension || !source || !out) return E_POINTER;
        *out = nullptr;
        return Guarded([&] { return Make(u"", Default(ExtensionOf(extension, true), *source), out); });
    }
    HRESULT CheckTemplate(const tagQMTEMPLATExV2* settings) override {
        Parts parts;
        return Take(settings, &parts) && IsPossible(parts) ? S_OK : MEDIA_E_BAD_TEMPLATE;
    }
    HRESULT GetExtensions(const tagQMTEMPLATExV2* settings, char16_t* text, uint32_t capacity) override {
        Parts parts;
        if (!text) return E_POINTER;
        if (!Take(settings, &parts)) return MEDIA_E_BAD_TEMPLATE;
        return Guarded([&] {
            const std::u16string list = Utf16FromUtf8(Extensions(parts.settings));
            CopyText(text, capacity, list.c_str());
            return list.empty() ? MEDIA_E_BAD_TEMPLATE : list.size() < capacity ? S_OK : MEDIA_E_NO_ROOM;
        });
    }
    HRESULT CreateFile(int32_t descriptor, const char16_t* path, const tagQMTEMPLATExV2* settings,
                       const _qmwaveformat* format, IQmRenderFile** out) override {
        if (!path || !format || !out) return E_POINTER;
        *out = nullptr;
        Parts parts;
        if (!Take(settings, &parts) || !IsPossible(parts)) return MEDIA_E_BAD_TEMPLATE;
        return Guarded([&] { return Begin(descriptor, ExtensionOf(path), parts.settings, *format, out); });
    }
    HRESULT GetFields(const tagQMTEMPLATExV2* settings, uint32_t capacity, FIOTEMPLATEFIELD* fields,
                      uint32_t* count) override {
        if (!fields || !count) return E_POINTER;
        *count = 0;
        Parts parts;
        if (!Take(settings, &parts) || !IsPossible(parts)) return MEDIA_E_BAD_TEMPLATE;
        return Guarded([&] {
            const std::vector<FIOTEMPLATEFIELD> all = Fields(parts);
            *count = static_cast<uint32_t>(all.size());
            if (all.size() > capacity) return MEDIA_E_NO_ROOM;
            std::ranges::copy(all, fields);
            return S_OK;
        });
    }
    HRESULT SetField(tagQMTEMPLATExV2** settings, uint32_t field, uint32_t value) override {
        if (!settings) return E_POINTER;
        Parts parts;
        if (!Take(*settings, &parts) || !IsPossible(parts)) return MEDIA_E_BAD_TEMPLATE;
        return Guarded([&]() -> HRESULT {
            const std::vector<FIOTEMPLATEFIELD> all = Fields(parts);
            const auto at = std::ranges::find(all, field, &FIOTEMPLATEFIELD::field);
            if (at == all.end() || !std::ranges::count(at->choices, at->choices + at->count, value))
                return E_INVALIDARG;
            _qmwaveformat& f = parts.format;
            const uint32_t type = field == FIO_FIELD_TYPE ? value : f.sampleType;
            const uint32_t rate = field == FIO_FIELD_RATE ? value : f.sampleRate;
            const bool isMoved = field == FIO_FIELD_CHANNELS && value != f.channels;
            f = FormatOf(static_cast<QMSAMPLETYPE>(type), rate,
                         field == FIO_FIELD_CHANNELS ? value : f.channels, isMoved ? 0 : f.channelMask);
            if (field == FIO_FIELD_BIT_RATE) parts.bitRate = value;
            Change(field, value, parts);
            tagQMTEMPLATExV2* made = nullptr;
            const std::u16string name = TemplateName(**settings), notes = TemplateNotes(**settings);
            if (const HRESULT hr = Make(name.c_str(), parts, &made, notes.c_str()); Failed(hr)) return hr;
            CoTaskMemFree(*settings);
            *settings = made;
            return S_OK;
        });
    }

protected:
    /// The name of a preset; null behind the last.
    virtual const char16_t* Preset(uint32_t index, Parts* parts) const = 0;
    virtual Parts Default(const std::string& ending, const _qmwaveformat& source) const = 0;
    virtual bool IsPossible(const Parts& parts) const = 0;
    /// Empty for what is none.
    virtual std::string Extensions(const Data& settings) const = 0;
    virtual std::vector<FIOTEMPLATEFIELD> Fields(const Parts& parts) const = 0;
    /// What of the renderer's own data follows from a choice.
    virtual void Change(uint32_t field, uint32_t value, Parts& parts) const = 0;
    virtual HRESULT Begin(int descriptor, const std::string& ending, const Data& settings,
                          const _qmwaveformat& format, IQmRenderFile** out) const = 0;

private:
    HRESULT Make(const char16_t* name, const Parts& parts, tagQMTEMPLATExV2** out,
                 const char16_t* notes = u"") const {
        const HRESULT hr =
            QmFio_GenerateTemplate(out, &m_id, &parts.settings, sizeof parts.settings, name, notes);
        if (Failed(hr)) return hr;
        QmFio_InitBasicAudioTemplate(*out, &parts.format);
        (*out)->audio.bitRate = parts.bitRate;
        return QmFio_InitGUIDFromTemplateMD5DataHash(&(*out)->id, *out, 1);
    }
    /// False for what was made by another, or for other than one stream of sound.
    bool Take(const tagQMTEMPLATExV2* settings, Parts* parts) const {
        if (!IsSoundTemplate(settings) || settings->dataSize != sizeof parts->settings ||
            settings->renderer != m_id || settings->audio.size == 0 || settings->audio.streams != 1)
            return false;
        parts->format = settings->audio.format;
        parts->bitRate = settings->audio.bitRate;
        std::memcpy(&parts->settings, settings->Data(), sizeof parts->settings);
        return true;
    }

    const GUID m_id;
};

}  // namespace tarn
