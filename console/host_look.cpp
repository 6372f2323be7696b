#include "console/host_look.h"

#include "console/console_plugin.h"
#include "kernel/color_math.h"

#include <algorithm>

HostLook ReadHostLook(CConsoleControlPlugin& plugin) {
    HostLook look;
    constexpr uint32_t MOST_COLOURS = 1024;  // a count is the host's word
    MPPALETTE palette{};
    palette.size = sizeof palette;
    if (plugin.HostRecord(MPPROP_PAGE_START, palette) == S_OK && palette.count > 0) {
        look.channels.resize(std::min(palette.count, MOST_COLOURS));
        palette.count = static_cast<uint32_t>(look.channels.size());
        palette.colours = look.channels.data();
        if (plugin.HostRecord(MPPROP_PAGE_START, palette) != S_OK) look.channels.clear();
    }

    MPCOLORBAND peak[METER_BANDS]{}, vu[METER_BANDS]{};
    MPMETERCOLORS meters{};
    meters.size = sizeof meters;
    meters.text = meters.ground = meters.frame = COLOR_UNCHANGED;
    meters.peakBands = peak;
    meters.vuBands = vu;
    for (uint32_t i = 0; i < 2; i++) meters.clip[i] = meters.scale[i] = COLOR_UNCHANGED;
    if (plugin.HostRecord(MPPROP_PAGE_START, meters) != S_OK) return look;
    look.meterText = meters.text;
    look.meterGround = meters.ground;
    std::copy(std::begin(meters.clip), std::end(meters.clip), look.clip);
    // A count that cannot be is taken for all of them.
    const uint32_t count = meters.peakBandCount > METER_BANDS ? METER_BANDS : meters.peakBandCount;
    for (uint32_t i = 0; i < count; i++)
        look.peakBands.push_back({peak[i].threshold, peak[i].colour, peak[i].background});
    return look;
}

COLORREF HostLook::ChannelColour(uint32_t number) const {
    if (!channels.empty()) return channels[number % channels.size()];
    // Hues far apart for neighbours in the table, all of one calm saturation and lightness.
    constexpr uint32_t HUES = 240, STEP = 91, SATURATION = 105, LIGHTNESS = 118;
    const uint32_t hue = (150 + number % HUES * STEP) % HUES;
    return QmHSLtoRGB(hue | SATURATION << 8 | LIGHTNESS << 16);
}

void HostLook::GiveTo(tQMMETER& meter) const {
    MeterInst_Message(&meter, METERM_SETCOLORS, meterGround, static_cast<intptr_t>(meterText));
    MeterInst_Message(&meter, METERM_SETCLIPCOLORS, clip[0], static_cast<intptr_t>(clip[1]));
    if (!peakBands.empty())
        MeterInst_SetBands(&meter, peakBands.data(), static_cast<uint32_t>(peakBands.size()));
}
