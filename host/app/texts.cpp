#include "host/app/texts.h"

#include "kernel/lang/languages.h"
#include "kernel/lang/string_resources.h"

using namespace tarn;

namespace host {
namespace {

HQMLANG HostLang() {
    static const HQMLANG lang = [] {
        HQMLANG opened = nullptr;
        QmLang_Open(&opened, ThisInstance(), LCID_ENGLISH_US, 0);
        return opened;
    }();
    return lang;
}

}  // namespace

const char16_t* HostText(HostTextId id) { return QmGetString(HostLang(), QmTextId(id)); }
void SetHostLanguage(uint32_t lcid) { QmLang_UpdateKernelLCID(HostLang(), lcid); }
uint32_t HostLanguages() { return TranslatedLanguages(ThisInstance()); }

}  // namespace host
