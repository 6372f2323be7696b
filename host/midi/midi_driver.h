// Where MIDI ports come from: the system's, or a test's.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace host {

/// A port in use; closed with the object.
struct MidiInput {
    virtual ~MidiInput() = default;
};
struct MidiOutput {
    virtual ~MidiOutput() = default;
    /// One or more whole messages.
    virtual void Send(std::span<const uint8_t> bytes) = 0;
};

/// One thread uses a driver.
class MidiDriver {
public:
    virtual ~MidiDriver() = default;
    /// Called with whole messages on a thread of the driver, which may be one that must not wait.
    using OnBytes = std::function<void(std::span<const uint8_t>)>;

    virtual std::vector<std::string> InputNames() = 0;
    virtual std::vector<std::string> OutputNames() = 0;
    /// By its place among the names. Null when it can't be opened, with the reason in `error`.
    virtual std::unique_ptr<MidiInput> OpenInput(size_t index, OnBytes onBytes, std::string& error) = 0;
    virtual std::unique_ptr<MidiOutput> OpenOutput(size_t index, std::string& error) = 0;
};

/// Ports of this program's own, that others connect to; first among the names.
inline constexpr char kVirtualInput[] = "Tarn in (virtual)", kVirtualOutput[] = "Tarn out (virtual)";

/// The system's MIDI by its name, "alsa" or "jack"; empty takes what runs. Null, with the reason, when there
/// is none.
std::unique_ptr<MidiDriver> OpenSystemMidi(const std::string& api, std::string& error);

}  // namespace host
