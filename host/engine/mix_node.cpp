#include "host/engine/mix_node.h"

#include <algorithm>

namespace host {

namespace {

// What a device records may be anything.
float TameInput(float x) {
    constexpr float limit = 1000.0f;
    return x >= -limit && x <= limit ? x : 0.0f;
}

}  // namespace

bool MixNode::Run(const StreamPlace& place, size_t n, double tempo, int sampleRate,
                  const MeterInertia& inertia) {
    const Block block{place, 0, n, tempo, sampleRate};
    TakeSettings();
    if (!effectLanes.empty()) AutomateEffects(block);
    bool intime = true;
    const bool plain = source == NodeSource::Clips && before.empty() && behind.empty();
    if (plain) {
        intime = RunClips(block);
    } else {
        MixBuffer buffer;
        const auto sidesOf = buffer.Sides();
        intime = Fetch(block, buffer);
        if (fx) {
            MixBuffer direct;
            for (size_t s = 0; s < sides; s++) std::fill_n(direct.side[s].data(), n, 0.0f);
            strip->input.Shape(sides, sides);
            Steer(strip->input, m_changed, block, sidesOf.data(), direct.Sides().data(), nullptr,
                  [](const StripSettings& s, int64_t) { return InputGains(s); });
            for (size_t s = 0; s < sides; s++) std::copy_n(direct.side[s].data(), n, buffer.side[s].data());
        }
        RunInserts(before, block, buffer, latency);
        PassFader(block, sidesOf.data(), &buffer);
    }
    strip->PostLevels(n, output.sides, inertia);
    return intime;
}

void MixNode::TakeSettings() {
    m_changed = strip->Refresh();
    if (!lanes) return;
    uint64_t held = 0, bit = 1;
    const auto look = [&](const AutomationLane& lane) {
        held |= lane.ByHand() ? bit : 0;
        bit = bit << 1 | bit >> 63;
    };
    for (const auto& lane : lanes->strip) look(*lane);
    for (const auto& [id, lane] : lanes->sends) look(*lane);
    m_changed |= std::exchange(strip->heldByHand, held) != held;
}

void MixNode::AutomateEffects(const Block& block) {
    // Where the chunks of the plan begin, whatever the device's blocks are.
    const bool follows = block.Playing() && block.place.at == m_automatedTo;
    m_automatedTo = block.Playing() ? block.place.at + static_cast<int64_t>(block.n) : -1;
    if (!block.Playing() || (follows && block.place.at % static_cast<int64_t>(kChunkFrames) != 0)) return;
    const int64_t frame = block.FrameBehind(latency);
    for (const EffectLane& of : effectLanes) {
        if (of.lane->ByHand()) continue;
        const double value = of.lane->At(frame);
        if (of.lane->Target() == AutomationTarget::Bypass)
            of.slot->SetBypass(value >= 0.5);
        else if (of.slot->Face())
            of.slot->Face()->SetValue(of.parameter, static_cast<float>(value));
    }
}

// The channel's sound before anything is done to it.
bool MixNode::Fetch(const Block& block, MixBuffer& buffer) {
    for (size_t s = 0; s < sides; s++) std::fill_n(buffer.side[s].data(), block.n, 0.0f);
    switch (source) {
    case NodeSource::Clips: return FetchClips(block, buffer);
    case NodeSource::Targeted:
        for (MixBuffer* input : inputs)
            for (size_t s = 0; s < sides; s++) Add(input->side[s].data(), buffer.side[s].data(), block.n);
        break;
    case NodeSource::Instrument: PlayInstrument(block, buffer); break;
    case NodeSource::Device:
        for (size_t s = 0; s < kStereoSides; s++) {
            const size_t from = firstInput + s * inputStep;
            if (from >= block.place.recorded.size()) continue;
            const float* samples = block.place.recorded[from];
            for (size_t i = 0; i < block.n; i++) buffer.side[s][i] = TameInput(samples[i]);
        }
        break;
    }
    return true;
}

bool MixNode::FetchClips(const Block& block, MixBuffer& buffer) {
    if (!stream || !block.Playing()) return true;
    bool intime = true;
    const StreamPlace& place = block.place;
    for (size_t done = 0; done < block.n;) {
        const auto span =
            stream->Take(place.ring, place.serial, place.at + static_cast<int64_t>(done), block.n - done);
        for (size_t s = 0; s < kStereoSides && span.side[s]; s++)
            std::copy_n(span.side[s], span.count, buffer.side[s].data() + done);
        intime &= !span.late;
        done += span.count;
    }
    stream->Done(place.ring, place.serial, place.at + static_cast<int64_t>(block.n));
    return intime;
}

// Straight from what was read ahead to the targets: nothing is done to it on the way.
bool MixNode::RunClips(const Block& block) {
    if (!stream || !block.Playing()) {
        PassSilence(block);
        return true;
    }
    bool intime = true;
    for (size_t done = 0; done < block.n;) {
        Block part = block;
        part.place.at += static_cast<int64_t>(done);
        part.offset = done;
        const auto span = stream->Take(part.place.ring, part.place.serial, part.place.at, block.n - done);
        part.n = span.count;
        if (span.side[Left])
            PassFader(part, span.side, nullptr);
        else
            PassSilence(part);
        m_changed = false;
        intime &= !span.late;
        done += span.count;
    }
    stream->Done(block.place.ring, block.place.serial, block.place.at + static_cast<int64_t>(block.n));
    return intime;
}

void MixNode::PassSilence(const Block& block) {
    const auto late = [](const NodeRoute& route) { return route.delay != nullptr; };
    if (late(output) || std::ranges::any_of(sends, late)) {
        MixBuffer silence;
        for (size_t s = 0; s < sides; s++) std::fill_n(silence.side[s].data(), block.n, 0.0f);
        PassFader(block, silence.Sides().data(), nullptr);
        return;
    }
    // Gains move on unheard, or are read anew from where the sound begins.
    const auto move = [&](MixWay& way, const NodeRoute& route, bool changed, auto gains) {
        way.Shape(sides, route.sides);
        if (changed || !way.course.Running()) way.course.Aim(gains());
        way.course.Advance(block.n);
        way.gridFrame = -1;
    };
    const StripSettings& s = strip->settings;
    move(strip->output, output, m_changed, [&] { return OutputGains(s, sides, output.sides, Stage::All); });
    for (NodeRoute& route : sends) {
        SendStrip& send = *route.send;
        move(send.way, route, send.mailbox.Take(&send.settings) || m_changed,
             [&] { return SendGains(s, send.settings, sides, route.sides, Stage::All); });
    }
}

void MixNode::PlayInstrument(const Block& block, MixBuffer& buffer) {
    MidiBlock events;
    const int64_t frame = block.FrameBehind(0);
    for (const auto& part : left) part->Release(events);
    for (NodeMidi& track : midi) {
        track.strip->Refresh();
        StripSettings settings = track.strip->settings;
        if (track.lanes && block.Playing())
            for (const auto& lane : track.lanes->strip)
                if (!lane->ByHand()) Override(settings, lane->Target(), lane->At(frame));
        track.part->Play(block.Playing(), frame, block.n, settings, block.place.live, events);
        const float level = track.part->TakeLevel();
        for (size_t s = 0; s < kStereoSides; s++) track.strip->levels[s].peak = level;
    }
    if (!instrument.slot) return;
    instrument.slot->Process(buffer.Sides().data(), block.n, *instrument.dry, events.Events(),
                             block.TimeBehind(0));
}

void MixNode::RunInserts(std::vector<NodeInsert>& inserts, const Block& block, MixBuffer& buffer,
                         size_t late) {
    for (NodeInsert& insert : inserts) {
        insert.slot->Process(buffer.Sides().data(), block.n, *insert.dry, {}, block.TimeBehind(late));
        late += insert.dry->Frames();
    }
}

// Everything from the fader on. Without a buffer of the channel's own nothing stands behind the fader.
void MixNode::PassFader(const Block& block, const float* const* from, MixBuffer* buffer) {
    if (behind.empty()) {
        for (NodeRoute& send : sends) Leave(send, block, from, Stage::All);
        Leave(output, block, from, Stage::All);
        return;
    }
    for (NodeRoute& send : sends) {
        send.send->mailbox.Take(&send.send->settings);
        if (send.send->settings.before) Leave(send, block, from, Stage::All);
    }
    MixBuffer faded;
    for (size_t s = 0; s < sides; s++) std::fill_n(faded.side[s].data(), block.n, 0.0f);
    strip->volume.Shape(sides, sides);
    Steer(strip->volume, m_changed, block, from, faded.Sides().data(), nullptr,
          [this](const StripSettings& s, int64_t) { return VolumeGains(s, sides); });
    for (size_t s = 0; s < sides; s++) std::copy_n(faded.side[s].data(), block.n, buffer->side[s].data());
    RunInserts(behind, block, *buffer, faderLatency);
    for (NodeRoute& send : sends)
        if (!send.send->settings.before) Leave(send, block, buffer->Sides().data(), Stage::AfterVolume);
    Leave(output, block, buffer->Sides().data(), Stage::AfterVolume);
}

void MixNode::Leave(NodeRoute& route, const Block& block, const float* const* from, Stage stage) {
    SendStrip* const send = route.send.get();
    MixWay& way = send ? send->way : strip->output;
    const bool changed = (send && send->mailbox.Take(&send->settings)) || m_changed;
    way.Shape(sides, route.sides);
    const auto gainsAt = [&](const StripSettings& s, int64_t frame) {
        if (!send) return OutputGains(s, sides, route.sides, stage);
        SendSettings settings = send->settings;
        if (lanes && frame >= 0)
            for (const auto& [id, lane] : lanes->sends)
                if (id == route.id && !lane->ByHand()) Override(settings, lane->Target(), lane->At(frame));
        return SendGains(s, settings, sides, route.sides, stage);
    };
    Levels* const levels = send ? nullptr : &strip->levels;
    const bool scoped = !send && strip->scope.Wanted();
    if (!route.delay) {
        const std::array<float*, kMaxSides> into = route.into->Sides(block.offset);
        MixBuffer added;  // what was there, and then what came to it
        for (size_t s = 0; scoped && s < kStereoSides; s++)
            std::copy_n(into[s], block.n, added.side[s].data());
        Steer(way, changed, block, from, into.data(), levels, gainsAt);
        if (!scoped) return;
        // What it added to the others.
        for (size_t s = 0; s < kStereoSides; s++)
            for (size_t i = 0; i < block.n; i++) added.side[s][i] = into[s][i] - added.side[s][i];
        strip->scope.Put(added.side[0].data(), added.side[1].data(), block.n);
        return;
    }
    MixBuffer late;
    for (size_t s = 0; s < route.sides; s++) std::fill_n(late.side[s].data(), block.n, 0.0f);
    Steer(way, changed, block, from, late.Sides().data(), levels, gainsAt);
    if (scoped) strip->scope.Put(late.side[0].data(), late.side[1].data(), block.n);
    route.delay->Process(late.Sides().data(), block.n);
    for (size_t s = 0; s < route.sides; s++)
        Add(late.side[s].data(), route.into->side[s].data() + block.offset, block.n);
}

// Settings with every value that a curve gives instead; a frame below 0 is none.
StripSettings MixNode::SettingsAt(int64_t frame) const {
    StripSettings settings = strip->settings;
    if (lanes)
        for (const auto& lane : lanes->strip)
            if (!lane->ByHand()) Override(settings, lane->Target(), lane->At(frame));
    return settings;
}

template <class GainsAt>
void MixNode::Steer(MixWay& way, bool changed, const Block& block, const float* const* from,
                    float* const* into, Levels* levels, GainsAt gainsAt) {
    if (!Automated()) {
        if (changed || !way.course.Running()) way.course.Aim(gainsAt(strip->settings, -1));
        way.Mix(from, into, block.n, levels);
        return;
    }
    if (changed) way.course.Blend();
    std::array<const float*, kMaxSides> samples{};
    std::array<float*, kMaxSides> target{};
    for (size_t done = 0; done < block.n;) {
        Block rest = block;
        rest.place.at += static_cast<int64_t>(block.Playing() ? done : 0);
        const int64_t frame = rest.FrameBehind(faderLatency);
        const auto phase = static_cast<size_t>(block.Playing() ? frame % kGridFrames : 0);
        size_t count = std::min(block.n - done, static_cast<size_t>(kGridFrames) - phase);
        if (block.Playing()) {
            const int64_t late = std::max<int64_t>(0, rest.place.at - static_cast<int64_t>(faderLatency));
            count = static_cast<size_t>(block.place.plan.StraightFrames(late, static_cast<int64_t>(count)));
        }
        if (way.gridFrame != frame || phase == 0) {
            const int64_t begin = frame - static_cast<int64_t>(phase);
            const int64_t end = begin + (block.Playing() ? kGridFrames : 0);
            way.course.Follow(gainsAt(SettingsAt(begin), begin), gainsAt(SettingsAt(end), end));
            way.course.Advance(phase);
        }
        for (size_t s = 0; s < sides; s++) samples[s] = from[s] + done;
        for (size_t s = 0; s < kMaxSides; s++) target[s] = into[s] + done;
        way.Mix(samples.data(), target.data(), count, levels);
        way.gridFrame = block.Playing() ? frame + static_cast<int64_t>(count) : -1;
        done += count;
    }
}

}  // namespace host
