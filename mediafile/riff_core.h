// What the file and the memory family of RIFF functions share: chunks with 32-bit ids, sizes and counts.
// STREAM as in chunk_io.h.
#pragma once

#include "mediafile/chunk_io.h"
#include "platform/text.h"

#include <memory>
#include <new>
#include <string>

namespace tarn {

// An id lies in memory as in the file: this processor's order is the file's.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

template <class Stream>
class Riff {
public:
    explicit Riff(Stream stream) : m_s(stream), m_chunks(stream, WAVE_GRAMMAR) {}

    uint32_t SkipChunk(uint32_t size) { return Short(m_chunks.Skip(size)); }
    HRESULT ReadData(void* buffer, uint32_t bytes) { return m_chunks.ReadData(buffer, bytes); }
    HRESULT ReadDataBounded(void* buffer, uint32_t room, uint32_t size) {
        return m_chunks.ReadDataBounded(buffer, room, size);
    }
    HRESULT ReadDataAlloc(RIFFDATABLOCK* block) { return m_chunks.ReadDataAlloc(block); }

    HRESULT SetRiffSize(uint32_t size) { return Written(m_chunks.StoreFormSize(size)); }
    HRESULT GetFileSize(uint32_t* size) {
        uint64_t behindType = 0, stored = 0;
        uint32_t form = 0;
        *size = 0;
        if (const HRESULT hr = m_chunks.ReadForm(&behindType, &form); Failed(hr)) return hr;
        if (!m_chunks.StoredFormSize(&stored)) return MEDIA_E_READ;
        *size = Short(stored + 4);
        return S_OK;
    }
    HRESULT UpdateRiffSize(int64_t delta) { return m_chunks.AddToFormSize(delta); }

    HRESULT WriteChunkHeader(uint32_t id, uint32_t size) { return Written(m_chunks.WriteHead(&id, size)); }
    HRESULT WriteChunk(uint32_t id, const void* buffer, uint32_t size, uint32_t* written) {
        if (!m_chunks.Write(&id, buffer, size)) return MEDIA_E_WRITE;
        if (written) *written = Short(WAVE_GRAMMAR.Padded(size) + RIFF_CHUNK_HEADER);
        return S_OK;
    }
    HRESULT WriteListHeader(uint32_t type, uint32_t size) {
        return Written(m_chunks.WriteListHead(&type, size));
    }
    /// Of the two writes only the form's is reported.
    HRESULT WriteFileId(uint32_t form, uint32_t size) {
        m_chunks.WriteHead(WAVE_GRAMMAR.form, size);
        return Written(m_s.Write(&form, sizeof form));
    }

    HRESULT ReadChunkHeader(uint32_t* id, uint32_t* size) {
        ChunkHead head;
        const bool read = m_chunks.ReadHead(&head);
        std::memcpy(id, head.bytes, sizeof *id);
        *size = static_cast<uint32_t>(head.size);
        return read ? S_OK : MEDIA_E_READ;
    }
    HRESULT ReadListHeader(uint32_t* type, uint32_t* size) {
        uint64_t length = 0;
        const HRESULT hr = m_chunks.ReadListHead(type, &length);
        if (Succeeded(hr)) *size = Short(length);
        return hr;
    }
    HRESULT ReadFileId(uint32_t* size, uint32_t* form) {
        uint64_t length = 0;
        const HRESULT hr = m_chunks.ReadFormHere(&length, form);
        *size = Short(length);
        return hr;
    }
    HRESULT SeekDataStart() { return m_s.Seek(RIFF_DATA_START) ? S_OK : MEDIA_E_READ; }

    HRESULT FindChunkHeader(uint32_t id, uint32_t* size, uint32_t* remaining) {
        return Counted(size, remaining,
                       [&](uint64_t* length, uint64_t* left) { return m_chunks.Find(&id, length, left); });
    }
    HRESULT FindChunkHeaderInRiff(uint32_t id, uint32_t* size, uint32_t* remaining) {
        return Counted(size, remaining, [&](uint64_t* length, uint64_t* left) {
            return m_chunks.FindInForm(&id, length, left);
        });
    }
    HRESULT FindListChunk(uint32_t type, uint32_t* size, uint32_t* remaining) {
        return Counted(size, remaining, [&](uint64_t* length, uint64_t* left) {
            return m_chunks.FindList(&type, length, left);
        });
    }
    HRESULT FindListChunkFromStart(uint32_t type, uint32_t* size) {
        return Counted(size, nullptr,
                       [&](uint64_t* length, uint64_t*) { return m_chunks.FindListInForm(&type, length); });
    }
    HRESULT GetNumListEntries(uint32_t* count, const uint32_t* remaining) {
        const uint64_t left = remaining ? *remaining : 0;
        return m_chunks.Count(count, remaining ? &left : nullptr);
    }
    HRESULT SeekListEntry(uint32_t entry, uint32_t* remaining) {
        uint32_t unused = 0;
        return Counted(&unused, remaining,
                       [&](uint64_t*, uint64_t* left) { return m_chunks.SeekEntry(entry, left); });
    }
    HRESULT DeleteChunk(uint32_t id, uint32_t* removed, bool isList) {
        uint64_t amount = 0;
        const HRESULT hr = isList ? m_chunks.DeleteList(&id, &amount) : m_chunks.Delete(&id, &amount);
        if (Succeeded(hr) && removed) *removed = Short(amount);
        return hr;
    }

    HRESULT WriteAnsiString(const char16_t* text, uint32_t* written) try {
        const std::string ansi =
            Windows1252FromUtf16(text ? std::u16string_view(text) : std::u16string_view());
        const auto bytes = static_cast<uint32_t>(ansi.size() + 1);
        if (!m_chunks.WritePayload(ansi.c_str(), bytes)) return MEDIA_E_WRITE;
        if (written) *written = Short(WAVE_GRAMMAR.Padded(bytes));
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
        CopyText(text, capacity, Utf16FromWindows1252(ansi.c_str()).c_str());
        m_s.Seek(start + static_cast<int64_t>(WAVE_GRAMMAR.Padded(*size)));
        ++*size;
        return S_OK;
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }

private:
    static uint32_t Short(uint64_t size) {
        return static_cast<uint32_t>(std::min<uint64_t>(size, UINT32_MAX));
    }
    static HRESULT Written(bool done) { return done ? S_OK : MEDIA_E_WRITE; }

    /// Calls `work` with wide counts; the size is told on success only.
    template <class Work>
    HRESULT Counted(uint32_t* size, uint32_t* remaining, Work work) {
        uint64_t length = 0, left = remaining ? *remaining : 0;
        const HRESULT hr = work(&length, remaining ? &left : nullptr);
        if (Succeeded(hr)) *size = Short(length);
        if (remaining) *remaining = Short(left);
        return hr;
    }

    Stream m_s;
    ChunkIo<Stream> m_chunks;
};

}  // namespace tarn
