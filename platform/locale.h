// What the user's locale says of numbers, times and places, from ICU.
#pragma once

#include "platform/types.h"

#include <string>

namespace tarn {

struct LocaleFacts {
    uint32_t lcid = 0;
    std::u16string languageName, englishLanguageName;  ///< the first in the language itself
    uint32_t countryNumber = 0;                        ///< UN M.49
    std::u16string countryName, englishCountryName;
    std::u16string negativeSign, thousandsSeparator, decimalSeparator;
    uint32_t primaryGroup = 0;    ///< digits of the group before the decimal separator, 0 without grouping
    uint32_t secondaryGroup = 0;  ///< digits of the groups before it
    uint32_t leastGrouped = 1;    ///< digits before the first separator below which there is none
    uint32_t decimals = 0;        ///< digits after the separator, usually
    bool leadingZero = true;      ///< 0.5 and not .5
    std::u16string timeSeparator, listSeparator;
    uint32_t measurementSystem = 0;  ///< 0 metric, 1 US
};

/// Facts of the user's locale for numbers: what SetUserLocale named, else LC_ALL, LC_NUMERIC or LANG, else
/// US English, which also stands for "C". Digits are always 0 to 9. Takes
/// milliseconds when the name has changed. [any-thread]
QM_API LocaleFacts ReadUserLocale();

/// Names the locale ("de_CH") in the place of the environment's; empty goes back to it. [any-thread]
QM_API void SetUserLocale(std::string name);

}  // namespace tarn
