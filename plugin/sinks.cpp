#include "plugin/sinks.h"

#include <utility>

namespace {

/// Runs one operation of the plug-in behind an interface: a null record and a dead plug-in are answered here,
/// and no exception gets out.
template <class F>
HRESULT Guarded(COPTPlugin* plugin, const void* argument, F&& call) {
    if (!plugin) return E_UNEXPECTED;
    if (!argument) return E_POINTER;
    try {
        return std::forward<F>(call)(*plugin);
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace

HRESULT CMPNotificationSink::OnNotify(const MPNOTIFYREC* rec) {
    return Guarded(ThePlugin(), rec, [&](COPTPlugin& p) { return p.OnNotify(rec, 1); });
}

HRESULT CMPTimeSink::OnTime(uint64_t a, uint64_t b, uint64_t c) {
    return Guarded(ThePlugin(), this, [&](COPTPlugin& p) { return p.OnTimeTick(a, b, c); });
}

HRESULT CSpecifyPropertyPages::GetPages(CAUUID* pages) {
    return Guarded(ThePlugin(), pages, [&](COPTPlugin& p) { return p.GetPages(pages); });
}

HRESULT COPTFilter::QueryInterface(const GUID& iid, void** out) {
    const HRESULT hr = QueryOwn(IID_IMPEventFilter, iid, out);
    if (hr == E_NOINTERFACE && ThePlugin()) ThePlugin()->QueryInterface(iid, out);
    return hr;
}

HRESULT COPTFilter::FilterEvents(IMPEventStream* stream, const MPFILTERINFO* info) {
    return Guarded(ThePlugin(), stream ? info : nullptr,
                   [&](COPTPlugin& p) { return p.FilterEvents(stream, info); });
}

HRESULT COPTFilter::GetFilterState(uint32_t* a, uint32_t* state, uint32_t* b) {
    return Guarded(ThePlugin(), a && state ? b : nullptr,
                   [&](COPTPlugin& p) { return p.GetFilterState(a, state, b); });
}

HRESULT COPTFilter::SetFilterState(uint32_t state) {
    return Guarded(ThePlugin(), this, [&](COPTPlugin& p) { return p.SetFilterState(state); });
}

HRESULT COPTPluginPersit::QueryInterface(const GUID& iid, void** out) {
    if (iid == IID_IPersist) return QueryOwn(IID_IPersist, iid, out);
    const HRESULT hr = QueryOwn(IID_IPersistStream, iid, out);
    if (hr == E_NOINTERFACE && ThePlugin()) ThePlugin()->QueryInterface(iid, out);
    return hr;
}

HRESULT COPTPluginPersit::GetClassID(GUID* id) {
    return Guarded(ThePlugin(), id, [&](COPTPlugin& p) {
        *id = p.ClassId();
        return S_OK;
    });
}

HRESULT COPTPluginPersit::IsDirty() {
    return Guarded(ThePlugin(), this, [](COPTPlugin& p) { return p.IsDirty(); });
}

HRESULT COPTPluginPersit::Load(IStream* stream) {
    return Guarded(ThePlugin(), this, [&](COPTPlugin& p) { return p.Load(stream); });
}

HRESULT COPTPluginPersit::Save(IStream* stream, BOOL clearDirty) {
    return Guarded(ThePlugin(), this, [&](COPTPlugin& p) { return p.Save(stream, clearDirty); });
}

HRESULT COPTPluginPersit::GetSizeMax(uint64_t* size) {
    return Guarded(ThePlugin(), this, [&](COPTPlugin& p) { return p.GetSizeMax(size); });
}
