// An effect or an instrument in a channel's chain, whatever standard it is made for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

/// A value that the user or an automation moves, or one that the effect shows.
struct EffectParameter {
    std::string symbol{};  ///< the key in sessions and automation, unique within the effect
    std::string name{};    ///< UTF-8, in the user's language where the effect has it
    std::string unit{};    ///< as it is printed behind a number, "dB", "Hz"; may be empty
    float minimum = 0;
    float maximum = 1;
    float preset = 0;  ///< where it stands at first
    bool logarithmic = false;
    bool toggled = false;
    bool integer = false;
    bool shown = false;                                   ///< the effect writes it: a meter, a state
    bool listed = false;                                  ///< takes the values of points and no others
    std::vector<std::pair<float, std::string>> points{};  ///< values that have a name, ascending
};

/// What is known of an effect without loading it.
struct EffectInfo {
    std::string uri{};
    std::string name{};
    std::string maker{};
    std::string family{};  ///< the group that a menu lists it in, "Equaliser", "Instrument"
    uint32_t inputs = 0;   ///< audio channels
    uint32_t outputs = 0;
    bool midiInput = false;
    bool instrument = false;
    std::string problem{};  ///< why it can't be used; empty when it can
};

/// Why an effect can't be made or a state can't be taken; what() is one line that names the effect.
struct EffectError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct EffectMidi {
    uint32_t frame = 0;  ///< within the block, ascending
    uint8_t size = 0;    ///< 1..3
    uint8_t bytes[3]{};
};

/// Where the project stands at a block's first frame.
struct EffectTime {
    int64_t frame = 0;
    bool playing = false;
    double tempo = 120;  ///< quarter notes a minute
    double beat = 0;     ///< quarter notes since the project's start
    /// Nobody listens yet: Process may wait, so that what the effect does aside is done in time, as in every
    /// run.
    bool offline = false;
};

/// What becomes of the changes that a user makes in an effect's window. All are set.
struct EffectEdits {
    std::function<void(size_t parameter)> begin;  ///< takes hold of it
    std::function<void(size_t parameter, float value)> change;
    std::function<void(size_t parameter)> end;
    std::function<void(size_t index)> loadPreset;  ///< may throw EffectError
};

/// An effect's own interface in a window of the window system's. Belongs to the thread of the windows, and
/// goes before its effect.
class EffectView {
public:
    virtual ~EffectView() = default;
    /// Lets it work and shows it what has changed, some thirty times a second. False when it wants to be
    /// closed.
    virtual bool Idle() = 0;
    /// Its own window in the parent; 0 where it does not tell.
    virtual uintptr_t Window() const { return 0; }
};

/// One instance. Operations without a tag belong to the control thread, one at a time, and may run beside
/// Process.
class Effect {
public:
    virtual ~Effect() = default;

    virtual const EffectInfo& Info() const = 0;
    virtual std::span<const EffectParameter> Parameters() const = 0;
    virtual float Value(size_t parameter) const = 0;  ///< [any-thread]
    /// Clamped into the range; takes effect with the next Process. NaN is left out. [any-thread]
    virtual void SetValue(size_t parameter, float value) = 0;
    /// Frames that the output lies behind the input; as the effect said last, at most ten seconds.
    /// [any-thread]
    virtual size_t Latency() const = 0;
    /// What it does against the rules, one line without its name; empty when nothing. The sound goes on.
    virtual std::string Complaint() const { return {}; }

    /// Info().inputs and Info().outputs buffers of n frames, n at most kMaxEffectFrames; an output may be an
    /// input's buffer with the same index. What comes out may be anything: the caller looks for NaN and
    /// infinity. [audio-thread]
    virtual void Process(const float* const* in, float* const* out, size_t n,
                         std::span<const EffectMidi> midi, const EffectTime& time) = 0;
    /// The next Process starts from silence: tails and held notes are forgotten; what does not do that by
    /// itself fades within some blocks. [any-thread]
    virtual void Reset() = 0;

    /// Everything that makes it sound as it does, values too, as UTF-8 text. Throws EffectError.
    virtual std::string SaveState() const = 0;
    /// Throws EffectError, and then nothing has changed.
    virtual void LoadState(std::string_view state) = 0;

    virtual std::vector<std::string> Presets() const = 0;  ///< names, in the order of a menu
    virtual void LoadPreset(size_t index) = 0;             ///< throws EffectError

    /// Whether there is an interface of its own for X11.
    virtual bool HasView() const { return false; }
    /// Opens it in a window of the X server. `resize` is told how large it wants to be, in pixels. What
    /// crashes there crashes the host. Throws EffectError.
    virtual std::unique_ptr<EffectView>
    OpenView([[maybe_unused]] uintptr_t parent, [[maybe_unused]] const EffectEdits& edits,
             [[maybe_unused]] const std::function<void(int, int)>& resize) {
        throw EffectError(Info().name + " has no interface of its own");
    }
};

inline constexpr size_t kMaxEffectFrames = 256;

/// What there is to choose from.
class EffectLibrary {
public:
    virtual ~EffectLibrary() = default;
    /// Sorted by family and name; those that can't be used too.
    virtual std::vector<EffectInfo> List() const = 0;  ///< [any-thread]
    /// Throws EffectError: not there, unusable, refused to start. [any-thread]
    virtual std::unique_ptr<Effect> Make(std::string_view uri, int sampleRate) = 0;
};

}  // namespace host
