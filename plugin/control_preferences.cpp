#include "plugin/control_preferences.h"

using namespace tarn;

namespace {
MPPREFREC Record(const COPTPlugin& plugin, uint32_t key, uint32_t type) {
    MPPREFREC pref{};
    pref.size = sizeof pref;
    pref.section = plugin.Name();
    pref.numericKey = key;
    pref.type = type;
    return pref;
}

MPPREFREC NumberRecord(const COPTPlugin& plugin, const char16_t* name, uint32_t key, uint32_t number) {
    MPPREFREC pref = Record(plugin, key, PREF_UINT);
    pref.keyName = name;
    pref.number = number;
    return pref;
}
}  // namespace

HRESULT ControlPreferences::Get(MPPREFREC& pref) {
    const HRESULT hr = m_plugin.GetHostProperty(MPPROP_PREFERENCE, &pref, sizeof pref);
    if (Failed(hr)) NoteUnread();
    return hr;
}

void ControlPreferences::Set(MPPREFREC pref) {
    pref.set = 1;
    m_plugin.SetHostProperty(MPPROP_PREFERENCE, &pref, sizeof pref);
}

uint32_t ControlPreferences::GetNumber(MPPREFREC pref) {
    const auto defaultValue = static_cast<uint32_t>(pref.number);
    // The record carries its default, so that a missing key leaves the right answer.
    return Get(pref) == S_OK ? static_cast<uint32_t>(pref.number) : defaultValue;
}

uint32_t ControlPreferences::Number(const char16_t* name, uint32_t defaultValue) {
    return GetNumber(NumberRecord(m_plugin, name, PREF_NAMED, defaultValue));
}

uint32_t ControlPreferences::Number(uint32_t key, uint32_t defaultValue) {
    return GetNumber(NumberRecord(m_plugin, nullptr, key, defaultValue));
}

void ControlPreferences::SetNumber(const char16_t* name, uint32_t value) {
    Set(NumberRecord(m_plugin, name, PREF_NAMED, value));
}

void ControlPreferences::SetNumber(uint32_t key, uint32_t value) {
    Set(NumberRecord(m_plugin, nullptr, key, value));
}

std::u16string ControlPreferences::Text(uint32_t key) {
    MPPREFREC pref = Record(m_plugin, key, PREF_STRING);
    if (Get(pref) != S_OK || !pref.data) return {};
    std::u16string text(static_cast<const char16_t*>(pref.data));
    CoTaskMemFree(pref.data);
    return text;
}

void ControlPreferences::SetText(uint32_t key, std::u16string text) {
    MPPREFREC pref = Record(m_plugin, key, PREF_STRING);
    pref.data = text.data();
    Set(pref);
}

GUID ControlPreferences::Guid(uint32_t key, GUID defaultValue) {
    MPPREFREC pref = Record(m_plugin, key, PREF_BINARY);
    pref.data = &defaultValue;
    pref.dataSize = sizeof defaultValue;
    Get(pref);
    return defaultValue;
}

void ControlPreferences::SetGuid(uint32_t key, GUID guid) {
    MPPREFREC pref = Record(m_plugin, key, PREF_BINARY);
    pref.data = &guid;
    pref.dataSize = sizeof guid;
    Set(pref);
}
