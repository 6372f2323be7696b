// A process that plug-ins of one group run in, and the one connection to it, which any thread uses. It ends
// with the object, and with the program, however that ends.
#pragma once

#include "fileio/call_queue.h"
#include "fileio/plugin_library.h"
#include "fileio/surrogate/wire.h"

#include <kj/async-io.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace tarn {

class SurrogateProcess {
public:
    explicit SurrogateProcess(std::chrono::milliseconds callLimit)
        : m_callLimit(callLimit), m_calls([this](const kj::Exception& e) { return CodeOf(e); }) {}
    ~SurrogateProcess();
    SurrogateProcess(const SurrogateProcess&) = delete;
    SurrogateProcess& operator=(const SurrogateProcess&) = delete;

    /// Once. 0x80070000 with the system's number where the process cannot be started, else what the
    /// connection says.
    HRESULT Start(const std::filesystem::path& program, uint32_t langId);
    bool IsAlive() const { return m_isAlive; }
    int Process() const { return m_process; }

    /// Runs on the connection's thread and waits for what comes of it. FIO_E_SURROGATE_GONE where the process
    /// ends meanwhile, or takes longer than the limit, and then it is ended. [any-thread]
    HRESULT Run(CallQueue::Work work);
    /// The same without a promise, also when the process is gone.
    void RunPlain(kj::Function<void()> work);
    /// Lets go of a capability, later. [any-thread]
    template <class Client>
    void Drop(Client client) {
        m_calls.Drop(std::make_shared<Client>(kj::mv(client)));
    }

    /// What a call may take.
    std::chrono::milliseconds CallLimit() const { return m_callLimit; }
    /// Ends the process: for one that takes longer.
    void Kill();

    /// On the connection's thread, after Start.
    surrogate::Plugins::Client& Plugins() { return *m_plugins; }

private:
    int Spawn(const std::filesystem::path& program, uint32_t langId, int* socket);
    void Loop(int socket, std::promise<HRESULT>& ready);
    kj::Promise<HRESULT> Connect(int triesLeft);
    /// Of what a call throws.
    HRESULT CodeOf(const kj::Exception& exception);

    const std::chrono::milliseconds m_callLimit;
    int m_process = 0;
    std::thread m_thread;
    std::atomic<bool> m_isAlive = false;
    CallQueue m_calls;
    kj::Timer* m_timer = nullptr;
    std::optional<surrogate::Entry::Client> m_entry;
    std::optional<surrogate::Plugins::Client> m_plugins;
};

}  // namespace tarn
