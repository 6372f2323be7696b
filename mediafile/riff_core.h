// What the file and the memory family of RIFF functions share. STREAM reads, writes, seeks and cuts:
//   bool Read(void*, uint32_t bytes)            true when all was there; moves by what was
//   uint32_t ReadSome(void*, uint32_t bytes)    what was there
//   bool Write(const void*, uint32_t bytes)
//   int64_t Tell(), Size();  bool Seek(int64_t), SetEnd()
#pragma once

#include "mediafile/byte_order.h"
#include "mediafile/riff.h"
#include "platform/memory.h"
#include "platform/text.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <utility>

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

template <class Stream>
class Riff {
public:
    explicit Riff(Stream stream) : m_s(stream) {}

    static uint64_t Padded(uint32_t size) { return uint64_t{size} + (size & 1); }

    uint32_t SkipChunk(uint32_t size) {
        Move(static_cast<int64_t>(Padded(size)));
        return static_cast<uint32_t>(std::min<uint64_t>(Padded(size), UINT32_MAX));
    }

    HRESULT ReadData(void* buffer, uint32_t bytes) {
        if (!m_s.Read(buffer, bytes)) return MEDIA_E_READ;
        Move(bytes & 1);
        return S_OK;
    }
    HRESULT ReadDataBounded(void* buffer, uint32_t room, uint32_t size) {
        const uint32_t read = std::min(room, size);
        if (!m_s.Read(buffer, read)) return MEDIA_E_READ;
        Move(int64_t{room} - read + (size & 1));
        return S_OK;
    }
    HRESULT ReadDataAlloc(RIFFDATABLOCK* block) {
        block->data = nullptr;
        if (block->size == 0) return S_OK;
        // A size that the file cannot have is no reason to ask for the memory.
        if (m_s.Size() - m_s.Tell() < int64_t{block->size}) return MEDIA_E_READ;
        block->data = tarn::MemAlloc(block->size);
        if (!block->data) return E_OUTOFMEMORY;
        const HRESULT hr = ReadData(block->data, block->size);
        if (tarn::Failed(hr)) tarn::MemFree(std::exchange(block->data, nullptr));
        return hr;
    }

    HRESULT SetRiffSize(uint32_t size) {
        const PositionKeeper keeper(m_s);
        return m_s.Seek(4) && WriteWord(size) ? S_OK : MEDIA_E_WRITE;
    }
    HRESULT GetFileSize(uint32_t* size) {
        *size = 0;
        if (!m_s.Seek(0)) return MEDIA_E_READ;
        uint32_t stored = 0, form = 0;
        if (const HRESULT hr = ReadFileHeader(&stored, &form); tarn::Failed(hr)) return hr;
        *size = stored > UINT32_MAX - 4 ? UINT32_MAX : stored + 4;
        return S_OK;
    }
    HRESULT UpdateRiffSize(int64_t delta) {
        const PositionKeeper keeper(m_s);
        uint32_t old = 0;
        if (!m_s.Seek(4) || !ReadWord(&old)) return MEDIA_E_READ;
        int64_t size = 0;
        if (__builtin_add_overflow(int64_t{old}, delta, &size)) size = delta < 0 ? 0 : INT64_MAX;
        if (size > int64_t{RIFF_LARGEST}) {
            m_s.Seek(int64_t{old} + 8);
            m_s.SetEnd();
            return MEDIA_E_TOO_LARGE;
        }
        m_s.Seek(4);
        return WriteWord(static_cast<uint32_t>(std::max<int64_t>(size, 0))) ? S_OK : MEDIA_E_WRITE;
    }

    HRESULT WriteChunkHeader(uint32_t id, uint32_t size) {
        return WriteWord(id) && WriteWord(size) ? S_OK : MEDIA_E_WRITE;
    }
    HRESULT WriteChunk(uint32_t id, const void* buffer, uint32_t size, uint32_t* written) {
        if (tarn::Failed(WriteChunkHeader(id, size)) || !m_s.Write(buffer, size) || !WritePad(size))
            return MEDIA_E_WRITE;
        if (written)
            *written =
                static_cast<uint32_t>(std::min<uint64_t>(Padded(size) + RIFF_CHUNK_HEADER, UINT32_MAX));
        return S_OK;
    }
    HRESULT WriteListHeader(uint32_t type, uint32_t size) {
        return tarn::Succeeded(WriteChunkHeader(LIST, size)) && WriteWord(type) ? S_OK : MEDIA_E_WRITE;
    }
    HRESULT WriteFileId(uint32_t form, uint32_t size) {
        WriteChunkHeader(RIFF, size);
        return WriteWord(form) ? S_OK : MEDIA_E_WRITE;
    }

    HRESULT ReadChunkHeader(uint32_t* id, uint32_t* size) {
        return ReadWord(id) && ReadWord(size) ? S_OK : MEDIA_E_READ;
    }
    HRESULT ReadListHeader(uint32_t* type, uint32_t* size) {
        uint32_t id = 0, stored = 0;
        if (tarn::Failed(ReadChunkHeader(&id, &stored))) return MEDIA_E_READ;
        if (id != LIST) return MEDIA_E_NO_LIST;
        if (!ReadWord(type)) return MEDIA_E_READ;
        *size = WithoutType(stored);
        return S_OK;
    }
    HRESULT ReadFileId(uint32_t* size, uint32_t* form) {
        *size = 0;
        uint32_t stored = 0;
        if (const HRESULT hr = ReadFileHeader(&stored, form); tarn::Failed(hr)) return hr;
        *size = WithoutType(stored);
        return S_OK;
    }

    HRESULT SeekDataStart() { return m_s.Seek(RIFF_DATA_START) ? S_OK : MEDIA_E_READ; }

    HRESULT FindChunkHeader(uint32_t id, uint32_t* size, uint32_t* remaining) {
        uint32_t left = remaining ? *remaining : 0;
        for (;;) {
            if (remaining && left < RIFF_CHUNK_HEADER) {
                *remaining = left;
                return MEDIA_E_NOT_FOUND;
            }
            uint32_t found = 0, length = 0;
            if (tarn::Failed(ReadChunkHeader(&found, &length))) return MEDIA_E_READ;
            left -= std::min(left, RIFF_CHUNK_HEADER);
            if (found == id) {
                *size = length;
                if (remaining) *remaining = left;
                return S_OK;
            }
            left -= std::min(left, SkipChunk(length));
        }
    }
    HRESULT FindChunkHeaderInRiff(uint32_t id, uint32_t* size, uint32_t* remaining) {
        uint32_t left = 0, form = 0;
        if (!m_s.Seek(0)) return MEDIA_E_READ;
        if (const HRESULT hr = ReadFileId(&left, &form); tarn::Failed(hr)) return hr;
        const HRESULT hr = FindChunkHeader(id, size, &left);
        if (remaining) *remaining = left;
        return hr;
    }

    HRESULT FindListChunk(uint32_t type, uint32_t* size, uint32_t* remaining) {
        for (;;) {
            uint32_t length = 0;
            if (const HRESULT hr = FindChunkHeader(LIST, &length, remaining); tarn::Failed(hr)) return hr;
            if (remaining && *remaining < 4) return MEDIA_E_NOT_FOUND;
            uint32_t found = 0;
            if (!ReadWord(&found)) return MEDIA_E_READ;
            if (remaining) *remaining -= 4;
            if (found == type) {
                *size = WithoutType(length);
                return S_OK;
            }
            const uint64_t rest = std::max<uint64_t>(Padded(length), 4) - 4;
            Move(static_cast<int64_t>(rest));
            if (remaining) *remaining -= static_cast<uint32_t>(std::min<uint64_t>(*remaining, rest));
        }
    }
    HRESULT FindListChunkFromStart(uint32_t type, uint32_t* size) {
        uint32_t left = 0, form = 0;
        if (!m_s.Seek(0)) return MEDIA_E_READ;
        if (const HRESULT hr = ReadFileId(&left, &form); tarn::Failed(hr)) return hr;
        return FindListChunk(type, size, &left);
    }

    HRESULT GetNumListEntries(uint32_t* count, const uint32_t* remaining) {
        const PositionKeeper keeper(m_s);
        *count = 0;
        uint32_t left = remaining ? *remaining : UINT32_MAX, id = 0, size = 0;
        while (left >= RIFF_CHUNK_HEADER) {
            if (tarn::Failed(ReadChunkHeader(&id, &size))) return remaining ? MEDIA_E_READ : S_OK;
            left -= RIFF_CHUNK_HEADER;
            const uint32_t skipped = SkipChunk(size);
            left = remaining ? left - std::min(left, skipped) : UINT32_MAX;
            ++*count;
        }
        return S_OK;
    }
    HRESULT SeekListEntry(uint32_t entry, uint32_t* remaining) {
        for (; entry > 0; entry--) {
            if (remaining && *remaining < RIFF_CHUNK_HEADER) return MEDIA_E_NOT_FOUND;
            uint32_t id = 0, size = 0;
            if (tarn::Failed(ReadChunkHeader(&id, &size))) return MEDIA_E_NOT_FOUND;
            const uint32_t skipped = SkipChunk(size);
            if (!remaining) continue;
            *remaining -= RIFF_CHUNK_HEADER;
            *remaining -= std::min(*remaining, skipped);
        }
        return S_OK;
    }

    HRESULT DeleteChunk(uint32_t id, uint32_t* removed, bool isList) {
        uint32_t size = 0;
        const HRESULT found =
            isList ? FindListChunkFromStart(id, &size) : FindChunkHeaderInRiff(id, &size, nullptr);
        if (tarn::Failed(found)) return found;
        const uint32_t header = RIFF_CHUNK_HEADER + (isList ? 4 : 0);
        const int64_t start = m_s.Tell() - header;
        const auto amount = static_cast<int64_t>(Padded(size)) + header;
        if (const HRESULT hr = MoveTailDown(m_s, start, start + amount); tarn::Failed(hr)) return hr;
        if (const HRESULT hr = UpdateRiffSize(-amount); tarn::Failed(hr)) return hr;
        if (removed) *removed = static_cast<uint32_t>(std::min<int64_t>(amount, UINT32_MAX));
        return S_OK;
    }

    HRESULT WriteAnsiString(const char16_t* text, uint32_t* written) try {
        const std::string ansi =
            tarn::Windows1252FromUtf16(text ? std::u16string_view(text) : std::u16string_view());
        const auto bytes = static_cast<uint32_t>(ansi.size() + 1);
        if (!m_s.Write(ansi.c_str(), bytes) || !WritePad(bytes)) return MEDIA_E_WRITE;
        if (written) *written = static_cast<uint32_t>(Padded(bytes));
        return S_OK;
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
    HRESULT ReadAnsiString(char16_t* text, uint32_t capacity, uint32_t* size) try {
        if (!text || !size || capacity == 0) return E_INVALIDARG;
        const int64_t start = m_s.Tell();
        std::string ansi(std::min<int64_t>({*size, capacity, std::max<int64_t>(m_s.Size() - start, 0)}),
                         '\0');
        const bool isCut = ansi.size() < std::min(*size, capacity);
        if (isCut || !m_s.Read(ansi.data(), static_cast<uint32_t>(ansi.size()))) return MEDIA_E_READ;
        if (!ansi.empty()) ansi.back() = '\0';
        tarn::CopyText(text, capacity, tarn::Utf16FromWindows1252(ansi.c_str()).c_str());
        m_s.Seek(start + static_cast<int64_t>(Padded(*size)));
        ++*size;
        return S_OK;
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }

protected:
    static constexpr uint32_t RIFF = FourCC("RIFF"), LIST = FourCC("LIST");

    static uint32_t WithoutType(uint32_t size) { return size - std::min(size, 4u); }

    void Move(int64_t bytes) { m_s.Seek(m_s.Tell() + bytes); }
    bool ReadWord(uint32_t* value) {
        uint8_t bytes[4] = {};
        const bool read = m_s.Read(bytes, 4);
        *value = FromLittleEndian<uint32_t>(bytes);
        return read;
    }
    bool WriteWord(uint32_t value) {
        uint8_t bytes[4];
        ToLittleEndian(bytes, value);
        return m_s.Write(bytes, 4);
    }
    bool WritePad(uint32_t size) { return (size & 1) == 0 || m_s.Write("", 1); }

    /// From here: "RIFF", the size as stored, the form.
    HRESULT ReadFileHeader(uint32_t* stored, uint32_t* form) {
        uint32_t id = 0;
        if (tarn::Failed(ReadChunkHeader(&id, stored))) return MEDIA_E_READ;
        if (id != RIFF) return MEDIA_E_NO_RIFF;
        return ReadWord(form) ? S_OK : MEDIA_E_READ;
    }

    Stream m_s;
};
