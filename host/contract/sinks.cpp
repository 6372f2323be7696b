#include "host/contract/sinks.h"

#include <algorithm>

using namespace tarn;

namespace host {

HRESULT SinkList::Add(IUnknown* listener, uint32_t* cookie, uint32_t seat) {
    if (!listener || !cookie) return E_POINTER;
    *cookie = 0;
    auto connection = std::make_shared<Connection>();
    const HRESULT hr = listener->QueryInterface(m_iid, connection->listener.OutVoid());
    if (Failed(hr)) return hr;
    std::lock_guard lock(m_lock);
    connection->cookie = m_nextCookie;
    connection->seat = seat;
    m_nextCookie = m_nextCookie == UINT32_MAX ? 1 : m_nextCookie + 1;
    *cookie = connection->cookie;
    m_connections.push_back(std::move(connection));
    return S_OK;
}

HRESULT SinkList::Remove(uint32_t cookie) {
    ComPtr<IUnknown> listener;  // released without the lock
    {
        std::unique_lock lock(m_lock);
        const auto at = std::find_if(m_connections.begin(), m_connections.end(),
                                     [cookie](const auto& c) { return c->cookie == cookie; });
        if (at == m_connections.end()) return E_INVALIDARG;
        const std::shared_ptr<Connection> gone = *at;
        m_connections.erase(at);
        listener = std::move(gone->listener);
        const std::thread::id self = std::this_thread::get_id();
        m_left.wait(lock, [&] {
            return std::all_of(gone->callers.begin(), gone->callers.end(),
                               [&](auto id) { return id == self; });
        });
    }
    return S_OK;
}

std::vector<std::shared_ptr<SinkList::Connection>> SinkList::Current() {
    std::lock_guard lock(m_lock);
    return m_connections;
}

SinkList::InCall::InCall(SinkList& list, Connection& connection) : m_list(list), m_connection(connection) {
    std::lock_guard lock(m_list.m_lock);
    m_listener = m_connection.listener;
    if (m_listener) m_connection.callers.push_back(std::this_thread::get_id());
}

SinkList::InCall::~InCall() {
    if (!m_listener) return;
    m_listener.Reset();  // before Remove may go on
    {
        std::lock_guard lock(m_list.m_lock);
        auto& callers = m_connection.callers;
        callers.erase(std::find(callers.begin(), callers.end(), std::this_thread::get_id()));
    }
    m_list.m_left.notify_all();
}

}  // namespace host
