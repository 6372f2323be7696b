// The text of one module in one language.
//
// A text is named by the number of a string resource of the module, by the address of a record that holds it
// in 18 languages, or stands for itself; every function that takes a name or a message takes all three
// (QmTextId, QMLANGSTRINGID, plain text). A lookup never fails: it falls back to English, then to the empty
// text.
//
// Texts from QmGetString live until the handle's language changes; those of the temporary ring until about
// 275 more have been taken from it. Any thread may look texts up; a language is opened, changed and closed on
// the main thread while nobody does.
#pragma once

#include "platform/user_language.h"

struct QMLANG;
typedef QMLANG* HQMLANG;
/// Names a module: the address of an object that every module has of its own (see
/// platform/string_resources.h).
typedef const void* HINSTANCE;

inline constexpr uint32_t LANG_PRIMARY_MASK = 0x3FF;
inline constexpr uint32_t LANG_PRIMARY_ENGLISH = 9;
inline constexpr uint32_t QMLANG_SLOTS = 18;

/// One text in 18 languages. It lies in writable memory: a word that is a resource's number is replaced by
/// the text when it is first asked for.
struct QMLANGSTRINGID {
    uint64_t
        word[1 + QMLANG_SLOTS];  ///< [0] marker 0xFFFE and the count << 16; then slots 1 to 18, 1 is English
};
static_assert(sizeof(QMLANGSTRINGID) == 152);
inline constexpr uint64_t QMLANGSTRINGID_MARKER = 0xFFFE;

/// The number of a string resource, in the place of a text.
inline const char16_t* QmTextId(uint32_t id) { return reinterpret_cast<const char16_t*>(uintptr_t{id}); }

extern "C" {

/// lcid 0 leaves the language to the user's, found at the first text. ringSize is in characters, 0 for 8192,
/// at least 2048. E_OUTOFMEMORY, and *out is null.
QM_API HRESULT QmLang_Open(HQMLANG* out, HINSTANCE module, uint32_t lcid, uint32_t ringSize);
/// Null is fine.
QM_API HRESULT QmLang_Close(HQMLANG lang);

/// 0 for null.
QM_API uint32_t QmLang_GetLCID(HQMLANG lang);
/// The main form of the LCID's language: all regional forms of one fall together, except Chinese (two
/// scripts) and Portuguese.
QM_API uint32_t QmLang_GetConditionedLCID(uint32_t lcid);
QM_API BOOL QmLang_IsLCIDEnglish(uint32_t lcid);
QM_API HINSTANCE QmLang_InstFromLang(HQMLANG lang);
/// Windows' three-letter name ("DEU"); false, and empty, where there is none.
QM_API BOOL QmLang_GetLangAbbrev(HQMLANG lang, char16_t* out, uint32_t capacity);
/// "de-DE" and seven more; 1, and empty, for any other language.
QM_API int32_t QmLang_GetLangllCC(HQMLANG lang, char16_t* out, uint32_t capacity);
QM_API BOOL QmLang_UseRTL(HQMLANG lang);
/// Family name before given name.
QM_API BOOL QmLang_IsNameOrderReversed(HQMLANG lang);
/// Both names in the language's order, a space between; returns the characters written.
QM_API int32_t QmLang_LocalizeUserName(HQMLANG lang, const char16_t* given, const char16_t* family,
                                       char16_t* out, uint32_t capacity);

/// The direction in which the process lays out its windows from now on.
QM_API void QmLang_EnableProcessMirroring();
QM_API void QmLang_DisableProcessMirroring();
/// Makes the handle's language the thread's, for what the platform formats in it.
QM_API void QmLang_UpdateThreadLocale(HQMLANG lang);
/// Changes the language of the handle and of the kernel's own texts, 0 to US English, and the process's
/// layout direction. Texts handed out before lose their storage. [page-thread]
QM_API void QmLang_UpdateKernelLCID(HQMLANG lang, uint32_t lcid);

/// The process's three-letter language code, for programs that name their files by it; empty or null is
/// "ENU", which it also is before. [any-thread]
QM_API void QmSetLangID(const char16_t* code);
/// Into room for 4 characters. [any-thread]
QM_API void QmGetLangID(char16_t* out);

/// Copies the text of a string resource or record; returns its length, 0 and empty where there is none.
QM_API int32_t QmLoadString(HQMLANG lang, const char16_t* idOrRecord, char16_t* out, uint32_t capacity);
/// Never null.
QM_API const char16_t* QmGetString(HQMLANG lang, const char16_t* idOrRecord);
/// Plain text comes back as it is, and null as null.
QM_API const char16_t* QmGetStringSmart(HQMLANG lang, const char16_t* text);
QM_API BOOL IsQMLANGSTRINGID(HQMLANG lang, const void* pointer);

/// Reads the user's locale, and the SMPTE and music separators in the handle's language, into the block of
/// kernel/formats/inat.h; the latter become the tokens $(m.b) and $(b.t) too. Runs when a language is opened;
/// call it when the locale changes. [page-thread]
QM_API void QmLang_GetInternationals(HQMLANG lang);

}  // extern "C"

namespace tarn {

/// A slot of the temporary ring for `characters`; null without a ring, or for more than its reserve.
QM_API char16_t* QmLang_TemporaryText(HQMLANG lang, uint32_t characters);

/// The kernel's own texts. Opened at the first use, never closed. [any-thread]
QM_API HQMLANG KernelLang();
/// One of the records of kernel/lang/kernel_strings.h in the kernel's language.
inline const char16_t* KernelText(const QMLANGSTRINGID& record) {
    return QmGetString(KernelLang(), reinterpret_cast<const char16_t*>(&record));
}

}  // namespace tarn
