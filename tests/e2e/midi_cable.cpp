#include "tests/e2e/midi_cable.h"

#include <rtmidi/RtMidi.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

struct BytesCable::Shared {
    BytesCable* cable;
    std::mutex lock;
    bool plugged = true;
    host::MidiDriver::OnBytes toHost;  ///< empty while the host has not opened the port
};

class BytesCable::TestDriver final : public host::MidiDriver {
public:
    explicit TestDriver(std::shared_ptr<Shared> shared) : m_shared(std::move(shared)) {}
    std::vector<std::string> InputNames() override {
        const std::scoped_lock lock(m_shared->lock);
        return m_shared->plugged ? std::vector<std::string>{"Other", "Surface"}
                                 : std::vector<std::string>{"Other"};
    }
    std::vector<std::string> OutputNames() override { return InputNames(); }
    std::unique_ptr<host::MidiInput> OpenInput(size_t index, OnBytes onBytes, std::string& error) override {
        if (index != 1) return error = "is in use", nullptr;
        struct Input final : host::MidiInput {
            std::shared_ptr<Shared> shared;
            ~Input() override {
                const std::scoped_lock lock(shared->lock);
                shared->toHost = {};
            }
        };
        auto input = std::make_unique<Input>();
        input->shared = m_shared;
        const std::scoped_lock lock(m_shared->lock);
        m_shared->toHost = std::move(onBytes);
        return input;
    }
    std::unique_ptr<host::MidiOutput> OpenOutput(size_t, std::string&) override {
        struct Output final : host::MidiOutput {
            std::shared_ptr<Shared> shared;
            void Send(std::span<const uint8_t> bytes) override { shared->cable->Receive(bytes); }
        };
        auto output = std::make_unique<Output>();
        output->shared = m_shared;
        return output;
    }

private:
    std::shared_ptr<Shared> m_shared;
};

std::shared_ptr<BytesCable::Shared> BytesCable::MakeShared() {
    auto shared = std::make_shared<Shared>();
    shared->cable = this;
    return shared;
}

std::unique_ptr<host::MidiDriver> BytesCable::Driver() { return std::make_unique<TestDriver>(m_shared); }

void BytesCable::Send(std::vector<uint8_t> bytes) {
    const std::scoped_lock lock(m_shared->lock);
    if (m_shared->toHost && m_shared->plugged) m_shared->toHost(bytes);
}

void BytesCable::Plug(bool in) {
    const std::scoped_lock lock(m_shared->lock);
    m_shared->plugged = in;
}

bool BytesCable::IsOpen() {
    const std::scoped_lock lock(m_shared->lock);
    return static_cast<bool>(m_shared->toHost);
}

namespace {

/// A server with a name of its own, so that it is in nobody's way.
class JackServer {
public:
    JackServer() {
        const std::string name = "tarn-test-" + std::to_string(getpid());
        ::setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
        ::setenv("JACK_NO_START_SERVER", "1", 1);
        m_process = ::fork();
        if (m_process != 0) return;
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);  // not left behind, whatever happens
        ::freopen("/dev/null", "w", stdout);
        ::freopen("/dev/null", "w", stderr);
        ::execlp("jackd", "jackd", "--no-realtime", "-n", name.c_str(), "-d", "dummy", nullptr);
        ::_exit(127);
    }
    ~JackServer() {
        if (m_process <= 0) return;
        ::kill(m_process, SIGTERM);
        ::waitpid(m_process, nullptr, 0);
    }
    /// False once the process has ended, as it does where the program is missing.
    bool Runs() {
        int status = 0;
        if (m_process > 0 && ::waitpid(m_process, &status, WNOHANG) == m_process) m_process = 0;
        return m_process > 0;
    }

private:
    pid_t m_process = 0;
};

class JackCable final : public MidiCable {
public:
    JackCable(std::unique_ptr<JackServer> server, std::unique_ptr<host::MidiDriver> driver)
        : m_server(std::move(server)), m_driver(std::move(driver)), m_out(RtMidi::UNIX_JACK, "Peer"),
          m_in(RtMidi::UNIX_JACK, "Peer") {
        m_in.ignoreTypes(false, true, true);
        m_in.setCallback([](double, std::vector<unsigned char>* message,
                            void* self) { static_cast<JackCable*>(self)->Receive(*message); },
                         this);
        m_out.openVirtualPort("surface");
        m_in.openVirtualPort("surface");
        m_driver->InputNames();
    }
    std::unique_ptr<host::MidiDriver> Driver() override { return std::move(m_driver); }
    // JACK numbers a second client of the same name.
    std::string InputName() const override { return "Peer:surface"; }
    std::string OutputName() const override { return "Peer-01:surface"; }
    void Send(std::vector<uint8_t> bytes) override {
        for (size_t at = 0; at < bytes.size();) {
            size_t end = at + 1;
            while (end < bytes.size() && bytes[end] < 0x80) end++;
            m_out.sendMessage(bytes.data() + at, end - at);
            at = end;
        }
    }

private:
    std::unique_ptr<JackServer> m_server;  // the last to go
    std::unique_ptr<host::MidiDriver> m_driver;
    RtMidiOut m_out;
    RtMidiIn m_in;
};

}  // namespace

std::unique_ptr<MidiCable> NewJackCable(std::string& why) {
#ifdef __SANITIZE_THREAD__
    return why = "the thread sanitizer does not follow how JACK's library ends its threads", nullptr;
#endif
    if (std::system("command -v jackd > /dev/null") != 0) return why = "jackd is not installed", nullptr;
    auto server = std::make_unique<JackServer>();
    for (int tries = 0; tries < 100; tries++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (!server->Runs()) return why = "jackd does not run here", nullptr;
        if (auto driver = host::OpenSystemMidi("jack", why))
            return std::make_unique<JackCable>(std::move(server), std::move(driver));
    }
    return nullptr;
}
