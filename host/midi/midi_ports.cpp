#include "host/midi/midi_ports.h"

#include "platform/byte_ring.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <semaphore>
#include <set>
#include <string_view>
#include <thread>

using namespace tarn;

namespace host {
namespace {

constexpr auto LOOK_FOR_PORTS = std::chrono::seconds(1);
constexpr size_t RING_BYTES = size_t{1} << 17, SHOWN_BYTES = 8;

/// FNV-1a.
uint64_t Hash(std::string_view text, uint64_t seed) {
    uint64_t hash = 14695981039346656037u ^ seed;
    for (const char c : text) hash = (hash ^ static_cast<uint8_t>(c)) * 1099511628211u;
    return hash;
}

std::vector<MidiPort> Describe(const std::vector<std::string>& names, uint32_t isOutput) {
    std::vector<MidiPort> ports;
    for (const std::string& plain : names) {
        // Two devices of one kind are told apart by the order in which they are found.
        std::string name = plain;
        for (int n = 2; std::ranges::find(ports, name, &MidiPort::name) != ports.end(); n++) {
            name = plain;
            name.append(" (").append(std::to_string(n)).append(")");
        }
        const uint64_t halves[2] = {Hash(name, isOutput), Hash(name, 0x5bd1e995u + isOutput)};
        MidiPort port{std::max<uint64_t>(halves[0], 1), {}, name};
        static_assert(sizeof port.guid == sizeof halves);
        std::memcpy(&port.guid, halves, sizeof halves);
        ports.push_back(std::move(port));
    }
    return ports;
}

/// An input that is open. The driver's thread writes, the MIDI thread reads.
struct OpenInput {
    ByteRing ring{RING_BYTES};
    std::atomic<uint64_t> lost{0};
    MidiParser parser;
    std::unique_ptr<MidiInput> port;  // the last to come, the first to go
};

}  // namespace

struct MidiPorts::Impl {
    std::unique_ptr<MidiDriver> driver;  // the MIDI thread's
    std::function<void(std::vector<ReceivedEvent>&)> onEvents;
    std::function<void()> onPortsChanged;
    std::counting_semaphore<> work{0};
    std::atomic<bool> stop{false};

    // The MIDI thread's.
    std::map<uint64_t, std::unique_ptr<OpenInput>> inputs;
    std::map<uint64_t, std::unique_ptr<MidiOutput>> outputs;
    std::set<uint64_t> failed;  ///< not tried again until ports are looked for
    std::chrono::steady_clock::time_point lookedForPorts{};

    struct Sent {
        uint64_t port;
        std::vector<uint8_t> bytes;
    };
    mutable std::mutex lock;  // guards the ones below
    std::vector<MidiPort> ports[2];
    std::map<uint64_t, int> users[2];
    std::map<uint64_t, std::string> refused;
    uint64_t lost = 0;
    std::vector<Sent> toSend;
    MidiActivity lastIn, lastOut;

    std::thread thread;

    std::string NameOf(uint32_t isOutput, uint64_t id) const {
        const auto at = std::ranges::find(ports[isOutput], id, &MidiPort::id);
        return at == ports[isOutput].end() ? std::string() : at->name;
    }

    static void Note(MidiActivity& activity, std::string port, std::span<const uint8_t> bytes) {
        activity.port = std::move(port);
        activity.bytes.assign(bytes.begin(), bytes.begin() + std::min(bytes.size(), SHOWN_BYTES));
        activity.messages++;
    }

    bool LookForPorts() {
        const std::vector<MidiPort> now[2] = {Describe(driver->InputNames(), 0),
                                              Describe(driver->OutputNames(), 1)};
        const auto differ = [](const std::vector<MidiPort>& a, const std::vector<MidiPort>& b) {
            return !std::ranges::equal(a, b, {}, &MidiPort::id, &MidiPort::id);
        };
        const std::scoped_lock guard(lock);
        const bool changed = differ(now[0], ports[0]) || differ(now[1], ports[1]);
        for (const uint32_t isOutput : {0u, 1u}) ports[isOutput] = now[isOutput];
        return changed;
    }

    /// The places in the driver's list of the ports that are to be open.
    std::map<uint64_t, size_t> Wanted(uint32_t isOutput) const {
        const std::scoped_lock guard(lock);
        std::map<uint64_t, size_t> wanted;
        for (size_t i = 0; i < ports[isOutput].size(); i++)
            if (users[isOutput].contains(ports[isOutput][i].id)) wanted[ports[isOutput][i].id] = i;
        return wanted;
    }

    template <class Open, class Make>
    void Adjust(uint32_t isOutput, std::map<uint64_t, Open>& open, Make make) {
        const std::map<uint64_t, size_t> wanted = Wanted(isOutput);
        std::erase_if(open, [&](const auto& row) { return !wanted.contains(row.first); });
        for (const auto& [id, place] : wanted) {
            if (open.contains(id) || failed.contains(id)) continue;
            std::string error;
            if (Open made = make(place, error)) open[id] = std::move(made);
            const std::scoped_lock guard(lock);
            if (open.contains(id)) {
                refused.erase(id);
            } else {
                failed.insert(id);
                refused[id] = NameOf(isOutput, id).append(": ").append(error);
            }
        }
    }

    void OpenAndClose() {
        Adjust(0, inputs, [this](size_t place, std::string& error) {
            auto input = std::make_unique<OpenInput>();
            input->port = driver->OpenInput(
                place,
                [this, to = input.get()](std::span<const uint8_t> bytes) {
                    if (!to->ring.Write(bytes)) to->lost.fetch_add(1, std::memory_order_relaxed);
                    work.release();
                },
                error);
            if (!input->port) input.reset();
            return input;
        });
        Adjust(1, outputs,
               [this](size_t place, std::string& error) { return driver->OpenOutput(place, error); });
    }

    void Receive() {
        std::vector<ReceivedEvent> events;
        std::vector<uint8_t> message;
        for (auto& [id, input] : inputs) {
            while (input->ring.Read(message)) {
                input->parser.Parse(message, [&, port = id](MidiEvent&& event) {
                    events.push_back({port, std::move(event)});
                });
                const std::scoped_lock guard(lock);
                Note(lastIn, NameOf(0, id), message);
            }
            const std::scoped_lock guard(lock);
            lost += input->lost.exchange(0, std::memory_order_relaxed);
        }
        if (!events.empty()) onEvents(events);
    }

    void SendAll() {
        std::vector<Sent> waiting;
        {
            const std::scoped_lock guard(lock);
            waiting.swap(toSend);
        }
        for (const Sent& sent : waiting) {
            const auto at = outputs.find(sent.port);
            if (at == outputs.end()) continue;
            at->second->Send(sent.bytes);
            const std::scoped_lock guard(lock);
            Note(lastOut, NameOf(1, sent.port), sent.bytes);
        }
    }

    void Run() {
        while (!stop) {
            const auto now = std::chrono::steady_clock::now();
            if (now - lookedForPorts >= LOOK_FOR_PORTS) {
                lookedForPorts = now;
                failed.clear();
                if (LookForPorts()) onPortsChanged();
            }
            OpenAndClose();
            Receive();
            SendAll();
            (void)work.try_acquire_for(LOOK_FOR_PORTS);
            while (work.try_acquire()) {
            }
        }
        inputs.clear();
        outputs.clear();
    }
};

MidiPorts::MidiPorts(std::unique_ptr<MidiDriver> driver,
                     std::function<void(std::vector<ReceivedEvent>&)> onEvents,
                     std::function<void()> onPortsChanged)
    : m_impl(std::make_unique<Impl>()) {
    m_impl->driver = std::move(driver);
    m_impl->onEvents = std::move(onEvents);
    m_impl->onPortsChanged = std::move(onPortsChanged);
    m_impl->LookForPorts();  // a plug-in that comes now finds them
    m_impl->lookedForPorts = std::chrono::steady_clock::now();
    m_impl->thread = std::thread([this] { m_impl->Run(); });
}

MidiPorts::~MidiPorts() {
    m_impl->stop = true;
    m_impl->work.release();
    m_impl->thread.join();
}

std::vector<MidiPort> MidiPorts::Inputs() const {
    const std::scoped_lock guard(m_impl->lock);
    return m_impl->ports[0];
}

std::vector<MidiPort> MidiPorts::Outputs() const {
    const std::scoped_lock guard(m_impl->lock);
    return m_impl->ports[1];
}

void MidiPorts::Use(uint32_t isOutput, uint64_t port) {
    {
        const std::scoped_lock guard(m_impl->lock);
        m_impl->users[isOutput ? 1 : 0][port]++;
    }
    m_impl->work.release();
}

void MidiPorts::Leave(uint32_t isOutput, uint64_t port) {
    {
        const std::scoped_lock guard(m_impl->lock);
        auto& users = m_impl->users[isOutput ? 1 : 0];
        const auto at = users.find(port);
        if (at == users.end()) return;
        if (--at->second == 0) {
            users.erase(at);
            m_impl->refused.erase(port);
        }
    }
    m_impl->work.release();
}

bool MidiPorts::Send(uint64_t port, const MPEVENTREC& event) {
    std::vector<uint8_t> bytes = MidiBytes(event);
    {
        const std::scoped_lock guard(m_impl->lock);
        if (!m_impl->users[1].contains(port)) return false;
        if (!bytes.empty()) m_impl->toSend.push_back({port, std::move(bytes)});
    }
    m_impl->work.release();
    return true;
}

MidiActivity MidiPorts::LastIn() const {
    const std::scoped_lock guard(m_impl->lock);
    return m_impl->lastIn;
}

MidiActivity MidiPorts::LastOut() const {
    const std::scoped_lock guard(m_impl->lock);
    return m_impl->lastOut;
}

std::vector<std::string> MidiPorts::Problems() const {
    const std::scoped_lock guard(m_impl->lock);
    std::vector<std::string> lines;
    for (const auto& [id, line] : m_impl->refused) lines.push_back(line);
    if (m_impl->lost) lines.push_back(std::to_string(m_impl->lost) + " MIDI messages were lost");
    return lines;
}

}  // namespace host
