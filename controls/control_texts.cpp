#include "controls/control_texts.h"

#include "kernel/lang/string_resources.h"

using namespace tarn;

HQMLANG ControlLang() {
    static HQMLANG lang = nullptr;
    const uint32_t wanted = QmLang_GetLCID(KernelLang());
    if (lang && QmLang_GetLCID(lang) != wanted) {
        QmLang_Close(lang);
        lang = nullptr;
    }
    if (!lang) QmLang_Open(&lang, ThisInstance(), wanted, 0);
    return lang;
}
