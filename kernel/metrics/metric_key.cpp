#include "kernel/metrics/metric_key.h"

#include "kernel/print/print_text.h"
#include "platform/guarded.h"
#include "platform/made_once.h"
#include "platform/text.h"

#include <atomic>
#include <memory>

using namespace tarn;

namespace {

std::atomic<HQMMETRIC> chosen = nullptr;

HQMMETRIC OwnHandle() {
    static MadeOnce<HQMMETRIC> own;
    return own.Get([] {
        HQMMETRIC made = nullptr;
        QmMetric_Open(&made, u"Tarn", 0, nullptr);
        return made;
    });
}

constexpr std::u16string_view METRICS = u"\\Metrics";

std::u16string MetricsPath(const char16_t* company, const char16_t* application, uint32_t version) {
    return ApplicationPath(company, application, version).append(METRICS);
}

std::u16string WithSubKey(std::u16string path, const char16_t* subKey) {
    if (subKey && *subKey) path.append(u"\\").append(subKey);
    return path;
}

/// `makePath` gives the whole path. Lack of memory leaves *out null, wherever it comes.
template <class MakePath>
HRESULT Open(HQMMETRIC* out, MakePath makePath) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Guarded([&]() -> HRESULT {
        const std::u16string path = makePath();
        if (path.size() >= QMMETRIC_PATH_CHARACTERS) return E_INVALIDARG;
        auto made = std::make_unique<QMMETRIC>();
        CopyText(made->path, QMMETRIC_PATH_CHARACTERS, path.c_str());
        const HRESULT hr = StoreOpenKey(StoreScope::User, path, made->key);
        if (hr != E_OUTOFMEMORY) *out = made.release();  // without a key its readers give defaults
        return hr;
    });
}

}  // namespace

std::u16string ApplicationPath(const char16_t* company, const char16_t* application, uint32_t version) {
    std::u16string path = std::u16string(u"Software\\") + (company ? company : METRIC_COMPANY) + u"\\" +
                          (application ? application : u"");
    if (version >> 16 > 255) path += PrintText(u"\\%d.%d", version >> 24, version >> 16 & 0xFF);
    return path;
}

StoreKey* KeyOf(HQMMETRIC handle) {
    if (handle == QMMETRIC_DEFAULT) handle = chosen ? chosen.load() : OwnHandle();
    return handle ? handle->key.get() : nullptr;
}

extern "C" {

HRESULT QmMetric_Open(HQMMETRIC* out, const char16_t* application, uint32_t version, const char16_t* subKey) {
    return QmMetric_OpenRegHiveAndVersion(out, application, version, METRIC_COMPANY, subKey);
}

HRESULT QmMetric_OpenRegHiveAndVersion(HQMMETRIC* out, const char16_t* application, uint32_t version,
                                       const char16_t* company, const char16_t* subKey) {
    return Open(out, [&] { return WithSubKey(MetricsPath(company, application, version), subKey); });
}

HRESULT QmMetric_OpenAppVersion(HQMMETRIC* out, const char16_t* path, const char16_t* subKey) {
    return Open(out, [&] { return WithSubKey(path ? path : u"", subKey); });
}

HRESULT QmMetric_OpenSubKey(HQMMETRIC* out, HQMMETRIC parent, const char16_t* subKey) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (parent == QMMETRIC_DEFAULT) parent = chosen ? chosen.load() : OwnHandle();
    if (!parent) return E_FAIL;
    return Open(out, [&] {
        const std::u16string path(parent->path);
        return WithSubKey(path.substr(0, path.find(METRICS)).append(METRICS), subKey);
    });
}

HRESULT QmMetric_Close(HQMMETRIC handle) {
    if (handle == QMMETRIC_DEFAULT) return E_INVALIDARG;
    delete handle;
    return S_OK;
}

HRESULT QmMetric_CloseAndDeleteKey(HQMMETRIC handle) {
    if (!handle || handle == QMMETRIC_DEFAULT) return E_INVALIDARG;
    const HRESULT hr = StoreDeleteKey(handle->path);
    QmMetric_Close(handle);
    return hr;
}

void QmMetric_SetDefault(HQMMETRIC handle) { chosen = handle == QMMETRIC_DEFAULT ? nullptr : handle; }

HRESULT QmMetric_DeleteKey(const char16_t* application, uint32_t version, const char16_t* subKey) {
    return QmMetric_DeleteKeyHiveAndVersion(application, version, METRIC_COMPANY, subKey);
}

HRESULT QmMetric_DeleteKeyHiveAndVersion(const char16_t* application, uint32_t version,
                                         const char16_t* company, const char16_t* subKey) {
    return Guarded(
        [&] { return StoreDeleteKey(WithSubKey(MetricsPath(company, application, version), subKey)); });
}

HRESULT QmMetric_DeleteAll(const char16_t* application, uint32_t version) {
    return QmMetric_DeleteAllHiveAndVersion(application, version, METRIC_COMPANY);
}

HRESULT QmMetric_DeleteAllHiveAndVersion(const char16_t* application, uint32_t version,
                                         const char16_t* company) {
    return Guarded([&] { return StoreDeleteKey(MetricsPath(company, application, version)); });
}

HRESULT QmMetric_DeleteUserMetrics(const char16_t* application, uint32_t version) {
    return Guarded([&] { return StoreDeleteKey(ApplicationPath(METRIC_COMPANY, application, version)); });
}

}  // extern "C"
