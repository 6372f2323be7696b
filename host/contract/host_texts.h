// What the host calls things where plug-ins list them, in the user's language.
#pragma once

#include "host/session/channel.h"

#include <map>
#include <string>

namespace host {

struct HostTexts {
    std::map<std::string, std::string> families{};  ///< of effects, by the library's word
    std::string input = "Input";                    ///< followed by its number
    std::string allMidi = "All MIDI inputs";
    std::map<ChannelKind, std::string> newChannels = {
        {ChannelKind::AudioTrack, "Audio"}, {ChannelKind::MidiTrack, "MIDI"},
        {ChannelKind::AudioBus, "Bus"},     {ChannelKind::Fx, "FX"},
        {ChannelKind::Synth, "Synth"},      {ChannelKind::InputBus, "Input"}};

    const std::string& Family(const std::string& word) const {
        const auto at = families.find(word);
        return at == families.end() ? word : at->second;
    }
};

}  // namespace host
