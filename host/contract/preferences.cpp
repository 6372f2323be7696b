#include "host/contract/preferences.h"

#include "platform/text.h"

using namespace tarn;

namespace host {
namespace {

PreferenceKey KeyOf(const MPPREFREC& pref) {
    PreferenceKey key;
    key.section = pref.section ? Utf8FromUtf16(pref.section) : std::string();
    if (pref.keyName)
        key.key = Utf8FromUtf16(pref.keyName);
    else
        key.key = pref.numericKey;
    return key;
}

}  // namespace

HRESULT GetPreference(ProjectCore& core, bool ofUser, MPPREFREC& pref) {
    // This host has room for groups of channels, whatever a session of another says.
    if (pref.type == PREF_UINT && pref.keyName && std::u16string_view(pref.keyName) == u"ShowGroups") {
        pref.number = 1;
        return S_OK;
    }
    const std::optional<PreferenceValue> value =
        core.WithPreferences(ofUser, [&](const Preferences& all) -> std::optional<PreferenceValue> {
            const auto at = all.find(KeyOf(pref));
            if (at == all.end()) return std::nullopt;
            return at->second;
        });
    if (!value) return S_OK;
    if (pref.type == PREF_INT && std::holds_alternative<int32_t>(*value))
        pref.number = std::get<int32_t>(*value);
    if (pref.type == PREF_UINT && std::holds_alternative<uint32_t>(*value))
        pref.number = std::get<uint32_t>(*value);
    if (pref.type == PREF_STRING && std::holds_alternative<std::string>(*value)) {
        pref.data = CoTaskMemString(Utf16FromUtf8(std::get<std::string>(*value)).c_str());
        return pref.data ? S_OK : E_OUTOFMEMORY;
    }
    if (pref.type == PREF_BINARY && std::holds_alternative<std::vector<uint8_t>>(*value)) {
        const auto& bytes = std::get<std::vector<uint8_t>>(*value);
        if (!pref.data || bytes.size() != pref.dataSize) return E_INVALIDARG;
        std::memcpy(pref.data, bytes.data(), bytes.size());
    }
    return S_OK;
}

HRESULT SetPreference(ProjectCore& core, bool ofUser, const MPPREFREC& pref) {
    PreferenceValue value;
    switch (pref.type) {
    case PREF_INT: value = static_cast<int32_t>(pref.number); break;
    case PREF_UINT: value = static_cast<uint32_t>(pref.number); break;
    case PREF_STRING:
        if (!pref.data) return E_POINTER;
        value = Utf8FromUtf16(static_cast<const char16_t*>(pref.data));
        break;
    case PREF_BINARY: {
        if (!pref.data || pref.dataSize > kMaxPreferenceBytes) return E_INVALIDARG;
        const auto* bytes = static_cast<const uint8_t*>(pref.data);
        value = std::vector<uint8_t>(bytes, bytes + pref.dataSize);
        break;
    }
    default: return E_INVALIDARG;
    }
    return core.WithPreferences(ofUser, [&](Preferences& all) {
        const PreferenceKey key = KeyOf(pref);
        const auto at = all.find(key);
        if (at != all.end() && at->second == value) return S_OK;
        if (at == all.end() && all.size() >= kMaxPreferences) return E_INVALIDARG;
        Session alone = NewSession();
        alone.preferences[key] = value;
        try {
            CheckSession(alone);  // a text that no session file may hold
        } catch (const SessionError&) {
            return E_INVALIDARG;
        }
        all[key] = std::move(value);
        if (ofUser) core.userPreferenceChanges++;
        return S_OK;
    });
}

}  // namespace host
