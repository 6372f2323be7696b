#include "controls/meter_scales.h"

#include "kernel/lang/kernel_strings.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr uint32_t kLine = METERLAW_LINEAR, kCurve = METERLAW_CURVED;

constexpr METERSEGMENT kVuSegments[] = {{3, kCurve, 0}, {-20, kLine, 1}};
constexpr METERSEGMENT kExtendedSegments[] = {{10, kLine, 0}, {0, kCurve, 0.4f}, {-45, kLine, 1}};
constexpr METERSEGMENT kLogSegments[] = {{10, kLine, 0}, {-70, kLine, 1}};
constexpr METERSEGMENT kUkSegments[] = {{7.5f, kLine, 0}, {0, kLine, 1}};
constexpr METERSEGMENT kEbuSegments[] = {{14, kLine, 0}, {-16, kLine, 1}};
constexpr METERSEGMENT kDinSegments[] = {{6, kLine, 0}, {-1, kCurve, 0.25f}, {-70, kLine, 1}};
constexpr METERSEGMENT kNordicSegments[] = {{14, kLine, 0}, {-44, kLine, 1}};

constexpr METERZONE kVuZones[] = {{10, kLine, 0x0023FF, 0x5B5D6F},
                                  {1, kCurve, 0x0023FF, 0x5B5D6F},
                                  {-1, kCurve, 0xF90DFF, 0x6D576F},
                                  {-10, kLine, 0xFFF200, 0x898776},
                                  {-145, kLine, 0xFFF200, 0x898776}};
constexpr METERZONE kUkZones[] = {
    {7.5f, kCurve, 0xF90DFF, 0x6D576F}, {3, kLine, 0xFFF200, 0x898776}, {0, kLine, 0xFFF200, 0x898776}};
constexpr METERZONE kEbuZones[] = {
    {14, kCurve, 0xF90DFF, 0x6D576F}, {-4, kLine, 0xFFF200, 0x898776}, {-16, kLine, 0xFFF200, 0x898776}};
constexpr METERZONE kDinZones[] = {{6, kLine, 0x0023FF, 0x5B5D6F},
                                   {1, kCurve, 0x0023FF, 0x5B5D6F},
                                   {-1, kCurve, 0xF90DFF, 0x6D576F},
                                   {-10, kLine, 0xFFF200, 0x898776},
                                   {-60, kLine, 0xFFF200, 0x898776}};
constexpr METERZONE kNordicZones[] = {{14, kLine, 0x0023FF, 0x5B5D6F},
                                      {7, kCurve, 0x0023FF, 0x5B5D6F},
                                      {5, kCurve, 0xF90DFF, 0x6D576F},
                                      {-10, kLine, 0xFFF200, 0x898776},
                                      {-44, kLine, 0xFFF200, 0x898776}};

constexpr METERLABEL kVuLabels[] = {{3, 3},  {2, 2},  {1, 3},  {0, 0},  {-1, 3},  {-2, 3}, {-3, 4},
                                    {-4, 2}, {-5, 5}, {-6, 3}, {-7, 5}, {-10, 1}, {-20, 3}};
constexpr METERLABEL kExtendedLabels[] = {{10, 4},  {9, 6},   {8, 3},   {7, 6},  {6, 4},  {5, 6},  {4, 3},
                                          {3, 6},   {2, 4},   {1, 6},   {0, 0},  {-1, 6}, {-2, 4}, {-3, 7},
                                          {-4, 3},  {-5, 7},  {-6, 4},  {-7, 8}, {-8, 5}, {-9, 9}, {-10, 1},
                                          {-15, 4}, {-20, 2}, {-25, 7}, {-30, 4}};
constexpr METERLABEL kLogLabels[] = {{10, 3},  {5, 4},   {0, 0},   {-5, 4},  {-10, 3}, {-15, 4},
                                     {-20, 2}, {-25, 4}, {-30, 3}, {-35, 4}, {-40, 1}, {-45, 4},
                                     {-50, 3}, {-55, 4}, {-60, 2}, {-65, 4}, {-70, 3}};
constexpr METERLABEL kUkLabels[] = {{7, 2}, {6, 1}, {5, 2}, {4, 0}, {3, 2}, {2, 1}, {1, 2}};
constexpr METERLABEL kEbuLabels[] = {{12, 2}, {8, 1}, {4, 2}, {0, 0}, {-4, 2}, {-8, 1}, {-12, 2}};
constexpr METERLABEL kDinLabels[] = {
    {5, 5},  {4, 2},  {3, 5},  {2, 4},  {1, 5},   {0, 0},   {-1, 5},  {-2, 4},  {-3, 5},  {-4, 2},  {-5, 5},
    {-6, 3}, {-7, 5}, {-8, 4}, {-9, 5}, {-10, 2}, {-15, 3}, {-20, 1}, {-25, 5}, {-30, 3}, {-40, 2}, {-50, 5}};
constexpr METERLABEL kNordicLabels[] = {{12, 2},  {9, 4},   {6, 3},   {3, 4},   {0, 0},   {-3, 4},  {-6, 3},
                                        {-9, 4},  {-12, 2}, {-15, 4}, {-18, 3}, {-21, 4}, {-24, 1}, {-27, 4},
                                        {-30, 3}, {-33, 4}, {-36, 2}, {-39, 4}, {-42, 3}};

constexpr float kUkFactor = 0.25f, kUkZero = 4;
// 24 dB in 2.8 s, which are 6 divisions of the UK scale; 20 dB in 1.7 s.
constexpr float kUkDecay = 0.002142857f, kEbuDecay = 0.008571428f, kDinDecay = 0.011764706f;
constexpr uint32_t kPpmHold = 150;

const METERSCALE kScales[kMeterScaleCount] = {
    {&KS_Meter_Scale_VU, 18, 1, 0, kVuSegments, kVuZones, kVuLabels, 0, 0},
    {&KS_Meter_Scale_ExtendedVU, 18, 1, 0, kExtendedSegments, kVuZones, kExtendedLabels, 0, 0},
    {&KS_Meter_Scale_LogVU, 18, 1, 0, kLogSegments, kVuZones, kLogLabels, 0, 0},
    {&KS_Meter_Scale_UK, 22, kUkFactor, kUkZero, kUkSegments, kUkZones, kUkLabels, kPpmHold, kUkDecay},
    {&KS_Meter_Scale_EBU, 22, 1, 0, kEbuSegments, kEbuZones, kEbuLabels, kPpmHold, kEbuDecay},
    {&KS_Meter_Scale_DIN, 16, 1, 0, kDinSegments, kDinZones, kDinLabels, 0, kDinDecay},
    {&KS_Meter_Scale_Nordic, 22, 1, 0, kNordicSegments, kNordicZones, kNordicLabels, 0, kDinDecay},
};
}  // namespace

const METERSCALE& MeterScaleOf(uint32_t index) { return kScales[std::min(index, kMeterScaleCount - 1)]; }

float MeterScaleLevel(const METERSCALE& scale, float amplitude) {
    const float level = 20 * std::log10(amplitude > 0 ? amplitude : 1e-9f);
    return (level + scale.offset) * scale.factor + scale.zero;
}

void MeterExInst_SetScale(tQMMETEREX* meter, const METERSCALE* scale) {
    const auto send = [&](uint32_t message, uint32_t low, auto table) {
        MeterExInst_Message(meter, message, PackWords(low, static_cast<uint32_t>(table.size())),
                            reinterpret_cast<intptr_t>(table.data()));
    };
    send(METEREXM_SETSEGMENTS, 0, scale->segments);
    send(METEREXM_SETZONES, 0, scale->zones);
    send(METEREXM_SETLABELS, 0, scale->labels);
    MeterExInst_Message(meter, METEREXM_SETHOLD, scale->hold, 0);
    MeterExInst_Message(meter, METEREXM_SETDECAY, 0, reinterpret_cast<intptr_t>(&scale->decay));
    const float floorLevel = scale->segments.back().level - 1;
    MeterExInst_Message(meter, METEREXM_SETFLOOR, 0, reinterpret_cast<intptr_t>(&floorLevel));
    // A level of another scale says nothing on this one.
    MeterExInst_Message(meter, METEREXM_CLEAR, 1, 0);
    MeterExInst_Message(meter, METEREXM_RESETCLIP, 0, 0);
}
