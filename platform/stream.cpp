#include "platform/stream.h"

#include "platform/counted.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

using namespace tarn;

namespace {

constexpr uint64_t MOST_BYTES = INT32_MAX;

class MemoryStream final : public Counted<IStream, IID_ISequentialStream, IID_IStream> {
public:
    HRESULT Read(void* out, uint32_t bytes, uint32_t* done) override {
        const uint64_t rest = m_at < m_bytes.size() ? m_bytes.size() - m_at : 0;
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(bytes, rest));
        if (count) std::memcpy(out, m_bytes.data() + m_at, count);
        m_at += count;
        if (done) *done = count;
        return S_OK;
    }
    HRESULT Write(const void* data, uint32_t bytes, uint32_t* done) override {
        if (done) *done = 0;
        if (m_at > MOST_BYTES || bytes > MOST_BYTES - m_at) return E_INVALIDARG;
        if (m_at + bytes > m_bytes.size())
            if (const HRESULT hr = SetSize(m_at + bytes); Failed(hr)) return hr;
        if (bytes) std::memcpy(m_bytes.data() + m_at, data, bytes);
        m_at += bytes;
        if (done) *done = bytes;
        return S_OK;
    }
    HRESULT Seek(int64_t move, uint32_t origin, uint64_t* position) override {
        if (origin > STREAM_SEEK_END) return E_INVALIDARG;
        const uint64_t from = origin == STREAM_SEEK_CUR   ? m_at
                              : origin == STREAM_SEEK_END ? m_bytes.size()
                                                          : 0;
        int64_t to = 0;
        if (__builtin_add_overflow(static_cast<int64_t>(from), move, &to) || to < 0) return E_INVALIDARG;
        m_at = static_cast<uint64_t>(to);
        if (position) *position = m_at;
        return S_OK;
    }
    HRESULT SetSize(uint64_t size) override try {
        if (size > MOST_BYTES) return E_INVALIDARG;
        m_bytes.resize(size);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    HRESULT CopyTo(IStream*, uint64_t, uint64_t*, uint64_t*) override { return E_NOTIMPL; }
    HRESULT Commit(uint32_t) override { return S_OK; }
    HRESULT Revert() override { return E_NOTIMPL; }
    HRESULT LockRegion(uint64_t, uint64_t, uint32_t) override { return E_NOTIMPL; }
    HRESULT UnlockRegion(uint64_t, uint64_t, uint32_t) override { return E_NOTIMPL; }
    HRESULT Stat(void*, uint32_t) override { return E_NOTIMPL; }
    HRESULT Clone(IStream**) override { return E_NOTIMPL; }

private:
    std::vector<uint8_t> m_bytes;
    uint64_t m_at = 0;
};

}  // namespace

IStream* tarn::CreateMemoryStream() {
    IStream* stream = new (std::nothrow) MemoryStream;
    if (stream) stream->AddRef();
    return stream;
}
