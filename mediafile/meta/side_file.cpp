#include "mediafile/meta/side_file.h"

#include "mediafile/meta/meta_form.h"
#include "mediafile/riff.h"
#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <memory>

using namespace tarn;

namespace {

constexpr uint32_t QMPI = FourCC("QMPI"), QMML = FourCC("QMML");
constexpr size_t MOST_NAME = 259, LONGEST = size_t{1} << 30;
constexpr std::u16string_view SUFFIX = u".qml";

std::u16string_view NameOf(std::u16string_view path) {
    const size_t slash = path.find_last_of(u'/');
    return slash == path.npos ? path : path.substr(slash + 1);
}

std::string AnsiName(const char16_t* path) { return Windows1252FromUtf16(NameOf(path)).substr(0, MOST_NAME); }

std::u16string SideName(std::u16string_view path, bool append) {
    const size_t name = path.size() - NameOf(path).size(), dot = path.find_last_of(u'.');
    const bool hasExtension = dot != path.npos && dot > name;
    return std::u16string(append || !hasExtension ? path : path.substr(0, dot)) + std::u16string(SUFFIX);
}

bool HasMarkers(HQMFILE file, bool isWave64) {
    uint64_t size = 0;
    MetaForm form(file, isWave64);
    return Succeeded(form.Find(FourCC("cue "), false, &size)) && size >= 4;
}

HRESULT Begin(HQMFILE file, const char16_t* mediaPath) {
    const std::string name = AnsiName(mediaPath) + '\0';
    if (Failed(riff_WriteFileID(file, QMML, 4))) return MEDIA_E_WRITE;
    return MetaForm(file, false)
        .Append(QMPI, false, {reinterpret_cast<const uint8_t*>(name.data()), name.size()});
}

}  // namespace

namespace tarn {

HRESULT OpenSideFile(const char16_t* mediaPath, std::u16string* sidePath) {
    *sidePath = SideName(mediaPath, true);
    if (QmFMMeta_IsMetaFile(mediaPath, sidePath->c_str())) return S_OK;
    return RewriteSideFile(mediaPath, [](HQMFILE) { return S_OK; });
}

HRESULT RewriteSideFile(const char16_t* mediaPath, const std::function<HRESULT(HQMFILE copy)>& change) {
    const std::u16string side = SideName(mediaPath, true);
    const bool isOurs = QmFMMeta_IsMetaFile(mediaPath, side.c_str());
    // A file of that name which does not name the medium is somebody else's.
    if (!isOurs && StampOf(PathFromWide(side))) return MEDIA_E_OPEN;
    std::string content, error;
    if (isOurs && !ReadWholeFile(PathFromWide(side), LONGEST, content, error)) return MEDIA_E_READ;
    ReplacingFile replacing;
    if (!replacing.Open(PathFromWide(side), error, ReplacingFile::Over::WhatWasThere)) return MEDIA_E_OPEN;
    const OwnedFile file(QmFile_OpenDescriptor(replacing.Descriptor()));
    if (!file) return MEDIA_E_OPEN;
    if (isOurs) {
        if (!replacing.Write(content, error)) return MEDIA_E_WRITE;
    } else if (const HRESULT hr = Begin(file.get(), mediaPath); Failed(hr)) {
        return hr;
    }
    if (const HRESULT hr = change(file.get()); Failed(hr)) return hr;
    return replacing.Commit(error) ? S_OK : MEDIA_E_WRITE;
}

}  // namespace tarn

extern "C" {

HRESULT QmFMMeta_CreateMetaName(const char16_t* path, char16_t* out, uint32_t capacity, BOOL append) {
    return Guarded([&] {
        if (!path || !out || capacity <= SUFFIX.size()) return E_INVALIDARG;
        std::u16string name = SideName(path, append);
        if (name.size() >= capacity)
            name = name.substr(0, capacity - 1 - SUFFIX.size()) + std::u16string(SUFFIX);
        CopyText(out, capacity, name.c_str());
        return S_OK;
    });
}

BOOL QmFMMeta_IsMetaFile(const char16_t* mediaPath, const char16_t* metaPath) try {
    const OwnedFile file(QmFile_Open(metaPath, FILE_ACCESS_READ, FILE_OPEN_EXISTING));
    if (!file) return 0;
    MetaBytes name;
    if (Failed(MetaForm(file.get(), false).Read(QMPI, false, &name)) || name.empty()) return 0;
    return AnsiUpToZero(std::span(name).first(std::min(name.size(), MOST_NAME))) == AnsiName(mediaPath);
} catch (const std::bad_alloc&) {
    return 0;
}

HRESULT QmFMMeta_ChangeAttachedFilename(const char16_t* metaPath, const char16_t* newName) {
    return Guarded([&] {
        const OwnedFile file(QmFile_Open(metaPath, FILE_ACCESS_READ_WRITE, FILE_OPEN_EXISTING));
        if (!file) return MEDIA_E_OPEN;
        if (const HRESULT hr = riff_DeleteChunk(file.get(), QMPI, nullptr, 0);
            Failed(hr) && hr != MEDIA_E_NOT_FOUND)
            return hr;
        const std::string name = AnsiName(newName) + '\0';
        return MetaForm(file.get(), false)
            .Append(QMPI, false, {reinterpret_cast<const uint8_t*>(name.data()), name.size()});
    });
}

HRESULT QmFMMeta_AttachFileToExternList(const char16_t* mediaPath, HQMLIST paths) {
    return Guarded([&] {
        for (const bool append : {true, false}) {
            const std::u16string side = SideName(mediaPath, append);
            if (side == mediaPath || !QmFMMeta_IsMetaFile(mediaPath, side.c_str())) continue;
            return QmList_AllocAndInsertItem(paths, side.c_str(), (side.size() + 1) * sizeof(char16_t), -1,
                                             nullptr);
        }
        return S_FALSE;
    });
}

BOOL QmFMMeta_LookForMarkers(const char16_t* path) try {
    const OwnedFile file(QmFile_Open(path, FILE_ACCESS_READ, FILE_OPEN_EXISTING));
    if (file && (HasMarkers(file.get(), false) || HasMarkers(file.get(), true))) return 1;
    for (const bool append : {true, false}) {
        const std::u16string side = SideName(path, append);
        if (side == path || !QmFMMeta_IsMetaFile(path, side.c_str())) continue;
        const OwnedFile beside(QmFile_Open(side.c_str(), FILE_ACCESS_READ, FILE_OPEN_EXISTING));
        if (beside && HasMarkers(beside.get(), false)) return 1;
    }
    return 0;
} catch (const std::bad_alloc&) {
    return 0;
}

}  // extern "C"
