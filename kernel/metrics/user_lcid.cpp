#include "kernel/metrics/user_lcid.h"

#include "kernel/lang/lang.h"
#include "kernel/metrics/metric_key.h"
#include "platform/guarded.h"
#include "platform/user_language.h"

using namespace tarn;

namespace {

constexpr std::u16string_view VALUE = u"ULangID";

std::u16string LangPath(const char16_t* path) { return std::u16string(path ? path : u"").append(u"\\Lang"); }

bool Load(StoreScope scope, const std::u16string& path, uint32_t& lcid) {
    StoreKeyPtr key;
    uint32_t type = 0;
    size_t size = 0;
    return Succeeded(StoreOpenKey(scope, path, key)) &&
           Succeeded(StoreRead(key.get(), VALUE, &lcid, sizeof lcid, type, size)) && type == STORE_NUMBER &&
           size == sizeof lcid;
}

}  // namespace

extern "C" {

HRESULT QmLang_LoadUserLCIDAppReg(const char16_t* path, uint32_t* lcid, BOOL orUsers) {
    if (!lcid) return E_POINTER;
    return Guarded([&] {
        const std::u16string key = LangPath(path);
        if (Load(StoreScope::User, key, *lcid) || Load(StoreScope::Machine, key, *lcid)) return S_OK;
        *lcid = orUsers ? QmLang_GetConditionedLCID((UserLanguageLcid() & LANG_PRIMARY_MASK) | 0x400) : 0;
        return orUsers ? S_OK : STORE_NOT_FOUND;
    });
}

HRESULT QmLang_SaveUserLCIDAppReg(const char16_t* path, uint32_t lcid, BOOL forget) {
    return Guarded([&] {
        StoreKeyPtr key;
        const HRESULT hr = StoreOpenKey(StoreScope::User, LangPath(path), key);
        if (Failed(hr)) return hr;
        if (!forget) return StoreWrite(key.get(), VALUE, STORE_NUMBER, &lcid, sizeof lcid);
        const HRESULT deleted = StoreDelete(key.get(), VALUE);
        return deleted == STORE_NOT_FOUND ? S_OK : deleted;
    });
}

HRESULT QmLang_LoadUserLCIDMetric(const char16_t* application, uint32_t version, uint32_t* lcid,
                                  BOOL orUsers) {
    return Guarded([&] {
        return QmLang_LoadUserLCIDAppReg(ApplicationPath(METRIC_COMPANY, application, version).c_str(), lcid,
                                         orUsers);
    });
}

HRESULT QmLang_SaveUserLCIDMetric(const char16_t* application, uint32_t version, uint32_t lcid, BOOL forget) {
    return Guarded([&] {
        return QmLang_SaveUserLCIDAppReg(ApplicationPath(METRIC_COMPANY, application, version).c_str(), lcid,
                                         forget);
    });
}

}  // extern "C"
