// The small objects through which a host reaches a plug-in: its sinks, and the interfaces that the plug-in
// answers by delegation. Each forwards to a virtual operation of the plug-in with the arguments unchanged.
#pragma once

#include "plugin/opt_plugin.h"
#include "plugin/small_object.h"

class CMPNotificationSink final : public SmallObject<IMPNotificationSink, COPTPlugin> {
public:
    using SmallObject::SmallObject;
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        return QueryOwn(IID_IMPNotificationSink, iid, out);
    }
    HRESULT OnNotify(const MPNOTIFYREC* rec) override;
};

class CMPTimeSink final : public SmallObject<IMPTimeSink, COPTPlugin> {
public:
    using SmallObject::SmallObject;
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        return QueryOwn(IID_IMPTimeSink, iid, out);
    }
    HRESULT OnTime(uint64_t a, uint64_t b, uint64_t c) override;
};

class CSpecifyPropertyPages final : public SmallObject<ISpecifyPropertyPages, COPTPlugin> {
public:
    using SmallObject::SmallObject;
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        return QueryOwn(IID_ISpecifyPropertyPages, iid, out);
    }
    HRESULT GetPages(CAUUID* pages) override;
};

/// Offers an unknown interface to the plug-in, and answers E_NOINTERFACE for it all the same: kept so.
class COPTFilter final : public SmallObject<IMPEventFilter, COPTPlugin> {
public:
    using SmallObject::SmallObject;
    HRESULT QueryInterface(const GUID& iid, void** out) override;
    HRESULT FilterEvents(IMPEventStream* stream, const MPFILTERINFO* info) override;
    HRESULT GetFilterState(uint32_t* a, uint32_t* state, uint32_t* b) override;
    HRESULT SetFilterState(uint32_t state) override;
};

/// As COPTFilter for unknown interfaces.
class COPTPluginPersit final : public SmallObject<IPersistStream, COPTPlugin> {
public:
    using SmallObject::SmallObject;
    HRESULT QueryInterface(const GUID& iid, void** out) override;
    HRESULT GetClassID(GUID* id) override;
    HRESULT IsDirty() override;
    HRESULT Load(IStream* stream) override;
    HRESULT Save(IStream* stream, BOOL clearDirty) override;
    HRESULT GetSizeMax(uint64_t* size) override;
};
