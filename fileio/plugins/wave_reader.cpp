#include "fileio/plugins/wave_reader.h"

#include "fileio/plugins/sound_reader.h"
#include "mediafile/meta/meta_carry.h"
#include "mediafile/meta/project_link.h"
#include "mediafile/sample_reader.h"

#include <optional>

using namespace tarn;

namespace wave {

namespace {

/// What the file and its stream, of which either may outlive the other, share.
struct Opened {
    OwnedFile handle;
    std::optional<FileSource> source;
    MediaContents contents;
};

class Stream final : public SoundStream, public IQmReadStoredAudio {
public:
    explicit Stream(std::shared_ptr<const Opened> file) : m_file(std::move(file)) {}

    HRESULT QueryInterface(const GUID& iid, void** out) override {
        const HRESULT hr = SoundStream::QueryInterface(iid, out);
        if (hr != E_NOINTERFACE || iid != IID_IQmReadStoredAudio) return hr;
        *out = static_cast<IQmReadStoredAudio*>(this);
        AddRef();
        return S_OK;
    }
    uint32_t AddRef() override { return SoundStream::AddRef(); }
    uint32_t Release() override { return SoundStream::Release(); }

    HRESULT GetPlace(uint64_t* offset, uint64_t* frames) override {
        if (!offset || !frames) return E_POINTER;
        const MediaContents& c = m_file->contents;
        if (c.coding.codec != SampleCodec::Plain) return S_FALSE;
        *offset = c.dataOffset;
        *frames = c.frames;
        return S_OK;
    }

    HRESULT GetFormat(_qmwaveformat* format, uint32_t capacity) override {
        if (!format) return E_POINTER;
        const _qmwaveformat& stored = m_file->contents.format.format;
        // As which they come, whatever codec they are stored in.
        format->Init(stored.sampleRate, m_file->contents.coding.type, stored.channels, stored.channelMask,
                     capacity);
        return S_OK;
    }

protected:
    uint64_t Frames() const override { return m_file->contents.frames; }
    HRESULT ReadInside(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) override {
        if (!m_reader || frame < m_at) {
            m_reader.emplace(*m_file->source, m_file->contents);
            m_at = 0;
        }
        if (!m_reader->Skip(frame - m_at)) return m_reader.reset(), MEDIA_E_READ;
        *got = static_cast<uint32_t>(m_reader->Read(samples, frames));
        m_at = frame + *got;
        return *got < frames ? MEDIA_E_READ : S_OK;
    }

private:
    const std::shared_ptr<const Opened> m_file;
    std::optional<SampleReader> m_reader;
    uint64_t m_at = 0;
};

class File final : public SoundFile<Stream, const Opened> {
public:
    using SoundFile::SoundFile;

protected:
    std::string Name(const Opened& file) const override { return NameOf(file.contents.container); }
    MetaDocument Metadata(const Opened& file) const override {
        const MetaDocument own = ReadMetaDocument(*file.source, file.contents);
        return CarryMetadata(own, MediaContainer::Wave).document;
    }
};

class Reader final : public Counted<IQmReadFileClass, IID_IQmReadFileClass> {
public:
    HRESULT Start(uint32_t) override { return S_OK; }
    HRESULT Recognize(const void* head, uint32_t bytes) override {
        constexpr uint32_t FORM = 12;
        if (!head || bytes < FORM) return S_FALSE;
        return Guarded([&]() -> HRESULT {
            const MemorySource source({static_cast<const uint8_t*>(head), bytes});
            return InspectMedia(source).container != MediaContainer::Unknown ? S_OK : S_FALSE;
        });
    }
    HRESULT OpenFile(int32_t descriptor, const char16_t*, IQmReadFile** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        return Guarded([&]() -> HRESULT {
            auto opened = std::make_shared<Opened>();
            opened->handle.reset(QmFile_OpenDescriptor(descriptor));
            if (!opened->handle) return MEDIA_E_OPEN;
            opened->source.emplace(opened->handle.get());
            opened->contents = InspectMedia(*opened->source);
            const MediaContents& c = opened->contents;
            const _qmwaveformat& format = c.format.format;
            const bool isRead = c.hasFormat && c.hasData && c.coding.codec != SampleCodec::None &&
                                format.channels > 0 && format.sampleRate > 0 &&
                                (c.coding.IsAdpcm() || format.blockAlign == c.coding.blockBytes);
            if (c.container == MediaContainer::Unknown || !isRead) return MEDIA_E_UNSUPPORTED_FORMAT;
            return GiveOut(new File(std::move(opened)), out);
        });
    }
};

}  // namespace

IQmReadFileClass* MakeReader() { return new Reader; }

}  // namespace wave
