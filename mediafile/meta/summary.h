// The summary of a file: texts with four-character ids, such as "INAM" for the title. In files they stand in
// a list, "INFO" with texts of Windows-1252 or "UNFO" with wide ones. One thread at a time.
#pragma once

#include "mediafile/riff.h"

struct IStream;

struct SUMMARYITEM {
    uint32_t id;     ///< first character lowest
    char16_t* text;  ///< a block of the list's; null for an item without a text, which is not saved
};

/// Zeros are an empty list. Blocks are MemAlloc's, freed by QmSummary_Free.
struct QM_API _summarylisttag {
    uint32_t count;
    SUMMARYITEM* items;

    /// Nothing for an empty list; else 8, the count, and for each item its id, the bytes of its text with the
    /// terminator, and those.
    HRESULT Persist(IStream* stream, uint32_t flags) const;
    /// What Persist wrote, in the place of what the list has.
    static HRESULT Create(IStream* stream, uint32_t flags, _summarylisttag* list);
};
typedef _summarylisttag SUMMARYLIST;

extern "C" {

/// From the first item on, which stands here, while `*remaining` bytes have room for one. The list is empty
/// after a failure, and the position restored where an item could not be counted.
QM_API HRESULT QmSummary_Load(HQMFILE file, SUMMARYLIST* list, uint32_t* remaining);
QM_API HRESULT QmSummary_LoadUNFO(HQMFILE file, SUMMARYLIST* list, uint32_t* remaining);
/// The whole list chunk, here; nothing for an empty list. `*written`, which may be null, counts its header.
QM_API HRESULT QmSummary_Save(HQMFILE file, const SUMMARYLIST* list, uint32_t* written);
QM_API HRESULT QmSummary_SaveUNFO(HQMFILE file, const SUMMARYLIST* list, uint32_t* written);
/// One item of the "INFO" list that is found from here on. The position is restored.
QM_API HRESULT QmSummary_GetStringFromFile(HQMFILE file, uint32_t id, char16_t* text, uint32_t capacity,
                                           uint32_t* remaining);

/// Null takes an item out of the list, and is appended as an item without a text where there is none.
/// E_INVALIDARG for id 0.
QM_API HRESULT QmSummary_SetItem(SUMMARYLIST* list, uint32_t id, const char16_t* text);
/// -1 for none.
QM_API int32_t QmSummary_GetItemIndex(const SUMMARYLIST* list, uint32_t id);
/// Stays the list's; null for none.
QM_API const char16_t* QmSummary_GetItemText(const SUMMARYLIST* list, uint32_t id);
/// In the place of what the target has, which stays on failure.
QM_API HRESULT QmSummary_Copy(SUMMARYLIST* target, const SUMMARYLIST* source);
/// Sets each item that has a text.
QM_API HRESULT QmSummary_Merge(SUMMARYLIST* target, const SUMMARYLIST* source);
/// 0 for the same ids and texts in the same order.
QM_API int32_t QmSummary_Compare(const SUMMARYLIST* a, const SUMMARYLIST* b);
QM_API void QmSummary_Free(SUMMARYLIST* list);

}  // extern "C"
