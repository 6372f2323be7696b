// Texts of windows and of the controls in them, formatted by the print engine and cut to 1023 characters.
//
// Windows are the window system's; it tells the kernel once how their texts are read and set. Without one,
// and for a window that does not exist, the functions return false. The NoF forms set the text as it stands;
// the NoFlash forms leave a text alone that is the same already. [page-thread]
#pragma once

#include "kernel/lang/lang.h"

namespace tarn {

struct WindowTextService {
    /// The window itself, or its control of that number; both return false when it does not exist.
    bool (*get)(HWND window, int32_t control, char16_t* out, uint32_t capacity);
    bool (*set)(HWND window, int32_t control, const char16_t* text);
};
/// `control` for the window itself.
inline constexpr int32_t WINDOW_ITSELF = -1;

/// The service lives as long as the process. Null takes it away. [page-thread]
QM_API void SetWindowTextService(const WindowTextService* service);

}  // namespace tarn

extern "C" {

QM_API BOOL QmSetWindowTextF(HWND window, const char16_t* format, ...);
QM_API BOOL QmSetWindowTextNoF(HWND window, const char16_t* text);
/// The format is a string resource of the handle's module.
QM_API BOOL QmSetWindowTextId(HWND window, HQMLANG lang, uint32_t id, ...);
QM_API BOOL QmSetDlgItemTextF(HWND window, int32_t control, const char16_t* format, ...);
QM_API BOOL QmSetDlgItemTextNoF(HWND window, int32_t control, const char16_t* text);
QM_API BOOL QmSetDlgItemTextId(HWND window, int32_t control, HQMLANG lang, uint32_t id, ...);
QM_API BOOL QmSetDlgItemTextNoFlashF(HWND window, int32_t control, const char16_t* format, ...);
QM_API BOOL QmSetDlgItemTextNoFlashNoF(HWND window, int32_t control, const char16_t* text);

}  // extern "C"
