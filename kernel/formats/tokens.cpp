#include "kernel/formats/tokens.h"

#include "kernel/list_internal.h"
#include "platform/made_once.h"
#include "platform/text.h"

#include <unicode/ustring.h>

#include <cstring>

using namespace tarn;

namespace {

/// The name and, behind its terminator, the value follow in the same block.
struct Token {
    uint32_t nameLength;
    uint32_t valueLength;

    std::u16string_view Name() const { return {Texts(), nameLength}; }
    std::u16string_view Value() const { return {Texts() + nameLength + 1, valueLength}; }

private:
    const char16_t* Texts() const { return reinterpret_cast<const char16_t*>(this + 1); }
};

int32_t CompareName(uintptr_t, const void* key, const void* item) {
    const auto& name = *static_cast<const std::u16string_view*>(key);
    const std::u16string_view other = static_cast<const Token*>(item)->Name();
    UErrorCode status = U_ZERO_ERROR;
    return u_strCaseCompare(name.data(), static_cast<int32_t>(name.size()), other.data(),
                            static_cast<int32_t>(other.size()), 0, &status);
}

/// Null when out of memory. It outlives everything that prints.
HQMLIST Tokens() {
    static MadeOnce<HQMLIST> list;
    return list.Get([] {
        HQMLIST made = nullptr;
        QmList_CreateExZ(&made, 0, 16, 16, QMLIST_LOCKED | QMLIST_HEAP, 0, 0, 0);
        return made;
    });
}

}  // namespace

bool WithPrintToken(std::u16string_view name, void (*write)(void* context, std::u16string_view value),
                    void* context) {
    const HQMLIST list = Tokens();
    if (!list) return false;
    const qmlist::Entry lock(list);
    const int32_t at = QmList_FindSortedItemRange(list, &name, 0, -1, CompareName);
    if (at < 0) return false;
    write(context, QmList_Pointers<Token>(list)[static_cast<size_t>(at)]->Value());
    return true;
}

extern "C" {

BOOL QmPrintF_AddToken(const char16_t* name, const char16_t* value) {
    const HQMLIST list = Tokens();
    const size_t nameLength = TextLength(name), valueLength = TextLength(value);
    if (!list || nameLength == 0 || nameLength > INT32_MAX || valueLength > INT32_MAX) return 0;
    const qmlist::Entry lock(list);
    QmPrintF_DeleteToken(name);
    void* block = nullptr;
    const size_t bytes = sizeof(Token) + (nameLength + valueLength + 2) * sizeof(char16_t);
    if (Failed(QmList_AllocItem(list, bytes, &block))) return 0;
    auto* token = static_cast<Token*>(block);
    token->nameLength = static_cast<uint32_t>(nameLength);
    token->valueLength = static_cast<uint32_t>(valueLength);
    auto* texts = reinterpret_cast<char16_t*>(token + 1);
    std::memcpy(texts, name, nameLength * sizeof(char16_t));
    if (valueLength) std::memcpy(texts + nameLength + 1, value, valueLength * sizeof(char16_t));
    const std::u16string_view key(name, nameLength);
    const int32_t at = QmList_FindSortedInsertIndexRange(list, &key, 0, -1, CompareName);
    if (Succeeded(QmList_InsertList(list, at, nullptr, -1))) return 1;
    QmList_DeleteList(list, -1, -1, 0);
    return 0;
}

BOOL QmPrintF_DeleteToken(const char16_t* name) {
    const HQMLIST list = Tokens();
    const std::u16string_view key(name ? name : u"");
    if (!list || key.empty()) return 0;
    const qmlist::Entry lock(list);
    const int32_t at = QmList_FindSortedItemRange(list, &key, 0, -1, CompareName);
    return at >= 0 && Succeeded(QmList_DeleteList(list, at, 1, 0));
}

}  // extern "C"
