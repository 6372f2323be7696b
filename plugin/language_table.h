// The language state of one module: which language its texts are in, and the texts already read.
#pragma once

#include "kernel/list.h"
#include "platform/event.h"

#include <atomic>

inline constexpr uint32_t LCID_ENGLISH_US = 1033;
inline constexpr uint32_t LANG_PRIMARY_MASK = 0x3FF;
inline constexpr uint32_t LANG_PRIMARY_ENGLISH = 9;

class LanguageTable {
public:
    LanguageTable();
    ~LanguageTable();
    LanguageTable(const LanguageTable&) = delete;
    LanguageTable& operator=(const LanguageTable&) = delete;

    /// A new language drops the texts read so far. [any-thread]
    void SetLcid(uint32_t lcid);
    uint32_t Lcid() const { return m_lcid; }
    bool IsNotEnglish() const { return m_notEnglish; }

    /// Keeps a text read from a language resource until the language changes. [any-thread]
    HRESULT CacheText(uint32_t id, const char16_t* text);

    /// Copies the text of `id`, cut to `capacity` characters with its terminator; returns its length, 0 when
    /// the table has no such text. [any-thread]
    uint32_t LoadText(uint32_t id, char16_t* out, uint32_t capacity);

private:
    std::atomic<uint32_t> m_lcid{LCID_ENGLISH_US};
    std::atomic<bool> m_notEnglish{false};
    CriticalSection m_lock;
    tQMLIST m_texts;  ///< heap list of CachedText
};
