// What is shown of all strips, and how large its regions are. The plug-in keeps one of it, so that it
// outlives the page; view groups store it.
#pragma once

#include "console/metrics.h"

#include <array>
#include <cstdint>

/// The regions of a strip, from its top. In this order they take their room.
enum class StripRegion : uint8_t {
    Inserts,
    Sends,
    Io,
    Scopes,
    Vu,
    Peaks,
    Automation,
    Record,
    Switches,
    Pan,
    Faders,
};
inline constexpr size_t STRIP_REGIONS = 11;
constexpr size_t IndexOf(StripRegion region) { return static_cast<size_t>(region); }

/// 0 or 1 each.
struct StripShow {
    int32_t bShowLabels = 1;
    int32_t bVerticalLayout = 1;  ///< switches and record buttons stand beside the fader
    int32_t bShowRecord = 1;
    int32_t bShowInserts = 0;
    int32_t bShowSends = 0;
    int32_t bShowScopes = 0;
    int32_t bShowVU = 0;
    int32_t bShowPeaks = 0;
    int32_t bShowSwitches = 1;
    int32_t bShowPan = 1;
    int32_t bShowFaders = 1;
    int32_t bShowAutomation = 1;
    int32_t bShowIO = 1;

    bool Shows(StripRegion region) const;
};

/// Heights of the regions that a drag changes, the label's bar not counted. 0: the default.
struct StripSizes {
    LONG peaks = 0, sends = 0, inserts = 0, faders = 0, scopes = 0, vu = 0;
};
StripSizes DefaultSizes(const tConsoleMetrics& metrics);
/// The sizes with the default where there is none, and none below its smallest.
StripSizes UsableSizes(const StripSizes& sizes, const tConsoleMetrics& metrics);

/// Everything that all strips share.
struct StripView {
    StripShow show;
    StripSizes sizes;
    bool faderTicks = true;
    uint32_t meterRange = 32768;  ///< counts at the low end of the peak meters
    uint32_t vuScale = 1800;
    uint32_t peakFlags = 0;  ///< METERS_ of the peak meters that are other than usual
    uint32_t scopeStyle = 1;
};
