// Values that the host keeps for a control plug-in, in the section named after it.
#include "plugin/control_plugin.h"

namespace {
MPPREFREC Record(const char16_t* section, uint32_t key, uint32_t type) {
    MPPREFREC pref{};
    pref.size = sizeof pref;
    pref.section = section;
    pref.numericKey = key;
    pref.type = type;
    return pref;
}

MPPREFREC NumberRecord(const char16_t* section, const char16_t* name, uint32_t key, uint32_t number) {
    MPPREFREC pref = Record(section, name ? PREF_NAMED : key, PREF_UINT);
    pref.keyName = name;
    pref.number = number;
    return pref;
}
}  // namespace

uint32_t COPTControlPlugin::ControlPreference(const char16_t* name, uint32_t numericKey,
                                              uint32_t defaultValue) {
    MPPREFREC pref = NumberRecord(Name(), name, numericKey, defaultValue);
    // The record carries its default, so that a failure or a missing key leaves the right answer.
    if (GetHostProperty(MPPROP_PREFERENCE, &pref, sizeof pref) != S_OK) return defaultValue;
    return static_cast<uint32_t>(pref.number);
}

void COPTControlPlugin::SetControlPreference(const char16_t* name, uint32_t numericKey, uint32_t value) {
    MPPREFREC pref = NumberRecord(Name(), name, numericKey, value);
    pref.set = 1;
    SetHostProperty(MPPROP_PREFERENCE, &pref, sizeof pref);
}

std::u16string COPTControlPlugin::TextPreference(uint32_t key) {
    MPPREFREC pref = Record(Name(), key, PREF_STRING);
    if (GetHostProperty(MPPROP_PREFERENCE, &pref, sizeof pref) != S_OK || !pref.data) return {};
    std::u16string text(static_cast<const char16_t*>(pref.data));
    CoTaskMemFree(pref.data);
    return text;
}

void COPTControlPlugin::SetTextPreference(uint32_t key, std::u16string text) {
    MPPREFREC pref = Record(Name(), key, PREF_STRING);
    pref.set = 1;
    pref.data = text.data();
    SetHostProperty(MPPROP_PREFERENCE, &pref, sizeof pref);
}

GUID COPTControlPlugin::GuidPreference(uint32_t key, GUID defaultValue) {
    MPPREFREC pref = Record(Name(), key, PREF_BINARY);
    pref.data = &defaultValue;
    pref.dataSize = sizeof defaultValue;
    GetHostProperty(MPPROP_PREFERENCE, &pref, sizeof pref);
    return defaultValue;
}

void COPTControlPlugin::SetGuidPreference(uint32_t key, GUID guid) {
    MPPREFREC pref = Record(Name(), key, PREF_BINARY);
    pref.set = 1;
    pref.data = &guid;
    pref.dataSize = sizeof guid;
    SetHostProperty(MPPROP_PREFERENCE, &pref, sizeof pref);
}
