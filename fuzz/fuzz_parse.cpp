// Every reader of numbers, colours and times, on any text: the end lies inside the text and behind its
// beginning.
#include "kernel/print/labels.h"
#include "kernel/print/number_text.h"
#include "kernel/print/parse_text.h"
#include "kernel/time/time_parse.h"
#include "kernel/time/time_text.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void Check(const std::u16string& text, const char16_t* end) {
    if (end < text.c_str() || end > text.c_str() + text.size()) std::abort();
}

template <class Parse>
void Token(const std::u16string& text, Parse parse) {
    const char16_t* end = nullptr;
    parse(text.c_str(), &end, u",;");
    Check(text, end);
    parse(text.c_str(), &end, nullptr);
    Check(text, end);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 40 || size > 4000) return 0;
    _qmposfmt format;
    std::memcpy(&format, data, sizeof format);
    format.format %= POSITION_FORMATS + 1;
    std::u16string text;
    for (size_t at = 40; at < size && data[at]; at++) text += static_cast<char16_t>(data[at]);

    Token(text, QmTextToDWordToken);
    Token(text, QmTextToDWordLongToken);
    Token(text, QmTextToLongToken);
    Token(text, QmTextToLongLongToken);
    Token(text, QmHexToDWordToken);
    Token(text, QmHexToDWordLongToken);
    Token(text, QmTextToDoubleToken);
    Token(text, QmTextToColorrefToken);

    const char16_t* end = nullptr;
    const int64_t time = QmTextToNanoTimeToken(text.c_str(), &format, &end);
    Check(text, end);
    QmTextToTimeToken(text.c_str(), &format, 1, &end);
    Check(text, end);
    QmTextToTimeToken(text.c_str(), &format, 0, &end);
    Check(text, end);
    QmTextToMusicTimeToken(text.c_str(), &format, &end);
    Check(text, end);
    _smpteval label{format.format, 0, 0, 0, 0, 0};
    QmTextToHMSFToken(text.c_str(), &label, &end);
    Check(text, end);
    QMSMPTE_TextToSMPTE(text.c_str(), &label);
    QMSMPTE_SMPTEToNanos(&label);
    QMSMPTE_IncrementByFrame(&label);
    uint32_t a, b, c;
    QmTextToMeasuresBeatsTicks(text.c_str(), &a, &b, &c);
    QmTextToTicks(text.c_str(), &format);

    char16_t shown[64];
    if (QmNanoTimeToText(shown, &format, time, 0) > 63) std::abort();
    char16_t number[32];
    if (QmFormatGroupDecimalNumber(text.c_str(), number, 32, static_cast<int32_t>(format.rate % 40) - 1) > 31)
        std::abort();
    if (QmFormatNumber(text.c_str(), number, 32) > 31) std::abort();
    return 0;
}
