// Handles of metrics and the paths of their keys.
#pragma once

#include "kernel/metrics/metrics.h"
#include "platform/store.h"

#include <string>

struct QMMETRIC {
    char16_t path[QMMETRIC_PATH_CHARACTERS];
    tarn::StoreKeyPtr key;  ///< null when the settings can't be reached
};

inline constexpr char16_t METRIC_COMPANY[] = u"Brena Creative Software";

/// "Software\<company>\<application>[\<major>.<minor>]".
std::u16string ApplicationPath(const char16_t* company, const char16_t* application, uint32_t version);

/// The key behind a handle, the default's for QMMETRIC_DEFAULT; null without one.
tarn::StoreKey* KeyOf(HQMMETRIC handle);
