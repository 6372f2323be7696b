#include "console/console_images.h"

#include "console/command_images.h"
#include "console/host_images.h"
#include "contract/host_contract.h"
#include "kernel/color_math.h"
#include "kernel/ui/skin_images.h"
#include "kernel/ui/theme.h"

#include <string_view>

namespace {

struct KindRow {
    uint32_t mask, value;
    int32_t image;
};
/// The first row that fits a kind word names its image.
constexpr KindRow KIND_IMAGES[] = {
    {KIND_SPECIAL, KIND_SPECIAL, -1},      {KIND_AUDIO_TRACK, KIND_AUDIO_TRACK, 0},
    {KIND_MIDI_TRACK, KIND_MIDI_TRACK, 5}, {KIND_MASTER, KIND_MASTER, 2},
    {KIND_AUDIO_BUS, KIND_AUDIO_BUS, 1},   {KIND_FX, KIND_FX, 3},
    {KIND_SYNTH, KIND_SYNTH, 4},           {KIND_INPUT_BUS, KIND_INPUT_BUS, 6},
};
constexpr std::string_view THUMB[] = {"thumb_fader"};
constexpr std::string_view PAIR_THUMB[] = {"thumb_fader_pair"};
constexpr std::string_view SMALL_THUMB[] = {"thumb_small"};
constexpr std::string_view ACROSS_THUMB[] = {"thumb_small_h"};

}  // namespace

ConsoleImages::ConsoleImages(CConsoleControlPlugin& plugin)
    : kinds(HostImages(plugin, IMAGEROLE_KINDS, *QmSkin_GetTrackIconImageLists())),
      thumbs(HostImages(plugin, IMAGEROLE_FADER, {THUMB, {13, 19}, ThumbTones()})),
      pairThumbs(HostImages(plugin, IMAGEROLE_PAIR_FADER, {PAIR_THUMB, {21, 19}, ThumbTones()})),
      smallThumbs(HostImages(plugin, IMAGEROLE_SMALL_FADER, {SMALL_THUMB, {13, 9}, ThumbTones()})),
      smallPairThumbs(PAIR_THUMB, {15, 11}, ThumbTones()),
      panThumbs(HostImages(plugin, IMAGEROLE_PAN, {ACROSS_THUMB, {13, 15}, ThumbTones()})),
      sendThumbs(HostImages(plugin, IMAGEROLE_SEND, {ACROSS_THUMB, {9, 15}, ThumbTones()})),
      commands(HostImages(plugin, IMAGEROLE_COMMANDS, CommandImages())),
      background(QmGetUIColorAbsolute(COLOR_WINDOWFRAME)),
      selection(QmSkin_BlendColor(QmGetUIColor(COLOR_HIGHLIGHT), background, 64, 1)),
      look(ReadHostLook(plugin)) {}

int32_t ConsoleImages::KindIcon(uint32_t kind) {
    for (const KindRow& row : KIND_IMAGES)
        if ((kind & row.mask) == row.value) return row.image;
    return -1;
}
