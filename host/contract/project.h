// Project: an open session with the engine that plays it and the face that plug-ins see of both. The
// application and the tests work on this; plug-ins work on PluginHost().
//
// Operations are [any-thread] unless told otherwise. Every change is visible before plug-ins hear of it, and
// no lock is held while they do.
#pragma once

#include "contract/host_contract.h"
#include "host/contract/channel_changes.h"
#include "host/contract/command_table.h"
#include "host/contract/host_texts.h"
#include "host/effects/effect.h"
#include "host/engine/engine.h"
#include "host/engine/render.h"
#include "host/midi/midi_ports.h"
#include "host/session/session.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

struct ProjectStatus {
    EngineStatus engine;
    uint64_t meterTicks = 0;            ///< sent to plug-ins since the project was opened
    std::vector<std::string> problems;  ///< missing files and the like, one line each
};

struct ChannelReport {
    Channel channel;
    std::vector<double> peakDb;  ///< highest since the project was opened or ResetPeaks, of each of its
                                 ///< channels; kSilenceDb at least
    std::vector<bool> missing;   ///< for each insert: it can't be had
};

/// A file that a new track plays.
struct Recording {
    std::string name;
    std::filesystem::path file;  ///< absolute, or relative to the working directory
    double seconds = 0;
};

/// What the host pretends to be, for those who want to see the other forms of a plug-in.
struct HostFace {
    bool fullEditor = true;
    bool limited = false;  ///< no recording, no automation
    uint32_t features = FEATURE_INPUT_BUSSES | FEATURE_MIDI_TRACKS | FEATURE_SYNTHS | FEATURE_REORDER;
    std::function<HRESULT(MPIMAGES&)> images{};  ///< of the roles that it has images for; empty without
};

class Project {
public:
    explicit Project(EngineOptions options = {}, std::unique_ptr<MidiDriver> midi = nullptr,
                     const HostFace& face = {});
    ~Project();
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    /// Replaces what is open; the transport stops at the start. Throws SessionError, and then the old project
    /// stands. Plug-ins are told to reload.
    void Open(const std::filesystem::path& path);
    void New();
    void Save();  ///< where it was opened or saved last; throws SessionError
    void SaveAs(const std::filesystem::path& path);
    /// Puts what plug-ins have left as preferences into the saved session, and nothing else of what has
    /// changed since. Without a file it does nothing. Throws SessionError.
    void SavePreferences();
    std::filesystem::path Path() const;
    bool IsModified() const;  ///< since it was opened or saved

    void Play();
    void Stop();
    void Locate(double seconds);
    void SetLoop(const LoopRange& loop);
    TransportState Transport() const;

    Session Snapshot() const;
    Session CompleteSnapshot();  ///< with the effects' present states
    double Length() const;       ///< seconds
    /// A new channel of that kind at the end of its row; busses and tracks go to the master.
    ChannelId AddChannel(ChannelKind kind, const std::string& name);
    /// The selected channels as they are, and copies of such channels in the session: with names of their
    /// own, selected, at the ends of their rows.
    std::vector<Channel> CopySelected();
    bool PasteChannels(const std::vector<Channel>& copied);
    /// A new audio track for each, selected, that plays it from `start` seconds on; the session becomes as
    /// long as they are. False, with a Refusal, when nothing was added.
    bool AddRecordings(const std::vector<Recording>& recordings, double start);
    bool RemoveChannel(ChannelId id);  ///< what fed it goes to the master; false for master and preview bus
    bool RenameChannel(ChannelId id, const std::string& name);
    bool MoveChannel(ChannelId id, size_t index);  ///< place in its row, of tracks or of busses
    /// Changes levels, switches, pan or routing of one channel under the lock; false when it is gone or the
    /// result is refused, and then nothing has changed.
    bool EditChannel(ChannelId id, const std::function<void(Channel&)>& edit);
    /// Why the last edit was refused, for a person.
    std::string Refusal() const;
    /// Takes back what was done last to a channel, to the list of channels or to an effect, or does it again.
    bool Undo();
    bool Redo();
    std::optional<EditKind> NextUndo() const;  ///< none: nothing to take back
    std::optional<EditKind> NextRedo() const;
    void SetMonitoring(const Monitoring& monitoring);

    /// An effect at the end of the channel's chain, or the instrument of a soft synth. kNoSub, with a
    /// Refusal, when it can't be had there.
    SubId InsertEffect(ChannelId id, const std::string& uri);
    bool RemovePart(ChannelId id, SubId part);  ///< a send or an effect, with its automation
    bool MoveEffect(ChannelId id, SubId effect, size_t place);
    /// Null when it does not run. It stays valid for as long as it is held.
    std::shared_ptr<Effect> FindEffect(ChannelId id, SubId effect) const;
    /// Effects whose windows plug-ins have asked for since the last call.
    std::vector<std::pair<ChannelId, SubId>> TakeEditorWishes();
    /// Registered commands that plug-ins, like those of control surfaces, want carried out since the last
    /// call.
    std::vector<uint32_t> TakeCommandWishes();
    /// What becomes of changes in the effect's window: they are heard, automated, told to plug-ins.
    EffectEdits EditsOf(ChannelId id, SubId effect);
    EffectLibrary* Effects() const;  ///< null without effects
    /// What plug-ins have registered.
    std::vector<RegisteredCommand> Commands() const;
    /// Tells plug-ins which keys their commands have, by the commands' names.
    void SetCommandKeys(const std::map<std::string, std::vector<MPCOMMANDKEY>>& keys);
    uint64_t CommandChanges() const;  ///< by plug-ins, so far

    /// Renders the project as it stands, from 0 to `seconds` (nothing: to its end): 24-bit stereo wave,
    /// written aside and renamed. `progress` is called with 0..1 and ends the work by false. What could not
    /// be played is missing in the file and named in the result; throws std::runtime_error with file and
    /// reason, and on cancel.
    RenderResult Render(const std::filesystem::path& path, std::optional<double> seconds,
                        const std::function<bool(double)>& progress = {});

    ProjectStatus Status() const;
    std::vector<ChannelReport> Report() const;
    void ResetPeaks();

    /// What plug-ins are given: IMPProjectTree, IMPPropertyStore, IMPTimeConverter, IMPPortList,
    /// IMPCtrlChannels, IConnectionPointContainer by QueryInterface.
    IUnknown* PluginHost();
    /// The same for one plug-in with a place of its own, from which controls can be sent to it alone. Its
    /// preferences are kept with the session, or for the user.
    struct Seat {
        tarn::ComPtr<IUnknown> host;
        uint32_t number;
    };
    enum class Keeps { ForSession, ForUser };
    Seat NewSeat(Keeps keeps);
    /// Sends a control without an object to the plug-in of a seat, or to all: project open and close,
    /// activate, suspend, look.
    void SendControl(const GUID& id, uint32_t flags, uint32_t seat = 0);

    void SetTexts(HostTexts texts);
    std::shared_ptr<const HostTexts> Texts() const;

    /// What has come in over MIDI is shown to the filter, in the order of these calls. [MIDI thread]
    void AddFilter(IMPEventFilter* filter);
    void RemoveFilter(IMPEventFilter* filter);  ///< waits for a call
    /// Null without MIDI.
    MidiPorts* Midi();
    Preferences UserPreferences() const;
    uint64_t UserPreferenceChanges() const;  ///< by plug-ins, so far
    void SetUserPreferences(Preferences preferences);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace host
