#include "mediafile/meta/project_link.h"

#include "mediafile/meta/meta_form.h"
#include "mediafile/meta/meta_stream.h"
#include "mediafile/meta/side_file.h"
#include "mediafile/riff64.h"
#include "platform/guarded.h"
#include "platform/stream.h"
#include "platform/text.h"

#include <memory>

using namespace tarn;

namespace {

struct Part {
    uint32_t id;
    uint32_t present;      ///< 0 for a part without a bit
    bool onlyWhenPresent;  ///< else written with no bytes where there are none
};
/// In the order in which they are written.
constexpr Part PARTS[QMLINK_PARTS] = {
    {FourCC("splp"), 1, false},  {FourCC("spcl"), 2, false},   {FourCC("sprg"), 0, false},
    {FourCC("srtn"), 8, false},  {FourCC("srtd"), 16, false},  {FourCC("srat"), 32, true},
    {FourCC("spca"), 64, false}, {FourCC("spcc"), 256, false}, {FourCC("spem"), 128, false},
    {FourCC("splv"), 0, false},
};
constexpr QMLINK_PART VERSION_PART = QMLINK_VERSION;

HRESULT Load(HQMFILE file, bool isWave64, CQmLinkProjectInfo* info) {
    return Guarded([&] {
        info->FreeMemory();
        MetaForm form(file, isWave64);
        uint64_t size = 0;
        if (Failed(form.Find(PARTS[VERSION_PART].id, false, &size))) return MEDIA_E_NOT_FOUND;
        MetaBytes payload;
        for (uint32_t part = 0; part < QMLINK_PARTS; part++) {
            if (const HRESULT hr = form.Read(PARTS[part].id, false, &payload); Failed(hr)) return hr;
            if (payload.empty()) continue;
            const HRESULT hr = info->SetPart(static_cast<QMLINK_PART>(part), payload.data(),
                                             static_cast<uint32_t>(payload.size()));
            if (Failed(hr)) return hr;
        }
        return S_OK;
    });
}

HRESULT WriteInto(HQMFILE file, bool isWave64, const CQmLinkProjectInfo& info) {
    MetaForm form(file, isWave64);
    for (const Part& part : PARTS) {
        const GUID label = Wave64LabelOf(part.id);
        const HRESULT hr = isWave64 ? riff64_DeleteChunk(file, &label, nullptr)
                                    : riff_DeleteChunk(file, part.id, nullptr, 0);
        if (Failed(hr) && hr != MEDIA_E_NOT_FOUND) return hr;
    }
    for (uint32_t part = 0; part < QMLINK_PARTS; part++) {
        const auto payload = info.GetPart(static_cast<QMLINK_PART>(part));
        if (payload.empty() && PARTS[part].onlyWhenPresent) continue;
        if (const HRESULT hr = form.Append(PARTS[part].id, false, payload); Failed(hr)) return hr;
    }
    return S_OK;
}

HRESULT OpenAndWrite(const char16_t* path, bool isWave64, const CQmLinkProjectInfo* info) {
    return Guarded([&] {
        const OwnedFile file(QmFile_Open(path, FILE_ACCESS_READ_WRITE, FILE_OPEN_EXISTING));
        if (!file) return MEDIA_E_OPEN;
        uint64_t size = 0;
        uint8_t type[16];
        MetaForm form(file.get(), isWave64);
        if (Succeeded(form.Io().ReadForm(&size, type))) return WriteInto(file.get(), isWave64, *info);
        if (isWave64) return MEDIA_E_NO_RIFF;
        std::u16string side;
        if (const HRESULT hr = OpenSideFile(path, &side); Failed(hr)) return hr;
        const OwnedFile beside(QmFile_Open(side.c_str(), FILE_ACCESS_READ_WRITE, FILE_OPEN_EXISTING));
        return beside ? WriteInto(beside.get(), false, *info) : MEDIA_E_OPEN;
    });
}

}  // namespace

HRESULT CQmLinkProjectInfo::SetPart(QMLINK_PART part, const void* data, uint32_t size) {
    void* block = AllocPart(part, size);
    if (!block) return E_OUTOFMEMORY;
    std::memcpy(block, data, size);
    return S_OK;
}
HRESULT CQmLinkProjectInfo::SetText(QMLINK_PART part, const char16_t* text) {
    return SetPart(part, text, static_cast<uint32_t>((TextLength(text) + 1) * sizeof(char16_t)));
}
void* CQmLinkProjectInfo::AllocPart(QMLINK_PART part, uint32_t size) {
    auto* block = static_cast<uint8_t*>(MemAlloc(size));
    if (!block) return nullptr;
    MemFree(std::exchange(m_data[part], block));
    m_size[part] = size;
    m_present |= PARTS[part].present;
    return block;
}
HRESULT CQmLinkProjectInfo::WritePartToStream(QMLINK_PART part, IStream* stream) const {
    return Guarded([&] {
        if (!Has(part)) return S_OK;
        MetaWriter chunk;
        chunk.Chunk(PARTS[part].id, GetPart(part));
        uint32_t done = 0;
        const auto size = static_cast<uint32_t>(chunk.Bytes().size());
        return Succeeded(stream->Write(chunk.Bytes().data(), size, &done)) && done == size ? S_OK
                                                                                           : MEDIA_E_WRITE;
    });
}

HRESULT CQmLinkProjectInfo::Validate() const {
    const HRESULT hr = ValidateProjectLink();
    return Succeeded(hr) ? hr : ValidateProjectData();
}
HRESULT CQmLinkProjectInfo::ValidateProjectLink() const {
    constexpr uint32_t NEEDED = 1 | 2;
    if ((m_present & NEEDED) != NEEDED) return MEDIA_E_NO_PROJECT;
    HRESULT result = S_OK;
    for (uint32_t i = 0; i < QMLINK_PARTS; i++) {
        const bool isThere = Has(static_cast<QMLINK_PART>(i)), isTold = m_present & PARTS[i].present;
        if (isTold && !isThere) return MEDIA_E_NO_PROJECT;
        if (PARTS[i].present && !isTold && isThere) result = S_FALSE;
    }
    return result;
}
HRESULT CQmLinkProjectInfo::ValidateProjectData() const {
    return (m_present & PARTS[QMLINK_PROJECT_DATA].present) && Has(QMLINK_PROJECT_DATA) ? S_OK
                                                                                        : MEDIA_E_NO_PROJECT;
}
void CQmLinkProjectInfo::FreeMemory() {
    for (uint32_t i = 0; i < QMLINK_PARTS; i++) {
        MemFree(std::exchange(m_data[i], nullptr));
        m_size[i] = 0;
    }
    m_present = 0;
}

extern "C" {

HRESULT ProjectLinkRiff_LoadInfo(HQMFILE file, CQmLinkProjectInfo* info) { return Load(file, false, info); }
HRESULT ProjectLinkRiff64_LoadInfo(HQMFILE file, CQmLinkProjectInfo* info) { return Load(file, true, info); }

HRESULT ProjectLinkReadMeta_LoadInfo(IQmReadMeta* meta, CQmLinkProjectInfo* info) {
    return Guarded([&] {
        constexpr uint32_t PIECE = 1 << 16;
        info->FreeMemory();
        MetaBytes bytes;
        for (uint32_t got = PIECE; got == PIECE;) {
            bytes.resize(bytes.size() + PIECE);
            if (Failed(meta->Read(&bytes[bytes.size() - PIECE], PIECE, &got))) return MEDIA_E_READ;
            bytes.resize(bytes.size() - PIECE + got);
        }
        bool isLink = false;
        HRESULT hr = S_OK;
        ForEachChunk(bytes, [&](uint32_t id, std::span<const uint8_t> payload) {
            const auto* part = std::ranges::find(PARTS, id, &Part::id);
            if (part == std::end(PARTS) || payload.empty() || Failed(hr)) return;
            isLink = isLink || id == PARTS[VERSION_PART].id;
            hr = info->SetPart(static_cast<QMLINK_PART>(part - PARTS), payload.data(),
                               static_cast<uint32_t>(payload.size()));
        });
        return Failed(hr) ? hr : isLink ? S_OK : MEDIA_E_NOT_FOUND;
    });
}

HRESULT ProjectLinkRiff_openAndWriteInfo(const char16_t* path, const CQmLinkProjectInfo* info) {
    return OpenAndWrite(path, false, info);
}
HRESULT ProjectLinkRiff64_openAndWriteInfo(const char16_t* path, const CQmLinkProjectInfo* info) {
    return OpenAndWrite(path, true, info);
}

}  // extern "C"

namespace tarn {

HRESULT WriteProjectLinkFile(const char16_t* path, const CQmLinkProjectInfo& info) {
    return Guarded([&] {
        const OwnedFile file(QmFile_Open(path, FILE_ACCESS_READ_WRITE, FILE_CREATE_NEW));
        if (!file) return MEDIA_E_OPEN;
        if (Failed(riff_WriteFileID(file.get(), FourCC("QMPL"), 4))) return MEDIA_E_WRITE;
        return WriteInto(file.get(), false, info);
    });
}

}  // namespace tarn
