#include "tests/support/fake_host.h"

#include <algorithm>

using namespace tarn;

FakeHost::FakeHost() {
    m_container.host = m_tree.host = m_store.host = m_times.host = m_ports.host = m_channels.host =
        m_catalog.host = this;
    constexpr GUID POINTS[] = {IID_IMPNotificationSink, IID_IMPTimeSink, IID_IMPCtrlChannelSink};
    for (int i = 0; i < 3; i++) {
        m_points[i].host = this;
        m_points[i].iid = POINTS[i];
    }
}

HRESULT FakeHost::Query(const GUID& iid, void** out) {
    *out = nullptr;
    if (Fails()) return E_FAIL;
    if (iid == IID_IUnknown || iid == IID_IMPPropertyStore) *out = static_cast<IMPPropertyStore*>(&m_store);
    if (iid == IID_IMPProjectTree) *out = static_cast<IMPProjectTree*>(&m_tree);
    if (iid == IID_IMPTimeConverter) *out = static_cast<IMPTimeConverter*>(&m_times);
    if (iid == IID_IMPPortList) *out = static_cast<IMPPortList*>(&m_ports);
    if (iid == IID_IConnectionPointContainer) *out = static_cast<IConnectionPointContainer*>(&m_container);
    if (iid == IID_IMPCtrlChannels) *out = static_cast<IMPCtrlChannels*>(&m_channels);
    if (iid == IID_IMPPlugInCatalog && !catalog.empty()) *out = static_cast<IMPPlugInCatalog*>(&m_catalog);
    if (!*out) return E_NOINTERFACE;
    m_references++;
    return S_OK;
}

int FakeHost::Connections() {
    std::lock_guard guard(m_sinkLock);
    size_t n = 0;
    for (const Point& point : m_points) n += point.sinks.size();
    return static_cast<int>(n);
}

FakeChannel* FakeHost::Find(uint64_t id) {
    for (FakeChannel& channel : channels)
        if (channel.id == id) return &channel;
    return nullptr;
}

template <class Sink, class Call>
bool FakeHost::Send(const GUID& iid, Call call) {
    std::vector<ComPtr<IUnknown>> sinks;
    {
        std::lock_guard guard(m_sinkLock);
        for (Point& point : m_points)
            if (point.iid == iid)
                for (auto& row : point.sinks) sinks.push_back(row.second);
    }
    for (ComPtr<IUnknown>& unknown : sinks) {
        ComPtr<Sink> sink;
        if (Succeeded(unknown->QueryInterface(iid, sink.OutVoid()))) call(*sink);
    }
    return !sinks.empty();
}

bool FakeHost::Notify(const GUID& id, uint32_t flags, uint32_t level, MPCHANNELID path, uint32_t kindMask) {
    MPNOTIFYREC rec{};
    rec.id = id;
    rec.flags = flags;
    rec.level = level;
    rec.path = path;
    rec.kindMask = kindMask;
    return Send<IMPNotificationSink>(IID_IMPNotificationSink,
                                     [&](IMPNotificationSink& s) { s.OnNotify(&rec); });
}

bool FakeHost::Control(const GUID& id, uint32_t flags, uint32_t level, uint64_t channel, uint32_t kindMask,
                       uint64_t second) {
    MPCTRLREC rec{};
    rec.id = id;
    rec.flags = flags;
    rec.level = level;
    rec.object.channel = channel;
    rec.kindMask = kindMask;
    rec.second.channel = second;
    return Send<IMPCtrlChannelSink>(IID_IMPCtrlChannelSink,
                                    [&](IMPCtrlChannelSink& s) { s.OnControl(&rec); });
}

bool FakeHost::Tick() {
    return Send<IMPTimeSink>(IID_IMPTimeSink, [](IMPTimeSink& s) { s.OnTime(0, 0, 0); });
}

HRESULT FakeHost::Initialise(IMPInitialise& plugin) {
    capabilities = UINT32_MAX;
    return plugin.Initialise(Unknown(), Unknown(), INITFLAG_CONTROL, 0, &capabilities);
}

void FakeHost::OpenProject() {
    Control(MPCTRL_PROJECT, PROJECT_OPEN);
    Control(MPCTRL_ACTIVATE, ACTIVATE_ON);
}

void FakeHost::CloseProject() {
    Control(MPCTRL_ACTIVATE, 0);
    Control(MPCTRL_PROJECT, 0);
}

HRESULT FakeHost::Point::Advise(IUnknown* sink, uint32_t* cookie) {
    *cookie = 0;
    if (host->Fails()) return E_FAIL;
    std::lock_guard guard(host->m_sinkLock);
    *cookie = host->m_nextCookie++;
    sinks.emplace_back(*cookie, ComPtr<IUnknown>(sink));
    return S_OK;
}

HRESULT FakeHost::Point::Unadvise(uint32_t cookie) {
    std::lock_guard guard(host->m_sinkLock);  // never fails: a test of leaks would blame the plug-in
    return std::erase_if(sinks, [&](const auto& row) { return row.first == cookie; }) ? S_OK : E_FAIL;
}

HRESULT FakeHost::Container::FindConnectionPoint(const GUID& iid, IConnectionPoint** out) {
    *out = nullptr;
    for (Point& point : host->m_points)
        if (point.iid == iid) {
            point.AddRef();
            *out = &point;
            return S_OK;
        }
    return E_FAIL;
}

std::vector<MPCHANNELID> FakeHost::Tree::Children(MPCHANNELID parent, uint32_t level) {
    std::vector<MPCHANNELID> found;
    std::lock_guard guard(host->lock);
    for (const FakeTake& take : host->takes) {
        if (level > LEVEL_TRACK && take.track != parent.channel) continue;
        if (level > LEVEL_EVENT && take.event != parent.sub) continue;
        const MPCHANNELID id{take.track, level > LEVEL_TRACK ? take.event : 0,
                             level > LEVEL_EVENT ? take.take : 0};
        if (std::find(found.begin(), found.end(), id) == found.end()) found.push_back(id);
    }
    return found;
}

HRESULT FakeHost::Tree::Step(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more,
                             bool isFirst) {
    if (host->Fails()) return E_FAIL;
    const std::vector<MPCHANNELID> all = Children(*key, level);
    auto at = isFirst ? all.begin() : std::find(all.begin(), all.end(), *key);
    if (at == all.end() || (!isFirst && ++at == all.end())) return S_FALSE;
    *key = *at;
    *more = at + 1 != all.end();
    return level == LEVEL_TAKE ? Get(key, level, rec, TREE_ALL) : S_OK;
}

HRESULT FakeHost::Tree::Get(MPCHANNELID* key, uint32_t, MPEVENTREC* rec, uint32_t) {
    std::lock_guard guard(host->lock);
    for (const FakeTake& take : host->takes)
        if (take.track == key->channel && take.event == key->sub && take.take == key->subSub) {
            rec->start = take.start;
            rec->order = take.order;
            rec->channel = take.channel;
            return S_OK;
        }
    return S_FALSE;
}

HRESULT FakeHost::Tree::Lock(uint32_t, uint32_t) {
    host->m_treeLocks++;
    return S_OK;
}

HRESULT FakeHost::Tree::Unlock(uint32_t) {
    host->m_treeLocks--;
    return S_OK;
}

namespace {
std::u16string KeyOf(const MPPREFREC& pref) {
    return pref.keyName ? pref.keyName : std::u16string(1, static_cast<char16_t>(pref.numericKey));
}
}  // namespace

HRESULT FakeHost::Store::GetHostInfo(char16_t** name, uint32_t* version) {
    *name = nullptr;
    if (host->Fails()) return E_FAIL;
    *name = CoTaskMemString(u"TarnTest");
    *version = 1;
    return S_OK;
}

HRESULT FakeHost::Store::GetProperty(const GUID* id, uint32_t, uint32_t, uint32_t size, void* buffer) {
    if (host->Fails()) return E_FAIL;
    std::lock_guard guard(host->lock);
    if (*id == MPPROP_TRANSPORT && size == 4) return std::memcpy(buffer, &host->transport, 4), S_OK;
    if (*id == MPPROP_CHANNEL_MODE && size == 4) return std::memset(buffer, 0, 4), S_OK;
    if (*id == MPPROP_PREFERENCE && size == sizeof(MPPREFREC)) {
        auto* pref = static_cast<MPPREFREC*>(buffer);
        const std::u16string key = KeyOf(*pref);
        if (pref->type == PREF_STRING) {
            const auto at = host->textPreferences.find(key);
            if (at != host->textPreferences.end()) pref->data = CoTaskMemString(at->second.c_str());
        } else if (pref->type == PREF_BINARY) {
            const auto at = host->binaryPreferences.find(key);
            if (at != host->binaryPreferences.end())
                std::memcpy(pref->data, at->second.data(), pref->dataSize);
        } else if (const auto at = host->preferences.find(key); at != host->preferences.end()) {
            pref->number = at->second;
        }
        return S_OK;
    }
    return E_FAIL;
}

HRESULT FakeHost::Store::SetProperty(const GUID* id, uint32_t, uint32_t size, const void* buffer) {
    if (host->Fails()) return E_FAIL;
    std::unique_lock guard(host->lock);
    if (*id == MPPROP_PORTS_BEGIN || *id == MPPROP_PORTS_END) {
        const auto* request = static_cast<const MPPORTREQUEST*>(buffer);
        host->portRequests.push_back(
            {*id == MPPROP_PORTS_BEGIN, request->kind == PORTREQUEST_OUTPUT, request->port});
        guard.unlock();
        if (host->onPortRequest) host->onPortRequest();
        return S_OK;
    }
    if (*id != MPPROP_PREFERENCE || size != sizeof(MPPREFREC)) return E_FAIL;
    const auto* pref = static_cast<const MPPREFREC*>(buffer);
    const std::u16string key = KeyOf(*pref);
    const auto* bytes = static_cast<const uint8_t*>(pref->data);
    if (pref->type == PREF_STRING)
        host->textPreferences[key] = static_cast<const char16_t*>(pref->data);
    else if (pref->type == PREF_BINARY)
        host->binaryPreferences[key] = {bytes, bytes + pref->dataSize};
    else
        host->preferences[key] = pref->number;
    return S_OK;
}

HRESULT FakeHost::Times::Convert(int64_t time, uint32_t, uint32_t, int64_t* out, uint32_t, uint32_t) {
    *out = time;
    return S_OK;
}

HRESULT FakeHost::Times::GetRate(uint32_t, uint32_t* out) {
    if (host->Fails()) return E_FAIL;
    *out = 10000000;
    return S_OK;
}

HRESULT FakeHost::Ports::GetPorts(uint32_t, MPPORTARRAY* out) {
    *out = {};
    if (host->Fails()) return E_FAIL;
    std::lock_guard guard(host->lock);
    out->ports = static_cast<MPPORT*>(CoTaskMemAlloc(sizeof(MPPORT) * (host->ports.size() + 1)));
    for (const uint64_t port : host->ports) {
        GUID guid = tarn::Guid("{00000000-0000-0000-0000-000000000000}");
        guid.Data4[7] = static_cast<uint8_t>(port);
        out->ports[out->count++] = {port, guid, CoTaskMemString(u"Port")};
    }
    return S_OK;
}

HRESULT FakeHost::Channels::First(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more,
                                  uint32_t kinds, uint32_t reserved) {
    if (level != LEVEL_CHANNEL) return S_FALSE;
    ref->channel = 0;
    return Next(ref, level, rec, more, kinds, reserved);
}

HRESULT FakeHost::Channels::Next(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC*, uint32_t* more,
                                 uint32_t kinds, uint32_t) {
    if (host->Fails()) return E_FAIL;
    if (level != LEVEL_CHANNEL) return S_FALSE;
    std::lock_guard guard(host->lock);
    // The low bits of a kind say which family it is enumerated with.
    std::vector<uint64_t> all;
    for (const FakeChannel& channel : host->channels)
        if (channel.kind & kinds & 0xFF) all.push_back(channel.id);
    auto at = std::find(all.begin(), all.end(), ref->channel);
    at = ref->channel == 0 ? all.begin() : (at == all.end() ? at : at + 1);
    if (at == all.end()) return S_FALSE;
    ref->channel = *at;
    *more = at + 1 != all.end();
    return S_OK;
}

HRESULT FakeHost::Channels::Get(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t,
                                uint32_t mask) {
    if (host->Fails()) return E_FAIL;
    if (host->onGet) host->onGet(id->channel);
    std::lock_guard guard(host->lock);
    const FakeChannel* channel = level == LEVEL_CHANNEL ? host->Find(id->channel) : nullptr;
    if (!channel) return S_FALSE;
    if (mask & MASK_IDENTITY) {
        rec->kind = channel->kind;
        rec->order = channel->order;
        rec->countClass = 1;
        rec->pairSelector = channel->pairSelector;
    }
    if (mask & MASK_SWITCHES) rec->switches = channel->switches;
    if (mask & MASK_VOLUME) rec->volume = rec->linkedVolume = channel->volume;
    if (mask & MASK_METERS) rec->meter.level = channel->level;
    if (mask & MASK_NAME || host->namesUnasked) rec->name = CoTaskMemString(channel->name.c_str());
    return S_OK;
}

HRESULT FakeHost::Channels::Set(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t mask) {
    if (host->Fails()) return E_FAIL;
    {
        std::lock_guard guard(host->lock);
        FakeChannel* channel = level == LEVEL_CHANNEL ? host->Find(id->channel) : nullptr;
        if (!channel) return S_FALSE;
        host->sets.push_back({id->channel, mask, *rec});
        if (mask & MASK_SWITCHES) channel->switches = rec->switches;
        if (mask & MASK_VOLUME) channel->volume = rec->volume;
        if (mask & MASK_AUTOMATION) channel->touched = rec->automation & AUTOMATION_TOUCH;
    }
    host->Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, id->channel, mask & 0xFFF);
    return S_OK;
}

HRESULT FakeHost::Catalog::First(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more, uint32_t) {
    *id = level == LEVEL_CHANNEL ? 0 : *id * 10 - 1;
    return Next(id, level, rec, more, 0);
}

HRESULT FakeHost::Catalog::Next(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more, uint32_t) {
    *more = 0;
    if (host->Fails()) return E_FAIL;
    // Families end at 10, and the items of one at the next family's.
    const uint32_t end = level == LEVEL_CHANNEL ? 10 : *id + 10 - (*id + 1) % 10;
    auto at = host->catalog.upper_bound(*id);
    if (at == host->catalog.end() || at->first >= end) return S_FALSE;
    *id = rec->id = at->first;
    *more = ++at != host->catalog.end() && at->first < end;
    return S_OK;
}

HRESULT FakeHost::Catalog::Get(uint32_t* id, uint32_t, MPCATALOGREC* rec, uint32_t flags) {
    const auto at = host->catalog.find(*id);
    if (at == host->catalog.end()) return S_FALSE;
    rec->id = *id;
    if (flags & CATALOG_NAMES) rec->name = CoTaskMemString(at->second.c_str());
    return S_OK;
}
