#include "fileio/template_list.h"

#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/guid_text.h"
#include "platform/memory.h"
#include "platform/text.h"
#include "platform/user_folders.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

using namespace tarn;

namespace fs = std::filesystem;

struct FIOTEMPLATECACHE {
    HQMLIST list = nullptr;
    ~FIOTEMPLATECACHE() { QmList_Destroy(list); }
};

namespace {

constexpr char ENDING[] = ".tarn-template";
constexpr int32_t METRIC_LAST_TEMPLATE = 2010;

using Templates = std::vector<OwnedTemplate>;

fs::path FolderOf(const GUID& renderer) {
    const fs::path data = UserDataFolder();
    return data.empty() ? data : data / "Tarn" / "Render Templates" / GuidText(renderer);
}

/// The name as a file's: what a folder or a system might take amiss is written in digits.
fs::path FileOf(const GUID& renderer, std::u16string_view name) {
    std::string file;
    for (const char c : Utf8FromUtf16(name)) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isFine = byte > ' ' && c != '/' && c != '%' && c != '\\' && c != ':' && c != '.';
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
        file += isFine || c == ' ' ? std::string(1, c) : std::string(escaped);
    }
    return FolderOf(renderer) / (file + ENDING);
}

Templates PresetsOf(IQmRenderFileClass& renderer, const GUID& id) {
    constexpr uint32_t MOST = 10000;  // one that never ends
    Templates presets;
    for (uint32_t i = 0; i < MOST; i++) {
        tagQMTEMPLATExV2* made = nullptr;
        const HRESULT hr = renderer.GetPreset(i, &made);
        OwnedTemplate preset(made);
        if (hr != S_OK) break;
        if (!IsSoundTemplate(made) || made->renderer != id) continue;
        if (made->id == GUID{} && Failed(QmFio_InitGUIDFromTemplateMD5DataHash(&made->id, made, 1))) continue;
        presets.push_back(std::move(preset));
    }
    return presets;
}

Templates UserTemplatesOf(const GUID& renderer) {
    std::vector<fs::path> files;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(FolderOf(renderer), ignored))
        if (entry.path().extension() == ENDING) files.push_back(entry.path());
    std::ranges::sort(files);
    Templates found;
    for (const fs::path& file : files) {
        tagQMTEMPLATExV2* loaded = nullptr;
        if (Succeeded(QmFio_LoadRawUserTemplate(&renderer, WideFromPath(file).c_str(), &loaded)))
            found.emplace_back(loaded);
    }
    return found;
}

HRESULT AllOf(IQmFileIOMgrForApp* manager, const GUID* renderer, Templates* all) {
    if (!manager || !renderer) return E_POINTER;
    ComPtr<IQmRenderFileClass> code;
    if (const HRESULT hr = manager->GetRendererClass(*renderer, code.Out()); Failed(hr)) return hr;
    *all = PresetsOf(*code, *renderer);
    for (OwnedTemplate& t : UserTemplatesOf(*renderer))
        if (Succeeded(code->CheckTemplate(t.get()))) all->push_back(std::move(t));
    return S_OK;
}

HRESULT AddTo(HQMLIST list, const tagQMTEMPLATExV2& t) {
    return QmList_AllocAndInsertItem(list, &t, t.size, -1, nullptr);
}

template <class Matches>
HRESULT FindOne(IQmFileIOMgrForApp* manager, const GUID* renderer, tagQMTEMPLATExV2** out, Matches matches) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Guarded([&]() -> HRESULT {
        Templates all;
        if (const HRESULT hr = AllOf(manager, renderer, &all); Failed(hr)) return hr;
        const auto it = std::ranges::find_if(all, [&](const OwnedTemplate& t) { return matches(*t); });
        if (it == all.end()) return MEDIA_E_NOT_FOUND;
        *out = it->release();
        return S_OK;
    });
}

bool HasPart(const tagQMTEMPLATExV2& t, uint32_t mask) {
    return mask == 0 || ((mask & FIO_TEMPLATE_AUDIO) && t.audio.size && t.audio.streams) ||
           ((mask & FIO_TEMPLATE_VIDEO) && t.video.size && t.video.streams);
}

std::unique_ptr<FIOTEMPLATECACHE> MakeCache(IQmFileIOMgrForApp* manager, const GUID* renderer, HRESULT* hr) {
    auto cache = std::make_unique<FIOTEMPLATECACHE>();
    *hr = QmList_CreateExZ(&cache->list, 0, -1, -1, QMLIST_HEAP, 0, 0, 0);
    if (Succeeded(*hr)) *hr = QmFio_GetTemplateList(manager, renderer, cache->list);
    return cache;
}

}  // namespace

extern "C" {

HRESULT QmFio_GetTemplateList(IQmFileIOMgrForApp* manager, const GUID* renderer, HQMLIST list) {
    return QmFio_GetFilteredTemplateList(manager, renderer, list, 0, nullptr, 0, 0);
}

HRESULT QmFio_GetFilteredTemplateList(IQmFileIOMgrForApp* manager, const GUID* renderer, HQMLIST list,
                                      uint32_t mask, FIOTEMPLATEPROC predicate, uintptr_t context,
                                      BOOL flag) {
    if (!list) return E_POINTER;
    return Guarded([&]() -> HRESULT {
        Templates all;
        if (const HRESULT hr = AllOf(manager, renderer, &all); Failed(hr)) return hr;
        tagQMTEMPLATExV2* usual = nullptr;
        if (flag && Succeeded(QmFio_MakeProjectDefaultTemplate(manager, renderer, &usual)))
            all.emplace(all.begin(), usual);
        for (const OwnedTemplate& t : all)
            if (HasPart(*t, mask) && (!predicate || predicate(context, t.get())))
                if (const HRESULT hr = AddTo(list, *t); Failed(hr)) return hr;
        return S_OK;
    });
}

HRESULT QmFio_GetTemplate(IQmFileIOMgrForApp* manager, const GUID* renderer, uint32_t index,
                          tagQMTEMPLATExV2** out) {
    return FindOne(manager, renderer, out, [&](const tagQMTEMPLATExV2&) { return index-- == 0; });
}

HRESULT QmFio_GetTemplateByName(IQmFileIOMgrForApp* manager, const GUID* renderer, const char16_t* name,
                                tagQMTEMPLATExV2** out) {
    if (!name) return E_POINTER;
    if (std::u16string_view(name) == FIO_DEFAULT_TEMPLATE)
        return QmFio_MakeProjectDefaultTemplate(manager, renderer, out);
    return FindOne(manager, renderer, out,
                   [&](const tagQMTEMPLATExV2& t) { return TemplateName(t) == name; });
}

HRESULT QmFio_GetTemplateByGuid(IQmFileIOMgrForApp* manager, const GUID* renderer, const GUID* id,
                                tagQMTEMPLATExV2** out) {
    if (!id) return E_POINTER;
    return FindOne(manager, renderer, out, [&](const tagQMTEMPLATExV2& t) { return t.id == *id; });
}

BOOL QmFio_IsTemplateAPreset(IQmFileIOMgrForApp* manager, const tagQMTEMPLATExV2* settings) {
    bool isPreset = false;
    Guarded([&] {
        ComPtr<IQmRenderFileClass> code;
        if (!manager || !IsSoundTemplate(settings) ||
            Failed(manager->GetRendererClass(settings->renderer, code.Out())))
            return E_INVALIDARG;
        for (const OwnedTemplate& t : PresetsOf(*code, settings->renderer))
            isPreset = isPreset || TemplateName(*t) == TemplateName(*settings);
        return S_OK;
    });
    return isPreset;
}

HRESULT QmFio_MakeProjectDefaultTemplate(IQmFileIOMgrForApp* manager, const GUID* renderer,
                                         tagQMTEMPLATExV2** out) {
    if (!manager || !renderer || !out) return E_POINTER;
    *out = nullptr;
    ComPtr<IQmRenderFileClass> code;
    if (const HRESULT hr = manager->GetRendererClass(*renderer, code.Out()); Failed(hr)) return hr;
    _qmwaveformat plain{};
    plain.Init(44100, QMSAMPLE_PCM16, 2, 0, sizeof plain);
    tagQMTEMPLATExV2* made = nullptr;
    HRESULT hr = code->GetDefault(u"", &plain, &made);
    OwnedTemplate block(made);
    if (Failed(hr)) return hr;
    if (!IsSoundTemplate(made) || made->renderer != *renderer) return MEDIA_E_BAD_TEMPLATE;
    hr = QmFio_MakeTemplate(out, FIO_TEMPLATE_V2, made, FIO_TEMPLATE_AUDIO | FIO_TEMPLATE_VIDEO, 0,
                            FIO_DEFAULT_TEMPLATE, u"");
    return Failed(hr) ? hr : QmFio_InitGUIDFromTemplateMD5DataHash(&(*out)->id, *out, 1);
}

HRESULT QmFio_SaveUserTemplate(IQmFileIOMgrForApp* manager, const tagQMTEMPLATExV2* settings) {
    if (!manager) return E_POINTER;
    if (!settings) return MEDIA_E_NO_TEMPLATE;
    if (!IsSoundTemplate(settings)) return MEDIA_E_BAD_TEMPLATE;
    return Guarded([&]() -> HRESULT {
        const std::u16string name = TemplateName(*settings);
        if (name.empty() || name == FIO_DEFAULT_TEMPLATE || QmFio_IsTemplateAPreset(manager, settings))
            return E_INVALIDARG;
        ComPtr<IQmRenderFileClass> code;
        if (const HRESULT hr = manager->GetRendererClass(settings->renderer, code.Out()); Failed(hr))
            return hr;
        if (Failed(code->CheckTemplate(settings))) return MEDIA_E_BAD_TEMPLATE;
        const fs::path folder = FolderOf(settings->renderer);
        if (folder.empty()) return MEDIA_E_WRITE;
        std::error_code ignored;
        fs::create_directories(folder, ignored);
        return QmFio_SaveTemplateData(settings, WideFromPath(FileOf(settings->renderer, name)).c_str());
    });
}

HRESULT QmFio_DeleteUserTemplate(const GUID* renderer, const char16_t* name) {
    if (!renderer || !name) return E_POINTER;
    return Guarded([&] {
        std::error_code failed;
        return fs::remove(FileOf(*renderer, name), failed) ? S_OK
               : failed                                    ? MEDIA_E_WRITE
                                                           : MEDIA_E_NOT_FOUND;
    });
}

HRESULT QmFio_SaveAppLastUsedTemplate(IQmFileIOMgrForApp* manager, const tagQMTEMPLATExV2* settings) {
    if (!manager) return E_POINTER;
    if (!settings) return MEDIA_E_NO_TEMPLATE;
    if (!IsSoundTemplate(settings)) return MEDIA_E_BAD_TEMPLATE;
    return manager->SetMetricBinary(METRIC_LAST_TEMPLATE, settings, settings->size);
}

HRESULT QmFio_LoadAppLastUsedTemplate(IQmFileIOMgrForApp* manager, tagQMTEMPLATExV2** out) {
    if (!manager || !out) return E_POINTER;
    *out = nullptr;
    return Guarded([&]() -> HRESULT {
        std::vector<uint8_t> bytes(sizeof(tagQMTEMPLATExV2));
        uint32_t size = 0;
        HRESULT hr = S_OK;
        // The first asks for the size.
        for (int i = 0; i < 2; i++) {
            hr = manager->GetMetricBinary(METRIC_LAST_TEMPLATE, bytes.data(),
                                          static_cast<uint32_t>(bytes.size()), &size);
            if (hr != MEDIA_E_NO_ROOM || size > FIO_TEMPLATE_LARGEST) break;
            bytes.resize(size);
        }
        if (hr != S_OK) return MEDIA_E_NOT_FOUND;
        bytes.resize(size);
        if (!IsSoundTemplate(bytes)) return MEDIA_E_BAD_TEMPLATE;
        const auto* block = reinterpret_cast<const tagQMTEMPLATExV2*>(bytes.data());
        return QmFio_CopyTemplate(out, block);
    });
}

HRESULT QmFio_DeleteAppLastUsedTemplate(IQmFileIOMgrForApp* manager) {
    return manager ? manager->DeleteMetric(METRIC_LAST_TEMPLATE) : E_POINTER;
}

HRESULT QmFio_GetGlobalTemplateCache(IQmFileIOMgrForApp* manager, const GUID* renderer,
                                     FIOTEMPLATECACHE** out) {
    if (!manager || !renderer || !out) return E_POINTER;
    *out = nullptr;
    return Guarded([&] {
        static std::mutex lock;
        static std::map<std::string, std::unique_ptr<FIOTEMPLATECACHE>> caches;
        const std::lock_guard guard(lock);
        std::unique_ptr<FIOTEMPLATECACHE>& cache = caches[GuidText(*renderer)];
        HRESULT hr = S_OK;
        if (!cache) cache = MakeCache(manager, renderer, &hr);
        if (Failed(hr))
            cache.reset();
        else
            *out = cache.get();
        return hr;
    });
}

HRESULT QmFio_CreatePrivateTemplateCache(IQmFileIOMgrForApp* manager, const GUID* renderer,
                                         FIOTEMPLATECACHE** out) {
    if (!manager || !renderer || !out) return E_POINTER;
    *out = nullptr;
    return Guarded([&] {
        HRESULT hr = S_OK;
        std::unique_ptr<FIOTEMPLATECACHE> cache = MakeCache(manager, renderer, &hr);
        if (Succeeded(hr)) *out = cache.release();
        return hr;
    });
}

void QmFio_FreeTemplateCache(FIOTEMPLATECACHE* cache) { delete cache; }

const tagQMTEMPLATExV2* QmFio_GetTemplateByNameNoCopy(FIOTEMPLATECACHE* cache, const char16_t* name) {
    if (!cache || !name) return nullptr;
    for (const tagQMTEMPLATExV2* t : QmList_Pointers<tagQMTEMPLATExV2>(cache->list))
        if (TemplateName(*t) == name) return t;
    return nullptr;
}

}  // extern "C"
