// Arithmetic on colours: hue, saturation and lightness, blends, companions. No table and no window system.
// [any-thread]
#pragma once

#include "platform/types.h"

namespace tarn {

/// from + round((to - from) * weight / 255), channel by channel. weight 0..255.
QM_API COLORREF BlendChannels(COLORREF from, COLORREF to, uint32_t weight);

}  // namespace tarn

extern "C" {
/// Hue in bits 0-7, saturation in 8-15, lightness in 16-23, each 0..240. A grey has hue 160.
QM_API uint32_t QmRGBtoHSL(COLORREF color);
QM_API COLORREF QmHSLtoRGB(uint32_t hsl);

/// Colour a moved towards b by weight / 255. With `adaptive` the weight is raised for colours that lie close
/// together, so that the result still stands out from a.
QM_API COLORREF QmSkin_BlendColor(COLORREF a, COLORREF b, uint32_t weight, BOOL adaptive);

/// A lighter (mode 1) or darker (mode 0) companion; any other mode gives the one that differs more from the
/// colour and from the hint together, the lighter one's difference being counted `bias` higher. The deltas
/// are 0..255; with `proportional` they are scaled by the colour's channels relative to its largest, which
/// keeps the hue. hint: UICOLOR_NONE for none.
QM_API COLORREF QmSkin_CreateSimilarColor(COLORREF color, int32_t dr, int32_t dg, int32_t db,
                                          BOOL proportional, uint32_t mode, COLORREF hint, int32_t bias);
}
