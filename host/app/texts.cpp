#include "host/app/texts.h"

#include "kernel/lang/languages.h"
#include "kernel/lang/string_resources.h"
#include "platform/text.h"

using namespace tarn;

namespace host {
namespace {

HQMLANG HostLang() {
    static const HQMLANG lang = [] {
        HQMLANG opened = nullptr;
        QmLang_Open(&opened, ThisInstance(), LCID_ENGLISH_US, 0);
        return opened;
    }();
    return lang;
}

struct FamilyRow {
    const char* word;
    HostTextId text;
};
constexpr FamilyRow FAMILIES[] = {
    {"Dynamics", IDS_FAMILY_DYNAMICS},     {"Analyser", IDS_FAMILY_ANALYSER},
    {"Modulation", IDS_FAMILY_MODULATION}, {"Delay", IDS_FAMILY_DELAY},
    {"Distortion", IDS_FAMILY_DISTORTION}, {"Equaliser", IDS_FAMILY_EQUALISER},
    {"Filter", IDS_FAMILY_FILTER},         {"Generator", IDS_FAMILY_GENERATOR},
    {"Instrument", IDS_FAMILY_INSTRUMENT}, {"MIDI", IDS_FAMILY_MIDI},
    {"Pitch", IDS_FAMILY_PITCH},           {"Reverb", IDS_FAMILY_REVERB},
    {"Simulator", IDS_FAMILY_SIMULATOR},   {"Spatial", IDS_FAMILY_SPATIAL},
    {"Spectral", IDS_FAMILY_SPECTRAL},     {"Utility", IDS_FAMILY_UTILITY},
    {"Other", IDS_FAMILY_OTHER},
};

}  // namespace

HostTexts TextsForPlugins() {
    const auto text = [](HostTextId id) { return Utf8FromUtf16(HostText(id)); };
    HostTexts texts{.input = text(IDS_ROUTE_INPUT),
                    .allMidi = text(IDS_ROUTE_ALL_MIDI),
                    .newChannels = {{ChannelKind::AudioTrack, text(IDS_NAME_AUDIO)},
                                    {ChannelKind::MidiTrack, text(IDS_NAME_MIDI)},
                                    {ChannelKind::AudioBus, text(IDS_NAME_BUS)},
                                    {ChannelKind::Fx, text(IDS_NAME_FX)},
                                    {ChannelKind::Synth, text(IDS_NAME_SYNTH)},
                                    {ChannelKind::InputBus, text(IDS_NAME_INPUT)}}};
    for (const FamilyRow& row : FAMILIES) texts.families[row.word] = text(row.text);
    return texts;
}

const char16_t* HostText(HostTextId id) { return QmGetString(HostLang(), QmTextId(id)); }
void SetHostLanguage(uint32_t lcid) { QmLang_UpdateKernelLCID(HostLang(), lcid); }
uint32_t HostLanguages() { return TranslatedLanguages(ThisInstance()); }

}  // namespace host
