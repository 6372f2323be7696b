// Values that the host keeps for a control plug-in, in the section named after it. On the thread of
// Initialise and Terminate, or under the main lock.
#pragma once

#include "plugin/opt_plugin.h"

class ControlPreferences {
public:
    explicit ControlPreferences(COPTPlugin& plugin) : m_plugin(plugin) {}

    /// A number by its name or by its key; the default where the host has none.
    uint32_t Number(const char16_t* name, uint32_t defaultValue);
    uint32_t Number(uint32_t key, uint32_t defaultValue);
    void SetNumber(const char16_t* name, uint32_t value);
    void SetNumber(uint32_t key, uint32_t value);
    std::u16string Text(uint32_t key);
    void SetText(uint32_t key, std::u16string text);
    GUID Guid(uint32_t key, GUID defaultValue);
    void SetGuid(uint32_t key, GUID guid);

    /// From here on it is noted whether the host answers.
    void BeginReading() { m_allRead = true; }
    /// The plug-in goes on with defaults for what it could not read: they are not the user's.
    void NoteUnread() { m_allRead = false; }
    /// Whether all was read since BeginReading. What was not must not be written over.
    bool AllRead() const { return m_allRead; }

private:
    uint32_t GetNumber(MPPREFREC pref);
    HRESULT Get(MPPREFREC& pref);
    void Set(MPPREFREC pref);

    COPTPlugin& m_plugin;
    bool m_allRead = false;
};
