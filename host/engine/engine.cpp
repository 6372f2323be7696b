#include "host/engine/engine.h"

#include "host/engine/device.h"
#include "host/engine/disk_thread.h"
#include "host/engine/mix_model.h"
#include "host/engine/player.h"
#include "host/engine/problem_log.h"

#include <algorithm>
#include <mutex>
#include <optional>

namespace host {

// What depends on the sample rate. The device goes first, so that nobody renders while the rest goes.
struct Engine::Rig {
    Rig(const DeviceWish& wished, const EngineOptions& options, ProblemLog& problems,
        std::unique_ptr<AudioDevice> output)
        : wish(wished), model(wish.sampleRate, problems, options.effects.get()),
          player(wish.sampleRate, options.threads), disk(player.Head(), wish.sampleRate),
          device(std::move(output)) {}
    ~Rig() { device->Stop(); }

    const DeviceWish wish;
    MixModel model;
    Player player;
    DiskThread disk;
    std::unique_ptr<AudioDevice> device;
};

namespace {

constexpr size_t kInputsAtOnce = 8;

// Devices are opened anew where this changes, so that nobody listens who need not.
DeviceWish WishOf(const Session& session, size_t blockFrames) {
    const bool records = std::ranges::any_of(session.channels, [](const Channel& c) {
        return c.kind == ChannelKind::InputBus ||
               (c.monitor && c.kind == ChannelKind::AudioTrack && c.input.source == InputSource::Device);
    });
    return {session.sample_rate, blockFrames,
            session.mode == ChannelMode::Surround51 ? kMaxSides : kStereoSides, records ? kInputsAtOnce : 0};
}

}  // namespace

struct Engine::Control {
    explicit Control(EngineOptions o) : options(std::move(o)) {}

    std::unique_ptr<AudioDevice> OpenDevice(const DeviceWish& wish);
    void Use(std::unique_ptr<MixGraph> graph);
    LoopFrames LoopAt(int rate) const;
    bool Jumping() const {
        return rig && rig->player.Head().State().serial < jumpSerial && jumpSerial > stopSerial;
    }
    bool Playing() const;
    int64_t Frame() const;
    std::optional<double> ReadAhead() const;
    void Jump(int64_t frame);
    void Stop();
    void TakeSession(const Session& session, const std::filesystem::path& folder);
    void ApplyLoop(const LoopRange& range);

    const EngineOptions options;
    mutable std::mutex mutex;
    ProblemLog problems;
    std::string deviceProblem;
    std::unique_ptr<Rig> rig;

    // Serial numbers of the last request of all, the last that jumps, and the last that Stop ended.
    uint64_t serial = 0, jumpSerial = 0, stopSerial = 0;
    int64_t jumpFrame = 0;
    std::optional<int64_t> cued;  ///< where Play begins, when not where playing stopped
    int64_t end = INT64_MAX;
    LoopRange loop;

    Session played;  ///< its routes; levels may have changed since
    LiveMidiRouter live;
    size_t latency = 0;
};

std::optional<double> Engine::Control::ReadAhead() const {
    const PlayState state = rig->player.Head().State();
    const int ring = rig->player.Head().Exchange().Settled().ring;
    if (!state.playing) return std::nullopt;
    int64_t least = INT64_MAX;
    for (const auto& stream : rig->model.Streams())
        if (stream->Serves(ring, state.serial)) least = std::min(least, stream->Ahead(ring));
    if (least == INT64_MAX) return std::nullopt;
    return static_cast<double>(std::max<int64_t>(0, least)) / rig->model.SampleRate();
}

std::unique_ptr<AudioDevice> Engine::Control::OpenDevice(const DeviceWish& wish) {
    deviceProblem.clear();
    if (options.openDevice) return options.openDevice(wish);
    if (options.systemDevice) {
        if (auto device = OpenSystemDevice(options.deviceName, wish, &deviceProblem)) {
            deviceProblem.clear();
            return device;
        }
    }
    return OpenNullDevice(wish.sampleRate, wish.blockFrames);
}

LoopFrames Engine::Control::LoopAt(int rate) const {
    if (!loop.on) return {};
    return {FrameAt(loop.start, rate), FrameAt(loop.end, rate)};
}

bool Engine::Control::Playing() const {
    if (!rig || serial <= stopSerial) return false;
    return Jumping() || rig->player.Head().State().playing;
}

int64_t Engine::Control::Frame() const {
    if (Jumping()) return jumpFrame;
    if (cued) return *cued;
    return rig ? rig->player.Head().State().frame : 0;
}

void Engine::Control::Jump(int64_t frame) {
    jumpFrame = frame;
    jumpSerial = ++serial;
    cued.reset();
    rig->disk.Request({serial, LoopAt(rig->model.SampleRate()), frame});
}

void Engine::Control::Stop() {
    if (!rig || serial <= stopSerial) return;
    if (Jumping()) cued = jumpFrame;
    stopSerial = serial;
    rig->player.Head().Stop(serial);
}

void Engine::Control::ApplyLoop(const LoopRange& range) {
    LoopRange sane = range;
    if (!(range.start >= 0 && range.end >= range.start && range.end <= kMaxSeconds)) sane = {};
    sane.on = sane.on && sane.end > sane.start;
    if (sane == loop) return;
    loop = sane;
    if (Playing()) rig->disk.Request({++serial, LoopAt(rig->model.SampleRate()), std::nullopt});
}

void Engine::Control::Use(std::unique_ptr<MixGraph> graph) {
    latency = graph->Latency();
    rig->player.SetGraph(std::move(graph));
}

void Engine::Control::TakeSession(const Session& session, const std::filesystem::path& folder) {
    const int rate = session.sample_rate;
    const DeviceWish wish = WishOf(session, options.blockFrames);
    const bool fresh = !rig || rig->wish != wish;
    if (fresh) {
        const double seconds = rig ? static_cast<double>(Frame()) / rig->model.SampleRate() : 0;
        Stop();
        rig.reset();
        serial = jumpSerial = stopSerial = 0;
        cued = FrameAt(seconds, rate);
        rig = std::make_unique<Rig>(wish, options, problems, OpenDevice(wish));
    }
    Use(rig->model.Build(session, folder, true));
    played = session;
    rig->disk.SetStreams(rig->model.Streams());
    live.Set(rig->model.Listeners(session));
    rig->player.Monitor().Set(session.monitoring);
    end = session.length > 0 ? FrameAt(session.length, rate) : INT64_MAX;
    rig->player.Head().SetEnd(end);
    ApplyLoop(session.loop);
    if (fresh) rig->device->Start(rig->player);
}

Engine::Engine(EngineOptions options) : m_control(std::make_unique<Control>(std::move(options))) {}

Engine::~Engine() = default;

void Engine::SetSession(const Session& session, const std::filesystem::path& folder) {
    CheckSession(session);
    const std::lock_guard lock(m_control->mutex);
    m_control->TakeSession(session, folder);
}

void Engine::SetLevels(const std::vector<Channel>& channels) {
    const std::lock_guard lock(m_control->mutex);
    if (!m_control->rig) return;
    m_control->rig->model.SetLevels(channels);
}

void Engine::SetMonitoring(const Monitoring& monitoring) {
    const std::lock_guard lock(m_control->mutex);
    if (m_control->rig) m_control->rig->player.Monitor().Set(monitoring);
}

void Engine::Forget() {
    const std::lock_guard lock(m_control->mutex);
    if (m_control->rig) m_control->rig->model.ForgetEffects();
}

std::shared_ptr<Effect> Engine::FindEffect(ChannelId channel, SubId id) const {
    const std::lock_guard lock(m_control->mutex);
    const auto slot = m_control->rig ? m_control->rig->model.FindEffect(channel, id) : nullptr;
    return slot && slot->Face() ? std::shared_ptr<Effect>(slot, slot->Face()) : nullptr;
}

void Engine::ResetEffect(ChannelId channel, SubId id) {
    const std::lock_guard lock(m_control->mutex);
    if (!m_control->rig) return;
    if (const auto slot = m_control->rig->model.FindEffect(channel, id)) slot->Restart();
}

void Engine::SaveStates(Session& session) const {
    const std::lock_guard lock(m_control->mutex);
    if (m_control->rig) m_control->rig->model.SaveStates(session);
}

void Engine::TakeByHand(ChannelId channel, const AutomationKey& key, bool on) {
    const std::lock_guard lock(m_control->mutex);
    if (m_control->rig) m_control->rig->model.TakeByHand(channel, key, on);
}

void Engine::PlayLive(const std::string& port, std::span<const uint8_t> bytes) {
    m_control->live.Play(port, bytes);
}

void Engine::Play() {
    Control& c = *m_control;
    const std::lock_guard lock(c.mutex);
    if (!c.rig || c.Playing()) return;
    const int64_t frame = c.Frame();
    c.Jump(frame >= c.end ? 0 : frame);
}

void Engine::Stop() {
    const std::lock_guard lock(m_control->mutex);
    m_control->Stop();
}

void Engine::Locate(double seconds) {
    Control& c = *m_control;
    const std::lock_guard lock(c.mutex);
    if (!c.rig) return;
    const int64_t frame = FrameAt(std::clamp(seconds, 0.0, kMaxSeconds), c.rig->model.SampleRate());
    if (c.Playing())
        c.Jump(frame);
    else
        c.cued = frame;
}

void Engine::SetLoop(const LoopRange& loop) {
    const std::lock_guard lock(m_control->mutex);
    m_control->ApplyLoop(loop);
}

TransportState Engine::Transport() const {
    const Control& c = *m_control;
    const std::lock_guard lock(c.mutex);
    if (!c.rig) return {.playing = false, .frame = 0, .seconds = 0, .loop = c.loop};
    const int64_t frame = c.Frame();
    return {c.Playing(), frame, static_cast<double>(frame) / c.rig->model.SampleRate(), c.loop};
}

std::vector<ChannelMeter> Engine::TakeMeters() {
    std::vector<MixModel::Named> strips;
    {
        const std::lock_guard lock(m_control->mutex);
        if (m_control->rig) {
            if (m_control->rig->model.LatencyChanged())
                m_control->Use(m_control->rig->model.MakeGraph(m_control->played, true));
            strips = m_control->rig->model.Strips();
        }
    }
    std::vector<ChannelMeter> meters;
    meters.reserve(strips.size());
    for (const auto& [id, strip] : strips) meters.push_back({id, strip->TakeMeter()});
    return meters;
}

size_t Engine::TakeScope(ChannelId id, float* pairs) {
    std::shared_ptr<ChannelStrip> strip;
    {
        const std::lock_guard lock(m_control->mutex);
        if (m_control->rig) strip = m_control->rig->model.StripOf(id);
    }
    return strip ? strip->scope.Take(pairs) : 0;
}

EngineStatus Engine::Status() const {
    const Control& c = *m_control;
    const std::lock_guard lock(c.mutex);
    EngineStatus status;
    status.deviceProblem = c.deviceProblem;
    if (!c.rig) return status;
    status.device = c.rig->device->Name();
    if (const std::string fault = c.rig->device->Fault(); !fault.empty()) status.deviceProblem = fault;
    status.sampleRate = c.rig->device->SampleRate();
    status.blockFrames = c.rig->device->BlockFrames();
    status.inputs = c.rig->device->Inputs();
    status.latency = c.latency;
    status.load = c.rig->player.Load();
    status.diskUnderruns = c.rig->player.Underruns();
    status.lateBlocks = c.rig->device->LateBlocks();
    status.reading = c.rig->disk.Reading();
    status.readAhead = c.ReadAhead();
    return status;
}

std::vector<std::string> Engine::Problems() const {
    const Control& c = *m_control;
    const std::lock_guard lock(c.mutex);
    std::vector<std::string> lines = c.problems.Lines();
    if (c.rig)
        for (std::string& line : c.rig->model.Faults()) lines.push_back(std::move(line));
    const std::string fault = c.rig ? c.rig->device->Fault() : std::string();
    if (!fault.empty()) lines.push_back(c.rig->device->Name() + ": " + fault);
    return lines;
}

}  // namespace host
