// Memory of one process for the use of another.
#pragma once

#include "platform/types.h"

struct _qmmemorytoken {
    uint64_t handle;  ///< of kind MAPPING the owner's descriptor; else 0
    uint64_t base;    ///< in the owner's address space
    int32_t size;     ///< of the data
    int32_t capacity;
    int64_t offset;  ///< from the base to the data
    uint32_t kind;
    uint32_t processId;  ///< the owner's
};
static_assert(sizeof(_qmmemorytoken) == 40 && offsetof(_qmmemorytoken, offset) == 24);

enum QMMEMORY_KIND : uint32_t { QMMEMORY_PLAIN, QMMEMORY_MAPPING };

/// What happens to the content; both where neither is told.
inline constexpr uint32_t QMMEMORY_COPY_OUT = 2;  ///< to the owner at the end
inline constexpr uint32_t QMMEMORY_COPY_IN = 4;   ///< to the user at the start
inline constexpr uint32_t QMMEMORY_COPY_NONE = 1;

namespace tarn {

/// Of this process's memory.
QM_API _qmmemorytoken PlainMemoryToken(void* data, uint32_t size);

/// The user's side. In the owner's process it is the memory itself. Elsewhere a mapping is mapped, and plain
/// memory is copied in and out as the flags tell, which the system permits a parent and those that trace.
/// One thread at a time.
class QM_API CMappingOfQmMemoryToken {
public:
    /// A descriptor that came along with the token stands in for the owner's; it stays the caller's.
    explicit CMappingOfQmMemoryToken(const _qmmemorytoken& token, uint32_t flags = 0, int descriptor = -1);
    ~CMappingOfQmMemoryToken() { Close(); }
    CMappingOfQmMemoryToken(const CMappingOfQmMemoryToken&) = delete;
    CMappingOfQmMemoryToken& operator=(const CMappingOfQmMemoryToken&) = delete;

    /// E_FAIL and null where the memory cannot be reached.
    HRESULT GetPointer(void** out) const;
    void* Pointer() const { return m_pointer; }
    uint32_t DataSize() const;
    /// Dispose, once.
    HRESULT Close();
    /// Gives the content back where that is asked for, and lets go. E_FAIL where it could not be given back.
    HRESULT Dispose();

private:
    void MapFile(int descriptor);

    const _qmmemorytoken m_token;
    const uint32_t m_flags;
    void* m_pointer = nullptr;
    void* m_mapped = nullptr;
    size_t m_mappedBytes = 0;
    bool m_isBlock = false;
};

/// The owner's side: makes memory that the other process can map, and copies the content of a plain token to
/// it and back. A mapping is passed on as it is, and so is plain memory whose user is in this process. One
/// thread at a time.
class QM_API COutOfProcessMemoryToken {
public:
    explicit COutOfProcessMemoryToken(const _qmmemorytoken& token, uint32_t flags = 0,
                                      bool isUserHere = false);
    ~COutOfProcessMemoryToken();
    COutOfProcessMemoryToken(const COutOfProcessMemoryToken&) = delete;
    COutOfProcessMemoryToken& operator=(const COutOfProcessMemoryToken&) = delete;

    /// E_FAIL where the memory could not be made or the content not copied.
    HRESULT GetMemoryToken(_qmmemorytoken* token) const;

private:
    const _qmmemorytoken m_source;
    const uint32_t m_flags;
    _qmmemorytoken m_shared;
    int m_file = -1;
    void* m_mapped = nullptr;
    bool m_isGood = false;
};

}  // namespace tarn
