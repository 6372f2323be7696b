#include "host/effects/lv2_effect.h"

#include "host/effects/lv2_urids.h"
#include "platform/module.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cmath>
#include <thread>

using namespace tarn;

namespace host {
namespace {

constexpr double LONGEST_LATENCY_SECONDS = 10;
/// The project tells no metre; plug-ins that count bars get the usual one.
constexpr double BEATS_PER_BAR = 4;
constexpr uint8_t ALL_SOUND_OFF = 120, ALL_NOTES_OFF = 123;

}  // namespace

void Lv2Effect::Gate::Enter() {
    while (!TryEnter()) std::this_thread::sleep_for(std::chrono::microseconds(50));
}

void Lv2Effect::Fail(const std::string& what) const {
    throw EffectError(m_description.info.name + " " + what);
}

Lv2Effect::Lv2Effect(std::shared_ptr<Lv2World> world, const std::string& uri, int sampleRate)
    : m_world(std::move(world)), m_sampleRate(sampleRate), m_features(sampleRate) {
    const std::lock_guard lock(m_world->Guard());
    m_plugin = m_world->Find(uri);
    if (!m_plugin) throw EffectError("effect " + uri + " is not installed");
    m_description = DescribeLv2(*m_world, m_plugin, sampleRate);
    if (!m_description.info.problem.empty()) Fail(m_description.info.problem);
    m_viewCode = FindX11View(*m_world, m_plugin);

    const size_t ports = m_description.ports.size(), parameters = m_description.parameters.size();
    m_values = std::make_unique<std::atomic<float>[]>(parameters);
    for (size_t i = 0; i < parameters; i++) m_values[i] = m_description.parameters[i].preset;
    m_controls.resize(ports);
    m_events.resize(ports);
    for (size_t i = 0; i < ports; i++) m_events[i].resize((m_description.ports[i].eventBytes + 7) / 8);
    if (m_description.inPlaceBroken) m_copies.resize(m_description.info.inputs);
    lv2_atom_forge_init(&m_forge, Urids().MapFeature());

    // Loaded here first for the reason that the loader has when it fails.
    std::string error;
    const Module library = Module::Load(m_description.library, error);
    if (!library) Fail("has no library that works: " + error);
    m_instance.reset(lilv_plugin_instantiate(m_plugin, sampleRate, m_features.List()));
    if (!m_instance) {
        const std::string said = m_features.LastError();
        Fail("has refused to start" + (said.empty() ? said : ": " + said));
    }

    const auto extension = [&](const char* name) {
        return lilv_instance_get_extension_data(m_instance.get(), name);
    };
    m_state = static_cast<const LV2_State_Interface*>(extension(LV2_STATE__interface));
    if (m_state && (!m_state->save || !m_state->restore)) m_state = nullptr;
    const auto* work = static_cast<const LV2_Worker_Interface*>(extension(LV2_WORKER__interface));
    if (work && work->work && work->work_response) {
        m_worker = std::make_unique<Lv2Worker>(*work, lilv_instance_get_handle(m_instance.get()));
        m_features.SetWorker(m_worker.get());
    }
    ConnectControls();
    if (m_description.hasDefaultState) {
        const LilvPtr<LilvState> state(
            lilv_state_new_from_world(m_world->Get(), Urids().MapFeature(), lilv_plugin_get_uri(m_plugin)));
        if (state) LoadLilvState(*state);
    }
    lilv_instance_activate(m_instance.get());
    if (m_description.latencyPort) {
        // A run of no frames is how the latency is asked for before there is anything to play.
        std::array<float, kMaxEffectFrames> silence{};
        std::vector<float*> channels(std::max(m_description.info.inputs, m_description.info.outputs),
                                     silence.data());
        Run(channels.data(), channels.data(), 0, {}, {});
        m_positionKnown = false;
    }
}

Lv2Effect::~Lv2Effect() {
    m_worker.reset();
    const std::lock_guard lock(m_world->Guard());
    lilv_instance_deactivate(m_instance.get());
    m_instance.reset();
}

void Lv2Effect::ConnectControls() {
    for (uint32_t i = 0; i < m_description.ports.size(); i++) {
        const Lv2Port& port = m_description.ports[i];
        void* data = nullptr;
        if (port.kind == Lv2PortKind::ControlIn || port.kind == Lv2PortKind::ControlOut)
            data = &m_controls[i];
        if (port.kind == Lv2PortKind::EventsIn || port.kind == Lv2PortKind::EventsOut)
            data = m_events[i].data();
        if (port.parameter != NOT_A_PARAMETER)
            m_controls[i] = m_values[port.parameter].load(std::memory_order_relaxed);
        lilv_instance_connect_port(m_instance.get(), i, data);
    }
}

float Lv2Effect::Value(size_t parameter) const {
    return parameter < m_description.parameters.size() ? m_values[parameter].load(std::memory_order_relaxed)
                                                       : 0;
}

void Lv2Effect::SetValue(size_t parameter, float value) {
    if (parameter >= m_description.parameters.size() || std::isnan(value)) return;
    const EffectParameter& p = m_description.parameters[parameter];
    if (p.shown) return;
    value = std::clamp(value, p.minimum, p.maximum);
    if (p.toggled) value = value > 0 ? 1.f : 0.f;
    if (p.integer) value = std::clamp(std::round(value), p.minimum, p.maximum);
    if (p.listed)
        value = std::ranges::min_element(p.points, {}, [&](const auto& point) {
                    return std::abs(point.first - value);
                })->first;
    m_values[parameter].store(value, std::memory_order_relaxed);
}

void Lv2Effect::SetBySymbol(const std::string& symbol, float value) {
    const auto found = std::ranges::find(m_description.parameters, symbol, &EffectParameter::symbol);
    if (found != m_description.parameters.end())
        SetValue(static_cast<size_t>(found - m_description.parameters.begin()), value);
}

std::string Lv2Effect::Complaint() const {
    if (m_latencyIsAbsurd.load(std::memory_order_relaxed))
        return "reports a latency that can't be; it is taken as " + std::to_string(Latency()) + " frames";
    return m_features.LastError();
}

void Lv2Effect::Reset() {
    m_restartWanted = true;
    // Here when the audio thread is elsewhere, else by it: a restart may take its time.
    if (!m_gate.TryEnter()) return;
    if (m_restartWanted.exchange(false)) Restart();
    m_gate.Leave();
}

void Lv2Effect::Restart() {
    lilv_instance_deactivate(m_instance.get());
    lilv_instance_activate(m_instance.get());
    m_positionKnown = false;
    m_restarted = true;
}

void Lv2Effect::Process(const float* const* in, float* const* out, size_t n, std::span<const EffectMidi> midi,
                        const EffectTime& time) {
    assert(n <= kMaxEffectFrames);
    if (n == 0 || n > kMaxEffectFrames) return;
    if (!m_gate.TryEnter()) {
        for (uint32_t i = 0; i < m_description.info.outputs; i++) std::fill_n(out[i], n, 0.f);
        if (!midi.empty()) m_restartWanted = true;  // the end of a held note may be among what is lost
        return;
    }
    if (m_restartWanted.exchange(false)) Restart();
    Run(in, out, static_cast<uint32_t>(n), midi, time);
    m_gate.Leave();
}

void Lv2Effect::Run(const float* const* in, float* const* out, uint32_t n, std::span<const EffectMidi> midi,
                    const EffectTime& time) {
    const bool moved = !m_positionKnown || time.frame != m_expected.frame ||
                       time.playing != m_expected.playing || time.tempo != m_expected.tempo;
    LilvInstance* instance = m_instance.get();
    Lv2ViewLink* link = m_viewLinkInUse.load(std::memory_order_acquire);
    if (link) TakeFromView(*link);
    const std::vector<Lv2Port>& ports = m_description.ports;
    uint32_t input = 0, output = 0;
    for (uint32_t i = 0; i < ports.size(); i++) {
        switch (ports[i].kind) {
        case Lv2PortKind::AudioIn: {
            const float* from = in[input];
            if (m_description.inPlaceBroken && input < m_description.info.outputs && from == out[input])
                from = std::copy_n(from, n, m_copies[input].begin()) - n;
            lilv_instance_connect_port(instance, i, const_cast<float*>(from));
            input++;
            break;
        }
        case Lv2PortKind::AudioOut:
            // What the plug-in leaves unwritten must not be what lay there before.
            if (output >= m_description.info.inputs || in[output] != out[output])
                std::fill_n(out[output], n, 0.f);
            lilv_instance_connect_port(instance, i, out[output]);
            output++;
            break;
        case Lv2PortKind::ControlIn:
            m_controls[i] = ports[i].parameter == NOT_A_PARAMETER
                                ? static_cast<float>(time.offline)
                                : m_values[ports[i].parameter].load(std::memory_order_relaxed);
            break;
        case Lv2PortKind::EventsIn: WriteEvents(i, n, midi, time, moved); break;
        case Lv2PortKind::EventsOut: {
            const size_t bytes = m_events[i].size() * sizeof(uint64_t) - sizeof(LV2_Atom);
            const LV2_Atom room{static_cast<uint32_t>(bytes), Ids().atomChunk};
            std::memcpy(m_events[i].data(), &room, sizeof room);
            break;
        }
        case Lv2PortKind::ControlOut:
        case Lv2PortKind::Unconnected: break;
        }
    }
    m_expected = time;
    m_expected.frame += time.playing ? n : 0;
    m_positionKnown = true;
    m_restarted = false;

    lilv_instance_run(instance, n);

    if (m_worker) {
        if (time.offline) m_worker->WaitUntilIdle();
        m_worker->Respond();
    }
    for (size_t i = 0; i < ports.size(); i++) {
        if (ports[i].parameter == NOT_A_PARAMETER) continue;
        std::atomic<float>& value = m_values[ports[i].parameter];
        if (ports[i].kind == Lv2PortKind::ControlOut && std::isfinite(m_controls[i]))
            value.store(m_controls[i], std::memory_order_relaxed);
        if (ports[i].trigger) {
            // Unless it was pressed again meanwhile.
            float seen = m_controls[i];
            value.compare_exchange_strong(seen, m_description.parameters[ports[i].parameter].preset,
                                          std::memory_order_relaxed);
        }
    }
    TakeLatency();
    if (link && link->isOpen.load(std::memory_order_relaxed)) TellView(*link);
}

void Lv2Effect::TakeFromView(Lv2ViewLink& link) {
    link.block.clear();
    while (link.block.size() + Lv2ViewLink::BYTES <= link.block.capacity() &&
           link.toEffect.Read(link.message)) {
        link.block.insert(link.block.end(), link.message.begin(), link.message.end());
        link.block.resize((link.block.size() + 7) & ~size_t{7});
    }
}

void Lv2Effect::TellView(Lv2ViewLink& link) {
    for (uint32_t port = 0; port < m_events.size(); port++) {
        if (m_description.ports[port].kind != Lv2PortKind::EventsOut) continue;
        const auto* bytes = reinterpret_cast<const uint8_t*>(m_events[port].data());
        LV2_Atom whole;
        std::memcpy(&whole, bytes, sizeof whole);
        // Where the plug-in has written nothing it is still the empty room.
        if (whole.type != Ids().atomSequence || whole.size > m_events[port].size() * 8 - sizeof whole)
            continue;
        const size_t end = sizeof whole + whole.size;
        for (size_t at = sizeof(LV2_Atom_Sequence); at + sizeof(LV2_Atom_Event) <= end;) {
            LV2_Atom_Event event;
            std::memcpy(&event, bytes + at, sizeof event);
            const size_t size = sizeof event + event.body.size;
            if (size > end - at) break;
            const size_t atom = sizeof event.body + event.body.size;
            if (Lv2ViewLink::HEAD + atom <= link.message.capacity()) {
                link.message.assign(Lv2ViewLink::HEAD, 0);
                std::memcpy(link.message.data(), &port, sizeof port);
                const uint8_t* body = bytes + at + offsetof(LV2_Atom_Event, body);
                link.message.insert(link.message.end(), body, body + atom);
                link.toView.Write(link.message);
            }
            at += (size + 7) & ~size_t{7};
        }
    }
}

std::unique_ptr<EffectView> Lv2Effect::OpenView(uintptr_t parent, const EffectEdits& edits,
                                                const std::function<void(int, int)>& resize) {
    if (!m_viewCode) return Effect::OpenView(parent, edits, resize);
    if (!m_viewLink) {
        m_viewLink = std::make_unique<Lv2ViewLink>();
        m_viewLinkInUse.store(m_viewLink.get(), std::memory_order_release);
    }
    const Lv2ViewSubject subject{*this,
                                 m_description,
                                 *lilv_instance_get_descriptor(m_instance.get()),
                                 lilv_instance_get_handle(m_instance.get()),
                                 *m_viewLink,
                                 static_cast<float>(m_sampleRate)};
    return std::make_unique<Lv2View>(*m_viewCode, subject, parent, edits, resize);
}

void Lv2Effect::TakeLatency() {
    if (!m_description.latencyPort) return;
    const double frames = m_controls[*m_description.latencyPort];
    const double longest = LONGEST_LATENCY_SECONDS * m_sampleRate;
    const bool absurd = !(frames >= 0 && frames <= longest);
    m_latencyIsAbsurd.store(absurd, std::memory_order_relaxed);
    m_latency.store(static_cast<size_t>(std::isnan(frames) ? 0 : std::clamp(frames, 0.0, longest)),
                    std::memory_order_relaxed);
}

void Lv2Effect::WriteEvents(size_t port, uint32_t n, std::span<const EffectMidi> midi, const EffectTime& time,
                            bool moved) {
    const Lv2Ids& id = Ids();
    LV2_Atom_Forge* forge = &m_forge;
    std::vector<uint64_t>& room = m_events[port];
    const size_t capacity = room.size() * sizeof room[0];
    lv2_atom_forge_set_buffer(forge, reinterpret_cast<uint8_t*>(room.data()), capacity);
    LV2_Atom_Forge_Frame sequence;
    lv2_atom_forge_sequence_head(forge, &sequence, 0);
    if (m_description.ports[port].position && moved) {
        const double bar = std::floor(time.beat / BEATS_PER_BAR);
        LV2_Atom_Forge_Frame position;
        lv2_atom_forge_frame_time(forge, 0);
        lv2_atom_forge_object(forge, &position, 0, id.timePosition);
        lv2_atom_forge_key(forge, id.timeFrame);
        lv2_atom_forge_long(forge, time.frame);
        lv2_atom_forge_key(forge, id.timeSpeed);
        lv2_atom_forge_float(forge, time.playing ? 1.f : 0.f);
        lv2_atom_forge_key(forge, id.timeBar);
        lv2_atom_forge_long(forge, static_cast<int64_t>(bar));
        lv2_atom_forge_key(forge, id.timeBarBeat);
        lv2_atom_forge_float(forge, static_cast<float>(time.beat - bar * BEATS_PER_BAR));
        lv2_atom_forge_key(forge, id.timeBeat);
        lv2_atom_forge_double(forge, time.beat);
        lv2_atom_forge_key(forge, id.timeBeatUnit);
        lv2_atom_forge_int(forge, 4);
        lv2_atom_forge_key(forge, id.timeBeatsPerBar);
        lv2_atom_forge_float(forge, static_cast<float>(BEATS_PER_BAR));
        lv2_atom_forge_key(forge, id.timeBeatsPerMinute);
        lv2_atom_forge_float(forge, static_cast<float>(time.tempo));
        lv2_atom_forge_pop(forge, &position);
    }
    if (const Lv2ViewLink* link = m_viewLinkInUse.load(std::memory_order_relaxed))
        for (size_t at = 0; at < link->block.size();) {
            uint32_t to = 0;
            LV2_Atom atom;
            std::memcpy(&to, &link->block[at], sizeof to);
            const uint8_t* message = &link->block[at + Lv2ViewLink::HEAD];
            std::memcpy(&atom, message, sizeof atom);
            const uint32_t size = sizeof atom + atom.size;
            at += (Lv2ViewLink::HEAD + size + 7) & ~size_t{7};
            if (to != port || forge->offset + sizeof(int64_t) + size + 8 > capacity) continue;
            lv2_atom_forge_frame_time(forge, 0);
            lv2_atom_forge_raw(forge, message, size);
            lv2_atom_forge_pad(forge, size);
        }
    if (m_description.ports[port].midi) {
        const auto write = [&](const EffectMidi& event) {
            constexpr size_t EVENT_SIZE = sizeof(LV2_Atom_Event) + 8;
            if (forge->offset + EVENT_SIZE > capacity) return;
            const uint32_t size = std::min<uint32_t>(event.size, sizeof event.bytes);
            lv2_atom_forge_frame_time(forge, std::min(event.frame, n ? n - 1 : 0));
            lv2_atom_forge_atom(forge, size, id.midiEvent);
            lv2_atom_forge_write(forge, event.bytes, size);
        };
        // Some instruments hold their notes over a restart.
        for (uint8_t channel = 0; m_restarted && channel < 16; channel++)
            for (const uint8_t controller : {ALL_SOUND_OFF, ALL_NOTES_OFF})
                write({0, 3, {static_cast<uint8_t>(0xB0 | channel), controller, 0}});
        for (const EffectMidi& event : midi) write(event);
    }
    lv2_atom_forge_pop(forge, &sequence);
}

}  // namespace host
