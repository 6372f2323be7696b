// The state of an LV2 instance beyond its ports: what the plug-in stores, and what it gets back.
#pragma once

#include <lv2/state/state.h>

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

struct Lv2Property {
    uint32_t key = 0, type = 0, flags = 0;
    std::vector<uint8_t> value;
};

struct Lv2State {
    std::string plugin;                                 ///< its URI
    std::vector<std::pair<std::string, float>> values;  ///< by symbol
    std::vector<Lv2Property> properties;
};

/// As text, with every number to the last bit and no URID of this process in it.
std::string FormatLv2State(const Lv2State& state);
/// Throws std::runtime_error with the reason, in one line.
Lv2State ParseLv2State(std::string_view text);

/// How a plug-in names files in its state. They stay where they are, so paths are absolute ones; files that
/// the plug-in makes lie in a folder of the instance's own among the user's data.
class Lv2StateFiles {
public:
    Lv2StateFiles();
    Lv2StateFiles(const Lv2StateFiles&) = delete;
    Lv2StateFiles& operator=(const Lv2StateFiles&) = delete;

    LV2_State_Map_Path* MapPath() { return &m_map; }
    LV2_State_Make_Path* MakePath() { return &m_make; }
    LV2_State_Free_Path* FreePath() { return &m_free; }

private:
    char* Make(const char* path);

    std::mutex m_guard;
    std::filesystem::path m_folder;  ///< empty until the first file
    LV2_State_Map_Path m_map{};
    LV2_State_Make_Path m_make{};
    LV2_State_Free_Path m_free{};
};

/// What the plug-in stores now. `status` is what it said in the end.
std::vector<Lv2Property> SaveProperties(const LV2_State_Interface& plugin, LV2_Handle instance,
                                        const LV2_Feature* const* features, LV2_State_Status& status);
LV2_State_Status RestoreProperties(const LV2_State_Interface& plugin, LV2_Handle instance,
                                   const LV2_Feature* const* features,
                                   const std::vector<Lv2Property>& properties);
/// One line of what a status means.
const char* StatusText(LV2_State_Status status);

}  // namespace host
