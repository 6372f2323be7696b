// Lists of templates: as a stream, and those of a renderer, which are its presets and what the user has kept,
// a file each, in "Tarn/Render Templates" of the data folder.
//
// A list is a heap list of blocks (tagQMTEMPLATExV2). Renderers are named by their class ids. "Default
// Template" is the name of the project's default, which each renderer makes for plain stereo. [any-thread]
#pragma once

#include "fileio/manager.h"
#include "fileio/template.h"

struct IStream;

inline constexpr char16_t FIO_DEFAULT_TEMPLATE[] = u"Default Template";

/// 0 leaves the template out.
typedef BOOL (*FIOTEMPLATEPROC)(uintptr_t context, const tagQMTEMPLATExV2* settings);

/// Of one renderer, read once; for one thread at a time but for the global ones.
struct FIOTEMPLATECACHE;

extern "C" {

/// A head of 12 bytes, of which the last four count the blocks, and the blocks as they are now. It stands at
/// its start, is read alone, and can be cloned and copied to others.
QM_API HRESULT QmFio_MakeTemplateListIStream(HQMLIST list, IStream** out);
/// Adds the blocks of such a stream, from its start. What was added before a failure stays.
QM_API HRESULT QmFio_AddTemplatesToListFromIStream(HQMLIST list, IStream* stream);

/// Presets, then the user's by name. What is not sound or not the renderer's is left out.
QM_API HRESULT QmFio_GetTemplateList(IQmFileIOMgrForApp* manager, const GUID* renderer, HQMLIST list);
/// Those that have a part of the mask (0 for any) and pass the predicate, which may be null; with `flag` the
/// default comes first.
QM_API HRESULT QmFio_GetFilteredTemplateList(IQmFileIOMgrForApp* manager, const GUID* renderer, HQMLIST list,
                                             uint32_t mask, FIOTEMPLATEPROC predicate, uintptr_t context,
                                             BOOL flag);
/// MEDIA_E_NOT_FOUND for a place, a name or an id that there is not. Blocks are copies.
QM_API HRESULT QmFio_GetTemplate(IQmFileIOMgrForApp* manager, const GUID* renderer, uint32_t index,
                                 tagQMTEMPLATExV2** out);
QM_API HRESULT QmFio_GetTemplateByName(IQmFileIOMgrForApp* manager, const GUID* renderer,
                                       const char16_t* name, tagQMTEMPLATExV2** out);
QM_API HRESULT QmFio_GetTemplateByGuid(IQmFileIOMgrForApp* manager, const GUID* renderer, const GUID* id,
                                       tagQMTEMPLATExV2** out);
QM_API BOOL QmFio_IsTemplateAPreset(IQmFileIOMgrForApp* manager, const tagQMTEMPLATExV2* settings);
QM_API HRESULT QmFio_MakeProjectDefaultTemplate(IQmFileIOMgrForApp* manager, const GUID* renderer,
                                                tagQMTEMPLATExV2** out);

/// Under its name, in the place of one that the user has of that name. E_INVALIDARG without a name and for
/// that of a preset.
QM_API HRESULT QmFio_SaveUserTemplate(IQmFileIOMgrForApp* manager, const tagQMTEMPLATExV2* settings);
QM_API HRESULT QmFio_DeleteUserTemplate(const GUID* renderer, const char16_t* name);

/// What was rendered with last, kept for the application.
QM_API HRESULT QmFio_SaveAppLastUsedTemplate(IQmFileIOMgrForApp* manager, const tagQMTEMPLATExV2* settings);
QM_API HRESULT QmFio_LoadAppLastUsedTemplate(IQmFileIOMgrForApp* manager, tagQMTEMPLATExV2** out);
QM_API HRESULT QmFio_DeleteAppLastUsedTemplate(IQmFileIOMgrForApp* manager);

/// One for the process and the renderer, read at the first call; the other is the caller's, who gives it to
/// QmFio_FreeTemplateCache.
QM_API HRESULT QmFio_GetGlobalTemplateCache(IQmFileIOMgrForApp* manager, const GUID* renderer,
                                            FIOTEMPLATECACHE** out);
QM_API HRESULT QmFio_CreatePrivateTemplateCache(IQmFileIOMgrForApp* manager, const GUID* renderer,
                                                FIOTEMPLATECACHE** out);
QM_API void QmFio_FreeTemplateCache(FIOTEMPLATECACHE* cache);
/// Lives as long as the cache; null where there is none.
QM_API const tagQMTEMPLATExV2* QmFio_GetTemplateByNameNoCopy(FIOTEMPLATECACHE* cache, const char16_t* name);

}  // extern "C"
