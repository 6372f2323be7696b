// Display items of a file: blocks by which others show it, such as a small picture, each known by the number
// of a clipboard format. A list names the items that are wanted, and a load fills those. One thread at a
// time.
#pragma once

#include "mediafile/riff64.h"

struct IStream;

inline constexpr uint32_t DISPLAY_BITMAP = 8;  ///< a device-independent bitmap

struct DISPLAYITEM {
    uint32_t id, size;
    void* data;  ///< a block of the list's; null before it is loaded
};
struct DISPLAYLIST {
    uint32_t count;
    DISPLAYITEM* items;
};

extern "C" {

/// A list that wants the ids; null when out of memory.
[[nodiscard]] QM_API DISPLAYLIST* displist_Create(uint32_t count, const uint32_t* ids);
QM_API void displist_Destroy(DISPLAYLIST* list);
/// Copies the data, in the place of an item's, or as a new item; null data empties an item.
QM_API HRESULT displist_SetItem(DISPLAYLIST* list, uint32_t id, const void* data, uint32_t size);
/// Null for an id that the list does not have.
QM_API const DISPLAYITEM* displist_GetItem(const DISPLAYLIST* list, uint32_t id);
/// Empties all items; the ids stay.
QM_API void displist_Free(DISPLAYLIST* list);

/// Among the chunks from here, within `*remaining` bytes. At their end the position is restored, after a read
/// error it is not.
QM_API HRESULT displist_Load(HQMFILE file, DISPLAYLIST* list, uint32_t* remaining);
QM_API HRESULT displist64_Load(HQMFILE file, DISPLAYLIST* list, uint64_t* remaining);
/// RIFF chunks of a stream up to its end.
QM_API HRESULT displist_LoadFromStream(IStream* stream, DISPLAYLIST* list);
/// A chunk an item that has data, here. `*written` may be null.
QM_API HRESULT displist_Save(HQMFILE file, const DISPLAYLIST* list, uint32_t* written);
/// The stored size counts the pad.
QM_API HRESULT displist64_Save(HQMFILE file, const DISPLAYLIST* list, uint64_t* written);

/// The bitmap of a wave or Wave64 file, with its header first; a block for MemFree, null for none.
[[nodiscard]] QM_API void* displist_CreateBitmapFromFile(const char16_t* path);

}  // extern "C"
