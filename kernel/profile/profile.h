// Single values of a file of settings, by section and key (see ini_file.h). Each write reads the file,
// changes the one value and replaces the file. A file is made when it is not there; one that cannot be read
// is not overwritten. [any-thread]
#pragma once

#include "kernel/profile/ini_file.h"
#include "platform/types.h"

#include <filesystem>

namespace tarn {

inline constexpr COLORREF PROFILE_BAD_COLOR = 0x00F000F0;  ///< what an unreadable colour reads as

/// The file's lines; 0x8004E007 when there is no such file, or it is a folder, or it can't be read.
QM_API HRESULT ReadIniFile(const std::filesystem::path& path, IniFile& out);

/// A colour as hexadecimal digits of a COLORREF, with or without "0x", or as #RRGGBB.
QM_API COLORREF ColorFromText(std::string_view text);
QM_API std::string TextFromColor(COLORREF color);

}  // namespace tarn

extern "C" {
/// `absent` when there is no such value, PROFILE_BAD_COLOR when it is no colour.
QM_API COLORREF QmGetPrivateProfileColorref(const char16_t* section, const char16_t* key, COLORREF absent,
                                            const char16_t* file);
/// Each gives 0 when the file could not be written.
QM_API BOOL QmWritePrivateProfileColorref(const char16_t* section, const char16_t* key, COLORREF color,
                                          const char16_t* file);
QM_API BOOL QmWritePrivateProfileInt(const char16_t* section, const char16_t* key, int32_t value,
                                     const char16_t* file);
QM_API BOOL QmWritePrivateProfileDWord(const char16_t* section, const char16_t* key, uint32_t value,
                                       const char16_t* file);
/// With as many digits as bring the same number back; a point whatever the locale.
QM_API BOOL QmWritePrivateProfileDouble(const char16_t* section, const char16_t* key, double value,
                                        const char16_t* file);
}
