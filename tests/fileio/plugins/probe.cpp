// Plug-ins of the tests, one for each PROBE: a small reader, and ones that fail in the ways in which plug-ins
// fail.
#include "fileio/plugin.h"
#include "platform/counted.h"
#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace tarn;

namespace {

enum Probe { SIGNED = 1, UNSIGNED, REFUSES, NONSENSE, SILENT, COMPOUND, ALOOF, OLD, APART, CRASHES, HANGS };

// Each load leaves a mark, so that a test can count them.
__attribute__((constructor)) void Mark() {
    const char* file = std::getenv("TARN_PROBE_LOADS");
    if (std::FILE* out = file ? std::fopen(file, "a") : nullptr) {
        std::fputc('0' + PROBE, out);
        std::fclose(out);
    }
}

/// Tells of more than there is, and ends no text.
class Lies : public Counted<IQmReadAudioStream, IID_IQmReadStream, IID_IQmReadAudioStream> {
public:
    HRESULT GetType(uint32_t* type) override { return *type = UINT32_MAX, S_OK; }
    HRESULT GetName(char16_t* text, uint32_t capacity) override {
        return std::fill_n(text, capacity, u'x'), S_OK;
    }
    HRESULT GetFormat(_qmwaveformat* format, uint32_t capacity) override {
        return format->Init(48000, QMSAMPLE_PCM16, 2, 0, capacity), S_OK;
    }
    HRESULT GetFrames(uint64_t* frames) override { return *frames = UINT64_MAX, S_OK; }
    HRESULT Read(uint64_t, uint32_t, void*, uint32_t* got) override { return *got = UINT32_MAX, S_OK; }
};

/// Its samples lie where there is no file.
class LiesOfPlace final : public Lies, public IQmReadStoredAudio {
public:
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        if (iid != IID_IQmReadStoredAudio) return Lies::QueryInterface(iid, out);
        *out = static_cast<IQmReadStoredAudio*>(this);
        return AddRef(), S_OK;
    }
    uint32_t AddRef() override { return Lies::AddRef(); }
    uint32_t Release() override { return Lies::Release(); }
    HRESULT GetPlace(uint64_t* offset, uint64_t* frames) override {
        return *offset = uint64_t{1} << 40, *frames = UINT64_MAX, S_OK;
    }
};

/// A file of "ACME" or "ZED!"; only its first bytes count.
class File final : public Counted<IQmReadFile, IID_IQmReadFile> {
public:
    explicit File(bool lies = false) : m_lies(lies) {}
    HRESULT GetFormatName(char16_t* text, uint32_t capacity) override {
        if (m_lies) return std::fill_n(text, capacity, u'x'), S_OK;
        return CopyText(text, capacity, u"Probe"), S_OK;
    }
    HRESULT GetStreamCount(uint32_t* count) override { return *count = m_lies ? UINT32_MAX : 0, S_OK; }
    HRESULT GetStream(uint32_t index, const GUID& iid, void** out) override {
        *out = nullptr;
        if (!m_lies) return E_INVALIDARG;
        if (index == 2) return ComPtr<Lies>(new LiesOfPlace)->QueryInterface(iid, out);
        return index == 1 ? ComPtr(new Lies)->QueryInterface(iid, out) : S_OK;
    }
    HRESULT GetMeta(const GUID&, void** out) override { return *out = nullptr, m_lies ? S_OK : S_FALSE; }

private:
    const bool m_lies;
};

/// Ends the process, never ends, or tries what a surrogate must not.
bool Misbehaves(const char* head) {
    if (std::memcmp(head, "BOOM", 4) == 0) std::abort();
    if (std::memcmp(head, "LOOP", 4) == 0)
        for (volatile bool isForever = true; isForever;) {
        }
    if (std::memcmp(head, "TRYS", 4) != 0) return false;
    char* const none[] = {nullptr};
    const bool isFree =
        ::socket(AF_INET, SOCK_STREAM, 0) >= 0 || ::kill(::getppid(), 0) == 0 || ::fork() >= 0 ||
        ::execve("/bin/true", none, none) == 0 || ::open("/dev/null", O_WRONLY) >= 0 ||
        ::open("/tmp/tarn-probe", O_RDONLY | O_CREAT, 0600) >= 0 || ::unlink("/tmp/none") == 0 ||
        errno == ENOENT || ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
    return isFree;
}

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
        if (std::memcmp(head, "LIES", 4) == 0) return GiveOut(new File(true), out);
        if (PROBE == APART && std::memcmp(head, "ZED!", 4) != 0)
            return Misbehaves(head) || std::memcmp(head, "TRYS", 4) != 0 ? E_FAIL : GiveOut(new File, out);
        if (std::memcmp(head, PROBE == SIGNED ? "ACME" : PROBE == COMPOUND ? "BOTH" : "ZED!", 4) != 0)
            return E_FAIL;
        return GiveOut(new File, out);
    }
};

}  // namespace

QMFIOPLUG_EXPORT HRESULT QmFioPlug_GetInfo(uint32_t langId, FIOPLUGININFO* info) {
    if (PROBE == SILENT) return E_FAIL;
    if (PROBE == CRASHES) std::abort();
    if (PROBE == HANGS) ::pause();
    info->api = PROBE == OLD ? 0 : FIO_PLUGIN_API;
    if (PROBE != APART) info->flags |= FIO_PLUGIN_IN_PROCESS;
    if (PROBE == COMPOUND || PROBE == ALOOF) info->flags |= FIO_PLUGIN_COMPOUND;
    info->reader = Guid("{00000000-1111-2222-3333-444444444444}");
    info->reader.Data1 = PROBE;
    // Copies of it are plug-ins of their own.
    Dl_info own{};
    if (PROBE == APART && ::dladdr(reinterpret_cast<void*>(&Mark), &own))
        info->reader.Data2 = static_cast<uint16_t>(std::atoi(std::strrchr(own.dli_fname, '-') + 1));
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
