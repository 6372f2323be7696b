#include "kernel/formats/inat.h"

#include "platform/text.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

using namespace tarn;

namespace {

std::atomic<const Inat*> currentInat = nullptr;
std::atomic<void (*)()> inatReader = nullptr;

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

tarn::Separator::Separator(std::u16string_view source) {
    length = static_cast<uint32_t>(source.copy(text, std::size(text) - 1));
}

const Inat& tarn::CurrentInat() {
    static const Inat plain;  // until a language is open, and where memory is out
    const Inat* inat = currentInat;
    if (void (*const read)() = inat ? nullptr : inatReader.load()) {
        read();
        inat = currentInat;
    }
    return inat ? *inat : plain;
}

/// Keeps every block that differs: a thread may still be printing with an old one, and a user has few
/// locales.
void tarn::PublishInat(std::unique_ptr<Inat> inat) {
    static std::mutex guard;
    static auto& all = *new std::vector<std::unique_ptr<const Inat>>;
    const std::lock_guard lock(guard);
    for (const std::unique_ptr<const Inat>& known : all)
        if (*known == *inat) return (void)(currentInat = known.get());
    all.push_back(std::move(inat));
    currentInat = all.back().get();
}

void tarn::SetInatReader(void (*read)()) { inatReader = read; }

extern "C" {

uint32_t QmGetInat(uint32_t index, char16_t* out) { return Tell(index, out, UNBOUNDED); }
uint32_t QmGetInatN(uint32_t index, char16_t* out, uint32_t capacity) { return Tell(index, out, capacity); }

}  // extern "C"
