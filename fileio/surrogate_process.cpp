#include "fileio/surrogate_process.h"

#include "fileio/surrogate/wire.h"

#include <capnp/rpc-twoparty.h>
#include <kj/async-unix.h>

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tarn {

namespace {

constexpr int CONNECT_TRIES = 100;
constexpr auto CONNECT_PAUSE = 100 * kj::MILLISECONDS;

}  // namespace

int SurrogateProcess::Spawn(const std::filesystem::path& program, uint32_t langId, int* socket) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return errno;
    // Were the number the same already, the descriptor would be closed at the start.
    const int theirs = ::fcntl(ends[1], F_DUPFD_CLOEXEC, SURROGATE_SOCKET + 1);
    ::close(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, theirs, SURROGATE_SOCKET);
    std::string name = "\"" + program.string() + "\"", language = std::to_string(langId);
    char* arguments[] = {name.data(), language.data(), nullptr};
    const int code = posix_spawn(&m_process, program.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(theirs);
    if (code == 0) return *socket = ends[0], 0;
    ::close(ends[0]);
    m_process = 0;
    return code;
}

HRESULT SurrogateProcess::Start(const std::filesystem::path& program, uint32_t langId) {
    // Shared, since the thread may still be in it when what it set is read.
    const auto ready = std::make_shared<std::promise<HRESULT>>();
    // The process is told to end with the thread that has made it, which is this one.
    m_thread = std::thread([this, program, langId, ready] {
        try {
            int socket = -1;
            if (const int code = Spawn(program, langId, &socket); code != 0)
                return ready->set_value(StatusCode(0x80070000u | static_cast<uint32_t>(code)));
            Loop(socket, *ready);
        } catch (const kj::Exception&) {
            // What can fail in there fails before the connection stands.
            ready->set_value(E_FAIL);
        }
    });
    const HRESULT hr = ready->get_future().get();
    return Failed(hr) ? hr : Run([this] { return Connect(CONNECT_TRIES); });
}

void SurrogateProcess::Loop(int socket, std::promise<HRESULT>& ready) {
    kj::AsyncIoContext io = kj::setupAsyncIo();
    auto stream = io.lowLevelProvider->wrapUnixSocketFd(
        socket, kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP | kj::LowLevelAsyncIoProvider::ALREADY_CLOEXEC);
    capnp::ReaderOptions options;
    options.traversalLimitInWords = SURROGATE_MOST_WORDS;
    capnp::TwoPartyVatNetwork network(*stream, 1, capnp::rpc::twoparty::Side::CLIENT, options);
    auto rpc = capnp::makeRpcClient(network);
    capnp::MallocMessageBuilder side;
    auto vat = side.initRoot<capnp::rpc::twoparty::VatId>();
    vat.setSide(capnp::rpc::twoparty::Side::SERVER);
    m_timer = &io.provider->getTimer();
    m_entry = rpc.bootstrap(vat).castAs<surrogate::Entry>();
    m_isAlive = true;
    const auto gone = network.onDisconnect().then([this] { m_isAlive = false; }).eagerlyEvaluate(nullptr);
    ready.set_value(S_OK);
    m_calls.Serve(io);
    m_entry.reset();
    m_plugins.reset();
}

kj::Promise<HRESULT> SurrogateProcess::Connect(int triesLeft) {
    auto request = m_entry->connectRequest();
    request.setClassId(WireRecord(SurrogateClassOf(static_cast<uint32_t>(m_process))));
    return request.send().then([this, triesLeft](auto&& response) -> kj::Promise<HRESULT> {
        const HRESULT code = response.getCode();
        if (code == FIO_E_CLASS_NOT_REGISTERED && triesLeft > 1)
            return m_timer->afterDelay(CONNECT_PAUSE).then([this, triesLeft] {
                return Connect(triesLeft - 1);
            });
        if (Succeeded(code)) m_plugins = response.getPlugins();
        return code;
    });
}

HRESULT SurrogateProcess::CodeOf(const kj::Exception& exception) {
    if (exception.getType() != kj::Exception::Type::DISCONNECTED) return E_UNEXPECTED;
    m_isAlive = false;
    return FIO_E_SURROGATE_GONE;
}

SurrogateProcess::~SurrogateProcess() {
    Kill();
    m_calls.Stop();
    if (m_thread.joinable()) m_thread.join();
    while (m_process > 0 && ::waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void SurrogateProcess::Kill() {
    m_isAlive = false;
    // It stays a process until its end is taken note of, so that this hits no other.
    if (m_process > 0) ::kill(m_process, SIGKILL);
}

HRESULT SurrogateProcess::Run(CallQueue::Work work) {
    if (!m_isAlive) return FIO_E_SURROGATE_GONE;
    return m_calls.Run([&]() -> kj::Promise<HRESULT> {
        auto late = m_timer->afterDelay(m_callLimit.count() * kj::MILLISECONDS).then([this]() -> HRESULT {
            Kill();
            return FIO_E_SURROGATE_GONE;
        });
        return kj::evalNow([&] { return work(); }).exclusiveJoin(kj::mv(late));
    });
}

void SurrogateProcess::RunPlain(kj::Function<void()> work) {
    m_calls.Run([&]() -> kj::Promise<HRESULT> {
        work();
        return S_OK;
    });
}

}  // namespace tarn
