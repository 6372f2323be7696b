#include "host/midi/midi_driver.h"

#include <rtmidi/RtMidi.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace host {
namespace {

constexpr char CLIENT[] = "Tarn", INPUT_PORT[] = "in", OUTPUT_PORT[] = "out";

/// Keeps what the library has to say instead of having it printed.
class Errors {
public:
    explicit Errors(RtMidi& port) {
        port.setErrorCallback([](RtMidiError::Type, const std::string& text,
                                 void* self) { static_cast<Errors*>(self)->m_last = text; },
                              this);
    }
    void Throw() {
        if (!m_last.empty()) throw std::runtime_error(std::exchange(m_last, {}));
    }

private:
    std::string m_last;
};

/// Throws when the system does not answer: opening a port there would end the program.
void Ask(RtMidi& port, Errors& errors) {
    port.getPortCount();
    errors.Throw();
}

/// ALSA puts the numbers of client and port behind a name. They change from one start to the next, and a port
/// is known again by its name.
std::string WithoutNumbers(std::string name) {
    const size_t at = name.find_last_of(' ');
    if (at == std::string::npos || name.find(':', at) == std::string::npos) return name;
    if (name.find_first_not_of("0123456789:", at + 1) == std::string::npos) name.resize(at);
    return name;
}

class SystemInput final : public MidiInput {
public:
    SystemInput(RtMidi::Api api, MidiDriver::OnBytes onBytes)
        : m_onBytes(std::move(onBytes)), m_port(api, CLIENT) {
        constexpr bool IGNORED = true;
        m_port.ignoreTypes(!IGNORED, IGNORED, IGNORED);
        m_port.setCallback(
            [](double, std::vector<unsigned char>* message, void* self) {
                if (message) static_cast<SystemInput*>(self)->m_onBytes(*message);
            },
            this);
    }
    ~SystemInput() override { m_port.closePort(); }
    RtMidiIn& Port() { return m_port; }
    Errors& PortErrors() { return m_errors; }

private:
    MidiDriver::OnBytes m_onBytes;
    RtMidiIn m_port;
    Errors m_errors{m_port};
};

class SystemOutput final : public MidiOutput {
public:
    explicit SystemOutput(RtMidi::Api api) : m_port(api, CLIENT) {}
    ~SystemOutput() override { m_port.closePort(); }
    RtMidiOut& Port() { return m_port; }
    Errors& PortErrors() { return m_errors; }

    void Send(std::span<const uint8_t> bytes) override {
        // Message by message, as the system wants them.
        for (size_t at = 0; at < bytes.size();) {
            size_t end = at + 1;
            while (end < bytes.size() && (bytes[end] < 0x80 || bytes[end] == 0xF7)) end++;
            m_port.sendMessage(bytes.data() + at, end - at);
            at = end;
        }
    }

private:
    RtMidiOut m_port;
    Errors m_errors{m_port};
};

class SystemMidi final : public MidiDriver {
public:
    /// Throws when the system does not run.
    explicit SystemMidi(RtMidi::Api api) : m_api(api), m_inputs(api, CLIENT), m_outputs(api, CLIENT) {
        Ask(m_inputs, m_inputErrors);
        Ask(m_outputs, m_outputErrors);
    }

    std::vector<std::string> InputNames() override {
        return Names(m_inputs, m_inputErrors, kVirtualInput, m_inputPlaces);
    }
    std::vector<std::string> OutputNames() override {
        return Names(m_outputs, m_outputErrors, kVirtualOutput, m_outputPlaces);
    }
    std::unique_ptr<MidiInput> OpenInput(size_t index, OnBytes onBytes, std::string& error) override {
        return Open<SystemInput>(index, m_inputPlaces, INPUT_PORT, error, m_api, std::move(onBytes));
    }
    std::unique_ptr<MidiOutput> OpenOutput(size_t index, std::string& error) override {
        return Open<SystemOutput>(index, m_outputPlaces, OUTPUT_PORT, error, m_api);
    }

private:
    /// `places` receives which of the system's ports each name is, but the first. A system that has gone has
    /// none, and they are back when it is.
    static std::vector<std::string> Names(RtMidi& list, Errors& errors, const char* own,
                                          std::vector<unsigned>& places) {
        places.clear();
        try {
            Ask(list, errors);
        } catch (const std::exception&) {
            return {};
        }
        std::vector<std::string> names = {own};
        for (unsigned i = 0, count = list.getPortCount(); i < count; i++) {
            const std::string name = WithoutNumbers(list.getPortName(i));
            if (name.empty() || name.starts_with(CLIENT)) continue;  // another one's place, or our own
            names.push_back(name);
            places.push_back(i);
        }
        return names;
    }

    template <class Port, class... Arguments>
    static std::unique_ptr<Port> Open(size_t index, const std::vector<unsigned>& places, const char* name,
                                      std::string& error, Arguments&&... arguments) {
        try {
            auto port = std::make_unique<Port>(std::forward<Arguments>(arguments)...);
            Ask(port->Port(), port->PortErrors());
            if (index == 0)
                port->Port().openVirtualPort(name);
            else
                port->Port().openPort(places.at(index - 1), name);
            port->PortErrors().Throw();
            return port;
        } catch (const std::exception& e) {
            error = e.what();
            return nullptr;
        }
    }

    RtMidi::Api m_api;
    RtMidiIn m_inputs;
    RtMidiOut m_outputs;
    Errors m_inputErrors{m_inputs}, m_outputErrors{m_outputs};
    std::vector<unsigned> m_inputPlaces, m_outputPlaces;
};

/// Whether asking for it is worth the noise that its library makes when it does not run.
bool MayRun(RtMidi::Api api) {
    std::error_code none;
    if (api == RtMidi::LINUX_ALSA) return std::filesystem::exists("/dev/snd/seq", none);
    if (api != RtMidi::UNIX_JACK) return false;
    // The sockets of a server: /dev/shm/jack-USER/SERVER/jack_0, or /dev/shm/jack_SERVER_USER_0. Folders stay
    // behind when it ends.
    const char* chosen = std::getenv("JACK_DEFAULT_SERVER");
    const std::string server = chosen && *chosen ? chosen : "default";
    const auto options = std::filesystem::directory_options::skip_permission_denied;
    for (std::filesystem::recursive_directory_iterator at("/dev/shm", options, none), end; !none && at != end;
         at.increment(none)) {
        const std::string path = at->path().string();
        if (path.starts_with("/dev/shm/jack") && path.find(server) != std::string::npos &&
            at->is_socket(none))
            return true;
    }
    return false;
}

}  // namespace

std::unique_ptr<MidiDriver> OpenSystemMidi(const std::string& api, std::string& error) {
    std::vector<RtMidi::Api> compiled;
    RtMidi::getCompiledApi(compiled);
    error = api.empty() ? "no MIDI system runs" : api + ": there is no such MIDI system";
    for (const RtMidi::Api which : compiled) {
        if (api.empty() ? !MayRun(which) : RtMidi::getApiName(which) != api) continue;
        try {
            return std::make_unique<SystemMidi>(which);
        } catch (const std::exception& e) {
            error = e.what();
        }
    }
    return nullptr;
}

}  // namespace host
