#include "console/meter_choices.h"

#include "controls/scope.h"
#include "kernel/lang/kernel_strings.h"

#include <algorithm>
#include <iterator>

namespace {

struct RangeRow {
    uint32_t counts;
    const QMLANGSTRINGID* name;
};
constexpr RangeRow RANGES[METER_RANGES] = {{0x800000, &KS_Meter_Range_138}, {0x100000, &KS_Meter_Range_120},
                                           {32768, &KS_Meter_Range_90},     {8192, &KS_Meter_Range_78},
                                           {1024, &KS_Meter_Range_60},      {128, &KS_Meter_Range_42},
                                           {16, &KS_Meter_Range_24},        {4, &KS_Meter_Range_12}};

constexpr uint32_t SCALE_WORDS[kMeterScaleCount] = {1800, 64, 128, 256, 512, 1024, 2048};

constexpr struct {
    uint32_t style;
    const char16_t* name;
} SCOPE_STYLES[SCOPE_STYLE_COUNT] = {{SCOPES_XY, u"Lissajous - &XY Plot"},
                                     {SCOPES_ROTATED, u"Lissajous - &Rotated"},
                                     {SCOPES_POLAR_LINEAR, u"Polar - &Linear Plot"},
                                     {SCOPES_POLAR_CIRCULAR, u"Polar - &Circular Plot"}};

}  // namespace

uint32_t MeterRangeCounts(uint32_t index) { return RANGES[index].counts; }
std::u16string MeterRangeName(uint32_t index) { return tarn::KernelText(*RANGES[index].name); }
uint32_t MeterRangeIndex(uint32_t counts) {
    return static_cast<uint32_t>(std::ranges::find(RANGES, counts, &RangeRow::counts) - RANGES);
}

uint32_t VuScaleIndex(uint32_t word) {
    const auto* at = std::ranges::find(SCALE_WORDS, word);
    return at == std::end(SCALE_WORDS) ? 0 : static_cast<uint32_t>(at - SCALE_WORDS);
}
uint32_t VuScaleWord(uint32_t index) { return SCALE_WORDS[std::min<size_t>(index, kMeterScaleCount - 1)]; }

uint32_t ScopeStyleOf(uint32_t index) { return SCOPE_STYLES[index].style; }
const char16_t* ScopeStyleName(uint32_t index) { return SCOPE_STYLES[index].name; }
