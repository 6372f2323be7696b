// The bytes of a file as readers see them that never write: a file, or a file as it would be after an edit.
#pragma once

#include "mediafile/file_stream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

namespace tarn {

class ByteSource {
public:
    virtual ~ByteSource() = default;
    /// 0 for a file that cannot tell.
    virtual uint64_t Size() const = 0;
    /// What is there; less than asked for at the end and on failure.
    virtual uint32_t ReadSome(uint64_t at, void* bytes, uint32_t count) const = 0;

    bool Read(uint64_t at, void* bytes, uint32_t count) const { return ReadSome(at, bytes, count) == count; }
};

/// Moves the file's position.
class FileSource : public ByteSource {
public:
    explicit FileSource(HQMFILE file) : m_s{file} {}
    uint64_t Size() const override { return static_cast<uint64_t>(std::max<int64_t>(m_s.Size(), 0)); }
    uint32_t ReadSome(uint64_t at, void* bytes, uint32_t count) const override {
        return at <= INT64_MAX && m_s.Seek(static_cast<int64_t>(at)) ? m_s.ReadSome(bytes, count) : 0;
    }

private:
    FileStream m_s;
};

/// A source as the readers of chunks take it.
class SourceStream {
public:
    explicit SourceStream(const ByteSource& source) : m_source(&source) {}
    uint32_t ReadSome(void* bytes, uint32_t count) {
        const uint32_t got = m_source->ReadSome(static_cast<uint64_t>(m_at), bytes, count);
        m_at += got;
        return got;
    }
    bool Read(void* bytes, uint32_t count) { return ReadSome(bytes, count) == count; }
    int64_t Tell() const { return m_at; }
    int64_t Size() const {
        return static_cast<int64_t>(std::min<uint64_t>(m_source->Size(), uint64_t{INT64_MAX}));
    }
    bool Seek(int64_t at) { return at >= 0 && (m_at = at, true); }

private:
    const ByteSource* m_source;
    int64_t m_at = 0;
};

/// Bytes in memory, which stay there meanwhile.
class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::span<const uint8_t> bytes) : m_bytes(bytes) {}
    uint64_t Size() const override { return m_bytes.size(); }
    uint32_t ReadSome(uint64_t at, void* bytes, uint32_t count) const override {
        const uint64_t there = m_bytes.size() - std::min<uint64_t>(at, m_bytes.size());
        const auto got = static_cast<uint32_t>(std::min<uint64_t>(there, count));
        if (got) std::memcpy(bytes, m_bytes.data() + at, got);
        return got;
    }

private:
    std::span<const uint8_t> m_bytes;
};

}  // namespace tarn
