// Metrics: the user's settings by small numbers, kept for an application and version.
//
// Reading never fails: without a handle, a value, or a value of the kind that is asked for, readers give
// their default. A null handle has no settings; QMMETRIC_DEFAULT names the kernel's own, which the
// application sets with QmMetric_SetDefault and else are those of "Tarn". The sign of an id is dropped. A
// value of one kind does not hide one of another: each kind has names of its own. Sizes are in bytes,
// capacities of texts in characters.
//
// A handle is used by one thread at a time; different handles by any. Writers return S_OK, E_FAIL without a
// handle or key, or what the store says (platform/store.h).
#pragma once

#include "platform/stream.h"

struct QMMETRIC;
typedef QMMETRIC* HQMMETRIC;

/// The kernel's default handle.
#define QMMETRIC_DEFAULT (reinterpret_cast<HQMMETRIC>(intptr_t{-1}))

inline constexpr uint32_t QMMETRIC_TEXT = 1;
inline constexpr uint32_t QMMETRIC_BINARY = 3;
inline constexpr uint32_t QMMETRIC_NUMBER = 4;
inline constexpr uint32_t QMMETRIC_MULTI_TEXT = 7;

inline constexpr HRESULT QM_E_WRONG_TYPE = tarn::StatusCode(0x8004E00A);
inline constexpr HRESULT QM_E_MORE_DATA = tarn::StatusCode(0x8004E03C);

/// Of a key's path, with the terminator.
inline constexpr uint32_t QMMETRIC_PATH_CHARACTERS = 260;

extern "C" {

/// Opens "Software\<company>\<application>\Metrics", with "\<major>.<minor>" before the last part when the
/// version word (major in the top byte, minor in the next) gives one; subKey, unless null, is appended. *out
/// is set even when the settings can't be reached, and its readers then give defaults; it is null for
/// E_OUTOFMEMORY and for a path that is too long, E_INVALIDARG.
QM_API HRESULT QmMetric_Open(HQMMETRIC* out, const char16_t* application, uint32_t version,
                             const char16_t* subKey);
QM_API HRESULT QmMetric_OpenRegHiveAndVersion(HQMMETRIC* out, const char16_t* application, uint32_t version,
                                              const char16_t* company, const char16_t* subKey);
QM_API HRESULT QmMetric_OpenAppVersion(HQMMETRIC* out, const char16_t* path, const char16_t* subKey);
/// A sub-key of the parent's "...\Metrics". E_FAIL for a null parent.
QM_API HRESULT QmMetric_OpenSubKey(HQMMETRIC* out, HQMMETRIC parent, const char16_t* subKey);
/// Null is fine.
QM_API HRESULT QmMetric_Close(HQMMETRIC handle);
QM_API HRESULT QmMetric_CloseAndDeleteKey(HQMMETRIC handle);
/// Makes a handle the default; null goes back to the kernel's own. The handle stays its owner's, who sets
/// another before he closes it. [page-thread]
QM_API void QmMetric_SetDefault(HQMMETRIC handle);

/// Deletes the settings of one sub-key, of all metrics of an application, of everything the application
/// keeps.
QM_API HRESULT QmMetric_DeleteKey(const char16_t* application, uint32_t version, const char16_t* subKey);
QM_API HRESULT QmMetric_DeleteKeyHiveAndVersion(const char16_t* application, uint32_t version,
                                                const char16_t* company, const char16_t* subKey);
QM_API HRESULT QmMetric_DeleteAll(const char16_t* application, uint32_t version);
QM_API HRESULT QmMetric_DeleteAllHiveAndVersion(const char16_t* application, uint32_t version,
                                                const char16_t* company);
QM_API HRESULT QmMetric_DeleteUserMetrics(const char16_t* application, uint32_t version);

/// 0 when there is none.
QM_API uint32_t QmGetMetric(HQMMETRIC handle, int32_t id);
/// Clamped to minimum..maximum unless those are equal; so is the default, but not that of a missing handle.
QM_API int32_t QmGetMetricEx(HQMMETRIC handle, int32_t id, int32_t minimum, int32_t maximum,
                             int32_t defaultValue);
QM_API BOOL QmGetMetricBool(HQMMETRIC handle, int32_t id, BOOL defaultValue);
QM_API HRESULT QmSetMetric(HQMMETRIC handle, int32_t id, uint32_t value);

/// A value of a kind. *size is what is stored. E_UNEXPECTED without a handle; QM_E_MORE_DATA when it does not
/// fit; QM_E_WRONG_TYPE when the name holds another type. A text is terminated within the buffer; where that
/// costs its last character, QM_E_MORE_DATA and 2 bytes more.
QM_API HRESULT QmGetMetricAny(HQMMETRIC handle, int32_t id, uint32_t type, void* buffer, uint32_t capacity,
                              uint32_t* size);
/// Bytes read; what is left of the buffer is zeroed.
QM_API uint32_t QmGetMetricBinary(HQMMETRIC handle, int32_t id, void* buffer, uint32_t capacity);
QM_API uint32_t QmGetMetricBinaryEx(HQMMETRIC handle, int32_t id, void* buffer, uint32_t capacity,
                                    uint32_t* size);
QM_API HRESULT QmSetMetricBinary(HQMMETRIC handle, int32_t id, const void* data, uint32_t size);
/// A stream's bytes up to its position, 2048 at most: E_UNEXPECTED for none, E_INVALIDARG for more.
QM_API HRESULT QmSetMetricStream(HQMMETRIC handle, int32_t id, IStream* stream);
/// Writes the stored bytes to the stream's start. E_UNEXPECTED when there are none.
QM_API HRESULT QmGetMetricStream(HQMMETRIC handle, int32_t id, IStream* stream);

/// Characters without the terminator. The default, which may be null, stands in for a text that is absent,
/// does not fit, or is empty; with keepEmpty an empty one stays.
QM_API uint32_t QmGetMetricStringEx(HQMMETRIC handle, int32_t id, char16_t* out, uint32_t capacity,
                                    const char16_t* defaultText, BOOL keepEmpty);
QM_API HRESULT QmSetMetricString(HQMMETRIC handle, int32_t id, const char16_t* text);
/// Terminated texts one behind the other, an empty one at the end, which `characters` counts.
QM_API uint32_t QmGetMetricMultiStringEx(HQMMETRIC handle, int32_t id, char16_t* out, uint32_t capacity,
                                         const char16_t* defaultText, BOOL keepEmpty);
QM_API HRESULT QmSetMetricMultiString(HQMMETRIC handle, int32_t id, const char16_t* data,
                                      uint32_t characters);

/// 0 if it exists with that type, else 1.
QM_API int32_t QmDoesMetricExist(HQMMETRIC handle, int32_t id, uint32_t type);
/// The values of all kinds; a failure when there is none.
QM_API HRESULT QmDeleteMetric(HQMMETRIC handle, int32_t id);

/// Values with names of their own.
QM_API HRESULT QmDeleteMetricUsingName(HQMMETRIC handle, const char16_t* name);
QM_API HRESULT QmSetMetricUsingName(HQMMETRIC handle, const char16_t* name, uint32_t type, const void* data,
                                    uint32_t size);
QM_API HRESULT QmGetMetricUsingName(HQMMETRIC handle, const char16_t* name, uint32_t type, void* buffer,
                                    uint32_t capacity, uint32_t* size);

/// The name under which a kind is stored ("S7"), except that a number is called "D7" here and "7" in the
/// store. Room for 12 characters.
QM_API void QmMetricGetName(int32_t id, uint32_t type, char16_t* out);

}  // extern "C"
