#include "kernel/print/inat.h"

#include "kernel/lang/kernel_strings.h"
#include "kernel/print/print.h"
#include "platform/locale.h"
#include "platform/text.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace {

std::atomic<const Inat*> current = nullptr;

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

/// Keeps every block that differs: a thread may still be printing with an old one, and a user has few
/// locales.
void Publish(std::unique_ptr<Inat> inat) {
    static std::mutex guard;
    static auto& all = *new std::vector<std::unique_ptr<const Inat>>;
    const std::lock_guard lock(guard);
    for (const std::unique_ptr<const Inat>& known : all)
        if (*known == *inat) return (void)(current = known.get());
    all.push_back(std::move(inat));
    current = all.back().get();
}

const std::u16string* NameOf(const Inat& inat, uint32_t index) {
    return index == INAT_LANGUAGE_NAME           ? &inat.languageName
           : index == INAT_ENGLISH_LANGUAGE_NAME ? &inat.englishLanguageName
                                                 : nullptr;
}

struct SeparatorRow {
    InatIndex index;
    Separator Inat::*separator;
};
constexpr SeparatorRow SEPARATORS[] = {
    {INAT_DECIMAL_SEPARATOR, &Inat::decimal},   {INAT_LIST_SEPARATOR, &Inat::list},
    {INAT_TIME_SEPARATOR, &Inat::time},         {INAT_SMPTE_WHOLE, &Inat::smpteWhole},
    {INAT_SMPTE_NON_DROP, &Inat::smpteNonDrop}, {INAT_SMPTE_DROP, &Inat::smpteDrop},
    {INAT_MEASURE_BEAT, &Inat::measureBeat},    {INAT_BEAT_TICK, &Inat::beatTick},
};

struct NumberRow {
    InatIndex index;
    uint32_t Inat::*number;
};
constexpr NumberRow NUMBERS[] = {
    {INAT_LOCALE, &Inat::lcid}, {INAT_LANGUAGE, &Inat::language}, {INAT_COUNTRY, &Inat::country}};

constexpr size_t UNBOUNDED = SIZE_MAX / sizeof(char16_t);

uint32_t Tell(uint32_t index, char16_t* out, size_t capacity) {
    const Inat& inat = CurrentInat();
    if (!out) capacity = 0;
    if (const auto* row = std::ranges::find(NUMBERS, index, &NumberRow::index); row != std::end(NUMBERS)) {
        CopyText(out, capacity, u"");
        return inat.*row->number;
    }
    const char16_t* text = u"";
    if (const auto* row = std::ranges::find(SEPARATORS, index, &SeparatorRow::index);
        row != std::end(SEPARATORS))
        text = (inat.*row->separator).text;
    else if (const std::u16string* name = NameOf(inat, index))
        text = name->c_str();
    return static_cast<uint32_t>(capacity ? CopyText(out, capacity, text) : TextLength(text));
}

}  // namespace

Separator::Separator(std::u16string_view source) {
    length = static_cast<uint32_t>(source.copy(text, std::size(text) - 1));
}

const Inat& CurrentInat() {
    static const Inat plain;  // until a language is open, and where memory is out
    const Inat* inat = current;
    if (!inat) {
        KernelLang();
        inat = current;
    }
    return inat ? *inat : plain;
}

extern "C" {

void QmLang_GetInternationals(HQMLANG lang) try {
    std::unique_ptr<Inat> inat = ReadInat(lang);
    QmPrintF_AddToken(u"m.b", inat->measureBeat.text);
    QmPrintF_AddToken(u"b.t", inat->beatTick.text);
    Publish(std::move(inat));
} catch (const std::bad_alloc&) {
    // The block of before stays.
}

uint32_t QmGetInat(uint32_t index, char16_t* out) { return Tell(index, out, UNBOUNDED); }
uint32_t QmGetInatN(uint32_t index, char16_t* out, uint32_t capacity) { return Tell(index, out, capacity); }

}  // extern "C"
