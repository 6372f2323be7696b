// Images of the module and of skins, kept once they were read. A skin is a folder with images that take the
// place of the module's own of the same name. All on the UI thread.
#pragma once

#include "image/skin_bmp.h"
#include "platform/types.h"
#include "platform/ui/image_list.h"

#include <QImage>

/// The pixels without a copy; the record must outlive the image.
QImage ViewSkinBmp(const tQMSKINBMP& bmp);

extern "C" {
/// Starts with an empty pool, or empties it: records taken from it are invalid afterwards.
QM_API void QmSkin_InitCache();

/// An image of the module by name, a record of the caller's own. QM_E_NO_RESOURCE when there is none.
QM_API HRESULT QmSkin_Bmp_GetFromResource(tQMSKINBMP* bmp, const char16_t* name);
/// The same, read once and kept; not to be freed by the caller. Null when there is none.
QM_API const tQMSKINBMP* QmSkin_Bmp_GetFromResPool(const char16_t* name);
/// NAME.png or NAME.jpg of a skin's folder, else the module's. Kept, and not to be freed by the caller.
QM_API const tQMSKINBMP* QmSkin_Bmp_GetFromResContext(const char16_t* folder, const char16_t* name);

/// The signs of channel kinds, 16 by 16: audio, bus, master, effect, synthesiser, MIDI, input. Made in the
/// colours that are set when it is first asked for; kept until QmSkin_RemoveImageListsItems.
QM_API const ImageList* QmSkin_GetTrackIconImageLists();
/// A list of the module's signs by name, of one size, in the colours that are set when it is first asked for.
QM_API const ImageList* QmSkin_GetImageLists(const char* const* names, uint32_t count, SIZE size);
/// Drops the lists, so that they are made anew in the colours of a new theme. Pointers to them are invalid.
QM_API void QmSkin_RemoveImageListsItems();
}
