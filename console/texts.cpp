#include "console/texts.h"

#include "plugin/module_state.h"

namespace {

struct Text {
    uint32_t id;
    const char16_t* english;
};

constexpr Text TEXTS[] = {
    {IDS_MIXING_CONSOLE, u"Mixing Console"},
    {IDS_TRACK_NAME, u"Track Name"},
    {IDS_MUTE, u"Mute"},
    {IDS_SOLO, u"Solo"},
    {IDS_FADER, u"Volume"},
    {IDS_PHASE, u"Invert Phase"},
    {IDS_KIND_AUDIO, u"Audio"},
    {IDS_KIND_MIDI, u"MIDI"},
    {IDS_KIND_MASTER, u"Master"},
    {IDS_KIND_INPUT, u"Input"},
    {IDS_KIND_BUS, u"Bus"},
    {IDS_KIND_FX, u"FX"},
    {IDS_KIND_SYNTH, u"Synth"},
    {IDS_MENU_NAME, u"&Mixing Console"},
    {IDS_MUTED, u"Muted"},
    {IDS_OFF_SOLO, u"Off(solo)"},
    {IDS_SILENCE, u"-Inf."},
};

}  // namespace

std::u16string ConsoleText(uint32_t id) {
    char16_t text[256];
    if (const uint32_t length = ThisModule().pluginTexts.LoadText(id, text, 256)) return {text, length};
    for (const Text& row : TEXTS)
        if (row.id == id) return row.english;
    return {};
}
