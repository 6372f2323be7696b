#include "fileio/blankets.h"

#include "fileio/audio_blanket.h"
#include "mediafile/media_codes.h"
#include "mediafile/meta/meta_stream.h"

#include <algorithm>
#include <vector>

namespace tarn {

namespace {

using namespace surrogate;  // NOLINT: the messages, generated

class CQmReadMetaBlanket final : public Blanket<IQmReadMeta, ReadMeta::Client, IID_IQmReadMeta> {
public:
    using Blanket::Blanket;
    HRESULT Read(void* buffer, uint32_t size, uint32_t* got) override {
        if (!buffer || !got) return E_POINTER;
        *got = 0;
        return Call(
            [&](auto& client) {
                auto request = client.readRequest();
                request.setSize(size);
                return request;
            },
            [&](auto& response) {
                const auto bytes = response.getBytes();
                *got = static_cast<uint32_t>(std::min<size_t>(bytes.size(), size));
                if (*got) std::memcpy(buffer, bytes.begin(), *got);
            });
    }
    HRESULT Seek(uint64_t position) override {
        return Call([&](auto& client) {
            auto request = client.seekRequest();
            request.setPosition(position);
            return request;
        });
    }
};

class CQmReadStreamBlanket final : public StreamBlanket<IQmReadStream> {
public:
    using StreamBlanket::StreamBlanket;
};

class CQmReadVideoStreamBlanket final : public StreamBlanket<IQmReadVideoStream, IID_IQmReadVideoStream> {
public:
    using StreamBlanket::StreamBlanket;
    HRESULT GetFormat(FIOVIDEOFORMAT* format) override {
        if (!format) return E_POINTER;
        bool isWhole = false;
        const HRESULT hr = Call([](auto& client) { return client.getVideoFormatRequest(); },
                                [&](auto& response) { isWhole = FromWire(response.getFormat(), format); });
        return Succeeded(hr) && !isWhole ? E_UNEXPECTED : hr;
    }
    HRESULT ReadFrame(uint64_t frame, void* pixels, uint32_t bytes) override {
        if (!pixels) return E_POINTER;
        if (const HRESULT hr = Share(bytes); Failed(hr)) return hr;
        return Call(
            [&](auto& client) {
                auto request = client.readPictureRequest();
                request.setFrame(frame);
                request.setBytes(bytes);
                return request;
            },
            [&](auto&) { std::memcpy(pixels, Shared(), bytes); });
    }
};

class CQmReadTextStreamBlanket final : public StreamBlanket<IQmReadTextStream, IID_IQmReadTextStream> {
public:
    using StreamBlanket::StreamBlanket;
    HRESULT ReadNext(int64_t* start, int64_t* end, char16_t* text, uint32_t capacity) override {
        if (!start || !end || !text) return E_POINTER;
        return Call(
            [&](auto& client) {
                auto request = client.readTextRequest();
                request.setCapacity(capacity);
                return request;
            },
            [&](auto& response) {
                *start = response.getStart();
                *end = response.getEnd();
                GiveText(TextFromWire(response.getText()), text, capacity);
            });
    }
};

/// What the factory knows of a stream's interfaces.
struct StreamRow {
    const GUID& iid;
    void* (*make)(SharedProcess, ReadStream::Client, const SharedFile&);
};
template <class Interface>
void* Given(Interface* made) {
    made->AddRef();
    return made;
}
template <class Made, class Interface>
void* MakeStream(SharedProcess process, ReadStream::Client client, const SharedFile&) {
    return Given<Interface>(new Made(std::move(process), kj::mv(client)));
}
void* MakeAudioStream(SharedProcess process, ReadStream::Client client, const SharedFile& file) {
    return Given<IQmReadAudioStream>(new CQmReadAudioStreamBlanket(std::move(process), kj::mv(client), file));
}
const StreamRow STREAMS[] = {
    {IID_IQmReadStream, MakeStream<CQmReadStreamBlanket, IQmReadStream>},
    {IID_IQmReadAudioStream, MakeAudioStream},
    {IID_IQmReadVideoStream, MakeStream<CQmReadVideoStreamBlanket, IQmReadVideoStream>},
    {IID_IQmReadTextStream, MakeStream<CQmReadTextStreamBlanket, IQmReadTextStream>},
};

class CQmReadFileBlanket final : public Blanket<IQmReadFile, ReadFile::Client, IID_IQmReadFile> {
public:
    CQmReadFileBlanket(SharedProcess process, const ReadFileClass::OpenFileResults::Reader& results,
                       SharedFile file)
        : Blanket(std::move(process), results.getOpened()), m_file(std::move(file)) {
        if (!results.hasFirst()) return;
        auto* first = new CQmReadAudioStreamBlanket(Owner(), results.getFirst(), m_file);
        GiveOut(first, m_first.Out());
        first->Know(results.getFirstSound());
    }
    HRESULT GetFormatName(char16_t* text, uint32_t capacity) override {
        if (!text) return E_POINTER;
        return Call([](auto& client) { return client.getFormatNameRequest(); },
                    [&](auto& response) { GiveText(TextFromWire(response.getText()), text, capacity); });
    }
    HRESULT GetStreamCount(uint32_t* count) override {
        if (!count) return E_POINTER;
        return Call([](auto& client) { return client.getStreamCountRequest(); },
                    [&](auto& response) { *count = response.getCount(); });
    }
    HRESULT GetStream(uint32_t index, const GUID& iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (index == 0 && iid == IID_IQmReadAudioStream && m_first) {
            *out = m_first.Detach();
            return S_OK;
        }
        const auto* row = std::ranges::find_if(STREAMS, [&](const StreamRow& r) { return r.iid == iid; });
        if (row == std::end(STREAMS)) return E_NOINTERFACE;
        return Call(
            [&](auto& client) {
                auto request = client.getStreamRequest();
                request.setIndex(index);
                request.setIid(WireRecord(iid));
                return request;
            },
            [&](auto& response) { *out = row->make(Owner(), response.getStream(), m_file); });
    }
    HRESULT GetMeta(const GUID& iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != IID_IQmReadMeta && iid != IID_IQmReadProjectLinkMeta) return E_NOINTERFACE;
        return Call(
            [&](auto& client) {
                auto request = client.getMetaRequest();
                request.setIid(WireRecord(iid));
                return request;
            },
            [&](auto& response) {
                if (!response.hasMeta()) return;
                IQmReadMeta* made = new CQmReadMetaBlanket(Owner(), response.getMeta());
                made->AddRef();
                *out = made;
            });
    }

private:
    const SharedFile m_file;
    ComPtr<IQmReadAudioStream> m_first;  ///< until it is asked for
};

class CQmReadFileClassBlanket final
    : public Blanket<IQmReadFileClass, ReadFileClass::Client, IID_IQmReadFileClass> {
public:
    using Blanket::Blanket;
    /// It was started where it lives.
    HRESULT Start(uint32_t) override { return S_OK; }
    HRESULT Recognize(const void* head, uint32_t bytes) override {
        if (!head) return E_POINTER;
        return Call([&](auto& client) {
            auto request = client.recognizeRequest();
            request.setHead(WireBytes(head, bytes));
            return request;
        });
    }
    HRESULT OpenFile(int32_t descriptor, const char16_t* path, IQmReadFile** out) override {
        if (!path || !out) return E_POINTER;
        *out = nullptr;
        SharedFile file(OwnedFile(descriptor >= 0 ? QmFile_OpenDescriptor(descriptor) : nullptr));
        return Call(
            [&](auto& client) {
                auto request = client.openFileRequest();
                if (descriptor >= 0) request.setFile(kj::heap<OpenDescriptor>(descriptor));
                request.setPath(WireText(path));
                return request;
            },
            [&](auto& response) {
                if (response.hasOpened()) GiveOut(new CQmReadFileBlanket(Owner(), response, file), out);
            });
    }
};

class CQmRenderFileBlanket final : public Blanket<IQmRenderFile, RenderFile::Client, IID_IQmRenderFile> {
public:
    CQmRenderFileBlanket(SharedProcess process, RenderFile::Client client, uint32_t frameBytes)
        : Blanket(std::move(process), kj::mv(client)), m_frameBytes(std::max(frameBytes, 1u)) {}
    HRESULT Write(const void* samples, uint32_t frames) override {
        if (!samples) return E_POINTER;
        constexpr uint32_t MOST_BYTES = 1 << 22;
        const uint32_t most = std::max(MOST_BYTES / m_frameBytes, 1u);
        HRESULT hr = S_OK;
        for (uint32_t done = 0; done < frames && Succeeded(hr);) {
            const uint32_t part = std::min(frames - done, most);
            hr = Call([&](auto& client) {
                auto request = client.writeRequest();
                request.setSamples(
                    WireBytes(static_cast<const uint8_t*>(samples) + size_t{done} * m_frameBytes,
                              size_t{part} * m_frameBytes));
                request.setFrames(part);
                return request;
            });
            done += part;
        }
        return hr;
    }
    HRESULT SetMeta(IQmReadMeta* meta) override {
        if (!meta) return E_POINTER;
        std::vector<uint8_t> chunks;
        meta->Seek(0);
        for (uint32_t got = 1; got > 0;) {
            uint8_t piece[4096];
            if (Failed(meta->Read(piece, sizeof piece, &got)) || got > sizeof piece) return MEDIA_E_READ;
            chunks.insert(chunks.end(), piece, piece + got);
        }
        return Call([&](auto& client) {
            auto request = client.setMetaRequest();
            request.setChunks(WireBytes(chunks.data(), chunks.size()));
            return request;
        });
    }
    HRESULT End() override {
        return Call([](auto& client) { return client.endRequest(); });
    }

private:
    const uint32_t m_frameBytes;
};

class CQmRenderFileClassBlanket final
    : public Blanket<IQmRenderFileClass, RenderFileClass::Client, IID_IQmRenderFileClass> {
public:
    using Blanket::Blanket;
    HRESULT Start(uint32_t) override { return S_OK; }
    HRESULT GetPreset(uint32_t index, tagQMTEMPLATExV2** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        return Call(
            [&](auto& client) {
                auto request = client.getPresetRequest();
                request.setIndex(index);
                return request;
            },
            [&](auto& response) { *out = BlockOf(response.getSettings()); });
    }
    HRESULT GetDefault(const char16_t* extension, const _qmwaveformat* source,
                       tagQMTEMPLATExV2** out) override {
        if (!extension || !source || !out) return E_POINTER;
        *out = nullptr;
        return Call(
            [&](auto& client) {
                auto request = client.getDefaultRequest();
                request.setExtension(WireText(extension));
                request.setSource(WireRecord(*source));
                return request;
            },
            [&](auto& response) { *out = BlockOf(response.getSettings()); });
    }
    HRESULT CheckTemplate(const tagQMTEMPLATExV2* settings) override {
        if (!settings) return MEDIA_E_NO_TEMPLATE;
        return Call([&](auto& client) {
            auto request = client.checkTemplateRequest();
            request.setSettings(WireBytes(settings, settings->size));
            return request;
        });
    }
    HRESULT GetExtensions(const tagQMTEMPLATExV2* settings, char16_t* text, uint32_t capacity) override {
        if (!settings || !text) return E_POINTER;
        return Call(
            [&](auto& client) {
                auto request = client.getExtensionsRequest();
                request.setSettings(WireBytes(settings, settings->size));
                return request;
            },
            [&](auto& response) { GiveText(TextFromWire(response.getText()), text, capacity); });
    }
    HRESULT CreateFile(int32_t descriptor, const char16_t* path, const tagQMTEMPLATExV2* settings,
                       const _qmwaveformat* format, IQmRenderFile** out) override {
        if (!path || !settings || !format || !out) return E_POINTER;
        *out = nullptr;
        return Call(
            [&](auto& client) {
                auto request = client.createFileRequest();
                request.setFile(kj::heap<OpenDescriptor>(descriptor));
                request.setPath(WireText(path));
                request.setSettings(WireBytes(settings, settings->size));
                request.setFormat(WireRecord(*format));
                return request;
            },
            [&](auto& response) {
                if (response.hasMade())
                    GiveOut(new CQmRenderFileBlanket(Owner(), response.getMade(), format->blockAlign), out);
            });
    }

    HRESULT GetFields(const tagQMTEMPLATExV2* settings, uint32_t capacity, FIOTEMPLATEFIELD* fields,
                      uint32_t* count) override {
        if (!settings || !fields || !count) return E_POINTER;
        *count = 0;
        const HRESULT hr = Call(
            [&](auto& client) {
                auto request = client.getFieldsRequest();
                request.setSettings(WireBytes(settings, settings->size));
                return request;
            },
            [&](auto& response) {
                const auto bytes = response.getFields();
                *count = static_cast<uint32_t>(bytes.size() / sizeof *fields);
                if (*count && *count <= capacity) std::memcpy(fields, bytes.begin(), *count * sizeof *fields);
            });
        for (uint32_t i = 0; Succeeded(hr) && i < std::min(*count, capacity); i++)
            if (fields[i].count > FIO_MOST_CHOICES) return *count = 0, E_UNEXPECTED;
        return Succeeded(hr) && *count > capacity ? MEDIA_E_NO_ROOM : hr;
    }
    HRESULT SetField(tagQMTEMPLATExV2** settings, uint32_t field, uint32_t value) override {
        if (!settings || !*settings) return E_POINTER;
        tagQMTEMPLATExV2* changed = nullptr;
        const HRESULT hr = Call(
            [&](auto& client) {
                auto request = client.setFieldRequest();
                request.setSettings(WireBytes(*settings, (*settings)->size));
                request.setField(field);
                request.setValue(value);
                return request;
            },
            [&](auto& response) { changed = BlockOf(response.getChanged()); });
        if (Succeeded(hr) && !changed) return E_UNEXPECTED;
        if (changed) CoTaskMemFree(std::exchange(*settings, changed));
        return hr;
    }

private:
    /// Null for none. What is in it is checked by who uses it, but for its own size.
    static tagQMTEMPLATExV2* BlockOf(capnp::Data::Reader bytes) {
        if (bytes.size() < sizeof(tagQMTEMPLATExV2) || bytes.size() > UINT32_MAX) return nullptr;
        auto* block = static_cast<tagQMTEMPLATExV2*>(CoTaskMemAlloc(bytes.size()));
        if (!block) return nullptr;
        std::memcpy(static_cast<void*>(block), bytes.begin(), bytes.size());
        block->size = static_cast<uint32_t>(bytes.size());
        return block;
    }
};

class LibraryThere final : public PluginLibrary {
public:
    LibraryThere(SharedProcess process, const std::filesystem::path& library)
        : m_process(std::move(process)), m_library(library.string()) {}

    bool IsAlive() const override { return m_process->IsAlive(); }
    HRESULT GetInfo(uint32_t langId, FIOPLUGININFO* info, std::string* reason) override {
        bool isWhole = false;
        HRESULT hr = m_process->Run([&]() -> kj::Promise<HRESULT> {
            auto request = m_process->Plugins().getInfoRequest();
            request.setLibrary(m_library);
            request.setLangId(langId);
            return request.send().then([&](auto&& response) -> HRESULT {
                *reason = response.getReason().cStr();
                isWhole = FromWire(response.getInfo(), info);
                return response.getCode();
            });
        });
        if (hr == FIO_E_SURROGATE_GONE)
            *reason = "ends its process, or does not answer, when it is asked what it is";
        else if (Succeeded(hr))
            *reason = isWhole ? CheckPluginInfo(info) : "does not say what it is";
        if (Succeeded(hr) && !reason->empty()) hr = E_UNEXPECTED;
        return hr;
    }
    HRESULT CreateClass(const GUID& classId, const GUID& iid, uint32_t langId, void** out) override {
        *out = nullptr;
        return m_process->Run([&]() -> kj::Promise<HRESULT> {
            const auto fill = [&](auto& request) {
                request.setLibrary(m_library);
                request.setClassId(WireRecord(classId));
                request.setLangId(langId);
            };
            if (iid == IID_IQmReadFileClass) {
                auto request = m_process->Plugins().createReaderRequest();
                fill(request);
                return request.send().then([&](auto&& response) -> HRESULT {
                    if (response.hasReader())
                        Give<IQmReadFileClass>(new CQmReadFileClassBlanket(m_process, response.getReader()),
                                               out);
                    return response.getCode();
                });
            }
            auto request = m_process->Plugins().createRendererRequest();
            fill(request);
            return request.send().then([&](auto&& response) -> HRESULT {
                if (response.hasRenderer())
                    Give<IQmRenderFileClass>(new CQmRenderFileClassBlanket(m_process, response.getRenderer()),
                                             out);
                return response.getCode();
            });
        });
    }

private:
    template <class Interface>
    static void Give(Interface* made, void** out) {
        made->AddRef();
        *out = made;
    }

    const SharedProcess m_process;
    const std::string m_library;
};

}  // namespace

std::unique_ptr<PluginLibrary> PluginInSurrogate(std::shared_ptr<SurrogateProcess> process,
                                                 const std::filesystem::path& library) {
    return std::make_unique<LibraryThere>(std::move(process), library);
}

}  // namespace tarn
