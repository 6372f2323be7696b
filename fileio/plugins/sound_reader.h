// What our readers share: streams of sound, files that have one, and metadata given out.
#pragma once

#include "fileio/meta_chunks.h"
#include "fileio/plugin.h"
#include "mediafile/media_codes.h"
#include "platform/counted.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <algorithm>
#include <memory>

namespace tarn {

/// Without a name, unless one is told.
class SoundStream : public Counted<IQmReadAudioStream, IID_IQmReadStream, IID_IQmReadAudioStream> {
public:
    HRESULT GetType(uint32_t* type) override { return type ? (*type = FIO_STREAM_AUDIO, S_OK) : E_POINTER; }
    HRESULT GetName(char16_t* text, uint32_t capacity) override {
        CopyText(text, capacity, u"");
        return S_FALSE;
    }
    HRESULT GetFrames(uint64_t* frames) override { return frames ? (*frames = Frames(), S_OK) : E_POINTER; }
    HRESULT Read(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) override {
        if (!samples || !got) return E_POINTER;
        *got = 0;
        const uint64_t all = Frames();
        if (frame >= all) return S_OK;
        return Guarded([&] {
            return ReadInside(frame, static_cast<uint32_t>(std::min<uint64_t>(frames, all - frame)), samples,
                              got);
        });
    }

protected:
    virtual uint64_t Frames() const = 0;
    /// All of it lies within the stream.
    virtual HRESULT ReadInside(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) = 0;
};

/// `document` gives that of a wave.
template <class Document>
HRESULT GiveMeta(const GUID& iid, void** out, Document document) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Guarded([&]() -> HRESULT {
        if (iid != IID_IQmReadMeta) return S_FALSE;
        IQmReadMeta* meta = MakeMeta(document());
        *out = meta;
        return meta ? S_OK : S_FALSE;
    });
}

/// A file with one stream of sound; file and stream share what is open, and either may outlive the other.
template <class Stream, class Opened>
class SoundFile : public Counted<IQmReadFile, IID_IQmReadFile> {
public:
    explicit SoundFile(std::shared_ptr<Opened> file) : m_file(std::move(file)) {}

    HRESULT GetFormatName(char16_t* text, uint32_t capacity) override {
        return Guarded([&] {
            CopyText(text, capacity, Utf16FromUtf8(Name(*m_file)).c_str());
            return S_OK;
        });
    }
    HRESULT GetStreamCount(uint32_t* count) override { return count ? (*count = 1, S_OK) : E_POINTER; }
    HRESULT GetStream(uint32_t index, const GUID& iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (index > 0) return E_INVALIDARG;
        return Guarded([&] { return ComPtr(new Stream(m_file))->QueryInterface(iid, out); });
    }
    HRESULT GetMeta(const GUID& iid, void** out) override {
        return GiveMeta(iid, out, [&] { return Metadata(*m_file); });
    }

protected:
    virtual std::string Name(const Opened& file) const = 0;
    virtual MetaDocument Metadata(const Opened& file) const = 0;

private:
    const std::shared_ptr<Opened> m_file;
};

}  // namespace tarn
