#include "plugin/control_sinks.h"

#include "platform/text.h"

using namespace tarn;

HRESULT CIMPCtrlChannelSink::OnControl(const MPCTRLREC* rec) {
    return Forward(rec, [&](COPTControlPlugin& p) { return p.OnControl(rec, 1); });
}

HRESULT CMPControlSurfaceDriver::GetDeviceName(char16_t* out) {
    COPTControlPlugin* plugin = ThePlugin();
    if (!plugin || !out) return S_FALSE;
    CopyText(out, OPT_NAME_SIZE, plugin->Name());
    return S_OK;
}

HRESULT CMPControlSurfaceDriver::GetMapName(char16_t* out) {
    if (!out) return S_FALSE;
    out[0] = 0;
    COPTControlPlugin* plugin = ThePlugin();
    const CControlMap* map = plugin ? plugin->Map() : nullptr;
    FUNCTIONMAPENTRY entry;
    if (!map || map->GetMap(map->CurrentMap(), &entry) != S_OK) return S_FALSE;
    CopyText(out, OPT_NAME_SIZE, entry.name);
    return S_OK;
}

HRESULT CMPControlSurfaceDriver::GetString(char16_t* out, uint32_t size) {
    COPTControlPlugin* plugin = ThePlugin();
    return plugin && out ? plugin->GetDriverString(out, size) : S_FALSE;
}
