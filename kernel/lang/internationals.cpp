// What the formats take from the user's locale and from the texts of a language.
#include "kernel/formats/inat.h"
#include "kernel/formats/tokens.h"
#include "kernel/lang/kernel_strings.h"
#include "platform/locale.h"

#include <new>

using namespace tarn;

namespace {

std::unique_ptr<Inat> ReadInat(HQMLANG lang) {
    LocaleFacts facts = ReadUserLocale();
    auto inat = std::make_unique<Inat>();
    inat->lcid = facts.lcid;
    inat->language = facts.lcid & 0xFFFF;
    inat->country = facts.countryNumber;
    inat->languageName = std::move(facts.languageName);
    inat->englishLanguageName = std::move(facts.englishLanguageName);
    inat->countryName = std::move(facts.countryName);
    inat->englishCountryName = std::move(facts.englishCountryName);
    inat->negative = Separator(facts.negativeSign);
    inat->thousands = Separator(facts.thousandsSeparator);
    inat->decimal = Separator(facts.decimalSeparator);
    if (facts.thousandsSeparator == facts.decimalSeparator)
        inat->decimal = Separator(facts.thousandsSeparator == u"." ? u"," : u".");
    inat->primaryGroup = facts.primaryGroup;
    inat->secondaryGroup = facts.secondaryGroup;
    inat->leastGrouped = facts.leastGrouped;
    inat->decimals = facts.decimals;
    inat->leadingZero = facts.leadingZero;
    inat->measurementSystem = facts.measurementSystem;
    inat->time = Separator(facts.timeSeparator);
    inat->list = Separator(facts.listSeparator);

    // Through the given handle: the kernel's own may be the one that is being opened.
    const auto text = [&](const QMLANGSTRINGID& record) {
        return Separator(QmGetString(lang, reinterpret_cast<const char16_t*>(&record)));
    };
    inat->smpteWhole = text(KS_SMPTE_Whole);
    inat->smpteNonDrop = text(KS_SMPTE_NonDrop);
    inat->smpteDrop = text(KS_SMPTE_Drop);
    inat->measureBeat = text(KS_Music_MeasureBeat);
    inat->beatTick = text(KS_Music_BeatTick);
    return inat;
}

// Who prints before anybody has opened a language prints in the user's.
[[maybe_unused]] const bool connected = (SetInatReader([] { KernelLang(); }), true);

}  // namespace

extern "C" void QmLang_GetInternationals(HQMLANG lang) try {
    std::unique_ptr<Inat> inat = ReadInat(lang);
    QmPrintF_AddToken(u"m.b", inat->measureBeat.text);
    QmPrintF_AddToken(u"b.t", inat->beatTick.text);
    PublishInat(std::move(inat));
} catch (const std::bad_alloc&) {
    // The block of before stays.
}
