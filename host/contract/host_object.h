// The object that a plug-in knows the host by, and its small parts, one an interface. All share one reference
// count and keep the project's core alive. Free-threaded.
#pragma once

#include "host/contract/project_core.h"

#include <array>
#include <map>
#include <mutex>

namespace host {

class HostObject;

/// A plug-in's place at the host.
struct SeatOptions {
    uint32_t number = kNoSeat;
    bool keepsForUser = false;  ///< its preferences are the user's, not the session's
};

/// Base of the parts: identity and life are the object's.
template <class Interface>
class HostPart : public Interface {
public:
    explicit HostPart(HostObject& host) : m_host(host) {}
    HRESULT QueryInterface(const GUID& iid, void** out) override;
    uint32_t AddRef() override;
    uint32_t Release() override;

protected:
    ProjectCore& Core() const;
    HostObject& m_host;
};

class ProjectTreePart final : public HostPart<IMPProjectTree> {
public:
    using HostPart::HostPart;
    HRESULT First(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more,
                  uint32_t kindMask) override;
    HRESULT Next(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more,
                 uint32_t kindMask) override;
    HRESULT Find(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more,
                 uint32_t kindMask) override;
    HRESULT Get(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t mask) override;
    HRESULT Set(MPCHANNELID*, uint32_t, MPEVENTREC*, uint32_t) override { return E_NOTIMPL; }
    HRESULT Reserved6() override { return E_NOTIMPL; }
    HRESULT Reserved7() override { return E_NOTIMPL; }
    HRESULT Reserved8() override { return E_NOTIMPL; }
    HRESULT Reserved9() override { return E_NOTIMPL; }
    /// Enumerations stand on ids and survive changes between calls, so there is nothing to lock.
    HRESULT Lock(uint32_t, uint32_t) override { return S_OK; }
    HRESULT Unlock(uint32_t) override { return S_OK; }
    HRESULT Notify(uint32_t op, uint32_t, uint32_t kindMask, uint32_t, uint32_t, uint32_t, uint32_t) override;
};

class PropertyStorePart final : public HostPart<IMPPropertyStore> {
public:
    using HostPart::HostPart;
    HRESULT GetHostInfo(char16_t** name, uint32_t* version) override;
    HRESULT Reserved2() override { return E_NOTIMPL; }
    HRESULT GetProperty(const GUID* id, uint32_t index, uint32_t reserved, uint32_t size,
                        void* buffer) override;
    HRESULT SetProperty(const GUID* id, uint32_t index, uint32_t size, const void* buffer) override;
};

class TimeConverterPart final : public HostPart<IMPTimeConverter> {
public:
    using HostPart::HostPart;
    /// Between nano positions (100 ns, TIMEFORMAT_NANO) and sample positions (format 1); a rate of 0 is the
    /// format's own.
    HRESULT Convert(int64_t time, uint32_t fromFormat, uint32_t fromRate, int64_t* out, uint32_t toFormat,
                    uint32_t toRate) override;
    HRESULT Reserved2() override { return E_NOTIMPL; }
    HRESULT Reserved3() override { return E_NOTIMPL; }
    HRESULT GetRate(uint32_t format, uint32_t* out) override;
};

class PortListPart final : public HostPart<IMPPortList> {
public:
    using HostPart::HostPart;
    HRESULT GetPorts(uint32_t kind, MPPORTARRAY* out) override;
};

class EventOutputPart final : public HostPart<IMPEventOutput> {
public:
    using HostPart::HostPart;
    HRESULT Send(uint64_t port, const MPEVENTREC* event) override;
};

class CtrlChannelsPart final : public HostPart<IMPCtrlChannels> {
public:
    using HostPart::HostPart;
    HRESULT First(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more, uint32_t kindMask,
                  uint32_t reserved) override;
    HRESULT Next(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more, uint32_t kindMask,
                 uint32_t reserved) override;
    HRESULT Find(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* found, uint32_t kindMask,
                 uint32_t reserved) override;
    HRESULT Get(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t kindFilter,
                uint32_t mask) override;
    HRESULT Set(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t mask) override;
    HRESULT Insert(MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec) override;
    HRESULT Remove(uint32_t level, const MPCHANNELID* id) override;

private:
    HRESULT NextEntry(MPCHANNELREF& ref, MPCHANNELREC* rec, uint32_t& more, uint32_t kindMask);
    HRESULT SetChannel(const MPCHANNELID& id, MPCHANNELREC& rec, uint32_t mask);
    HRESULT SetValues(ChannelId id, MPCHANNELREC& rec, uint32_t mask);
    uint64_t ChosenSend(ChannelId channel) const;
    void ChooseSend(ChannelId channel, ChannelId target);

    /// Where the send leads that records of a channel mean; a plug-in's own choice. A channel without one
    /// means its first.
    mutable std::mutex m_sendLock;
    std::map<ChannelId, ChannelId> m_chosenSends;
};

class PlugInCatalogPart final : public HostPart<IMPPlugInCatalog> {
public:
    using HostPart::HostPart;
    HRESULT First(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more,
                  uint32_t reserved) override;
    HRESULT Next(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more, uint32_t reserved) override;
    HRESULT Get(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t flags) override;
    HRESULT GetItemData(uint32_t* id, void* out) override;

private:
    HRESULT Give(uint32_t level, uint32_t parent, size_t place, uint32_t* id, MPCATALOGREC* rec,
                 uint32_t* more);
};

class ConnectionPointPart final : public HostPart<IConnectionPoint> {
public:
    ConnectionPointPart(HostObject& host, SinkList& sinks) : HostPart(host), m_sinks(sinks) {}
    const GUID& Iid() const { return m_sinks.Iid(); }
    HRESULT GetConnectionInterface(GUID* iid) override;
    HRESULT GetConnectionPointContainer(IConnectionPointContainer** out) override;
    HRESULT Advise(IUnknown* sink, uint32_t* cookie) override;
    HRESULT Unadvise(uint32_t cookie) override { return m_sinks.Remove(cookie); }
    HRESULT EnumConnections(void**) override { return E_NOTIMPL; }

private:
    SinkList& m_sinks;
};

class ConnectionsPart final : public HostPart<IConnectionPointContainer> {
public:
    using HostPart::HostPart;
    HRESULT EnumConnectionPoints(void**) override { return E_NOTIMPL; }
    HRESULT FindConnectionPoint(const GUID& iid, IConnectionPoint** out) override;
};

class HostObject {
public:
    HostObject(std::shared_ptr<ProjectCore> core, const SeatOptions& seat);

    HRESULT QueryInterface(const GUID& iid, void** out);
    uint32_t AddRef() { return m_refs.Increment(); }
    uint32_t Release() {
        const uint32_t left = m_refs.Decrement();
        if (left == 0) delete this;
        return left;
    }
    ProjectCore& Core() const { return *m_core; }
    const SeatOptions& Seat() const { return m_seat; }
    IUnknown* Unknown() { return &m_store; }
    ConnectionPointPart* Point(const GUID& iid);

private:
    ~HostObject() = default;

    tarn::RefCount m_refs;
    std::shared_ptr<ProjectCore> m_core;
    const SeatOptions m_seat;
    ProjectTreePart m_tree;
    PropertyStorePart m_store;
    TimeConverterPart m_times;
    PortListPart m_ports;
    EventOutputPart m_eventOutput;
    CtrlChannelsPart m_channels;
    PlugInCatalogPart m_catalog;
    ConnectionsPart m_connections;
    std::array<ConnectionPointPart, 3> m_points;
};

template <class Interface>
HRESULT HostPart<Interface>::QueryInterface(const GUID& iid, void** out) {
    return m_host.QueryInterface(iid, out);
}
template <class Interface>
uint32_t HostPart<Interface>::AddRef() {
    return m_host.AddRef();
}
template <class Interface>
uint32_t HostPart<Interface>::Release() {
    return m_host.Release();
}
template <class Interface>
ProjectCore& HostPart<Interface>::Core() const {
    return m_host.Core();
}

/// Runs an operation behind an interface: no exception gets out.
template <class F>
HRESULT Guarded(F&& operation) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

}  // namespace host
