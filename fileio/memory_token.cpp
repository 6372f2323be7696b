#include "fileio/memory_token.h"

#include "platform/memory.h"

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace tarn {

namespace {

uint32_t OwnProcess() { return static_cast<uint32_t>(::getpid()); }

bool IsPossible(const _qmmemorytoken& t) { return t.size >= 0 && t.offset >= 0 && t.offset <= INT32_MAX; }

uint32_t OrBoth(uint32_t flags) { return flags ? flags : QMMEMORY_COPY_IN | QMMEMORY_COPY_OUT; }

/// Another process's open file as one of ours; -1 where the system does not permit it.
int MemoryFileOf(uint32_t process, uint64_t handle) {
    const auto pid = static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(process), 0));
    if (pid < 0) return -1;
    const auto file = static_cast<int>(::syscall(SYS_pidfd_getfd, pid, static_cast<int>(handle), 0));
    ::close(pid);
    return file;
}

iovec Stretch(void* at, size_t size) { return {at, size}; }
void* RemoteAddress(const _qmmemorytoken& t) {
    return reinterpret_cast<void*>(t.base + static_cast<uint64_t>(t.offset));
}

}  // namespace

_qmmemorytoken PlainMemoryToken(void* data, uint32_t size) {
    return {0,
            reinterpret_cast<uint64_t>(data),
            static_cast<int32_t>(size),
            static_cast<int32_t>(size),
            0,
            QMMEMORY_PLAIN,
            OwnProcess()};
}

CMappingOfQmMemoryToken::CMappingOfQmMemoryToken(const _qmmemorytoken& token, uint32_t flags, int descriptor)
    : m_token(token), m_flags(OrBoth(flags)) {
    if (!IsPossible(token)) return;
    if (token.processId == OwnProcess()) {
        m_pointer = RemoteAddress(token);
        return;
    }
    if (token.kind == QMMEMORY_MAPPING) {
        const int own = descriptor >= 0 ? -1 : MemoryFileOf(token.processId, token.handle);
        MapFile(descriptor >= 0 ? descriptor : own);
        if (own >= 0) ::close(own);
        return;
    }
    const auto size = static_cast<size_t>(token.size);
    void* block = MemAlloc(size);
    if (!block) return;
    if (m_flags & QMMEMORY_COPY_IN) {
        const iovec here = Stretch(block, size), there = Stretch(RemoteAddress(token), size);
        if (::process_vm_readv(static_cast<pid_t>(token.processId), &here, 1, &there, 1, 0) !=
            static_cast<ssize_t>(size)) {
            MemFree(block);
            return;
        }
    }
    m_isBlock = true;
    m_pointer = block;
}

void CMappingOfQmMemoryToken::MapFile(int descriptor) {
    const size_t bytes = static_cast<size_t>(m_token.size) + static_cast<size_t>(m_token.offset);
    struct stat status {};
    // Beyond the file's end there is memory that ends the process which touches it.
    if (bytes == 0 || ::fstat(descriptor, &status) != 0 || status.st_size < static_cast<off_t>(bytes)) return;
    const int access = PROT_READ | (m_flags & QMMEMORY_COPY_OUT ? PROT_WRITE : 0);
    void* mapped = ::mmap(nullptr, bytes, access, MAP_SHARED, descriptor, 0);
    if (mapped == MAP_FAILED) return;
    m_mapped = mapped;
    m_mappedBytes = bytes;
    m_pointer = static_cast<uint8_t*>(mapped) + m_token.offset;
}

HRESULT CMappingOfQmMemoryToken::GetPointer(void** out) const {
    if (!out) return E_POINTER;
    *out = m_pointer;
    return m_pointer ? S_OK : E_FAIL;
}

uint32_t CMappingOfQmMemoryToken::DataSize() const {
    return m_pointer ? static_cast<uint32_t>(m_token.size) : 0;
}

HRESULT CMappingOfQmMemoryToken::Close() { return m_pointer ? Dispose() : S_OK; }

HRESULT CMappingOfQmMemoryToken::Dispose() {
    HRESULT hr = S_OK;
    if (m_mapped) ::munmap(m_mapped, m_mappedBytes);
    if (m_isBlock) {
        const auto size = static_cast<size_t>(m_token.size);
        const iovec here = Stretch(m_pointer, size), there = Stretch(RemoteAddress(m_token), size);
        if ((m_flags & QMMEMORY_COPY_OUT) &&
            ::process_vm_writev(static_cast<pid_t>(m_token.processId), &here, 1, &there, 1, 0) !=
                static_cast<ssize_t>(size))
            hr = E_FAIL;
        MemFree(m_pointer);
    }
    m_isBlock = false;
    m_pointer = m_mapped = nullptr;
    return hr;
}

COutOfProcessMemoryToken::COutOfProcessMemoryToken(const _qmmemorytoken& token, uint32_t flags,
                                                   bool isUserHere)
    : m_source(token), m_flags(OrBoth(flags)), m_shared(token) {
    if (token.kind == QMMEMORY_MAPPING || isUserHere) {
        m_isGood = true;
        return;
    }
    if (!IsPossible(token) || token.size == 0) return;
    const auto size = static_cast<size_t>(token.size);
    const int made = ::memfd_create("tarn-memory", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    // Above the numbers that stand for none and for the standard streams.
    m_file = made < 0 ? -1 : ::fcntl(made, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (made >= 0) ::close(made);
    // The other side must not be able to take memory away that this one looks at.
    if (m_file < 0 || ::ftruncate(m_file, token.size) != 0 ||
        ::fcntl(m_file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        return;
    void* mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, m_file, 0);
    if (mapped == MAP_FAILED) return;
    m_mapped = mapped;
    m_shared = {static_cast<uint64_t>(m_file),
                reinterpret_cast<uint64_t>(mapped),
                token.size,
                token.size,
                0,
                QMMEMORY_MAPPING,
                OwnProcess()};
    m_isGood = true;
    if (!(m_flags & QMMEMORY_COPY_IN)) return;
    const CMappingOfQmMemoryToken from(m_source, QMMEMORY_COPY_IN), to(m_shared);
    m_isGood = from.Pointer() && to.Pointer() && from.DataSize() == to.DataSize();
    if (m_isGood) std::memcpy(to.Pointer(), from.Pointer(), from.DataSize());
}

COutOfProcessMemoryToken::~COutOfProcessMemoryToken() {
    if (m_mapped && m_isGood && (m_flags & QMMEMORY_COPY_OUT)) {
        const CMappingOfQmMemoryToken from(m_shared), to(m_source, QMMEMORY_COPY_OUT);
        if (from.Pointer() && to.Pointer() && from.DataSize() == to.DataSize())
            std::memcpy(to.Pointer(), from.Pointer(), from.DataSize());
    }
    if (m_mapped) ::munmap(m_mapped, static_cast<size_t>(m_shared.size));
    if (m_file >= 0) ::close(m_file);
}

HRESULT COutOfProcessMemoryToken::GetMemoryToken(_qmmemorytoken* token) const {
    if (!token) return E_POINTER;
    if (!m_isGood) return E_FAIL;
    *token = m_shared;
    return S_OK;
}

}  // namespace tarn
