// The small objects that a control plug-in adds: its control sink and its face in the host's surface
// preferences.
#pragma once

#include "plugin/control_plugin.h"
#include "plugin/small_object.h"

class CIMPCtrlChannelSink final : public SmallObject<IMPCtrlChannelSink, COPTControlPlugin> {
public:
    using SmallObject::SmallObject;
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        return QueryOwn(IID_IMPCtrlChannelSink, iid, out);
    }
    HRESULT OnControl(const MPCTRLREC* rec) override;
};

class CMPControlSurfaceDriver final : public SmallObject<IMPControlSurfaceDriver, COPTControlPlugin> {
public:
    using SmallObject::SmallObject;
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        return QueryOwn(IID_IMPControlSurfaceDriver, iid, out);
    }
    HRESULT GetDeviceName(char16_t* out) override;
    HRESULT GetMapName(char16_t* out) override;
    HRESULT GetString(char16_t* out, uint32_t size) override;
};
