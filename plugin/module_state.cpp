#include "plugin/module_state.h"

#include "platform/ui/layout_direction.h"

ModuleState& ThisModule() {
    static ModuleState state;
    return state;
}

void ApplyModuleLcid(uint32_t lcid) {
    if (lcid == 0) lcid = LCID_ENGLISH_US;
    ThisModule().pluginTexts.SetLcid(lcid);
    ThisModule().kernelTexts.SetLcid(lcid);

    // Arabic, Hebrew, Urdu, Persian.
    constexpr uint64_t RIGHT_TO_LEFT_LANGUAGES = 0x20100002002;
    const uint32_t primary = lcid & LANG_PRIMARY_MASK;
    SetProcessDefaultLayout(primary < 42 && (RIGHT_TO_LEFT_LANGUAGES >> primary & 1));
}
