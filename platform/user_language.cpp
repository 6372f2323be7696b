#include "platform/user_language.h"

#include <unicode/uloc.h>

#include <locale.h>
#include <string>
#include <utility>

namespace tarn {

namespace {

constexpr uint32_t LCID_INVARIANT = 0x7F;  // what "C" and "POSIX" are
constexpr uint32_t LCID_ENGLISH = 0x409;

/// The locale that a thread made its own; given back with the thread.
class ThreadLocale {
public:
    ~ThreadLocale() {
        if (m_locale == locale_t{}) return;
        uselocale(LC_GLOBAL_LOCALE);
        freelocale(m_locale);
    }
    void Use(locale_t locale) {
        uselocale(locale);
        if (const locale_t old = std::exchange(m_locale, locale); old != locale_t{}) freelocale(old);
    }

private:
    locale_t m_locale{};
};

}  // namespace

uint32_t UserLanguageLcid() {
    const uint32_t lcid = uloc_getLCID(uloc_getDefault());
    return lcid == 0 || lcid == LCID_INVARIANT ? LCID_ENGLISH : lcid;
}

void SetThreadLanguage(uint32_t lcid) {
    char name[ULOC_FULLNAME_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    uloc_getLocaleForLCID(lcid, name, sizeof name, &status);
    if (U_FAILURE(status)) return;
    static thread_local ThreadLocale own;
    const std::string utf8 = std::string(name) + ".UTF-8";
    // Numbers in files and protocols have a point whatever the user reads, so the numeric part is left alone.
    const locale_t base = duplocale(uselocale(locale_t{}));
    if (base == locale_t{}) return;
    if (const locale_t made = newlocale(LC_MESSAGES_MASK | LC_TIME_MASK, utf8.c_str(), base);
        made != locale_t{})
        own.Use(made);
    else
        freelocale(base);
}

}  // namespace tarn
