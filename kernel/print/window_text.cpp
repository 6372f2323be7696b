#include "kernel/print/window_text.h"

#include "kernel/print/print.h"

#include <string_view>

using namespace tarn;

namespace {

constexpr uint32_t LIMIT = 1024;

const WindowTextService* windowTexts = nullptr;

const char16_t* PlainText(const char16_t* text) { return text ? QmGetStringSmart(KernelLang(), text) : u""; }

bool Set(HWND window, int32_t control, const char16_t* text) {
    return windowTexts && windowTexts->set(window, control, PlainText(text));
}

bool SetIfChanged(HWND window, int32_t control, const char16_t* text) {
    char16_t shown[LIMIT];
    if (windowTexts && windowTexts->get(window, control, shown, LIMIT) &&
        std::u16string_view(shown) == std::u16string_view(PlainText(text)))
        return true;
    return Set(window, control, text);
}

using Setter = bool(HWND, int32_t, const char16_t*);

bool Print(Setter* set, HWND window, int32_t control, const char16_t* format, va_list values) {
    char16_t text[LIMIT];
    QmNVPrintF(text, LIMIT, nullptr, format, values);
    return set(window, control, text);
}

}  // namespace

void tarn::SetWindowTextService(const WindowTextService* service) { windowTexts = service; }

extern "C" {

BOOL QmSetWindowTextF(HWND window, const char16_t* format, ...) {
    va_list values;
    va_start(values, format);
    const bool done = Print(Set, window, WINDOW_ITSELF, format, values);
    va_end(values);
    return done;
}

BOOL QmSetWindowTextNoF(HWND window, const char16_t* text) { return Set(window, WINDOW_ITSELF, text); }

BOOL QmSetWindowTextId(HWND window, HQMLANG lang, uint32_t id, ...) {
    va_list values;
    va_start(values, id);
    const bool done = Print(Set, window, WINDOW_ITSELF, QmGetString(lang, QmTextId(id)), values);
    va_end(values);
    return done;
}

BOOL QmSetDlgItemTextF(HWND window, int32_t control, const char16_t* format, ...) {
    va_list values;
    va_start(values, format);
    const bool done = Print(Set, window, control, format, values);
    va_end(values);
    return done;
}

BOOL QmSetDlgItemTextNoF(HWND window, int32_t control, const char16_t* text) {
    return Set(window, control, text);
}

BOOL QmSetDlgItemTextId(HWND window, int32_t control, HQMLANG lang, uint32_t id, ...) {
    va_list values;
    va_start(values, id);
    const bool done = Print(Set, window, control, QmGetString(lang, QmTextId(id)), values);
    va_end(values);
    return done;
}

BOOL QmSetDlgItemTextNoFlashF(HWND window, int32_t control, const char16_t* format, ...) {
    va_list values;
    va_start(values, format);
    const bool done = Print(SetIfChanged, window, control, format, values);
    va_end(values);
    return done;
}

BOOL QmSetDlgItemTextNoFlashNoF(HWND window, int32_t control, const char16_t* text) {
    return SetIfChanged(window, control, text);
}

}  // extern "C"
