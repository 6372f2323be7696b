#include "kernel/lang/text_detect.h"

#include <unicode/ucsdet.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

constexpr uint32_t CODEPAGE_WESTERN = 1252, CODEPAGE_UTF8 = 65001;

struct CodePage {
    std::string_view name;
    uint32_t number;
    bool multiByte;
};

constexpr CodePage CODE_PAGES[] = {
    {"UTF-8", CODEPAGE_UTF8, true}, {"Shift_JIS", 932, true},      {"GB18030", 936, true},
    {"EUC-KR", 949, true},          {"Big5", 950, true},           {"EUC-JP", 51932, true},
    {"ISO-2022-JP", 50220, true},   {"ISO-2022-KR", 50225, true},  {"ISO-2022-CN", 50227, true},
    {"UTF-16LE", 1200, true},       {"UTF-16BE", 1201, true},      {"windows-1250", 1250, false},
    {"windows-1251", 1251, false},  {"windows-1252", 1252, false}, {"windows-1253", 1253, false},
    {"windows-1254", 1254, false},  {"windows-1255", 1255, false}, {"windows-1256", 1256, false},
    {"ISO-8859-1", 1252, false},    {"ISO-8859-2", 28592, false},  {"ISO-8859-5", 28595, false},
    {"ISO-8859-6", 28596, false},   {"ISO-8859-7", 28597, false},  {"ISO-8859-8", 28598, false},
    {"ISO-8859-8-I", 38598, false}, {"ISO-8859-9", 28599, false},  {"KOI8-R", 20866, false},
};

/// Below this, of 100, the detector has seen nothing that speaks for its guess.
constexpr int32_t LEAST_CONFIDENCE = 10;

constexpr const CodePage& WESTERN = CODE_PAGES[13];
static_assert(WESTERN.number == CODEPAGE_WESTERN);

const CodePage& Detect(const char* text, int32_t bytes) {
    const size_t length = !text ? 0 : bytes < 0 ? std::strlen(text) : static_cast<size_t>(bytes);
    const std::string_view content(text, std::min<size_t>(length, 1 << 20));
    if (std::ranges::none_of(content, [](char c) { return static_cast<signed char>(c) <= 0 || c == 0x1B; }))
        return WESTERN;

    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UCharsetDetector, decltype(&ucsdet_close)> detector(ucsdet_open(&status),
                                                                              ucsdet_close);
    ucsdet_setText(detector.get(), content.data(), static_cast<int32_t>(content.size()), &status);
    const UCharsetMatch* match = ucsdet_detect(detector.get(), &status);
    if (U_FAILURE(status) || !match || ucsdet_getConfidence(match, &status) < LEAST_CONFIDENCE)
        return WESTERN;
    const std::string_view name = ucsdet_getName(match, &status);
    const CodePage* at = std::ranges::find(CODE_PAGES, name, &CodePage::name);
    return at != std::end(CODE_PAGES) ? *at : WESTERN;
}

}  // namespace

extern "C" {

BOOL QmLang_DetectMultiByteCharacters(const char* text, int32_t bytes) {
    return Detect(text, bytes).multiByte;
}

uint32_t QmLang_DetectPossibleCodepage(const char* text, int32_t bytes) { return Detect(text, bytes).number; }

}  // extern "C"
