// An open RIFF or Wave64 file as the kinds of metadata see it: chunks by their RIFF id, whatever the
// container calls them.
#pragma once

#include "mediafile/chunk_io.h"
#include "mediafile/file_stream.h"
#include "mediafile/meta/meta_kinds.h"

#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace tarn {

using MetaBytes = std::vector<uint8_t>;

/// Texts of a chunk, up to its first zero.
inline std::string AnsiUpToZero(std::span<const uint8_t> bytes) {
    return {bytes.begin(), std::ranges::find(bytes, uint8_t{0})};
}

/// Little-endian numbers and bytes, one behind the other.
class MetaWriter {
public:
    template <class Number>
    MetaWriter& Put(Number value) {
        uint8_t bytes[sizeof value];
        ToLittleEndian(bytes, static_cast<std::make_unsigned_t<Number>>(value));
        return Raw(bytes, sizeof bytes);
    }
    template <class Number>
    MetaWriter& PutBig(Number value) {
        uint8_t bytes[sizeof value];
        ToBigEndian(bytes, static_cast<std::make_unsigned_t<Number>>(value));
        return Raw(bytes, sizeof bytes);
    }
    MetaWriter& Raw(const void* data, size_t count) {
        const auto* from = static_cast<const uint8_t*>(data);
        m_bytes.insert(m_bytes.end(), from, from + count);
        return *this;
    }
    MetaWriter& Text(const std::string& text) { return Raw(text.data(), text.size()); }
    /// A RIFF chunk with its pad.
    MetaWriter& Chunk(uint32_t id, std::span<const uint8_t> payload) {
        Put(id).Put(static_cast<uint32_t>(payload.size())).Raw(payload.data(), payload.size());
        if (payload.size() & 1) m_bytes.push_back(0);
        return *this;
    }
    MetaBytes& Bytes() { return m_bytes; }

private:
    MetaBytes m_bytes;
};

/// Calls `take(id, payload)` for the RIFF chunks that lie whole in the bytes; false when it ends before they
/// do.
template <class Take>
bool ForEachChunk(std::span<const uint8_t> bytes, Take take) {
    while (bytes.size() >= RIFF_CHUNK_HEADER) {
        const auto id = FromLittleEndian<uint32_t>(bytes.data());
        const auto size = FromLittleEndian<uint32_t>(bytes.data() + 4);
        bytes = bytes.subspan(RIFF_CHUNK_HEADER);
        if (size > bytes.size()) return false;
        take(id, bytes.first(size));
        bytes = bytes.subspan(std::min<size_t>(bytes.size(), size_t{size} + (size & 1)));
    }
    return bytes.empty();
}

class MetaForm {
public:
    MetaForm(HQMFILE file, bool isWave64)
        : m_s{file}, m_isWave64(isWave64), m_g(isWave64 ? WAVE64_GRAMMAR : WAVE_GRAMMAR), m_io(m_s, m_g) {}

    ChunkIo<FileStream>& Io() { return m_io; }
    const ChunkGrammar& Grammar() const { return m_g; }

    /// From the start; ends at the payload, a list's behind its type.
    HRESULT Find(uint32_t id, bool isList, uint64_t* size) {
        if (!m_isWave64) return isList ? m_io.FindListInForm(&id, size) : m_io.FindInForm(&id, size, nullptr);
        const GUID label = Wave64LabelOf(id);
        const HRESULT hr = m_io.FindInForm(&label, size, nullptr);
        if (Failed(hr) || !isList) return hr;
        if (*size < sizeof id) return MEDIA_E_NOT_FOUND;
        *size -= sizeof id;
        return m_s.Seek(m_s.Tell() + int64_t{sizeof id}) ? S_OK : MEDIA_E_READ;
    }
    /// The payload; empty and S_OK for a chunk that is not there. The file must be of the container.
    HRESULT Read(uint32_t id, bool isList, MetaBytes* payload) {
        payload->clear();
        uint64_t size = 0;
        const HRESULT hr = Find(id, isList, &size);
        // A scan that runs into the end of the file did not find it either.
        if (hr == MEDIA_E_NOT_FOUND || hr == MEDIA_E_READ) return S_OK;
        return Failed(hr) ? hr : ReadPayload(size, payload);
    }
    HRESULT ReadPayload(uint64_t size, MetaBytes* payload) {
        if (size > UINT32_MAX || m_s.Size() - m_s.Tell() < static_cast<int64_t>(size)) return MEDIA_E_READ;
        payload->resize(size);
        return m_s.Read(payload->data(), static_cast<uint32_t>(size)) ? S_OK : MEDIA_E_READ;
    }

    /// To the end of the form, behind the pad of its last chunk, which is written where it is missing.
    HRESULT SeekEnd() {
        uint64_t stored = 0;
        if (!m_io.StoredFormSize(&stored)) return MEDIA_E_READ;
        const uint64_t end = m_g.sizeHasHeader ? stored : stored + m_g.header;
        if (end > static_cast<uint64_t>(m_s.Size())) return MEDIA_E_MALFORMED;
        if (!m_s.Seek(static_cast<int64_t>(end)) || !m_io.WritePad(end)) return MEDIA_E_WRITE;
        return m_io.AddToFormSize(static_cast<int64_t>(m_g.Padded(end) - end));
    }
    /// A chunk behind the last one, with the size of the form.
    HRESULT Append(uint32_t id, bool isList, std::span<const uint8_t> payload) {
        if (const HRESULT hr = SeekEnd(); Failed(hr)) return hr;
        const int64_t start = m_s.Tell();
        const uint64_t typeBytes = isList ? sizeof id : 0;
        const GUID label = Wave64LabelOf(id);
        const void* chunk = m_isWave64 ? static_cast<const void*>(&label) : isList ? m_g.list : &id;
        const bool isWritten =
            m_io.WriteHead(chunk, payload.size() + typeBytes) && m_io.WriteBytes(&id, typeBytes) &&
            m_io.WriteBytes(payload.data(), payload.size()) && m_io.WritePad(payload.size() + typeBytes);
        return isWritten ? m_io.AddToFormSize(m_s.Tell() - start) : MEDIA_E_WRITE;
    }

private:
    FileStream m_s;
    bool m_isWave64;
    const ChunkGrammar& m_g;
    ChunkIo<FileStream> m_io;
};

}  // namespace tarn
