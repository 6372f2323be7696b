// Connections of plug-ins to the host: who listens on which point, and the safe sending to them.
#pragma once

#include "contract/host_contract.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace host {

/// Instead of a seat: everyone.
inline constexpr uint32_t kNoSeat = 0;

/// The listeners of one connection point. No lock is held while a listener is called, so that it may call
/// back into the host, connect and disconnect; and after Remove has returned, the listener is neither called
/// nor referenced any more. [any-thread]
class SinkList {
public:
    explicit SinkList(const GUID& iid) : m_iid(iid) {}

    const GUID& Iid() const { return m_iid; }
    /// Keeps a reference to the listener's interface `iid`; E_NOINTERFACE when it has none. *cookie is never
    /// 0.
    /// `seat` is the plug-in's place at the host.
    HRESULT Add(IUnknown* listener, uint32_t* cookie, uint32_t seat = kNoSeat);
    /// Waits for calls that other threads are making; a listener may remove itself in a call.
    HRESULT Remove(uint32_t cookie);

    /// Calls send(listener) for everyone connected at the start, or for those of one seat.
    template <class Interface, class Call>
    void Send(Call send, uint32_t seat = kNoSeat) {
        for (const std::shared_ptr<Connection>& connection : Current()) {
            if (seat != kNoSeat && connection->seat != seat) continue;
            const InCall call(*this, *connection);
            if (IUnknown* listener = call.Listener()) send(*static_cast<Interface*>(listener));
        }
    }

private:
    struct Connection {
        uint32_t cookie, seat;
        tarn::ComPtr<IUnknown>
            listener;  ///< the pointer of the point's own interface; null once it is removed
        std::vector<std::thread::id> callers;
    };
    /// A call in progress, which Remove waits for.
    class InCall {
    public:
        InCall(SinkList& list, Connection& connection);
        ~InCall();
        InCall(const InCall&) = delete;
        InCall& operator=(const InCall&) = delete;
        IUnknown* Listener() const { return m_listener.Get(); }  ///< null when it is gone

    private:
        SinkList& m_list;
        Connection& m_connection;
        tarn::ComPtr<IUnknown> m_listener;
    };
    std::vector<std::shared_ptr<Connection>> Current();

    const GUID m_iid;
    std::mutex m_lock;
    std::condition_variable m_left;
    uint32_t m_nextCookie = 1;
    std::vector<std::shared_ptr<Connection>> m_connections;
};

}  // namespace host
