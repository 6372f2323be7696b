#include "kernel/lang/lang.h"

#include "kernel/lang/languages.h"
#include "kernel/lang/string_resources.h"
#include "kernel/list.h"
#include "platform/event.h"
#include "platform/layout_direction.h"
#include "platform/made_once.h"
#include "platform/memory.h"
#include "platform/text.h"
#include "platform/user_language.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <string_view>

using namespace tarn;

struct QMLANG {
    HINSTANCE module;
    uint32_t hasLock;
    CriticalSection lock;
    uint32_t ringSize;
    uint32_t ringReserve;
    uint32_t ringAt;
    char16_t* ring;
    std::atomic<bool> notEnglish;
    std::atomic<uint32_t> lcid;
    std::atomic<uint32_t> slot;  ///< 0 until the first text is looked up
    HQMLIST texts;               ///< of CachedText, ascending by id
};

namespace {

constexpr uint32_t RING_DEFAULT = 8192, RING_LEAST = 2048, RING_RESERVE = 1024;
constexpr uint32_t LOAD_LIMIT = 1024;
constexpr uintptr_t FIRST_POINTER = 0x10000;

/// Stands before texts in a translator's copy and must not reach the screen.
constexpr std::u16string_view TRANSLATOR_MARK = u"^*";

/// The letters of QmSetLangID and their terminator; 0 until it is called.
std::atomic<uint64_t> languageCode = 0;

struct CachedText {
    uint32_t id;
    char16_t text[1];  // as long as the block
};

int32_t CompareId(uintptr_t, const void* key, const void* item) {
    const uint32_t a = *static_cast<const uint32_t*>(key), b = static_cast<const CachedText*>(item)->id;
    return a < b ? -1 : a > b;
}

bool IsRecord(const void* pointer) {
    if (!pointer || reinterpret_cast<uintptr_t>(pointer) % 4 != 0) return false;
    uint16_t marker = 0;  // a text may end after its first character
    std::memcpy(&marker, pointer, sizeof marker);
    return marker == QMLANGSTRINGID_MARKER;
}

bool IsId(const void* pointer) { return reinterpret_cast<uintptr_t>(pointer) < FIRST_POINTER; }

uint32_t SlotOf(HQMLANG lang) {
    if (!lang) return SLOT_ENGLISH;
    uint32_t slot = lang->slot;
    if (slot == 0) {
        const uint32_t lcid = lang->lcid;
        slot = SlotOfLcid(lcid ? lcid : UserLanguageLcid());
        lang->slot = slot;
    }
    return slot;
}

const char16_t* ResourceText(HINSTANCE module, uint32_t slot, uint32_t id) {
    const char16_t* text = FindStringResource(module, slot, id);
    if (text && std::u16string_view(text).starts_with(TRANSLATOR_MARK)) text += TRANSLATOR_MARK.size();
    return text && *text ? text : nullptr;
}

/// The handle's language first, then English; null when neither has the text.
const char16_t* ResourceText(HQMLANG lang, uint32_t id) {
    const char16_t* text = nullptr;
    if (lang->notEnglish) text = ResourceText(lang->module, SlotOf(lang), id);
    return text ? text : ResourceText(lang->module, SLOT_ENGLISH, id);
}

/// A text stays in the record once it is found, so that later looks need no table. Two threads that find it
/// at once write the same.
const char16_t* WordText(HQMLANG lang, uint64_t& word, uint32_t slot) {
    std::atomic_ref<uint64_t> shared(word);
    const uint64_t value = shared.load(std::memory_order_relaxed);
    if (value >= FIRST_POINTER) return reinterpret_cast<const char16_t*>(value);
    const char16_t* text = lang ? ResourceText(lang->module, slot, static_cast<uint32_t>(value)) : nullptr;
    if (text) shared.store(reinterpret_cast<uint64_t>(text), std::memory_order_relaxed);
    return text;
}

/// The last language that the record has stands in for those after it, but only for those that could have a
/// place in it.
uint32_t RecordSlot(HQMLANG lang, const QMLANGSTRINGID& record) {
    const auto count = static_cast<uint32_t>(record.word[0] >> 16 & 0xFF);
    const uint32_t slot = SlotOf(lang);
    return slot > QMLANG_SLOTS ? SLOT_ENGLISH : std::max(std::min(slot, count), SLOT_ENGLISH);
}

const char16_t* RecordText(HQMLANG lang, QMLANGSTRINGID& record) {
    const uint32_t slot = RecordSlot(lang, record);
    if (const char16_t* text = WordText(lang, record.word[slot], slot)) return text;
    const char16_t* english = WordText(lang, record.word[SLOT_ENGLISH], SLOT_ENGLISH);
    if (!english) return u"";
    std::atomic_ref<uint64_t>(record.word[slot])
        .store(reinterpret_cast<uint64_t>(english), std::memory_order_relaxed);
    return english;
}

/// Keeps a copy at its sorted place; null when out of memory.
const char16_t* CacheText(HQMLIST texts, uint32_t id, const char16_t* text, size_t length) {
    void* block = nullptr;
    if (Failed(QmList_AllocItem(texts, sizeof(CachedText) + length * sizeof(char16_t), &block)))
        return nullptr;
    auto* row = static_cast<CachedText*>(block);
    row->id = id;
    std::memcpy(row->text, text, length * sizeof(char16_t));
    const int32_t at = QmList_FindSortedInsertIndexRange(texts, &id, 0, -1, CompareId);
    if (Failed(QmList_InsertList(texts, at, nullptr, -1))) {
        QmList_DeleteList(texts, -1, -1, 0);
        return nullptr;
    }
    return row->text;
}

const char16_t* ResourceString(HQMLANG lang, uint32_t id) {
    if (!lang || !lang->texts) return u"";
    const CriticalSectionLock lock(lang->lock);
    const int32_t at = QmList_FindSortedItemRange(lang->texts, &id, 0, -1, CompareId);
    if (at >= 0) return QmList_Pointers<CachedText>(lang->texts)[at]->text;
    char16_t text[LOAD_LIMIT];
    const int32_t length = QmLoadString(lang, QmTextId(id), text, LOAD_LIMIT);
    const char16_t* kept = length ? CacheText(lang->texts, id, text, static_cast<size_t>(length)) : nullptr;
    return kept ? kept : u"";
}

void ChangeLanguage(HQMLANG lang, uint32_t lcid) {
    if (!lang) return;
    const CriticalSectionLock lock(lang->lock);
    if (lang->lcid.exchange(lcid) != lcid) {
        lang->slot = 0;
        QmList_DeleteList(lang->texts, 0, -1, 1);
    }
    lang->notEnglish = !QmLang_IsLCIDEnglish(lcid);
}

}  // namespace

extern "C" {

HRESULT QmLang_Open(HQMLANG* out, HINSTANCE module, uint32_t lcid, uint32_t ringSize) {
    if (!out) return E_POINTER;
    *out = nullptr;
    void* record = MemAlloc(sizeof(QMLANG));
    if (!record) return E_OUTOFMEMORY;
    auto* lang = new (record) QMLANG{};
    lang->module = module;
    lang->hasLock = 1;
    lang->ringSize = std::max(ringSize ? ringSize : RING_DEFAULT, RING_LEAST);
    lang->ringReserve = RING_RESERVE;
    lang->lcid = lcid;
    lang->notEnglish = !QmLang_IsLCIDEnglish(lcid);
    lang->ring = static_cast<char16_t*>(MemAlloc(size_t{lang->ringSize} * sizeof(char16_t)));
    if (!lang->ring ||
        Failed(QmList_CreateExZ(&lang->texts, 0, 16, 16, QMLIST_ANY_THREAD | QMLIST_HEAP, 0, 0, 0))) {
        QmLang_Close(lang);
        return E_OUTOFMEMORY;
    }
    QmLang_GetInternationals(lang);
    *out = lang;
    return S_OK;
}

HRESULT QmLang_Close(HQMLANG lang) {
    if (!lang) return S_OK;
    QmList_Destroy(lang->texts);
    MemFree(lang->ring);
    lang->~QMLANG();
    MemFree(lang);
    return S_OK;
}

uint32_t QmLang_GetLCID(HQMLANG lang) { return lang ? lang->lcid.load() : 0; }

HINSTANCE QmLang_InstFromLang(HQMLANG lang) { return lang ? lang->module : nullptr; }

int32_t QmLang_LocalizeUserName(HQMLANG lang, const char16_t* given, const char16_t* family, char16_t* out,
                                uint32_t capacity) {
    const bool reversed = QmLang_IsNameOrderReversed(lang);
    const char16_t* parts[] = {reversed ? family : given, u" ", reversed ? given : family};
    if (!TextLength(parts[0]) || !TextLength(parts[2])) parts[1] = nullptr;
    size_t length = CopyText(out, capacity, u"");
    for (const char16_t* part : parts) length += CopyText(out + length, capacity - length, part);
    return static_cast<int32_t>(length);
}

void QmLang_EnableProcessMirroring() { ApplyLayoutDirection(true); }
void QmLang_DisableProcessMirroring() { ApplyLayoutDirection(false); }

void QmLang_UpdateThreadLocale(HQMLANG lang) {
    if (const uint32_t lcid = QmLang_GetLCID(lang)) SetThreadLanguage(lcid);
}

void QmLang_UpdateKernelLCID(HQMLANG lang, uint32_t lcid) {
    if (lcid == 0) lcid = LCID_ENGLISH_US;
    ChangeLanguage(lang, lcid);
    if (lang != KernelLang()) ChangeLanguage(KernelLang(), lcid);
    QmLang_GetInternationals(lang ? lang : KernelLang());
    ApplyLayoutDirection(QmLang_UseRTL(KernelLang()));
}

void QmSetLangID(const char16_t* code) {
    constexpr size_t LETTERS = 3;
    char16_t letters[LETTERS + 1] = {};
    if (CopyText(letters, LETTERS + 1, code) == 0) CopyText(letters, LETTERS + 1, u"ENU");
    uint64_t packed = 0;  // read and written as one
    static_assert(sizeof packed == sizeof letters);
    std::memcpy(&packed, letters, sizeof packed);
    languageCode = packed;
}

void QmGetLangID(char16_t* out) {
    const uint64_t packed = languageCode;
    if (packed == 0)
        CopyText(out, 4, u"ENU");
    else
        std::memcpy(out, &packed, sizeof packed);
}

int32_t QmLoadString(HQMLANG lang, const char16_t* idOrRecord, char16_t* out, uint32_t capacity) {
    CopyText(out, capacity, u"");
    const char16_t* text = nullptr;
    if (!IsId(idOrRecord))
        text = QmGetString(lang, idOrRecord);
    else if (lang)
        text = ResourceText(lang, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(idOrRecord)));
    return static_cast<int32_t>(CopyText(out, capacity, text));
}

const char16_t* QmGetString(HQMLANG lang, const char16_t* idOrRecord) {
    if (IsId(idOrRecord))
        return ResourceString(lang, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(idOrRecord)));
    if (!IsRecord(idOrRecord)) return u"";
    return RecordText(lang, *reinterpret_cast<QMLANGSTRINGID*>(const_cast<char16_t*>(idOrRecord)));
}

const char16_t* QmGetStringSmart(HQMLANG lang, const char16_t* text) {
    if (!text) return nullptr;
    return IsId(text) || IsRecord(text) ? QmGetString(lang, text) : text;
}

BOOL IsQMLANGSTRINGID(HQMLANG, const void* pointer) { return !IsId(pointer) && IsRecord(pointer); }

}  // extern "C"

char16_t* tarn::QmLang_TemporaryText(HQMLANG lang, uint32_t characters) {
    if (!lang || characters > lang->ringReserve) return nullptr;
    const CriticalSectionLock lock(lang->lock);
    if (lang->ringAt > lang->ringSize - lang->ringReserve) lang->ringAt = 0;
    char16_t* slot = lang->ring + lang->ringAt;
    lang->ringAt += (characters + 1) & ~1u;
    return slot;
}

HQMLANG tarn::KernelLang() {
    // Without memory for it every text falls back, and so do all callers of a null handle.
    static MadeOnce<HQMLANG> lang;
    return lang.Get([] {
        HQMLANG opened = nullptr;
        QmLang_Open(&opened, ThisInstance(), 0, 0);
        return opened;
    });
}
