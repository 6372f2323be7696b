// What a program finds by name in the console module, or through it in the kernel library.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <memory>
#include <string>

namespace {
constexpr const char* kNames[] = {
    "QmGetUIColor", "QmGetUIColorAbsolute", "QmSetUIColor", "QmGetSysColor", "QmGetUIBrush", "QmGetUIPen",
    "QmGetUIPenWithStyle", "QmBltStandardUIGlyph", "QmDrawStandardUIGlyph", "QmFreeUIColoredObjects",
    "QmIsHighColorDisplay", "QmLoadUIColors", "QmSaveUIColors", "QmGetPrivateProfileColorref",
    "QmWritePrivateProfileColorref", "QmWritePrivateProfileInt", "QmWritePrivateProfileDWord",
    "QmWritePrivateProfileDouble", "QmRGBtoHSL", "QmHSLtoRGB", "QmSysColorsAlphaBlend", "QmDrawEdge",
    "QmDrawOutline", "QmGetUIFont", "QmGetUIFontSize", "QmGetFontSize", "QmGetUIFontCharset",
    "QmGetTextExtent", "QmSkin_Colorize", "QmSkin_BlendColor", "QmSkin_CreateSimilarColor", "QmSkin_TintDib",
    "QmSkin_DrawFlatButton", "QmSkin_DrawToolbarDropdownArrow", "QmSkin_ToolbarOnCustomDraw",
    "QmSkin_SetCustomToolbarColorScheme", "QmSkin_GetImageLists", "QmSkin_RemoveImageListsItems",
    "QmSkin_GetTrackIconImageLists", "QmSkin_InitCache", "QmSkin_Bmp_Load", "QmSkin_Bmp_GetFromResource",
    "QmSkin_Bmp_GetFromResPool", "QmSkin_Bmp_GetFromResContext", "QmSkin_Bmp_GetFromFile", "QmSkin_Bmp_Copy",
    "QmSkin_Bmp_Free", "QmLoadMenu", "QmLoadCulledMenu", "QmCullMenu", "QmCleanMenu", "QmFindSubMenu",
    "QmGetSubmenuByID", "QmGrayMenu", "QmGrayAllMenuItems", "QmEnableAllMenuItems", "QmMenuReplaceTokens",
    "QmFixNameForMenu", "FaderInst_Init", "FaderInst_Deinit", "FaderInst_GetSize", "FaderInst_GetMinSize",
    "FaderInst_SetId", "FaderInst_SetScrollProc", "FaderInst_SetOwnerHwnd", "FaderInst_Draw",
    "FaderInst_DrawThumb", "FaderInst_SetThumbBitmap", "FaderInst_SetThumbImageList", "FaderInst_Move",
    "FaderInst_IsStereo", "FaderInst_Message", "FaderInst_DefScrollProc", "Fader_DefScrollProc",
    "FaderInitialize", "FaderTerminate", "TrackbarInst_Init", "TrackbarInst_GetSize",
    "TrackbarInst_GetMinSize", "TrackbarInst_GetThumbRect", "TrackbarInst_Draw", "TrackbarInst_DrawThumb",
    "TrackbarInst_SetThumbBitmap", "TrackbarInst_SetThumbImageList", "TrackbarInst_SetId",
    "TrackbarInst_SetOwnerHwnd", "TrackbarInst_Move", "TrackbarInst_DefScrollProc", "Trackbar_DefScrollProc",
    "TrackbarInst_Message", "TrackbarInitialize", "TrackbarTerminate", "PanInst_Init", "PanInst_Deinit",
    "PanInst_GetSize", "PanInst_GetMinSize", "PanInst_SetId", "PanInst_SetOwnerHwnd", "PanInst_Draw",
    "PanInst_Move", "PanInst_Message", "PanInitialize", "PanTerminate", "MeterInst_Init", "MeterInst_Deinit",
    "MeterInst_GetSize", "MeterInst_SetOwnerHwnd", "MeterInst_SetSkinDib", "MeterInst_Draw", "MeterInst_Move",
    "MeterInst_ContextMenu", "MeterInst_Message", "MeterInitialize", "MeterTerminate", "MeterExInst_Init",
    "MeterExInst_Deinit", "MeterExInst_GetSize", "MeterExInst_SetOwnerHwnd", "MeterExInst_Draw",
    "MeterExInst_Move", "MeterExInst_Message", "MeterExInitialize", "MeterExTerminate", "ScopeInst_Init",
    "ScopeInst_Deinit", "ScopeInst_GetSize", "ScopeInst_Draw", "ScopeInst_Move", "ScopeInst_Message",
    "ScopeInst_SetPos", "ScopeInst_SetRange", "ScopeInst_SetStyle", "ScopeInst_SetColors",
    "ScopeInst_SetCount", "ScopeInst_SetFade", "ScopeInst_SetTicks", "ScopeInst_SetEnabled",
    "ScopeInst_Reset", "ScopeInst_GetStyle", "ScopeInst_GetCount", "ScopeInitialize", "ScopeTerminate",
    "QmScope_SetPos", "QmScope_SetRange", "QmScope_SetStyle", "QmScope_SetColors", "QmScope_SetCount",
    "QmScope_SetFade", "QmScope_SetTicks", "QmScope_SetEnabled", "QmScope_Reset", "QmScope_GetStyle",
    "QmScope_GetCount", "QmCreateControl", "QmSendControl",
    // Members of the menu manager, by the names that a C++ compiler gives them.
    "_ZN14CQmMenuManager12MenuMan_InitEv", "_ZN14CQmMenuManager14MenuMan_DeInitEv", "_ZTV14CQmMenuManager"};
}  // namespace

TEST(Module, ExportsItsControlsAndServices) {
    const std::unique_ptr<void, int (*)(void*)> module(dlopen(TARN_CONSOLE_MODULE, RTLD_NOW), dlclose);
    ASSERT_TRUE(module) << dlerror();
    for (const char* name : kNames) EXPECT_NE(dlsym(module.get(), name), nullptr) << name;
}
