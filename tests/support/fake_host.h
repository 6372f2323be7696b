// A host made of plain data, for tests of the plug-in alone: it counts references and calls, can fail its
// N-th call, and sends whatever the test wants.
#pragma once

#include "contract/host_contract.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

struct FakeChannel {
    uint64_t id;
    uint32_t kind;
    int32_t order;
    std::u16string name;
    uint32_t switches = 0;
    float volume = 1.0f;
    float level = 0.0f;
    uint32_t pairSelector = SPEAKER_FRONT;
    bool touched = false;
};

struct FakeTake {
    uint64_t track, event, take;
    int64_t start;
    uint32_t order;
    uint32_t channel;
};

class FakeHost {
public:
    FakeHost();

    IUnknown* Unknown() { return &m_store; }

    // Data, to be changed with `lock` held while other threads run.
    std::mutex lock;
    std::vector<FakeChannel> channels;
    std::vector<FakeTake> takes;  ///< in the host's order; every track and event has at least one
    std::map<std::u16string, int64_t> preferences;
    std::map<std::u16string, std::u16string> textPreferences;
    std::map<std::u16string, std::vector<uint8_t>> binaryPreferences;
    uint32_t transport = 0;
    /// By id, families below 10, items from 10 times their family on; none: no catalog.
    std::map<uint32_t, std::u16string> catalog;
    bool namesUnasked = false;            ///< a name with everything that is asked of a channel
    std::function<void(uint64_t)> onGet;  ///< inside the plug-in's question about a channel, without the lock

    struct SetCall {
        uint64_t channel;
        uint32_t mask;
        MPCHANNELREC rec;
    };
    std::vector<SetCall> sets;
    struct PortRequest {
        bool begins, isOutput;
        uint64_t port;
        friend bool operator==(const PortRequest&, const PortRequest&) = default;
    };
    std::vector<PortRequest> portRequests;
    std::vector<uint64_t> ports = {7};    ///< of both directions
    std::function<void()> onPortRequest;  ///< inside the plug-in's call, without the lock

    /// The call with this number from now on fails with E_FAIL, and only that one; 0 for none.
    void FailCall(int number) { m_calls = 0, m_failAt = number; }
    int Calls() const { return m_calls; }

    /// References that the plug-in holds on the host's objects and has not released.
    int References() const { return m_references; }
    int Locks() const { return m_treeLocks; }
    int Connections();

    FakeChannel* Find(uint64_t id);
    void Edit(auto change) {
        const std::scoped_lock guard(lock);
        change();
    }

    // What the host sends; false when nobody listens.
    bool Notify(const GUID& id, uint32_t flags = 0, uint32_t level = 0, MPCHANNELID path = {},
                uint32_t kindMask = 0);
    bool Control(const GUID& id, uint32_t flags = 0, uint32_t level = 0, uint64_t channel = 0,
                 uint32_t kindMask = 0, uint64_t second = 0);
    bool Tick();
    /// Begins the work of a control plug-in.
    HRESULT Initialise(IMPInitialise& plugin);
    uint32_t capabilities = 0;  ///< of all that are, those that the plug-in asked for
    /// The usual beginning and end of a plug-in's work with a project.
    void OpenProject();
    void CloseProject();

private:
    /// Base of the host's objects: they live as long as the host and only count.
    template <class I>
    struct Object : I {
        FakeHost* host = nullptr;
        HRESULT QueryInterface(const GUID& iid, void** out) override { return host->Query(iid, out); }
        uint32_t AddRef() override { return static_cast<uint32_t>(++host->m_references); }
        uint32_t Release() override { return static_cast<uint32_t>(--host->m_references); }
    };
    struct Point : Object<IConnectionPoint> {
        GUID iid;
        std::vector<std::pair<uint32_t, tarn::ComPtr<IUnknown>>> sinks;
        HRESULT GetConnectionInterface(GUID*) override { return E_NOTIMPL; }
        HRESULT GetConnectionPointContainer(IConnectionPointContainer**) override { return E_NOTIMPL; }
        HRESULT Advise(IUnknown* sink, uint32_t* cookie) override;
        HRESULT Unadvise(uint32_t cookie) override;
        HRESULT EnumConnections(void**) override { return E_NOTIMPL; }
    };
    struct Container : Object<IConnectionPointContainer> {
        HRESULT EnumConnectionPoints(void**) override { return E_NOTIMPL; }
        HRESULT FindConnectionPoint(const GUID& iid, IConnectionPoint** out) override;
    };
    struct Tree : Object<IMPProjectTree> {
        HRESULT Step(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more, bool isFirst);
        HRESULT First(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more, uint32_t) override {
            return Step(key, level, rec, more, true);
        }
        HRESULT Next(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more, uint32_t) override {
            return Step(key, level, rec, more, false);
        }
        HRESULT Find(MPCHANNELID*, uint32_t, MPEVENTREC*, uint32_t*, uint32_t) override { return E_NOTIMPL; }
        HRESULT Get(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t mask) override;
        HRESULT Set(MPCHANNELID*, uint32_t, MPEVENTREC*, uint32_t) override { return E_NOTIMPL; }
        HRESULT Reserved6() override { return E_NOTIMPL; }
        HRESULT Reserved7() override { return E_NOTIMPL; }
        HRESULT Reserved8() override { return E_NOTIMPL; }
        HRESULT Reserved9() override { return E_NOTIMPL; }
        HRESULT Lock(uint32_t, uint32_t) override;
        HRESULT Unlock(uint32_t) override;
        HRESULT Notify(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) override {
            return S_OK;
        }
        std::vector<MPCHANNELID> Children(MPCHANNELID parent, uint32_t level);
    };
    struct Store : Object<IMPPropertyStore> {
        HRESULT GetHostInfo(char16_t** name, uint32_t* version) override;
        HRESULT Reserved2() override { return E_NOTIMPL; }
        HRESULT GetProperty(const GUID* id, uint32_t index, uint32_t reserved, uint32_t size,
                            void* buffer) override;
        HRESULT SetProperty(const GUID* id, uint32_t index, uint32_t size, const void* buffer) override;
    };
    struct Times : Object<IMPTimeConverter> {
        HRESULT Convert(int64_t time, uint32_t, uint32_t, int64_t* out, uint32_t, uint32_t) override;
        HRESULT Reserved2() override { return E_NOTIMPL; }
        HRESULT Reserved3() override { return E_NOTIMPL; }
        HRESULT GetRate(uint32_t format, uint32_t* out) override;
    };
    struct Ports : Object<IMPPortList> {
        HRESULT GetPorts(uint32_t kind, MPPORTARRAY* out) override;
    };
    struct Catalog : Object<IMPPlugInCatalog> {
        HRESULT First(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more, uint32_t) override;
        HRESULT Next(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more, uint32_t) override;
        HRESULT Get(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t flags) override;
        HRESULT GetItemData(uint32_t*, void*) override { return E_NOTIMPL; }
    };
    struct Channels : Object<IMPCtrlChannels> {
        HRESULT First(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more, uint32_t kinds,
                      uint32_t) override;
        HRESULT Next(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more, uint32_t kinds,
                     uint32_t) override;
        HRESULT Find(MPCHANNELREF*, uint32_t, MPCHANNELREC*, uint32_t*, uint32_t, uint32_t) override {
            return E_NOTIMPL;
        }
        HRESULT Get(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t,
                    uint32_t mask) override;
        HRESULT Set(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t mask) override;
        HRESULT Insert(MPCHANNELID*, uint32_t, MPCHANNELREC*) override { return E_NOTIMPL; }
        HRESULT Remove(uint32_t, const MPCHANNELID*) override { return E_NOTIMPL; }
    };

    HRESULT Query(const GUID& iid, void** out);
    /// Counts a call; true when it is the one to fail.
    bool Fails() { return ++m_calls == m_failAt; }
    template <class Sink, class Call>
    bool Send(const GUID& iid, Call call);

    std::atomic<int> m_references{0};
    std::atomic<int> m_calls{0};
    std::atomic<int> m_failAt{0};
    std::atomic<int> m_treeLocks{0};
    std::mutex m_sinkLock;
    uint32_t m_nextCookie = 1;
    Container m_container;
    Point m_points[3];
    Tree m_tree;
    Store m_store;
    Times m_times;
    Ports m_ports;
    Channels m_channels;
    Catalog m_catalog;
};
