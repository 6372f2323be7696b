#include "kernel/print/labels.h"

#include "kernel/lang/kernel_strings.h"
#include "kernel/print/parse_text.h"
#include "kernel/print/print.h"

#include <algorithm>
#include <limits>

using namespace tarn;

namespace {

constexpr uint32_t LABEL_CHARACTERS = 26;
constexpr int32_t MOST_DECIMALS = 9;

/// "$.3z" and its like; "$d" without decimals.
struct LabelFormat {
    char16_t text[5];

    LabelFormat(int32_t decimals, char16_t conversion)
        : text{u'$', u'.', static_cast<char16_t>(u'0' + std::clamp(decimals, 0, MOST_DECIMALS)), conversion,
               0} {
        if (decimals <= 0) text[1] = u'd', text[2] = 0;
    }
};

template <class Value>
const char16_t* Labeled(HQMLANG lang, const LabelFormat& format, Value value, const char16_t* unit) {
    char16_t* slot = QmLang_TemporaryText(lang, LABEL_CHARACTERS);
    if (!slot) return KernelText(KS_Value_Error);
    uint32_t length = 0;
    QmCchPrintF(slot, LABEL_CHARACTERS, &length, format.text, value);
    if (unit) QmCchPrintF(slot + length, LABEL_CHARACTERS - length, nullptr, u"%s", unit);
    return slot;
}

const char16_t* Decibels(BOOL withUnit) { return withUnit ? KernelText(KS_Value_dB) : nullptr; }

struct SizeWords {
    const char16_t *bytes, *kilo, *mega, *giga;
};

constexpr double KILOBYTE = 1024, MEGABYTE = 1000 * KILOBYTE, GIGABYTE = 1000 * MEGABYTE;

int32_t SizeText(uint64_t bytes, char16_t* out, const SizeWords& words) {
    const auto value = static_cast<double>(bytes);
    if (value < KILOBYTE) return QmPrintF(out, words.bytes, static_cast<int32_t>(bytes));
    if (value < MEGABYTE) return QmPrintF(out, words.kilo, std::max(value / KILOBYTE, 0.01));
    if (value < GIGABYTE) return QmPrintF(out, words.mega, value / MEGABYTE);
    return QmPrintF(out, words.giga, value / GIGABYTE);
}

}  // namespace

extern "C" {

const char16_t* QmGetLabeledStringFixed(HQMLANG lang, int32_t value, int32_t decimals, int32_t floor,
                                        const char16_t* unit) {
    if (floor != 0 && value <= floor) return KernelText(KS_Value_MinusInfinity);
    return Labeled(lang, LabelFormat(decimals, u'z'), value, unit);
}

const char16_t* QmGetLabeledStringFloat(HQMLANG lang, double value, int32_t decimals, double floor,
                                        const char16_t* unit) {
    if (floor != 0 && floor >= value) return KernelText(KS_Value_MinusInfinity);
    const LabelFormat format(decimals, u'f');
    if (decimals > 0) return Labeled(lang, format, value, unit);
    using Limits = std::numeric_limits<int32_t>;
    const bool isNumber = value == value;
    const double held = std::clamp<double>(isNumber ? value : 0, Limits::min(), Limits::max());
    return Labeled(lang, format, static_cast<int32_t>(held), unit);
}

const char16_t* QmGetdBStringFixed(int32_t value, int32_t decimals, int32_t floor, BOOL withUnit) {
    return QmGetLabeledStringFixed(KernelLang(), value, decimals, floor, Decibels(withUnit));
}

const char16_t* QmGetdBStringFloat(double value, int32_t decimals, double floor, BOOL withUnit) {
    return QmGetLabeledStringFloat(KernelLang(), value, decimals, floor, Decibels(withUnit));
}

int32_t QmGetByteSizeText(uint64_t bytes, char16_t* out) {
    return SizeText(bytes, out, {u"%d", u"$.2fKB", u"$.2fMB", u"$.2fGB"});
}
int32_t QmGetByteSizeText2(uint64_t bytes, char16_t* out) {
    return SizeText(bytes, out, {u"%d bytes", u"$.2f KB", u"$.2f MB", u"$.2f GB"});
}
int32_t QmGetByteSizeTextWithSpace(uint64_t bytes, char16_t* out) {
    return SizeText(bytes, out, {u"%d", u"$.2f KB", u"$.2f MB", u"$.2f GB"});
}

int32_t QmFourCCToString(uint32_t code, char16_t* out) {
    for (int i = 0; i < 4; i++, code >>= 8) {
        const uint32_t c = code & 0xFF;
        out[i] = c >= 0x20 && c < 0x7F ? static_cast<char16_t>(c) : u'?';
    }
    out[4] = 0;
    return 4;
}

int32_t QmColorrefToText(COLORREF color, char16_t* out) { return QmColorrefToTextEx(color, out, 14, 0); }

int32_t QmColorrefToTextEx(COLORREF color, char16_t* out, uint32_t capacity, BOOL hexadecimal) {
    return QmCchPrintF(out, capacity, nullptr, hexadecimal ? u"#%02X%02X%02X" : u"%u, %u, %u", color & 0xFF,
                       color >> 8 & 0xFF, color >> 16 & 0xFF);
}

COLORREF QmTextToColorref(const char16_t* text) { return QmTextToColorrefToken(text, nullptr, nullptr); }

}  // extern "C"
