#include "host/contract/project.h"

#include "host/contract/channel_words.h"
#include "host/contract/host_object.h"
#include "host/contract/project_core.h"
#include "host/contract/time.h"
#include "host/engine/gain.h"

#include <chrono>
#include <condition_variable>
#include <thread>

using namespace tarn;

namespace host {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto TICK = std::chrono::microseconds(1'000'000 / 30);

/// Sends the meter ticks, and the time ticks while the project plays, from a thread of its own.
class Ticker {
public:
    explicit Ticker(ProjectCore& core) : m_core(core), m_thread([this] { Run(); }) {}
    ~Ticker() {
        {
            std::lock_guard lock(m_lock);
            m_stop = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }

private:
    void Run() {
        auto last = Clock::now();
        std::unique_lock lock(m_lock);
        while (!m_wake.wait_until(lock, last + TICK, [this] { return m_stop; })) {
            lock.unlock();
            const auto now = Clock::now();
            const bool showing = m_core.UpdateLevels(std::chrono::duration<double>(now - last).count());
            m_core.Wind(std::chrono::duration<double>(now - last).count());
            last = now;
            m_core.WriteAutomation();
            m_core.FollowMidiPorts();
            const TransportState transport = m_core.engine.Transport();
            // The end of the session stops the transport by itself.
            if (transport.playing != m_played) m_core.SendControl(MPCTRL_TRANSPORT);
            m_played = transport.playing;
            if (showing || transport.playing) {
                m_core.meterTicks++;
                m_core.SendControl(MPCTRL_METERS);
            }
            if (transport.playing)
                m_core.timeSinks.Send<IMPTimeSink>([&](IMPTimeSink& sink) {
                    sink.OnTime(static_cast<uint64_t>(NanoFromSeconds(transport.seconds)), TIMEFORMAT_NANO,
                                0);
                });
            lock.lock();
        }
    }

    ProjectCore& m_core;
    std::mutex m_lock;
    std::condition_variable m_wake;
    bool m_stop = false;
    bool m_played = false;
    std::thread m_thread;
};

}  // namespace

struct Project::Impl {
    Impl(EngineOptions options, std::unique_ptr<MidiDriver> midi, const HostFace& face)
        : core(std::make_shared<ProjectCore>(std::move(options), std::move(midi), face)),
          unknown((new HostObject(core, {}))->Unknown()) {
        core->Replace(NewSession(), {});
        ticker = std::make_unique<Ticker>(*core);
    }

    std::shared_ptr<ProjectCore> core;
    ComPtr<IUnknown> unknown;
    std::atomic<uint32_t> seats{kNoSeat};
    std::unique_ptr<Ticker> ticker;
};

Project::Project(EngineOptions options, std::unique_ptr<MidiDriver> midi, const HostFace& face)
    : m_impl(std::make_unique<Impl>(std::move(options), std::move(midi), face)) {}
Project::~Project() = default;

void Project::Open(const std::filesystem::path& path) {
    m_impl->core->Replace(LoadSession(path), path);
    m_impl->core->SendNotify(MPNOTIFY_PROJECT_RELOAD);
}

void Project::New() {
    m_impl->core->Replace(NewSession(), {});
    m_impl->core->SendNotify(MPNOTIFY_PROJECT_RELOAD);
}

void Project::Save() { SaveAs(Path()); }

void Project::SaveAs(const std::filesystem::path& path) { m_impl->core->SaveAs(path); }

void Project::SavePreferences() {
    if (Path().empty()) return;
    Session saved = LoadSession(Path());
    Preferences preferences = Snapshot().preferences;
    if (saved.preferences == preferences) return;
    saved.preferences = std::move(preferences);
    SaveSession(saved, Path());
}

std::filesystem::path Project::Path() const { return m_impl->core->Path(); }
bool Project::IsModified() const { return m_impl->core->IsModified(); }

void Project::Play() {
    m_impl->core->ChangeTransport([](Engine& engine) { engine.Play(); });
}
void Project::Stop() {
    m_impl->core->ChangeTransport([](Engine& engine) { engine.Stop(); });
}
void Project::Locate(double seconds) {
    m_impl->core->ChangeTransport([seconds](Engine& engine) { engine.Locate(seconds); });
}
void Project::SetLoop(const LoopRange& loop) {
    m_impl->core->ChangeTransport([&loop](Engine& engine) { engine.SetLoop(loop); });
}
TransportState Project::Transport() const { return m_impl->core->engine.Transport(); }

Session Project::Snapshot() const {
    return m_impl->core->Read([](const Session& session) { return session; });
}

Session Project::CompleteSnapshot() { return m_impl->core->WithStates(); }

double Project::Length() const {
    return m_impl->core->Read([](const Session& session) { return session.length; });
}

ChannelId Project::AddChannel(ChannelKind kind, const std::string& name) {
    return m_impl->core->AddChannel(kind, name, SIZE_MAX);
}
std::vector<Channel> Project::CopySelected() { return m_impl->core->CopySelected(); }

bool Project::PasteChannels(const std::vector<Channel>& copied) {
    return m_impl->core->PasteChannels(copied) == S_OK;
}

bool Project::AddRecordings(const std::vector<Recording>& recordings, double start) {
    return m_impl->core->AddRecordings(recordings, start) == S_OK;
}

bool Project::RemoveChannel(ChannelId id) { return m_impl->core->RemoveChannel(id) == S_OK; }
bool Project::RenameChannel(ChannelId id, const std::string& name) {
    return m_impl->core->EditChannel(id, [&](Channel& channel) { channel.name = name; }) == S_OK;
}
std::vector<std::pair<ChannelId, SubId>> Project::TakeEditorWishes() {
    return m_impl->core->editorWishes.Take();
}
std::vector<uint32_t> Project::TakeCommandWishes() { return m_impl->core->commandWishes.Take(); }
bool Project::MoveChannel(ChannelId id, size_t index) { return m_impl->core->MoveChannel(id, index); }

bool Project::EditChannel(ChannelId id, const std::function<void(Channel&)>& edit) {
    return m_impl->core->EditChannel(id, [&](Channel& channel) {
        const ChannelKind kind = channel.kind;
        edit(channel);
        channel.id = id;
        channel.kind = kind;
    }) == S_OK;
}
std::string Project::Refusal() const { return m_impl->core->Refusal(); }
bool Project::Undo() { return m_impl->core->Undo(false) == S_OK; }
bool Project::Redo() { return m_impl->core->Undo(true) == S_OK; }
std::optional<EditKind> Project::NextUndo() const { return m_impl->core->NextUndo(false); }
std::optional<EditKind> Project::NextRedo() const { return m_impl->core->NextUndo(true); }
void Project::SetMonitoring(const Monitoring& monitoring) { m_impl->core->SetMonitoring(monitoring); }

SubId Project::InsertEffect(ChannelId id, const std::string& uri) {
    SubId made = kNoSub;
    return m_impl->core->InsertEffect(id, uri, SIZE_MAX, &made) == S_OK ? made : kNoSub;
}
bool Project::RemovePart(ChannelId id, SubId part) { return m_impl->core->RemovePart(id, part) == S_OK; }
bool Project::MoveEffect(ChannelId id, SubId effect, size_t place) {
    return m_impl->core->MoveEffect(id, effect, place) == S_OK;
}
std::shared_ptr<Effect> Project::FindEffect(ChannelId id, SubId effect) const {
    return m_impl->core->FindEffect(id, effect);
}
EffectEdits Project::EditsOf(ChannelId id, SubId effect) {
    const std::shared_ptr<ProjectCore> core = m_impl->core;
    const auto touch = [core, id, effect](size_t parameter, bool on) {
        if (const auto running = core->FindEffect(id, effect);
            running && parameter < running->Parameters().size())
            core->Touch(id, {AutomationTarget::Parameter, effect, running->Parameters()[parameter].symbol},
                        on);
    };
    return {[touch](size_t parameter) { touch(parameter, true); },
            [core, id, effect](size_t parameter, float value) {
                core->SetParameter(id, effect, parameter, value);
            },
            [touch](size_t parameter) { touch(parameter, false); },
            [core, id, effect](size_t index) {
                if (Failed(core->LoadPreset(id, effect, index))) throw EffectError(core->Refusal());
            }};
}
EffectLibrary* Project::Effects() const { return m_impl->core->effects.get(); }
std::vector<RegisteredCommand> Project::Commands() const { return m_impl->core->commands.All(); }
void Project::SetCommandKeys(const std::map<std::string, std::vector<MPCOMMANDKEY>>& keys) {
    m_impl->core->commands.SetKeys(keys);
}
uint64_t Project::CommandChanges() const { return m_impl->core->commands.Changes(); }

RenderResult Project::Render(const std::filesystem::path& path, std::optional<double> seconds,
                             const std::function<bool(double)>& progress) {
    RenderOptions options;
    options.end = seconds.value_or(0);
    options.progress = progress;
    options.effects = Effects();
    RenderResult result = RenderToFile(CompleteSnapshot(), Path().parent_path(), path, options);
    if (!result.finished) throw RenderError(path.string() + ": cancelled");
    return result;
}

ProjectStatus Project::Status() const {
    return {m_impl->core->engine.Status(), m_impl->core->meterTicks, m_impl->core->engine.Problems()};
}

std::vector<ChannelReport> Project::Report() const {
    std::vector<ChannelReport> rows;
    const Session session = Snapshot();
    for (const Channel& channel : session.channels) {
        const ShownLevels levels = m_impl->core->Levels(channel.id);
        ChannelReport row{channel, {}, {}};
        const bool inRoom = IsWide(session, channel.kind) || IsPlaced(session, channel);
        const size_t sides = inRoom ? kMaxSides : kStereoSides;
        for (size_t side = 0; side < sides; side++) row.peakDb.push_back(DbFromLevel(levels.highest[side]));
        for (const Insert& insert : channel.inserts)
            row.missing.push_back(!FindEffect(channel.id, insert.id));
        rows.push_back(std::move(row));
    }
    return rows;
}

void Project::ResetPeaks() { m_impl->core->ResetPeaks(); }
void Project::SendControl(const GUID& id, uint32_t flags, uint32_t seat) {
    m_impl->core->SendControl(id, flags, 0, seat);
}
Project::Seat Project::NewSeat(Keeps keeps) {
    const SeatOptions seat{++m_impl->seats, keeps == Keeps::ForUser};
    return {ComPtr<IUnknown>((new HostObject(m_impl->core, seat))->Unknown()), seat.number};
}
void Project::SetTexts(HostTexts texts) { m_impl->core->SetTexts(std::move(texts)); }
std::shared_ptr<const HostTexts> Project::Texts() const { return m_impl->core->Texts(); }
void Project::AddFilter(IMPEventFilter* filter) { m_impl->core->AddFilter(filter); }
void Project::RemoveFilter(IMPEventFilter* filter) { m_impl->core->RemoveFilter(filter); }
MidiPorts* Project::Midi() { return m_impl->core->midi.get(); }
Preferences Project::UserPreferences() const {
    return m_impl->core->WithPreferences(true, [](const Preferences& p) { return p; });
}
uint64_t Project::UserPreferenceChanges() const { return m_impl->core->userPreferenceChanges; }
void Project::SetUserPreferences(Preferences preferences) {
    m_impl->core->WithPreferences(true, [&](Preferences& p) { p = std::move(preferences); });
}
IUnknown* Project::PluginHost() { return m_impl->unknown.Get(); }

}  // namespace host
