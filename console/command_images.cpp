#include "console/command_images.h"

#include "console/commands.h"
#include "kernel/ui/theme.h"

#include <algorithm>
#include <iterator>

namespace {

/// The places are those of a host's strip of images, so that either strip serves.
struct ImageRow {
    uint32_t command;
    int32_t place;
    std::string_view image;
    bool inMenus;
};
constexpr ImageRow IMAGE_ROWS[] = {
    {CMD_SHOW_AUDIO, 72, "kind_audio", true},
    {CMD_SHOW_MIDI, 78, "kind_midi", true},
    {CMD_SHOW_BUSSES, 73, "kind_bus", true},
    {CMD_SHOW_SYNTHS, 91, "kind_synth", true},
    {CMD_SHOW_FX, 47, "kind_fx", true},
    {CMD_SHOW_MASTER, 90, "kind_master", true},
    {CMD_SHOW_INPUTS, 106, "kind_input", true},
    {CMD_SHOW_PREVIEW, 110, "kind_monitor", false},
    {CMD_ADD_AUDIO, 86, "add_audio", true},
    {CMD_ADD_MIDI, 88, "add_midi", true},
    {CMD_ADD_BUS, 87, "add_bus", true},
    {CMD_ADD_FX, 27, "add_fx", true},
    {CMD_ADD_SYNTH, 94, "add_synth", true},
    {CMD_ADD_INPUT, 105, "add_input", true},
    {CMD_SHOW_IO, 109, "region_io", true},
    {CMD_SHOW_INSERTS, 107, "region_inserts", true},
    {CMD_SHOW_SENDS, 108, "region_sends", true},
    {CMD_SHOW_SCOPES, 76, "region_peaks", true},
    {CMD_SHOW_VU, 117, "region_vu", true},
    {CMD_SHOW_PEAKS, 76, "region_peaks", true},
    {CMD_SHOW_FADERS, 71, "region_faders", true},
    {CMD_DOWNMIX, 12, "downmix", true},
    {CMD_DIM, 89, "dim", true},
    {CMD_AUDIO_PROPERTIES, 77, "properties", true},
    {CMD_VIEW_MENU, 120, "view", false},
    {CMD_WIDER, 126, "step_more", false},
    {CMD_NARROWER, 127, "step_less", false},
    {CMD_NARROW, 121, "width_narrow", false},
    {CMD_DEFAULT_WIDTH, 122, "width_default", false},
    {CMD_WIDE, 123, "width_wide", false},
    {CMD_SHOW_ALL_CHANNELS, 124, "all_channels", false},
    {CMD_SHOW_LABELS, 125, "labels", false},
};
constexpr size_t STRIP_LENGTH = 128;

}  // namespace

ImageList CommandImages() {
    std::string_view names[STRIP_LENGTH] = {};
    for (const ImageRow& row : IMAGE_ROWS) names[row.place] = row.image;
    return ImageList(names, {16, 16}, IconTones());
}

int32_t ButtonImage(uint32_t command) {
    const auto* at = std::ranges::find(IMAGE_ROWS, command, &ImageRow::command);
    return at == std::end(IMAGE_ROWS) ? -1 : at->place;
}

int32_t MenuImage(uint32_t command) {
    const auto* at = std::ranges::find(IMAGE_ROWS, command, &ImageRow::command);
    return at == std::end(IMAGE_ROWS) || !at->inMenus ? -1 : at->place;
}
