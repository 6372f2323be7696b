// Colour files: the colours of ui_colors.h by name, in a section of a text file. System colours have the
// window system's names, COLOR_SCROLLBAR to COLOR_MENUBAR; palette colours are called UICOLOR_100 to
// UICOLOR_152. All on the UI thread.
#pragma once

#include "platform/types.h"

namespace tarn {
class IniFile;
}  // namespace tarn

/// QmSaveUIColors: also the palette's colours that differ from the defaults.
inline constexpr uint32_t UICOLORS_PALETTE = 1;

/// Sets every named colour. A system colour that the section does not name goes back to the window system, a
/// palette colour to its default; an unreadable one becomes 0xF000F0.
void ApplyUIColors(const tarn::IniFile& file, const char* section);

extern "C" {
/// section null: "colors". 0x8004E007 when there is no such file.
QM_API HRESULT QmLoadUIColors(const char16_t* file, const char16_t* section);
/// Writes the system colours that are not the window system's own, and with UICOLORS_PALETTE the palette;
/// what else the file has stays.
QM_API HRESULT QmSaveUIColors(const char16_t* file, const char16_t* section, uint32_t flags);
}
