#include "plugin/module_state.h"

#include "kernel/lang/string_resources.h"
#include "platform/user_language.h"

using namespace tarn;

namespace {

struct OpenedState : ModuleState {
    OpenedState() { QmLang_Open(&texts, ThisInstance(), UserLanguageLcid(), 0); }
    ~OpenedState() { QmLang_Close(texts); }
};

}  // namespace

ModuleState& ThisModule() {
    static OpenedState state;
    return state;
}

HRESULT ApplyModuleLcid(uint32_t lcid) {
    if (!ThisModule().texts || !KernelLang()) return E_FAIL;
    QmLang_UpdateKernelLCID(ThisModule().texts, lcid);
    return S_OK;
}
