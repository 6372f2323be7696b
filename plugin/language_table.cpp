#include "plugin/language_table.h"

#include "platform/text.h"

#include <cstring>
#include <string_view>

namespace {

struct CachedText {
    uint32_t id;
    char16_t text[1];  // as long as the block
};

int32_t HasId(const void* key, const void* item) {
    return static_cast<const CachedText*>(item)->id == *static_cast<const uint32_t*>(key) ? 0 : 1;
}

}  // namespace

LanguageTable::LanguageTable() {
    HQMLIST texts = &m_texts;
    // A list that could not be made has no count and answers every call with a failure: the table reads as
    // empty.
    if (Failed(QmList_CreateExZ(&texts, 0, -1, -1, QMLIST_HEAP | QMLIST_IN_PLACE, 0, 0, 0))) m_texts = {};
}

LanguageTable::~LanguageTable() {
    if (QmList_IsListFast(&m_texts)) QmList_Destroy(&m_texts);
}

void LanguageTable::SetLcid(uint32_t lcid) {
    if (m_lcid.exchange(lcid) != lcid) {
        CriticalSectionLock lock(m_lock);
        QmList_DeleteList(&m_texts, 0, -1, 1);
    }
    m_notEnglish = (lcid & LANG_PRIMARY_MASK) != LANG_PRIMARY_ENGLISH;
}

HRESULT LanguageTable::CacheText(uint32_t id, const char16_t* text) {
    const size_t length = std::u16string_view(text).size();
    CriticalSectionLock lock(m_lock);
    void* block = nullptr;
    HRESULT hr = QmList_AllocItem(&m_texts, sizeof(CachedText) + length * sizeof(char16_t), &block);
    if (Failed(hr)) return hr;
    auto* row = static_cast<CachedText*>(block);
    row->id = id;
    std::memcpy(row->text, text, (length + 1) * sizeof(char16_t));
    hr = QmList_InsertList(&m_texts, -1, nullptr, -1);
    if (Failed(hr)) QmList_DeleteList(&m_texts, -1, -1, 0);
    return hr;
}

uint32_t LanguageTable::LoadText(uint32_t id, char16_t* out, uint32_t capacity) {
    if (capacity == 0) return 0;
    out[0] = 0;
    CriticalSectionLock lock(m_lock);
    const int32_t at = QmList_FindItemRange(&m_texts, 0, -1, &id, HasId);
    if (at < 0) return 0;
    return static_cast<uint32_t>(CopyText(out, capacity, QmList_Pointers<CachedText>(&m_texts)[at]->text));
}
