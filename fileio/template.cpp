#include "fileio/template.h"

#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/memory.h"
#include "platform/stream.h"

#include <algorithm>
#include <cstring>
#include <memory>

using namespace tarn;

namespace {

constexpr uint32_t HEAD = sizeof(tagQMTEMPLATExV2), SMALLEST = HEAD + 4;

uint64_t TextOffset(uint64_t dataSize) { return HEAD + ((dataSize + 3) & ~uint64_t{3}); }

bool IsPart(uint32_t size) { return size == 0 || size == FIO_TEMPLATE_PART_BYTES; }

/// Both texts of a sound block, as far as there are any.
struct Texts {
    std::u16string_view name, notes;
};
Texts TextsOf(const tagQMTEMPLATExV2& t) {
    const auto* at =
        reinterpret_cast<const char16_t*>(reinterpret_cast<const uint8_t*>(&t) + TextOffset(t.dataSize));
    const std::u16string_view all(at, t.textChars);
    const std::u16string_view name = all.substr(0, all.find(u'\0'));
    const std::u16string_view rest = all.substr(std::min(name.size() + 1, all.size()));
    return {name, rest.substr(0, rest.find(u'\0'))};
}

void SetTexts(tagQMTEMPLATExV2& t, std::u16string_view name, std::u16string_view notes) {
    auto* at = reinterpret_cast<char16_t*>(reinterpret_cast<uint8_t*>(&t) + TextOffset(t.dataSize));
    std::fill_n(at, t.textChars, u'\0');
    std::ranges::copy(name, at);
    std::ranges::copy(notes, at + name.size() + 1);
}

OwnedTemplate NewBlock(uint64_t dataSize, size_t texts) {
    const uint64_t size = TextOffset(dataSize) + (texts + 2) * sizeof(char16_t);
    if (size > FIO_TEMPLATE_LARGEST) throw std::bad_alloc();
    OwnedTemplate block(static_cast<tagQMTEMPLATExV2*>(CoTaskMemAlloc(size)));
    if (!block) throw std::bad_alloc();
    block->size = static_cast<uint32_t>(size);
    block->dataSize = static_cast<uint32_t>(dataSize);
    block->textChars = static_cast<uint32_t>(texts + 2);
    return block;
}

OwnedTemplate BlockOf(std::span<const uint8_t> bytes) {
    OwnedTemplate block(static_cast<tagQMTEMPLATExV2*>(CoTaskMemAlloc(bytes.size())));
    if (!block) throw std::bad_alloc();
    std::memcpy(static_cast<void*>(block.get()), bytes.data(), bytes.size());
    return block;
}

std::span<const uint8_t> BytesOf(const tagQMTEMPLATExV2* t) {
    return {reinterpret_cast<const uint8_t*>(t), t->size};
}

HRESULT Check(const tagQMTEMPLATExV2* t) {
    if (!t) return MEDIA_E_NO_TEMPLATE;
    return IsSoundTemplate(t) ? S_OK : MEDIA_E_BAD_TEMPLATE;
}

}  // namespace

bool tarn::IsSoundTemplate(std::span<const uint8_t> bytes) {
    if (bytes.size() < SMALLEST) return false;
    tagQMTEMPLATExV2 head{};
    std::memcpy(&head, bytes.data(), sizeof head);
    const uint64_t length = bytes.size();
    return head.size <= length && head.size >= SMALLEST && head.version >> 24 == FIO_TEMPLATE_V2 >> 24 &&
           TextOffset(head.dataSize) + uint64_t{head.textChars} * sizeof(char16_t) <= head.size &&
           IsPart(head.audio.size) && IsPart(head.video.size);
}

bool tarn::IsSoundTemplate(const tagQMTEMPLATExV2* settings) {
    return settings && IsSoundTemplate(BytesOf(settings));
}

std::u16string tarn::TemplateName(const tagQMTEMPLATExV2& settings) {
    return std::u16string(TextsOf(settings).name);
}
std::u16string tarn::TemplateNotes(const tagQMTEMPLATExV2& settings) {
    return std::u16string(TextsOf(settings).notes);
}

HRESULT QmFio_LoadTemplateData(tagQMTEMPLATExV2** settings, const char16_t* file) {
    if (!settings || !file) return E_POINTER;
    *settings = nullptr;
    return Guarded([&]() -> HRESULT {
        const std::filesystem::path path = PathFromWide(file);
        std::error_code unknown;
        const uintmax_t length = std::filesystem::file_size(path, unknown);
        if (unknown) return MEDIA_E_OPEN;
        if (length == 0 || length > UINT32_MAX) return MEDIA_E_UNKNOWN_FORMAT;
        std::string bytes, error;
        if (!ReadWholeFile(path, UINT32_MAX, bytes, error)) return MEDIA_E_READ;
        if (bytes.size() < SMALLEST) return MEDIA_E_UNKNOWN_FORMAT;
        OwnedTemplate block = BlockOf({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
        if (block->size > bytes.size() || block->version < FIO_TEMPLATE_V1) return MEDIA_E_UNKNOWN_FORMAT;
        // Of other versions no more is known than that they are some.
        if (block->version >> 24 == FIO_TEMPLATE_V2 >> 24) {
            if (block->size < SMALLEST) return MEDIA_E_UNKNOWN_FORMAT;
            // A size that was not kept up with the texts behind it.
            block->size = static_cast<uint32_t>(bytes.size());
            if (!IsSoundTemplate(block.get())) return MEDIA_E_UNKNOWN_FORMAT;
        }
        *settings = block.release();
        return S_OK;
    });
}

HRESULT QmFio_LoadTemplateData(tagQMTEMPLATExV2** settings, IStream* stream, uint32_t size,
                               const GUID* renderer) {
    if (!settings || !stream) return E_POINTER;
    *settings = nullptr;
    if (size < HEAD || size > FIO_TEMPLATE_LARGEST) return MEDIA_E_UNKNOWN_FORMAT;
    return Guarded([&]() -> HRESULT {
        OwnedTemplate block(static_cast<tagQMTEMPLATExV2*>(CoTaskMemAlloc(size)));
        uint32_t got = 0;
        if (!block) return E_OUTOFMEMORY;
        if (Failed(stream->Read(block.get(), size, &got)) || got != size) return MEDIA_E_READ;
        if (!IsSoundTemplate({reinterpret_cast<const uint8_t*>(block.get()), size}))
            return MEDIA_E_UNKNOWN_FORMAT;
        if (renderer && block->renderer != *renderer) return MEDIA_E_BAD_TEMPLATE;
        *settings = block.release();
        return S_OK;
    });
}

extern "C" {

HRESULT QmFio_MakeTemplate(tagQMTEMPLATExV2** settings, uint32_t version, const tagQMTEMPLATExV2* source,
                           uint32_t flags, uint32_t extraData, const char16_t* name, const char16_t* notes) {
    if (!settings) return E_POINTER;
    if (const HRESULT hr = Check(source); Failed(hr)) return hr;
    return Guarded([&]() -> HRESULT {
        // The texts may lie in the block that is written over.
        const std::u16string newName(name ? name : u"");
        const std::u16string newNotes(notes ? QmFio_SkipDescriptionInTemplateNotesText(notes) : u"");
        const size_t texts = newName.size() + newNotes.size();
        const uint64_t dataSize = uint64_t{source->dataSize} + extraData;
        tagQMTEMPLATExV2* old = *settings;
        OwnedTemplate made;
        tagQMTEMPLATExV2* block = old;
        const bool isReused =
            IsSoundTemplate(old) && old->textChars >= texts + 2 && old->dataSize == dataSize;
        if (!isReused) {
            made = NewBlock(dataSize, texts);
            block = made.get();
        } else if (old != source) {
            std::memset(reinterpret_cast<uint8_t*>(old) + offsetof(tagQMTEMPLATExV2, version), 0,
                        offsetof(tagQMTEMPLATExV2, textChars) - offsetof(tagQMTEMPLATExV2, version));
            std::memset(old->Data(), 0, old->dataSize);
        }
        SetTexts(*block, newName, newNotes);
        block->version = version;
        std::ranges::copy(source->identifier, block->identifier);
        block->id = source->id;
        if (flags & FIO_TEMPLATE_AUDIO) block->audio = source->audio;
        if (flags & FIO_TEMPLATE_VIDEO) block->video = source->video;
        std::ranges::copy(source->block1, block->block1);
        std::ranges::copy(source->block2, block->block2);
        std::ranges::copy(source->block3, block->block3);
        if (dataSize) {
            block->renderer = source->renderer;
            std::memmove(block->Data(), source->Data(), source->dataSize);
        }
        if (isReused) return S_OK;
        *settings = made.release();
        CoTaskMemFree(old);
        return S_OK;
    });
}

HRESULT QmFio_CopyTemplate(tagQMTEMPLATExV2** target, const tagQMTEMPLATExV2* source) {
    if (!target) return E_POINTER;
    *target = nullptr;
    if (const HRESULT hr = Check(source); Failed(hr)) return hr;
    return Guarded([&] { return *target = BlockOf(BytesOf(source)).release(), S_OK; });
}

HRESULT QmFio_SetTemplate(tagQMTEMPLATExV2** target, const tagQMTEMPLATExV2* source) {
    if (!target) return E_POINTER;
    tagQMTEMPLATExV2* copy = nullptr;
    if (const HRESULT hr = QmFio_CopyTemplate(&copy, source); Failed(hr)) return hr;
    CoTaskMemFree(*target);
    *target = copy;
    return S_OK;
}

HRESULT QmFio_GenerateTemplate(tagQMTEMPLATExV2** target, const GUID* renderer, const void* data,
                               uint32_t dataSize, const char16_t* name, const char16_t* notes) {
    if (!target || !renderer || (!data && dataSize)) return E_POINTER;
    *target = nullptr;
    return Guarded([&] {
        const std::u16string newName(name ? name : u""), newNotes(notes ? notes : u"");
        OwnedTemplate made = NewBlock(dataSize, newName.size() + newNotes.size());
        made->version = FIO_TEMPLATE_V2;
        made->renderer = *renderer;
        if (dataSize) std::memcpy(made->Data(), data, dataSize);
        SetTexts(*made, newName, newNotes);
        *target = made.release();
        return S_OK;
    });
}

HRESULT QmFio_InitBasicTemplate(tagQMTEMPLATExV2* settings) {
    if (!settings) return MEDIA_E_NO_TEMPLATE;
    settings->audio = {};
    settings->video = {};
    return S_OK;
}

HRESULT QmFio_InitBasicAudioTemplate(tagQMTEMPLATExV2* settings, const _qmwaveformat* format) {
    if (!format) return E_POINTER;
    if (const HRESULT hr = QmFio_InitBasicTemplate(settings); Failed(hr)) return hr;
    settings->audio.size = FIO_TEMPLATE_PART_BYTES;
    settings->audio.streams = 1;
    QmAudio_GeneralCopyQmWaveFormat(&settings->audio.format,
                                    sizeof settings->audio.format + sizeof settings->audio.codec, format);
    return S_OK;
}

HRESULT QmFio_SaveTemplateData(const tagQMTEMPLATExV2* settings, const char16_t* file) {
    if (!file) return E_POINTER;
    if (const HRESULT hr = Check(settings); Failed(hr)) return hr;
    return Guarded([&] {
        const auto bytes = BytesOf(settings);
        std::string error;
        return ReplaceFile(PathFromWide(file), {reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                           error)
                   ? S_OK
                   : MEDIA_E_WRITE;
    });
}

HRESULT QmFio_LoadRawUserTemplate(const GUID* renderer, const char16_t* file, tagQMTEMPLATExV2** settings) {
    if (!renderer || !settings) return E_POINTER;
    tagQMTEMPLATExV2* loaded = nullptr;
    HRESULT hr = QmFio_LoadTemplateData(&loaded, file);
    OwnedTemplate block(loaded);
    *settings = nullptr;
    if (Failed(hr)) return hr;
    if (loaded->version >> 24 == FIO_TEMPLATE_V1 >> 24) {
        tagQMTEMPLATExV2* uplifted = nullptr;
        hr = QmFio_UpliftTemplateV1(&uplifted, reinterpret_cast<const tagQMTEMPLATEV1*>(loaded));
        block.reset(uplifted);
        if (Failed(hr)) return hr;
        if (uplifted->renderer != *renderer) return MEDIA_E_BAD_TEMPLATE;
        *settings = block.release();
        return S_OK;
    }
    if (!IsSoundTemplate(loaded) || loaded->renderer != *renderer) return MEDIA_E_BAD_TEMPLATE;
    hr = QmFio_InitGUIDFromTemplateMD5DataHash(&loaded->id, loaded, 1);
    if (Failed(hr)) return hr;
    *settings = block.release();
    return S_OK;
}

}  // extern "C"
