// The language that a user chose for an application, kept with its settings as "ULangID". [any-thread]
#pragma once

#include "platform/types.h"

extern "C" {

/// What the user chose, else what the administrator did, else with `orUsers` the main form of the language
/// that the user reads; else a failure and 0. The version word is that of metrics (kernel/metrics/metrics.h).
QM_API HRESULT QmLang_LoadUserLCIDMetric(const char16_t* application, uint32_t version, uint32_t* lcid,
                                         BOOL orUsers);
/// With `forget` the choice is taken back.
QM_API HRESULT QmLang_SaveUserLCIDMetric(const char16_t* application, uint32_t version, uint32_t lcid,
                                         BOOL forget);

/// The same for a key whose path is given: "Software\<company>\<application>", with a version or not.
QM_API HRESULT QmLang_LoadUserLCIDAppReg(const char16_t* path, uint32_t* lcid, BOOL orUsers);
QM_API HRESULT QmLang_SaveUserLCIDAppReg(const char16_t* path, uint32_t lcid, BOOL forget);

}  // extern "C"
