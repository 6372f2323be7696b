#include "fileio/template.h"
#include "platform/guarded.h"
#include "platform/stream.h"

#include <algorithm>
#include <cstring>

using namespace tarn;

namespace {

constexpr uint32_t HEAD_V1 = sizeof(tagQMTEMPLATEV1);

/// In an id of one that was made of the first version, and behind it two zeros.
constexpr uint64_t MARK_V1 = 0x110000801010;
constexpr size_t MARK_AT = 46 - offsetof(tagQMTEMPLATExV2, id);

size_t TextOffset(const tagQMTEMPLATEV1& t) { return HEAD_V1 + ((size_t{t.dataSize} + 3) & ~size_t{3}); }

/// By the block's own size, which the memory has.
bool IsSound(const tagQMTEMPLATEV1& t) {
    return t.size >= HEAD_V1 && t.size <= FIO_TEMPLATE_LARGEST && t.version >> 24 == FIO_TEMPLATE_V1 >> 24 &&
           t.dataSize <= t.size && TextOffset(t) + uint64_t{t.textChars} * sizeof(char16_t) <= t.size;
}

}  // namespace

extern "C" {

HRESULT QmFio_LoadTemplateDataV1(tagQMTEMPLATEV1** templateV1, IStream* stream, uint32_t size, BOOL hasSize) {
    if (!templateV1 || !stream) return E_POINTER;
    *templateV1 = nullptr;
    if (size < HEAD_V1 || size > FIO_TEMPLATE_LARGEST) return MEDIA_E_UNKNOWN_FORMAT;
    auto* block = static_cast<tagQMTEMPLATEV1*>(CoTaskMemAlloc(size));
    if (!block) return E_OUTOFMEMORY;
    block->size = size;
    const uint32_t known = hasSize ? static_cast<uint32_t>(sizeof block->size) : 0;
    uint32_t got = 0;
    HRESULT hr = stream->Read(reinterpret_cast<uint8_t*>(block) + known, size - known, &got);
    hr = Failed(hr) || got != size - known        ? MEDIA_E_READ
         : block->size == size && IsSound(*block) ? S_OK
                                                  : MEDIA_E_UNKNOWN_FORMAT;
    if (Failed(hr)) return CoTaskMemFree(block), hr;
    *templateV1 = block;
    return S_OK;
}

HRESULT QmFio_UpliftTemplateV1(tagQMTEMPLATExV2** settings, const tagQMTEMPLATEV1* templateV1) {
    if (!settings) return E_POINTER;
    *settings = nullptr;
    if (!templateV1) return MEDIA_E_NO_TEMPLATE;
    const tagQMTEMPLATEV1& old = *templateV1;
    if (!IsSound(old)) return MEDIA_E_BAD_TEMPLATE;
    return Guarded([&]() -> HRESULT {
        const auto* at =
            reinterpret_cast<const char16_t*>(reinterpret_cast<const uint8_t*>(&old) + TextOffset(old));
        const std::u16string texts(at, old.textChars);
        const std::u16string name = texts.substr(0, texts.find(u'\0'));
        const std::u16string notes = texts.substr(std::min(name.size() + 1, texts.size()));
        tagQMTEMPLATExV2* made = nullptr;
        HRESULT hr = QmFio_GenerateTemplate(&made, &old.renderer, old.Data(), old.dataSize, name.c_str(),
                                            notes.c_str());
        OwnedTemplate block(made);
        if (Failed(hr)) return hr;
        std::ranges::copy(old.identifier, made->identifier);
        _qmwaveformat format = old.format;
        format.extraSize = 0;  // nothing of a codec's lies behind it here
        QmFio_InitBasicAudioTemplate(made, &format);
        made->audio.bitRate = old.bitRate;
        GUID id{};
        if (hr = QmFio_InitGUIDFromTemplateMD5DataHash(&id, made, 1); Failed(hr)) return hr;
        auto* bytes = reinterpret_cast<uint8_t*>(&id);
        std::memcpy(bytes + MARK_AT, &MARK_V1, sizeof MARK_V1);
        std::memset(bytes + MARK_AT + sizeof MARK_V1, 0, sizeof id - MARK_AT - sizeof MARK_V1);
        std::memcpy(&made->id, &id, sizeof id);
        *settings = block.release();
        return S_OK;
    });
}

BOOL QmFio_IsUpliftedV1Template(const tagQMTEMPLATExV2* settings) {
    if (!settings || settings->version != FIO_TEMPLATE_V2) return 0;
    uint8_t id[sizeof(GUID)];
    std::memcpy(id, &settings->id, sizeof id);
    uint64_t mark = 0;
    std::memcpy(&mark, id + MARK_AT, sizeof mark);
    return mark == MARK_V1 && id[14] == 0 && id[15] == 0;
}

}  // extern "C"
