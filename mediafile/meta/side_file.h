// Side files: a RIFF file beside a medium that cannot hold chunks, with its metadata and, in "QMPI", the name
// of the medium that it belongs to.
#pragma once

#include "kernel/list.h"
#include "mediafile/media_codes.h"
#include "platform/file_handle.h"

#include <functional>
#include <string>

namespace tarn {

/// The side file of a medium, made where it is not there.
QM_API HRESULT OpenSideFile(const char16_t* mediaPath, std::u16string* sidePath);
/// Replaces the side file, or makes it, by what `change` makes of a copy: it is there as it was or as it
/// becomes, whatever happens to the process. MEDIA_E_OPEN where another's file has its name.
QM_API HRESULT RewriteSideFile(const char16_t* mediaPath, const std::function<HRESULT(HQMFILE copy)>& change);

}  // namespace tarn

extern "C" {

/// ".qml" behind the whole name, which is shortened where `capacity` units have no room for both, or in the
/// place of the extension. E_INVALIDARG where not even the suffix fits.
QM_API HRESULT QmFMMeta_CreateMetaName(const char16_t* path, char16_t* out, uint32_t capacity, BOOL append);
/// Whether the file names the medium as the one that it belongs to.
QM_API BOOL QmFMMeta_IsMetaFile(const char16_t* mediaPath, const char16_t* metaPath);
/// After a medium was renamed.
QM_API HRESULT QmFMMeta_ChangeAttachedFilename(const char16_t* metaPath, const char16_t* newName);
/// Appends the path of the medium's side file, when there is one that names it, to a heap list of texts;
/// S_FALSE when there is none.
QM_API HRESULT QmFMMeta_AttachFileToExternList(const char16_t* mediaPath, HQMLIST paths);
/// Whether a wave or Wave64 file, or the side file of another, has markers.
QM_API BOOL QmFMMeta_LookForMarkers(const char16_t* path);

}  // extern "C"
