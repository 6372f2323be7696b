// Plug-ins of the tests, one for each PROBE: a small reader, and ones that fail in the ways in which plug-ins
// fail.
#include "fileio/plugin.h"
#include "platform/counted.h"
#include "platform/text.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <unistd.h>

using namespace tarn;

namespace {

enum Probe {
    SIGNED = 1,
    UNSIGNED,
    REFUSES,
    NONSENSE,
    SILENT,
    COMPOUND,
    ALOOF,
    OLD,
    CRASHES,
    HANGS,
    FORBIDDEN
};

// Each load leaves a mark, so that a test can count them.
__attribute__((constructor)) void Mark() {
    const char* file = std::getenv("TARN_PROBE_LOADS");
    if (std::FILE* out = file ? std::fopen(file, "a") : nullptr) {
        std::fputc('0' + PROBE, out);
        std::fclose(out);
    }
}

/// A file of "ACME" or "ZED!"; only its first bytes count.
class File final : public Counted<IQmReadFile, IID_IQmReadFile> {
public:
    HRESULT GetFormatName(char16_t* text, uint32_t capacity) override {
        return CopyText(text, capacity, u"Probe"), S_OK;
    }
    HRESULT GetStreamCount(uint32_t* count) override { return *count = 0, S_OK; }
    HRESULT GetStream(uint32_t, const GUID&, void** out) override { return *out = nullptr, E_INVALIDARG; }
    HRESULT GetMeta(const GUID&, void** out) override { return *out = nullptr, S_FALSE; }
};

class Reader final : public Counted<IQmReadFileClass, IID_IQmReadFileClass> {
public:
    HRESULT Start(uint32_t) override { return PROBE == REFUSES ? E_FAIL : S_OK; }
    HRESULT Recognize(const void* head, uint32_t bytes) override {
        return PROBE == SIGNED && bytes >= 4 && std::memcmp(head, "ACME", 4) == 0 ? S_OK : S_FALSE;
    }
    HRESULT OpenFile(int32_t descriptor, const char16_t* path, IQmReadFile** out) override {
        *out = nullptr;
        if (PROBE == COMPOUND && descriptor < 0)
            return std::u16string_view(path) == FIO_COMPOUND_PROBE ? S_OK : E_INVALIDARG;
        if (PROBE == ALOOF) return E_FAIL;
        char head[4] = {};
        if (::read(descriptor, head, sizeof head) != sizeof head) return E_FAIL;
        if (std::memcmp(head, PROBE == SIGNED ? "ACME" : PROBE == COMPOUND ? "BOTH" : "ZED!", 4) != 0)
            return E_FAIL;
        return GiveOut(new File, out);
    }
};

}  // namespace

QMFIOPLUG_EXPORT HRESULT QmFioPlug_GetInfo(uint32_t langId, FIOPLUGININFO* info) {
    if (PROBE == SILENT) return E_FAIL;
    info->api = PROBE == OLD ? 0 : FIO_PLUGIN_API;
    info->flags = FIO_PLUGIN_IN_PROCESS;
    if (PROBE == COMPOUND || PROBE == ALOOF) info->flags |= FIO_PLUGIN_COMPOUND;
    info->reader = Guid("{00000000-1111-2222-3333-444444444444}");
    info->reader.Data1 = PROBE;
    const std::string name = "Probe " + std::to_string(PROBE) + " in " + std::to_string(langId);
    CopyText(info->name, std::size(info->name), Utf16FromUtf8(name).c_str());
    CopyText(info->readExtensions, std::size(info->readExtensions), PROBE == SIGNED ? u"acme" : u"zed;dat");
    if (PROBE == NONSENSE)
        for (char16_t& c : info->name) c = u'x';
    return S_OK;
}

QMFIOPLUG_EXPORT HRESULT QmFioPlug_CreateClass(const GUID*, const GUID* iid, void** out) {
    *out = nullptr;
    return ComPtr(new Reader)->QueryInterface(*iid, out);
}
