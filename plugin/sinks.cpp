#include "plugin/sinks.h"

HRESULT CMPNotificationSink::OnNotify(const MPNOTIFYREC* rec) {
    return Forward(rec, [&](COPTPlugin& p) { return p.OnNotify(rec, 1); });
}

HRESULT CMPTimeSink::OnTime(uint64_t a, uint64_t b, uint64_t c) {
    return Forward(this, [&](COPTPlugin& p) { return p.OnTimeTick(a, b, c); });
}

HRESULT CSpecifyPropertyPages::GetPages(CAUUID* pages) {
    return Forward(pages, [&](COPTPlugin& p) { return p.GetPages(pages); });
}

HRESULT COPTFilter::QueryInterface(const GUID& iid, void** out) {
    const HRESULT hr = QueryOwn(IID_IMPEventFilter, iid, out);
    if (hr == E_NOINTERFACE && ThePlugin()) ThePlugin()->QueryInterface(iid, out);
    return hr;
}

HRESULT COPTFilter::FilterEvents(IMPEventStream* stream, const MPFILTERINFO* info) {
    return Forward(stream ? info : nullptr, [&](COPTPlugin& p) { return p.FilterEvents(stream, info); });
}

HRESULT COPTFilter::GetFilterState(uint32_t* a, uint32_t* state, uint32_t* b) {
    return Forward(a && state ? b : nullptr, [&](COPTPlugin& p) { return p.GetFilterState(a, state, b); });
}

HRESULT COPTFilter::SetFilterState(uint32_t state) {
    return Forward(this, [&](COPTPlugin& p) { return p.SetFilterState(state); });
}

HRESULT COPTPluginPersit::QueryInterface(const GUID& iid, void** out) {
    if (iid == IID_IPersist) return QueryOwn(IID_IPersist, iid, out);
    const HRESULT hr = QueryOwn(IID_IPersistStream, iid, out);
    if (hr == E_NOINTERFACE && ThePlugin()) ThePlugin()->QueryInterface(iid, out);
    return hr;
}

HRESULT COPTPluginPersit::GetClassID(GUID* id) {
    return Forward(id, [&](COPTPlugin& p) {
        *id = p.ClassId();
        return S_OK;
    });
}

HRESULT COPTPluginPersit::IsDirty() {
    return Forward(this, [](COPTPlugin& p) { return p.IsDirty(); });
}

HRESULT COPTPluginPersit::Load(IStream* stream) {
    return Forward(this, [&](COPTPlugin& p) { return p.Load(stream); });
}

HRESULT COPTPluginPersit::Save(IStream* stream, BOOL clearDirty) {
    return Forward(this, [&](COPTPlugin& p) { return p.Save(stream, clearDirty); });
}

HRESULT COPTPluginPersit::GetSizeMax(uint64_t* size) {
    return Forward(this, [&](COPTPlugin& p) { return p.GetSizeMax(size); });
}
