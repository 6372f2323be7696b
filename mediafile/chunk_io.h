// Chunks of any container, read and written where a stream stands: the one walk under every function that
// knows chunks. What a container makes of ids, sizes, order of bytes and pads is its grammar's. STREAM reads,
// writes, seeks and cuts:
//   bool Read(void*, uint32_t bytes)            true when all was there; moves by what was
//   uint32_t ReadSome(void*, uint32_t bytes)    what was there
//   bool Write(const void*, uint32_t bytes)
//   int64_t Tell(), Size();  bool Seek(int64_t), SetEnd()
// Readers need no Write and no SetEnd. Labels are the bytes as they lie in the file.
#pragma once

#include "mediafile/byte_order.h"
#include "mediafile/chunk_grammar.h"
#include "mediafile/long_sizes.h"
#include "mediafile/media_codes.h"
#include "mediafile/riff.h"
#include "platform/memory.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tarn {

/// Puts the position back where it was when it ends.
template <class Stream>
class PositionKeeper {
public:
    explicit PositionKeeper(Stream stream) : m_stream(stream), m_position(stream.Tell()) {}
    ~PositionKeeper() { m_stream.Seek(m_position); }
    PositionKeeper(const PositionKeeper&) = delete;
    PositionKeeper& operator=(const PositionKeeper&) = delete;

private:
    Stream m_stream;
    int64_t m_position;
};

/// Moves everything behind `from` down to `to` and cuts the file there.
template <class Stream>
HRESULT MoveTailDown(Stream s, int64_t to, int64_t from) {
    constexpr uint32_t BLOCK = 4096;
    uint8_t block[BLOCK];
    for (;;) {
        if (!s.Seek(from)) return MEDIA_E_READ;
        const uint32_t got = s.ReadSome(block, BLOCK);
        if (!s.Seek(to) || (got && !s.Write(block, got))) return MEDIA_E_WRITE;
        from += got;
        to += got;
        if (got < BLOCK) return s.SetEnd() ? S_OK : MEDIA_E_WRITE;
    }
}

/// A header as it was read.
struct ChunkHead {
    uint8_t bytes[ChunkGrammar::LONGEST_HEADER] = {};
    uint64_t size = 0;     ///< of the payload
    bool isValid = false;  ///< a size that can be
};

template <class Stream>
class ChunkIo {
public:
    /// `longSizes`, which may be null and outlives this, has the sizes that chunks tell of elsewhere.
    ChunkIo(Stream stream, const ChunkGrammar& grammar, const LongSizes* longSizes = nullptr)
        : m_s(stream), m_g(grammar), m_longSizes(longSizes) {}

    bool Is(const ChunkHead& head, const void* label) const {
        return std::memcmp(head.bytes, label, m_g.sizeAt) == 0;
    }

    /// False on a short read.
    bool ReadHead(ChunkHead* head) {
        const bool read = m_s.Read(head->bytes, m_g.header);
        head->isValid = m_g.Payload(head->bytes, &head->size) && read;
        if (m_longSizes) head->size = m_longSizes->Of(head->bytes, head->size);
        if (head->size > uint64_t{INT64_MAX}) head->isValid = false;
        return read;
    }
    bool ReadHeadAt(uint64_t at, ChunkHead* head) {
        return at <= INT64_MAX && m_s.Seek(static_cast<int64_t>(at)) && ReadHead(head);
    }
    /// Over a payload and its pad; returns that count.
    uint64_t Skip(uint64_t size) {
        const uint64_t padded = m_g.Padded(size);
        Move(static_cast<int64_t>(std::min<uint64_t>(padded, INT64_MAX / 2)));
        return padded;
    }

    void SkipBytes(uint64_t count) { Move(static_cast<int64_t>(count)); }

    /// Payload here, all of it, and over the pad.
    HRESULT ReadData(void* buffer, uint32_t bytes) {
        if (!m_s.Read(buffer, bytes)) return MEDIA_E_READ;
        Move(static_cast<int64_t>(m_g.Padded(bytes) - bytes));
        return S_OK;
    }
    /// Ends behind `room` bytes and what `size` is more than a multiple of the pads.
    HRESULT ReadDataBounded(void* buffer, uint32_t room, uint32_t size) {
        const uint32_t read = std::min(room, size);
        if (!m_s.Read(buffer, read)) return MEDIA_E_READ;
        Move(int64_t{room} - read + size % m_g.multiple);
        return S_OK;
    }
    HRESULT ReadDataAlloc(RIFFDATABLOCK* block) {
        block->data = nullptr;
        if (block->size == 0) return S_OK;
        // A size that the file cannot have is no reason to ask for the memory.
        if (m_s.Size() - m_s.Tell() < int64_t{block->size}) return MEDIA_E_READ;
        block->data = MemAlloc(block->size);
        if (!block->data) return E_OUTOFMEMORY;
        const HRESULT hr = ReadData(block->data, block->size);
        if (Failed(hr)) MemFree(std::exchange(block->data, nullptr));
        return hr;
    }

    /// Forward from here; ends at the payload. `left`, which may be null, counts the bytes of the enclosing
    /// scope down, and without it the end of the file is the bound.
    HRESULT Find(const void* label, uint64_t* size, uint64_t* left) {
        uint64_t rest = left ? *left : uint64_t{INT64_MAX};
        for (;;) {
            if (left && IsBelowHeader(rest)) return *left = rest, MEDIA_E_NOT_FOUND;
            ChunkHead head;
            if (!ReadHead(&head)) return MEDIA_E_READ;
            if (!head.isValid) head.size = 0;
            rest = Less(rest, m_g.header);
            if (Is(head, label)) {
                *size = head.size;
                if (left) *left = rest;
                return S_OK;
            }
            rest = Less(rest, Skip(head.size));
        }
    }
    /// Ends behind the list's type; the size is without it.
    HRESULT FindList(const void* type, uint64_t* size, uint64_t* left) {
        for (;;) {
            uint64_t length = 0;
            if (const HRESULT hr = Find(m_g.list, &length, left); Failed(hr)) return hr;
            if (left && *left < m_g.leastForType) return MEDIA_E_NOT_FOUND;
            uint8_t found[16];
            if (!m_s.Read(found, m_g.type)) return MEDIA_E_READ;
            if (left) *left = Less(*left, m_g.type);
            if (std::memcmp(found, type, m_g.type) == 0) return *size = Less(length, m_g.type), S_OK;
            const uint64_t rest = Less(m_g.Padded(length), m_g.type);
            Move(static_cast<int64_t>(std::min<uint64_t>(rest, INT64_MAX / 2)));
            if (left) *left = Less(*left, rest);
        }
    }
    /// Number of chunks from here; the position stays.
    HRESULT Count(uint32_t* count, const uint64_t* left) {
        const PositionKeeper keeper(m_s);
        *count = 0;
        uint64_t rest = left ? *left : uint64_t{INT64_MAX};
        while (!IsBelowHeader(rest)) {
            ChunkHead head;
            if (!ReadHead(&head)) return left ? MEDIA_E_READ : S_OK;
            const uint64_t taken = m_g.header + Skip(head.isValid ? head.size : 0);
            if (left) rest = Less(rest, taken);
            ++*count;
        }
        return S_OK;
    }
    /// Over so many chunks.
    HRESULT SeekEntry(uint32_t entry, uint64_t* left) {
        for (; entry > 0; entry--) {
            if (left && IsBelowHeader(*left)) return MEDIA_E_NOT_FOUND;
            ChunkHead head;
            if (!ReadHead(&head)) return MEDIA_E_NOT_FOUND;
            const uint64_t taken = m_g.header + Skip(head.isValid ? head.size : 0);
            if (left) *left = Less(*left, taken);
        }
        return S_OK;
    }

    /// The form's head from the start of the file: its label, the bytes behind the type, the type. A file
    /// that is too short for a label is none.
    HRESULT ReadForm(uint64_t* size, void* type) {
        return m_s.Seek(0) ? ReadFormHere(size, type) : MEDIA_E_READ;
    }
    HRESULT ReadFormHere(uint64_t* size, void* type) {
        ChunkHead head;
        *size = 0;
        const bool read = ReadHead(&head);
        if (!read && m_g.sizeBytes == 4) return MEDIA_E_READ;
        if (!Is(head, m_g.form)) return MEDIA_E_NO_RIFF;
        if (!m_s.Read(type, m_g.type)) return MEDIA_E_READ;
        *size = Less(head.isValid ? head.size : 0, m_g.type);
        return S_OK;
    }
    HRESULT ReadListHead(void* type, uint64_t* size) {
        ChunkHead head;
        if (!ReadHead(&head)) return MEDIA_E_READ;
        if (!Is(head, m_g.list)) return MEDIA_E_NO_LIST;
        if (!m_s.Read(type, m_g.type)) return MEDIA_E_READ;
        *size = Less(head.isValid ? head.size : 0, m_g.type);
        return S_OK;
    }
    /// Among the chunks of the form, from its first.
    HRESULT FindInForm(const void* label, uint64_t* size, uint64_t* left) {
        uint64_t rest = 0;
        uint8_t type[16];
        if (const HRESULT hr = ReadForm(&rest, type); Failed(hr)) return hr;
        const HRESULT hr = Find(label, size, &rest);
        if (left) *left = rest;
        return hr;
    }
    HRESULT FindListInForm(const void* listType, uint64_t* size) {
        uint64_t rest = 0;
        uint8_t type[16];
        if (const HRESULT hr = ReadForm(&rest, type); Failed(hr)) return hr;
        return FindList(listType, size, &rest);
    }

    bool WriteHead(const void* label, uint64_t size) {
        uint8_t head[ChunkGrammar::LONGEST_HEADER];
        m_g.MakeHead(head, label, size);
        return m_s.Write(head, m_g.header);
    }
    /// `size` as it is to be stored; the type behind it.
    bool WriteListHead(const void* type, uint64_t size) {
        return WriteHead(m_g.list, size) && m_s.Write(type, m_g.type);
    }
    bool WritePad(uint64_t size) {
        constexpr uint8_t ZEROS[8] = {};
        return m_s.Write(ZEROS, static_cast<uint32_t>(m_g.Padded(size) - size));
    }
    bool WriteBytes(const void* bytes, uint64_t size) {
        constexpr uint32_t MOST = 1u << 30;
        const auto* from = static_cast<const uint8_t*>(bytes);
        for (uint64_t rest = size; rest > 0;) {
            const auto part = static_cast<uint32_t>(std::min<uint64_t>(rest, MOST));
            if (!m_s.Write(from, part)) return false;
            from += part;
            rest -= part;
        }
        return true;
    }
    bool WritePayload(const void* bytes, uint64_t size) { return WriteBytes(bytes, size) && WritePad(size); }
    bool Write(const void* label, const void* bytes, uint64_t size) {
        return WriteHead(label, size) && WritePayload(bytes, size);
    }

    /// The size in the form's header as it stands there; the position stays.
    bool StoredFormSize(uint64_t* stored) {
        const PositionKeeper keeper(m_s);
        uint8_t bytes[8] = {};
        if (!m_s.Seek(m_g.sizeAt) || !m_s.Read(bytes, m_g.sizeBytes)) return false;
        *stored = m_g.ReadSize(bytes);
        return true;
    }
    bool StoreFormSize(uint64_t stored) {
        const PositionKeeper keeper(m_s);
        uint8_t bytes[8];
        m_g.WriteSize(bytes, stored);
        return m_s.Seek(m_g.sizeAt) && m_s.Write(bytes, m_g.sizeBytes);
    }
    /// Adds to the form's size. Where 32 bits do not hold it the file is cut to its old size.
    HRESULT AddToFormSize(int64_t delta) {
        uint64_t old = 0;
        if (!StoredFormSize(&old)) return MEDIA_E_READ;
        if (m_g.sizeBytes == 8)
            return StoreFormSize(old + static_cast<uint64_t>(delta)) ? S_OK : MEDIA_E_WRITE;
        int64_t size = 0;
        if (__builtin_add_overflow(static_cast<int64_t>(old), delta, &size)) size = delta < 0 ? 0 : INT64_MAX;
        if (size > int64_t{RIFF_LARGEST}) {
            const PositionKeeper keeper(m_s);
            m_s.Seek(static_cast<int64_t>(old + m_g.header));
            m_s.SetEnd();
            return MEDIA_E_TOO_LARGE;
        }
        return StoreFormSize(static_cast<uint64_t>(std::max<int64_t>(size, 0))) ? S_OK : MEDIA_E_WRITE;
    }

    /// The chunk whose payload was just found, `headBytes` behind its start, is taken out.
    HRESULT DeleteFound(uint64_t size, uint32_t headBytes, uint64_t* removed) {
        const int64_t start = m_s.Tell() - headBytes;
        auto amount = static_cast<int64_t>(std::min<uint64_t>(m_g.Padded(size), INT64_MAX / 2)) + headBytes;
        // The size of a RIFF form falls by what the chunk tells, so that it fits a file that was cut there.
        if (m_g.sizeBytes == 8 || m_g.IsAiff()) amount = std::min(amount, m_s.Size() - start);
        if (const HRESULT hr = MoveTailDown(m_s, start, start + amount); Failed(hr)) return hr;
        if (const HRESULT hr = AddToFormSize(-amount); Failed(hr)) return hr;
        if (removed) *removed = static_cast<uint64_t>(amount);
        return S_OK;
    }
    HRESULT Delete(const void* label, uint64_t* removed) {
        uint64_t size = 0;
        const HRESULT hr = FindInForm(label, &size, nullptr);
        return Failed(hr) ? hr : DeleteFound(size, m_g.header, removed);
    }
    HRESULT DeleteList(const void* type, uint64_t* removed) {
        uint64_t size = 0;
        const HRESULT hr = FindListInForm(type, &size);
        return Failed(hr) ? hr : DeleteFound(size, m_g.header + m_g.type, removed);
    }

private:
    static uint64_t Less(uint64_t size, uint64_t by) { return size - std::min(size, by); }
    /// Below 0 or below a header, in signed numbers.
    bool IsBelowHeader(uint64_t left) const {
        return static_cast<int64_t>(left) < static_cast<int64_t>(m_g.header);
    }
    void Move(int64_t bytes) { m_s.Seek(m_s.Tell() + bytes); }

    Stream m_s;
    const ChunkGrammar& m_g;
    const LongSizes* m_longSizes;
};

}  // namespace tarn
