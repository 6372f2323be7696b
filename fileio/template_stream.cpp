#include "fileio/template_list.h"
#include "platform/counted.h"
#include "platform/guarded.h"
#include "platform/stream.h"

#include <algorithm>
#include <cstring>
#include <vector>

using namespace tarn;

namespace {

constexpr uint32_t STREAM_HEAD = 12, COUNT = 8;  ///< bytes, and where among them the number of blocks stands

/// A list of templates as it was when the stream was made, for reading; clones share it.
class CQmTemplateStream final : public Counted<IStream, IID_ISequentialStream, IID_IStream> {
public:
    using Bytes = std::vector<uint8_t>;
    explicit CQmTemplateStream(std::shared_ptr<const Bytes> bytes, uint64_t at = 0)
        : m_bytes(std::move(bytes)), m_at(at) {}

    static std::shared_ptr<const Bytes> BytesOf(HQMLIST list) {
        auto bytes = std::make_shared<Bytes>(STREAM_HEAD);
        const auto count = static_cast<uint32_t>(list->count);
        std::memcpy(&(*bytes)[COUNT], &count, sizeof count);
        for (const tagQMTEMPLATExV2* t : QmList_Pointers<tagQMTEMPLATExV2>(list)) {
            const auto* at = reinterpret_cast<const uint8_t*>(t);
            bytes->insert(bytes->end(), at, at + t->size);
        }
        return bytes;
    }

    HRESULT Read(void* out, uint32_t bytes, uint32_t* done) override {
        if (!out && bytes) return E_POINTER;
        const uint64_t left = m_bytes->size() - std::min<uint64_t>(m_at, m_bytes->size());
        const auto part = static_cast<uint32_t>(std::min<uint64_t>(bytes, left));
        if (part) std::memcpy(out, m_bytes->data() + m_at, part);
        m_at += part;
        if (done) *done = part;
        return S_OK;
    }
    HRESULT Seek(int64_t move, uint32_t origin, uint64_t* position) override {
        const uint64_t from = origin == STREAM_SEEK_SET   ? 0
                              : origin == STREAM_SEEK_CUR ? m_at
                                                          : m_bytes->size();
        if (origin > STREAM_SEEK_END || (move < 0 && uint64_t{0} - static_cast<uint64_t>(move) > from))
            return E_INVALIDARG;
        m_at = from + static_cast<uint64_t>(move);
        if (position) *position = m_at;
        return S_OK;
    }
    HRESULT CopyTo(IStream* to, uint64_t bytes, uint64_t* read, uint64_t* written) override {
        if (!to) return E_POINTER;
        const uint64_t from = std::min<uint64_t>(m_at, m_bytes->size());
        const auto part = static_cast<uint32_t>(std::min<uint64_t>(bytes, m_bytes->size() - from));
        uint32_t done = 0;
        const HRESULT hr = to->Write(m_bytes->data() + from, part, &done);
        m_at = from + part;
        if (read) *read = part;
        if (written) *written = done;
        return hr;
    }
    HRESULT Clone(IStream** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        return Guarded([&] { return GiveOut(new CQmTemplateStream(m_bytes, m_at), out); });
    }
    HRESULT Commit(uint32_t) override { return S_OK; }
    HRESULT Write(const void*, uint32_t, uint32_t*) override { return E_NOTIMPL; }
    HRESULT SetSize(uint64_t) override { return E_NOTIMPL; }
    HRESULT Revert() override { return E_NOTIMPL; }
    HRESULT LockRegion(uint64_t, uint64_t, uint32_t) override { return E_NOTIMPL; }
    HRESULT UnlockRegion(uint64_t, uint64_t, uint32_t) override { return E_NOTIMPL; }
    HRESULT Stat(void*, uint32_t) override { return E_NOTIMPL; }

private:
    const std::shared_ptr<const Bytes> m_bytes;
    uint64_t m_at;
};

}  // namespace

extern "C" {

HRESULT QmFio_MakeTemplateListIStream(HQMLIST list, IStream** out) {
    if (!list || !out) return E_POINTER;
    *out = nullptr;
    return Guarded([&] { return GiveOut(new CQmTemplateStream(CQmTemplateStream::BytesOf(list)), out); });
}

HRESULT QmFio_AddTemplatesToListFromIStream(HQMLIST list, IStream* stream) {
    if (!list || !stream) return E_POINTER;
    if (const HRESULT hr = stream->Seek(0, STREAM_SEEK_SET, nullptr); Failed(hr)) return hr;
    int32_t head[STREAM_HEAD / sizeof(int32_t)];
    uint32_t got = 0;
    if (Failed(stream->Read(head, sizeof head, &got)) || got != sizeof head) return E_FAIL;
    if (head[COUNT / sizeof(int32_t)] < 1) return stream->Seek(0, STREAM_SEEK_SET, nullptr);
    for (int32_t i = 0; i < head[COUNT / sizeof(int32_t)]; i++) {
        uint32_t size = 0;
        if (Failed(stream->Read(&size, sizeof size, &got)) || got != sizeof size) return E_FAIL;
        if (size < sizeof(tagQMTEMPLATExV2) || size > FIO_TEMPLATE_LARGEST) return MEDIA_E_UNKNOWN_FORMAT;
        OwnedTemplate block(static_cast<tagQMTEMPLATExV2*>(CoTaskMemAlloc(size)));
        if (!block) return E_OUTOFMEMORY;
        block->size = size;
        const uint32_t rest = size - sizeof size;
        if (Failed(stream->Read(&block->version, rest, &got)) || got != rest) return MEDIA_E_UNKNOWN_FORMAT;
        const void* item = block.get();
        if (const HRESULT hr = QmList_InsertList(list, -1, static_cast<const void*>(&item), -1); Failed(hr))
            return hr;
        (void)block.release();  // the list's now
    }
    return S_OK;
}

}  // extern "C"
