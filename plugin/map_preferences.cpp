// The function maps in use and the current one, kept between runs in the host's preferences, in the section
// named after the plug-in.
#include "controlmap/xml_function_map.h"
#include "plugin/control_plugin.h"

#include "platform/text.h"

#include <algorithm>

using namespace tarn;

namespace {
constexpr uint32_t KEY_MAP_COUNT = 102, KEY_CURRENT_MAP = 103, KEY_MAP_NAME = 200, KEY_MAP_PATH = 400;
constexpr uint32_t MOST_MAPS = KEY_MAP_PATH - KEY_MAP_NAME;
}  // namespace

HRESULT COPTControlPlugin::LoadMaps() {
    const FunctionNames* names = MapNames();
    if (!Map() || !names) return S_FALSE;
    const uint32_t count = std::min(m_preferences.Number(KEY_MAP_COUNT, 0), MOST_MAPS);
    for (uint32_t n = 0; n < count; n++) {
        const std::u16string path = m_preferences.Text(KEY_MAP_PATH + n);
        if (path.empty()) continue;
        FUNCTIONMAPENTRY entry{};
        std::string error;
        const auto strips = static_cast<uint32_t>(Map()->ChannelCount());
        if (ReadFunctionTables(Utf8FromUtf16(path), *names, strips, entry, error) == S_OK)
            Map()->AddMap(std::move(entry));
        else
            OnMapProblem(error);
    }
    const std::u16string current = m_preferences.Text(KEY_CURRENT_MAP);
    for (int32_t i = 0; i < Map()->GetMapCount(); i++) {
        FUNCTIONMAPENTRY entry;
        if (Map()->GetMap(i, &entry) != S_OK || current != entry.name) continue;
        Map()->SelectMap(i);
        break;
    }
    return S_OK;
}

HRESULT COPTControlPlugin::SaveMaps() {
    if (!Map() || !MapNames()) return S_FALSE;
    const uint32_t old = std::min(m_preferences.Number(KEY_MAP_COUNT, 0), MOST_MAPS);
    for (uint32_t n = 0; n < old; n++) {
        m_preferences.SetText(KEY_MAP_NAME + n, {});
        m_preferences.SetText(KEY_MAP_PATH + n, {});
    }
    uint32_t saved = 0;
    for (int32_t i = 0; i < Map()->GetMapCount() && saved < MOST_MAPS; i++) {
        FUNCTIONMAPENTRY entry;
        if (Map()->GetMap(i, &entry) != S_OK || entry.flags & FUNCTIONMAP_BUILT_IN || !entry.path[0])
            continue;
        m_preferences.SetText(KEY_MAP_NAME + saved, entry.name);
        m_preferences.SetText(KEY_MAP_PATH + saved, entry.path);
        saved++;
    }
    m_preferences.SetNumber(KEY_MAP_COUNT, saved);
    FUNCTIONMAPENTRY entry{};
    const bool isChosen = Map()->GetMap(Map()->CurrentMap(), &entry) == S_OK;
    m_preferences.SetText(KEY_CURRENT_MAP, isChosen ? entry.name : u"");
    return S_OK;
}
