// A control surface on a cable: what it sends and what it is sent, as bytes.
#pragma once

#include "host/midi/midi_driver.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

class MidiCable {
public:
    virtual ~MidiCable() = default;
    /// The host's end; once.
    virtual std::unique_ptr<host::MidiDriver> Driver() = 0;
    /// What the host calls the surface's ports.
    virtual std::string InputName() const = 0;
    virtual std::string OutputName() const = 0;
    virtual void Send(std::vector<uint8_t> bytes) = 0;

    /// All that the surface was sent since it was asked last.
    std::vector<uint8_t> TakeReceived() {
        const std::scoped_lock lock(m_lock);
        return std::exchange(m_received, {});
    }

protected:
    void Receive(std::span<const uint8_t> bytes) {
        const std::scoped_lock lock(m_lock);
        m_received.insert(m_received.end(), bytes.begin(), bytes.end());
    }

private:
    std::mutex m_lock;
    std::vector<uint8_t> m_received;
};

/// No hardware and no system behind it. The surface can be unplugged.
class BytesCable final : public MidiCable {
public:
    std::unique_ptr<host::MidiDriver> Driver() override;
    std::string InputName() const override { return "Surface"; }
    std::string OutputName() const override { return "Surface"; }
    void Send(std::vector<uint8_t> bytes) override;
    void Plug(bool in);
    bool IsOpen();

private:
    struct Shared;
    class TestDriver;
    std::shared_ptr<Shared> m_shared = MakeShared();
    std::shared_ptr<Shared> MakeShared();
};

/// Through ports of a JACK server of the test's own that drives no device. Null, with the reason, where none
/// can run.
std::unique_ptr<MidiCable> NewJackCable(std::string& why);
