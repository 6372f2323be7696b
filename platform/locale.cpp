#include "platform/locale.h"

#include <unicode/decimfmt.h>
#include <unicode/dtptngen.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/region.h>
#include <unicode/ulocdata.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

namespace tarn {

namespace {

using icu::DecimalFormatSymbols;
using icu::UnicodeString;

std::mutex guard;
std::string chosen;

std::string EnvironmentLocale() {
    for (const char* name : {"LC_ALL", "LC_NUMERIC", "LANG"})
        if (const char* value = std::getenv(name); value && *value) return value;
    return {};
}

std::string UserLocaleName() {
    std::string name;
    {
        const std::lock_guard lock(guard);
        name = chosen;
    }
    if (name.empty()) name = EnvironmentLocale();
    name.resize(std::min(name.find_first_of(".@"), name.size()));
    return name.empty() || name == "C" || name == "POSIX" ? "en_US" : name;
}

icu::Locale LocaleOfName(const std::string& name) {
    icu::Locale locale = icu::Locale::createCanonical(name.c_str());
    UErrorCode status = U_ZERO_ERROR;
    locale.setKeywordValue("numbers", "latn", status);
    return locale;
}

std::u16string Wide(const UnicodeString& text) {
    return {text.getBuffer(), static_cast<size_t>(text.length())};
}

/// The locale's own rule is not told, but it shows: Spanish writes 1234 and 12.345.
uint32_t LeastGrouped(const icu::Locale& locale, uint32_t primaryGroup) {
    const auto format = icu::number::NumberFormatter::withLocale(locale);
    constexpr uint32_t MOST = 4;
    int64_t value = 1;
    for (uint32_t digit = 0; digit < primaryGroup; digit++) value *= 10;
    for (uint32_t least = 1; least < MOST; least++, value *= 10) {
        UErrorCode status = U_ZERO_ERROR;
        const UnicodeString text = format.formatInt(value, status).toString(status);
        if (static_cast<uint32_t>(text.length()) > primaryGroup + least) return least;
    }
    return MOST;
}

void ReadNumbers(const icu::Locale& locale, LocaleFacts& facts) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::NumberFormat> format(icu::NumberFormat::createInstance(locale, status));
    const auto* decimal = dynamic_cast<const icu::DecimalFormat*>(format.get());
    if (U_FAILURE(status) || !decimal) return;
    const DecimalFormatSymbols& symbols = *decimal->getDecimalFormatSymbols();
    const auto symbol = [&](DecimalFormatSymbols::ENumberFormatSymbol which) {
        return Wide(symbols.getConstSymbol(which));
    };
    facts.negativeSign = symbol(DecimalFormatSymbols::kMinusSignSymbol);
    facts.thousandsSeparator = symbol(DecimalFormatSymbols::kGroupingSeparatorSymbol);
    facts.decimalSeparator = symbol(DecimalFormatSymbols::kDecimalSeparatorSymbol);
    if (decimal->isGroupingUsed()) {
        facts.primaryGroup = static_cast<uint32_t>(decimal->getGroupingSize());
        facts.secondaryGroup = static_cast<uint32_t>(decimal->getSecondaryGroupingSize());
        if (facts.secondaryGroup == 0) facts.secondaryGroup = facts.primaryGroup;
        facts.leastGrouped = LeastGrouped(locale, facts.primaryGroup);
    }
    facts.decimals = static_cast<uint32_t>(decimal->getMaximumFractionDigits());
    facts.leadingZero = decimal->getMinimumIntegerDigits() > 0;
}

/// What stands between hours and minutes.
std::u16string TimeSeparator(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(locale, status));
    if (U_FAILURE(status)) return u":";
    const UnicodeString pattern = generator->getBestPattern(UnicodeString(u"Hm"), status);
    const int32_t hours = pattern.lastIndexOf(u'H'), minutes = pattern.indexOf(u'm');
    if (U_FAILURE(status) || hours < 0 || minutes != hours + 2) return u":";
    return Wide(pattern.tempSubString(hours + 1, 1));
}

}  // namespace

void SetUserLocale(std::string name) {
    const std::lock_guard lock(guard);
    chosen = std::move(name);
}

static LocaleFacts ReadLocale(const std::string& localeName) {
    const icu::Locale locale = LocaleOfName(localeName);
    LocaleFacts facts;
    UnicodeString name;
    facts.lcid = locale.getLCID();
    facts.languageName = Wide(locale.getDisplayLanguage(locale, name));
    facts.englishLanguageName = Wide(locale.getDisplayLanguage(icu::Locale::getEnglish(), name));
    facts.countryName = Wide(locale.getDisplayCountry(locale, name));
    facts.englishCountryName = Wide(locale.getDisplayCountry(icu::Locale::getEnglish(), name));
    UErrorCode status = U_ZERO_ERROR;
    if (const icu::Region* region = icu::Region::getInstance(locale.getCountry(), status);
        region && U_SUCCESS(status))
        facts.countryNumber = static_cast<uint32_t>(region->getNumericCode());
    ReadNumbers(locale, facts);
    facts.timeSeparator = TimeSeparator(locale);
    // Lists of numbers must not be taken for decimals.
    facts.listSeparator = facts.decimalSeparator == u"," ? u";" : u",";
    status = U_ZERO_ERROR;
    facts.measurementSystem = ulocdata_getMeasurementSystem(locale.getName(), &status) == UMS_US ? 1 : 0;
    return facts;
}

LocaleFacts ReadUserLocale() {
    // Every language that is opened asks, and the answer changes with the name alone.
    static std::mutex& lastGuard = *new std::mutex;
    static auto& last = *new std::pair<std::string, LocaleFacts>;
    const std::string name = UserLocaleName();
    const std::lock_guard lock(lastGuard);
    if (last.first != name) last = {name, ReadLocale(name)};
    return last.second;
}

}  // namespace tarn
