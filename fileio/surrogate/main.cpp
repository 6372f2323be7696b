// The process that plug-ins of one group run in: FileIOSurrogate LANGUAGE, with the connection to the program
// as its descriptor. What it is asked for it does one after the other.
#include "fileio/audio_ring.h"
#include "fileio/memory_token.h"
#include "fileio/plugin_library.h"
#include "fileio/surrogate/fence.h"
#include "fileio/surrogate/wire.h"
#include "fileio/template.h"
#include "mediafile/media_codes.h"
#include "mediafile/meta/meta_stream.h"

#include <capnp/rpc-twoparty.h>
#include <kj/async-io.h>

#include <cstdio>
#include <map>
#include <optional>
#include <vector>

#include <unistd.h>

using namespace tarn;
using namespace tarn::surrogate;

namespace {

constexpr uint32_t MOST_TEXT = 1 << 16, MOST_PIECE = 1 << 22;

bool isFenced = false;

/// Before the first thing that comes from a file.
void Fence() {
    if (isFenced) return;
    isFenced = true;
    if (!RaiseFence()) std::fprintf(stderr, "FileIOSurrogate: the system has no filter for system calls\n");
}

template <class Results>
kj::Promise<void> Done(Results& results, HRESULT code) {
    results.setCode(code);
    return kj::READY_NOW;
}

/// A text that `get` writes, whether it ends it or not.
template <class Context, class Get>
kj::Promise<void> GiveText(Context& context, Get get) {
    char16_t text[512] = {};
    auto results = context.getResults();
    const HRESULT hr = get(text, static_cast<uint32_t>(std::size(text) - 1));
    results.setText(WireText(text));
    return Done(results, hr);
}

/// The number that came with a message; -1 for none.
kj::Promise<int> FileOf(bool isThere, Descriptor::Client file) {
    if (!isThere) return -1;
    return file.getFd().then([file](const kj::Maybe<int>& fd) mutable { return fd.orDefault(-1); });
}

GUID IdOf(capnp::Data::Reader bytes) {
    GUID id{};
    FromWire(bytes, &id);
    return id;
}

/// A copy with its own size, which may still be wrong in all that is in it.
OwnedTemplate TemplateOf(capnp::Data::Reader bytes) {
    auto* block = bytes.size() < sizeof(tagQMTEMPLATExV2)
                      ? nullptr
                      : static_cast<tagQMTEMPLATExV2*>(CoTaskMemAlloc(bytes.size()));
    if (block) {
        std::memcpy(static_cast<void*>(block), bytes.begin(), bytes.size());
        block->size = static_cast<uint32_t>(bytes.size());
    }
    return OwnedTemplate(block);
}

class MetaServer final : public ReadMeta::Server {
public:
    explicit MetaServer(ComPtr<IQmReadMeta> meta) : m_meta(std::move(meta)) {}
    kj::Promise<void> read(ReadContext context) override {
        std::vector<uint8_t> bytes(std::min(context.getParams().getSize(), MOST_PIECE));
        uint32_t got = 0;
        const HRESULT hr = m_meta->Read(bytes.data(), static_cast<uint32_t>(bytes.size()), &got);
        auto results = context.getResults();
        results.setBytes(WireBytes(bytes.data(), std::min<size_t>(got, bytes.size())));
        return Done(results, hr);
    }
    kj::Promise<void> seek(SeekContext context) override {
        auto results = context.getResults();
        return Done(results, m_meta->Seek(context.getParams().getPosition()));
    }

private:
    const ComPtr<IQmReadMeta> m_meta;
};

class StreamServer final : public ReadStream::Server {
public:
    StreamServer(const ComPtr<IQmReadStream>& stream, const GUID& iid) : m_stream(stream) {
        if (iid == IID_IQmReadAudioStream) stream->QueryInterface(iid, m_audio.OutVoid());
        if (iid == IID_IQmReadVideoStream) stream->QueryInterface(iid, m_video.OutVoid());
        if (iid == IID_IQmReadTextStream) stream->QueryInterface(iid, m_text.OutVoid());
    }
    HRESULT TellFormat(SoundFormat::Builder sound) {
        QmWaveFormatBlock block{};
        const HRESULT hr = m_audio ? m_audio->GetFormat(&block.format, sizeof block) : E_NOINTERFACE;
        sound.setFormat(WireRecord(block));
        m_frameBytes = block.format.blockAlign;
        ComPtr<IQmReadStoredAudio> stored;
        uint64_t offset = 0, frames = 0;
        if (hr == S_OK && Succeeded(m_audio->QueryInterface(IID_IQmReadStoredAudio, stored.OutVoid())) &&
            stored && stored->GetPlace(&offset, &frames) == S_OK) {
            sound.setStoredAt(offset);
            sound.setStoredFrames(frames);
        }
        return hr;
    }
    kj::Promise<void> getType(GetTypeContext context) override {
        uint32_t type = 0;
        auto results = context.getResults();
        const HRESULT hr = m_stream->GetType(&type);
        results.setType(type);
        return Done(results, hr);
    }
    kj::Promise<void> getName(GetNameContext context) override {
        return GiveText(context,
                        [&](char16_t* text, uint32_t most) { return m_stream->GetName(text, most); });
    }
    kj::Promise<void> getAudioFormat(GetAudioFormatContext context) override {
        auto results = context.getResults();
        return Done(results, TellFormat(results.initSound()));
    }
    kj::Promise<void> getFrames(GetFramesContext context) override {
        uint64_t frames = 0;
        auto results = context.getResults();
        const HRESULT hr = m_audio ? m_audio->GetFrames(&frames) : E_NOINTERFACE;
        results.setFrames(frames);
        return Done(results, hr);
    }
    kj::Promise<void> share(ShareContext context) override {
        const auto params = context.getParams();
        return FileOf(params.hasMemory(), params.getMemory()).then([this, context](int file) mutable {
            _qmmemorytoken token{};
            auto results = context.getResults();
            m_ring.reset();
            m_memory.reset();
            if (file < 0 || !FromWire(context.getParams().getToken(), &token))
                return Done(results, E_INVALIDARG);
            m_memory.emplace(token, 0, file);
            return Done(results, m_memory->Pointer() ? S_OK : E_FAIL);
        });
    }
    kj::Promise<void> readAudio(ReadAudioContext context) override {
        const auto params = context.getParams();
        auto results = context.getResults();
        uint32_t got = 0;
        if (!m_audio || !m_memory || m_frameBytes == 0 ||
            uint64_t{params.getFrames()} * m_frameBytes > m_memory->DataSize())
            return Done(results, E_INVALIDARG);
        m_ring.reset();
        auto* samples = static_cast<uint8_t*>(m_memory->Pointer());
        const HRESULT hr = m_audio->Read(params.getFrame(), params.getFrames(), samples, &got);
        results.setGot(got);
        return Done(results, hr);
    }
    kj::Promise<void> readAhead(ReadAheadContext context) override {
        if (!m_audio || !m_memory || m_memory->DataSize() < AudioRing::BYTES || m_frameBytes == 0) {
            auto results = context.getResults();
            return Done(results, E_INVALIDARG);
        }
        m_ahead = context.getParams().getFrame();
        m_ring.emplace(m_memory->Pointer());
        return Fill(context);
    }
    kj::Promise<void> readOn(ReadOnContext context) override { return Fill(context); }
    kj::Promise<void> getVideoFormat(GetVideoFormatContext context) override {
        FIOVIDEOFORMAT format{};
        auto results = context.getResults();
        const HRESULT hr = m_video ? m_video->GetFormat(&format) : E_NOINTERFACE;
        results.setFormat(WireRecord(format));
        return Done(results, hr);
    }
    kj::Promise<void> readPicture(ReadPictureContext context) override {
        const auto params = context.getParams();
        auto results = context.getResults();
        if (!m_video || !m_memory || params.getBytes() > m_memory->DataSize())
            return Done(results, E_INVALIDARG);
        return Done(results, m_video->ReadFrame(params.getFrame(), m_memory->Pointer(), params.getBytes()));
    }
    kj::Promise<void> readText(ReadTextContext context) override {
        std::vector<char16_t> text(std::min(context.getParams().getCapacity(), MOST_TEXT) + 1);
        int64_t start = 0, end = 0;
        auto results = context.getResults();
        const HRESULT hr =
            m_text ? m_text->ReadNext(&start, &end, text.data(), static_cast<uint32_t>(text.size() - 1))
                   : E_NOINTERFACE;
        results.setStart(start);
        results.setEnd(end);
        results.setText(WireText(text.data()));
        return Done(results, hr);
    }

private:
    template <class Context>
    kj::Promise<void> Fill(Context context) {
        // Who does not wait for it any longer wants other pieces, or none.
        context.allowCancellation();
        return FillSlots().then([context]() mutable { context.getResults().setCode(S_OK); });
    }
    kj::Promise<void> FillSlots() {
        uint8_t* slot = m_ring ? m_ring->FreeSlot() : nullptr;
        if (!slot) return kj::READY_NOW;
        const uint32_t frames = AudioRing::SLOT_BYTES / m_frameBytes;
        uint32_t got = 0;
        const HRESULT hr = m_audio->Read(m_ahead, frames, slot, &got);
        got = std::min(got, frames);
        m_ahead += got;
        const bool isLast = Failed(hr) || got < frames;
        m_ring->Give(got, hr, isLast);
        if (isLast) return kj::READY_NOW;
        // What else was asked meanwhile comes first.
        return kj::evalLater([this] { return FillSlots(); });
    }

    const ComPtr<IQmReadStream> m_stream;
    ComPtr<IQmReadAudioStream> m_audio;
    ComPtr<IQmReadVideoStream> m_video;
    ComPtr<IQmReadTextStream> m_text;
    std::optional<CMappingOfQmMemoryToken> m_memory;
    std::optional<AudioRing> m_ring;
    uint64_t m_ahead = 0;  ///< frame that is read into the ring next
    uint32_t m_frameBytes = 0;
};

class FileServer final : public ReadFile::Server {
public:
    explicit FileServer(ComPtr<IQmReadFile> file) : m_file(std::move(file)) {}
    kj::Promise<void> getFormatName(GetFormatNameContext context) override {
        return GiveText(context,
                        [&](char16_t* text, uint32_t most) { return m_file->GetFormatName(text, most); });
    }
    kj::Promise<void> getStreamCount(GetStreamCountContext context) override {
        uint32_t count = 0;
        auto results = context.getResults();
        const HRESULT hr = m_file->GetStreamCount(&count);
        results.setCount(count);
        return Done(results, hr);
    }
    /// Sets `made` where that is S_OK.
    HRESULT MakeStream(uint32_t index, const GUID& iid, kj::Own<StreamServer>* made) {
        ComPtr<IUnknown> any;
        ComPtr<IQmReadStream> stream;
        HRESULT hr = m_file->GetStream(index, iid, any.OutVoid());
        if (hr == S_OK) hr = any ? any->QueryInterface(IID_IQmReadStream, stream.OutVoid()) : E_NOINTERFACE;
        if (hr == S_OK) *made = kj::heap<StreamServer>(stream, iid);
        return hr;
    }
    kj::Promise<void> getStream(GetStreamContext context) override {
        const auto params = context.getParams();
        kj::Own<StreamServer> made;
        auto results = context.getResults();
        const HRESULT hr = MakeStream(params.getIndex(), IdOf(params.getIid()), &made);
        if (hr == S_OK) results.setStream(kj::mv(made));
        return Done(results, hr);
    }
    kj::Promise<void> getMeta(GetMetaContext context) override {
        ComPtr<IQmReadMeta> meta;
        auto results = context.getResults();
        const HRESULT hr = m_file->GetMeta(IdOf(context.getParams().getIid()), meta.OutVoid());
        if (hr == S_OK && meta) results.setMeta(kj::heap<MetaServer>(std::move(meta)));
        return Done(results, hr);
    }

private:
    const ComPtr<IQmReadFile> m_file;
};

class ReaderServer final : public ReadFileClass::Server {
public:
    explicit ReaderServer(ComPtr<IQmReadFileClass> reader) : m_reader(std::move(reader)) {}
    kj::Promise<void> recognize(RecognizeContext context) override {
        Fence();
        const auto head = context.getParams().getHead();
        auto results = context.getResults();
        return Done(results, m_reader->Recognize(head.begin(), static_cast<uint32_t>(head.size())));
    }
    kj::Promise<void> openFile(OpenFileContext context) override {
        Fence();
        const auto params = context.getParams();
        return FileOf(params.hasFile(), params.getFile()).then([this, context](int file) mutable {
            ComPtr<IQmReadFile> opened;
            auto results = context.getResults();
            const HRESULT hr =
                m_reader->OpenFile(file, TextFromWire(context.getParams().getPath()).c_str(), opened.Out());
            if (Failed(hr) || !opened) return Done(results, hr);
            auto server = kj::heap<FileServer>(std::move(opened));
            kj::Own<StreamServer> first;
            if (server->MakeStream(0, IID_IQmReadAudioStream, &first) == S_OK &&
                first->TellFormat(results.initFirstSound()) == S_OK)
                results.setFirst(kj::mv(first));
            results.setOpened(kj::mv(server));
            return Done(results, hr);
        });
    }

private:
    const ComPtr<IQmReadFileClass> m_reader;
};

class NewFileServer final : public RenderFile::Server {
public:
    NewFileServer(ComPtr<IQmRenderFile> file, uint32_t frameBytes)
        : m_file(std::move(file)), m_frameBytes(frameBytes) {}
    kj::Promise<void> write(WriteContext context) override {
        const auto params = context.getParams();
        auto results = context.getResults();
        if (params.getSamples().size() != uint64_t{params.getFrames()} * m_frameBytes)
            return Done(results, E_INVALIDARG);
        return Done(results, m_file->Write(params.getSamples().begin(), params.getFrames()));
    }
    kj::Promise<void> setMeta(SetMetaContext context) override {
        const auto chunks = context.getParams().getChunks();
        ComPtr<IQmReadMeta> meta;
        *meta.Out() = CreateMetaStream({chunks.begin(), chunks.size()});
        auto results = context.getResults();
        return Done(results, meta ? m_file->SetMeta(meta.Get()) : E_OUTOFMEMORY);
    }
    kj::Promise<void> end(EndContext context) override {
        auto results = context.getResults();
        return Done(results, m_file->End());
    }

private:
    const ComPtr<IQmRenderFile> m_file;
    const uint32_t m_frameBytes;
};

class RendererServer final : public RenderFileClass::Server {
public:
    explicit RendererServer(ComPtr<IQmRenderFileClass> renderer) : m_renderer(std::move(renderer)) {}
    kj::Promise<void> getPreset(GetPresetContext context) override {
        auto results = context.getResults();
        return Answer(results, [&](tagQMTEMPLATExV2** out) {
            return m_renderer->GetPreset(context.getParams().getIndex(), out);
        });
    }
    kj::Promise<void> getDefault(GetDefaultContext context) override {
        const auto params = context.getParams();
        auto results = context.getResults();
        return Answer(results, [&](tagQMTEMPLATExV2** out) -> HRESULT {
            _qmwaveformat source{};
            if (!FromWire(params.getSource(), &source)) return E_INVALIDARG;
            return m_renderer->GetDefault(TextFromWire(params.getExtension()).c_str(), &source, out);
        });
    }
    kj::Promise<void> checkTemplate(CheckTemplateContext context) override {
        const auto settings = TemplateOf(context.getParams().getSettings());
        auto results = context.getResults();
        return Done(results, settings ? m_renderer->CheckTemplate(settings.get()) : MEDIA_E_BAD_TEMPLATE);
    }
    kj::Promise<void> getExtensions(GetExtensionsContext context) override {
        const auto settings = TemplateOf(context.getParams().getSettings());
        return GiveText(context, [&](char16_t* text, uint32_t most) {
            return settings ? m_renderer->GetExtensions(settings.get(), text, most) : MEDIA_E_BAD_TEMPLATE;
        });
    }
    kj::Promise<void> createFile(CreateFileContext context) override {
        Fence();
        const auto params = context.getParams();
        return FileOf(params.hasFile(), params.getFile()).then([this, context](int file) mutable {
            const auto all = context.getParams();
            const auto settings = TemplateOf(all.getSettings());
            _qmwaveformat format{};
            ComPtr<IQmRenderFile> made;
            auto results = context.getResults();
            if (!settings || !FromWire(all.getFormat(), &format)) return Done(results, E_INVALIDARG);
            const HRESULT hr = m_renderer->CreateFile(file, TextFromWire(all.getPath()).c_str(),
                                                      settings.get(), &format, made.Out());
            if (Succeeded(hr) && made)
                results.setMade(kj::heap<NewFileServer>(std::move(made), format.blockAlign));
            return Done(results, hr);
        });
    }

    kj::Promise<void> getFields(GetFieldsContext context) override {
        const auto settings = TemplateOf(context.getParams().getSettings());
        FIOTEMPLATEFIELD fields[MOST_FIELDS] = {};
        uint32_t count = 0;
        auto results = context.getResults();
        const HRESULT hr = settings ? m_renderer->GetFields(settings.get(), MOST_FIELDS, fields, &count)
                                    : MEDIA_E_BAD_TEMPLATE;
        if (Succeeded(hr) && count <= MOST_FIELDS)
            results.setFields(WireBytes(fields, count * sizeof *fields));
        return Done(results, hr);
    }
    kj::Promise<void> setField(SetFieldContext context) override {
        const auto params = context.getParams();
        tagQMTEMPLATExV2* settings = TemplateOf(params.getSettings()).release();
        const HRESULT hr = settings ? m_renderer->SetField(&settings, params.getField(), params.getValue())
                                    : MEDIA_E_BAD_TEMPLATE;
        const OwnedTemplate changed(settings);
        auto results = context.getResults();
        if (Succeeded(hr) && changed) results.setChanged(WireBytes(changed.get(), changed->size));
        return Done(results, hr);
    }

private:
    static constexpr uint32_t MOST_FIELDS = 64;

    template <class Results, class Make>
    static kj::Promise<void> Answer(Results& results, Make make) {
        tagQMTEMPLATExV2* block = nullptr;
        const HRESULT hr = make(&block);
        if (block) results.setSettings(WireBytes(block, block->size));
        CoTaskMemFree(block);
        return Done(results, hr);
    }

    const ComPtr<IQmRenderFileClass> m_renderer;
};

class PluginsServer final : public Plugins::Server {
public:
    kj::Promise<void> getInfo(GetInfoContext context) override {
        const auto params = context.getParams();
        FIOPLUGININFO info{};
        std::string reason;
        HRESULT hr = E_FAIL;
        if (PluginLibrary* library = Load(params.getLibrary(), &reason))
            hr = library->GetInfo(params.getLangId(), &info, &reason);
        auto results = context.getResults();
        results.setInfo(WireRecord(info));
        results.setReason(reason);
        return Done(results, hr);
    }
    kj::Promise<void> createReader(CreateReaderContext context) override {
        ComPtr<IQmReadFileClass> reader;
        auto results = context.getResults();
        const HRESULT hr = Create(context.getParams(), IID_IQmReadFileClass, reader.OutVoid());
        if (Succeeded(hr)) results.setReader(kj::heap<ReaderServer>(std::move(reader)));
        return Done(results, hr);
    }
    kj::Promise<void> createRenderer(CreateRendererContext context) override {
        ComPtr<IQmRenderFileClass> renderer;
        auto results = context.getResults();
        const HRESULT hr = Create(context.getParams(), IID_IQmRenderFileClass, renderer.OutVoid());
        if (Succeeded(hr)) results.setRenderer(kj::heap<RendererServer>(std::move(renderer)));
        return Done(results, hr);
    }

private:
    PluginLibrary* Load(const char* path, std::string* reason) {
        std::unique_ptr<PluginLibrary>& library = m_libraries[path];
        if (!library) library = LoadPluginHere(path, reason);
        return library.get();
    }
    template <class Params>
    HRESULT Create(const Params& params, const GUID& iid, void** out) {
        std::string reason;
        PluginLibrary* library = Load(params.getLibrary().cStr(), &reason);
        return library ? library->CreateClass(IdOf(params.getClassId()), iid, params.getLangId(), out)
                       : MEDIA_E_NOT_STARTED;
    }
    PluginLibrary* Load(capnp::Text::Reader path, std::string* reason) { return Load(path.cStr(), reason); }

    std::map<std::string, std::unique_ptr<PluginLibrary>> m_libraries;
};

class EntryServer final : public Entry::Server {
public:
    kj::Promise<void> connect(ConnectContext context) override {
        auto results = context.getResults();
        if (IdOf(context.getParams().getClassId()) != SurrogateClassOf(static_cast<uint32_t>(::getpid())))
            return Done(results, FIO_E_CLASS_NOT_REGISTERED);
        results.setPlugins(kj::heap<PluginsServer>());
        return Done(results, S_OK);
    }
};

}  // namespace

int main() {
    RaiseFirstFence(SURROGATE_SOCKET);
    try {
        kj::AsyncIoContext io = kj::setupAsyncIo();
        io.waitScope.setBusyPollInterval(1);
        auto stream = io.lowLevelProvider->wrapUnixSocketFd(SURROGATE_SOCKET,
                                                            kj::LowLevelAsyncIoProvider::TAKE_OWNERSHIP);
        capnp::ReaderOptions options;
        options.traversalLimitInWords = SURROGATE_MOST_WORDS;
        capnp::TwoPartyVatNetwork network(*stream, 1, capnp::rpc::twoparty::Side::SERVER, options);
        const auto rpc = capnp::makeRpcServer(network, kj::heap<EntryServer>());
        network.onDisconnect().wait(io.waitScope);
    } catch (const kj::Exception& e) {
        std::fprintf(stderr, "FileIOSurrogate: %s\n", e.getDescription().cStr());
    }
    // Plug-ins that are at work on other threads are left as they are.
    ::_exit(0);
}
