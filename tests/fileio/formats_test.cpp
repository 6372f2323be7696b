// What our plug-ins write is what they read, and what libsndfile itself reads.
#include "fileio/meta_chunks.h"
#include "fileio/template_list.h"
#include "mediafile/meta/meta_values.h"
#include "platform/memory.h"
#include "tests/fileio/file_manager.h"

#include <sndfile.h>

#include <cmath>
#include <cstring>
#include <random>

#include <fcntl.h>
#include <unistd.h>

using namespace tarn;

namespace {

constexpr GUID RENDERERS[] = {Guid("{2F6E4B11-94C7-4B0D-8E1A-6A0B5D3C9E01}"),
                              Guid("{7D0A3C51-1B8E-4C55-9F6B-2E4471A0BC02}")};

class Formats : public FileManagerTest {
protected:
    Formats() { StartOwn(); }

    /// A sound that codecs keep alike, as samples of a type.
    static Bytes Sound(QMSAMPLETYPE type, uint32_t channels, size_t frames) {
        Bytes bytes(frames * channels * QmAudio_BytesFromSampleType(type));
        std::mt19937 random(7);
        for (size_t i = 0; i < frames * channels; i++) {
            const double tone = 0.3 * std::sin(0.05 * static_cast<double>(i / channels)) +
                                0.01 * (static_cast<double>(random() % 1000) / 1000 - 0.5);
            const auto wide = static_cast<int32_t>(tone * 2147483647.0);
            const auto single = static_cast<float>(tone);
            const uint32_t width = QmAudio_BytesFromSampleType(type);
            if (type == QMSAMPLE_FLOAT32)
                std::memcpy(&bytes[i * width], &single, sizeof single);
            else
                std::memcpy(&bytes[i * width], reinterpret_cast<const char*>(&wide) + 4 - width, width);
        }
        return bytes;
    }

    /// With all 30,011 frames; without samples the length alone.
    static void Compare(IQmReadFile& file, const _qmwaveformat& format, const Bytes& samples) {
        ComPtr<IQmReadAudioStream> stream;
        _qmwaveformat got{};
        uint64_t frames = 0;
        uint32_t count = 0;
        ASSERT_EQ(file.GetStream(0, IID_IQmReadAudioStream, stream.OutVoid()), S_OK);
        ASSERT_EQ(stream->GetFormat(&got, sizeof got), S_OK);
        ASSERT_EQ(stream->GetFrames(&frames), S_OK);
        EXPECT_EQ(got.sampleRate, format.sampleRate);
        EXPECT_EQ(got.channels, format.channels);
        EXPECT_GE(frames + 1, 30011u);
        if (samples.empty()) return;
        EXPECT_EQ(got.sampleType, format.sampleType);
        ASSERT_EQ(got.blockAlign, format.blockAlign);
        ASSERT_EQ(frames, 30011u);
        Bytes back(samples.size());
        // From the middle, and then from the start: places do not depend on the way to them.
        ASSERT_EQ(stream->Read(15000, 15011, &back[size_t{15000} * format.blockAlign], &count), S_OK);
        ASSERT_EQ(stream->Read(0, 15000, back.data(), &count), S_OK);
        EXPECT_TRUE(back == samples);
        EXPECT_EQ(stream->Read(30011, 1, back.data(), &count), S_OK);
        EXPECT_EQ(count, 0u);
    }

    void Render(const std::string& name, IQmRenderFileClass& renderer, const tagQMTEMPLATExV2& settings,
                const _qmwaveformat& format, const Bytes& samples) {
        const int fd = ::open(Path(name).c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        ComPtr<IQmRenderFile> file;
        ASSERT_EQ(renderer.CreateFile(fd, WidePath(name).c_str(), &settings, &format, file.Out()), S_OK);
        ::close(fd);
        MetaDocument document;
        document.container = MediaContainer::Wave;
        ASSERT_EQ(SetMetaValue(document, "info.INAM", "A title"), "");
        ComPtr<IQmReadMeta> meta;
        *meta.Out() = MakeMeta(document);
        file->SetMeta(meta.Get());
        const auto frames = static_cast<uint32_t>(samples.size() / format.blockAlign);
        for (uint32_t at = 0; at < frames; at += 1000)
            ASSERT_EQ(file->Write(&samples[size_t{at} * format.blockAlign], std::min(1000u, frames - at)),
                      S_OK);
        ASSERT_EQ(file->End(), S_OK);
    }
};

TEST_F(Formats, EveryPresetMakesAFileThatIsReadAlike) {
    for (const GUID& id : RENDERERS) {
        ComPtr<IQmRenderFileClass> renderer;
        ASSERT_EQ(manager->GetRendererClass(id, renderer.Out()), S_OK);
        for (uint32_t i = 0;; i++) {
            tagQMTEMPLATExV2* preset = nullptr;
            if (renderer->GetPreset(i, &preset) != S_OK) break;
            const std::unique_ptr<tagQMTEMPLATExV2, decltype(&CoTaskMemFree)> owned(preset, CoTaskMemFree);
            const std::string name = Utf8FromUtf16(TemplateName(*preset));
            SCOPED_TRACE(name);
            ASSERT_EQ(renderer->CheckTemplate(preset), S_OK);
            char16_t endings[128];
            ASSERT_EQ(renderer->GetExtensions(preset, endings, 128), S_OK);
            const std::string file = "f" + std::to_string(i) + "." +
                                     Utf8FromUtf16(endings).substr(0, Utf8FromUtf16(endings).find(';'));
            const _qmwaveformat& told = preset->audio.format;
            _qmwaveformat format;
            format.Init(told.sampleRate ? told.sampleRate : 44100, told.sampleType,
                        told.channels ? told.channels : 2, told.channelMask, sizeof format);
            const Bytes samples = Sound(format.sampleType, format.channels, 30011);
            ASSERT_NO_FATAL_FAILURE(Render(file, *renderer, *preset, format, samples));

            ComPtr<IQmReadFile> read;
            ASSERT_EQ(manager->OpenReader(WidePath(file).c_str(), read.Out()), S_OK);
            const bool isLossy = file.ends_with("ogg") || file.ends_with("opus") || file.ends_with("mp3");
            ASSERT_NO_FATAL_FAILURE(Compare(*read, format, isLossy ? Bytes() : samples));
            // And by FFmpeg's libraries, in a process of their own, which count the pad of Wave64 as samples.
            if (!isLossy && !file.ends_with("w64")) {
                ComPtr<IQmReadFile> film;
                GUID reader = Guid("{C1B2A390-52D7-4E6B-8A8C-91D3E07F4B03}");
                ASSERT_EQ(manager->OpenReaderEx(WidePath(file).c_str(), &reader, film.Out()), S_OK);
                ASSERT_NO_FATAL_FAILURE(Compare(*film, format, samples));
            }
            ComPtr<IQmReadMeta> meta;
            if (file.ends_with("au")) continue;  // these have no texts
            ASSERT_EQ(read->GetMeta(IID_IQmReadMeta, meta.OutVoid()), S_OK);
            const std::vector<MetaValue> values = ListMetaValues(ReadMeta(*meta));
            EXPECT_TRUE(std::ranges::any_of(
                values, [](const MetaValue& v) { return v.key == "info.INAM" && v.text == "A title"; }));
        }
    }
}

TEST_F(Formats, WhatLibsndfileWritesIsReadToTheSample) {
    for (const int format : {SF_FORMAT_FLAC | SF_FORMAT_PCM_24, SF_FORMAT_AU | SF_FORMAT_PCM_16,
                             SF_FORMAT_VOC | SF_FORMAT_PCM_U8, SF_FORMAT_CAF | SF_FORMAT_ALAC_24,
                             SF_FORMAT_NIST | SF_FORMAT_PCM_32, SF_FORMAT_IRCAM | SF_FORMAT_FLOAT,
                             SF_FORMAT_WAV | SF_FORMAT_GSM610, SF_FORMAT_OGG | SF_FORMAT_VORBIS,
                             SF_FORMAT_SVX | SF_FORMAT_PCM_S8}) {
        SCOPED_TRACE(format);
        SF_INFO info{};
        info.format = format;
        info.channels = 1;
        info.samplerate = 8000;
        SNDFILE* out = sf_open(Path("s").c_str(), SFM_WRITE, &info);
        ASSERT_TRUE(out) << sf_strerror(nullptr);
        const Bytes sound = Sound(QMSAMPLE_FLOAT32, 1, 8000);
        sf_writef_float(out, reinterpret_cast<const float*>(sound.data()), 8000);
        sf_close(out);

        SNDFILE* in = sf_open(Path("s").c_str(), SFM_READ, &info);
        std::vector<double> theirs(8000);
        ASSERT_EQ(sf_readf_double(in, theirs.data(), 8000), 8000);
        sf_close(in);
        ComPtr<IQmReadFile> read;
        ComPtr<IQmReadAudioStream> stream;
        ASSERT_EQ(manager->OpenReader(WidePath("s").c_str(), read.Out()), S_OK);  // a name without an ending
        ASSERT_EQ(read->GetStream(0, IID_IQmReadAudioStream, stream.OutVoid()), S_OK);
        _qmwaveformat got{};
        ASSERT_EQ(stream->GetFormat(&got, sizeof got), S_OK);
        Bytes ours(8000 * sizeof(double));
        uint32_t count = 0;
        ASSERT_EQ(stream->Read(0, 8000, ours.data(), &count), S_OK);
        ASSERT_EQ(count, 8000u);
        const double full =
            got.sampleType == QMSAMPLE_FLOAT32 ? 0 : QmAudio_GetNormalizeFactor(got.BitsPerSample());
        const uint32_t width = got.blockAlign;
        for (size_t i = 0; i < 8000; i++) {
            double sample = 0;
            if (full == 0) {
                float value = 0;
                std::memcpy(&value, &ours[i * width], width);
                sample = value;
            } else {
                int32_t value = 0;
                std::memcpy(reinterpret_cast<char*>(&value) + 4 - width, &ours[i * width], width);
                if (width == 1) value = (ours[i] - 128) * (1 << 24);
                sample = value / 2147483648.0;
            }
            ASSERT_NEAR(sample, theirs[i], full == 0 ? 1e-7 : 0) << i;
        }
    }
}

/// By what is in them, whatever they are called.
TEST_F(Formats, AHundredFilesOfAFolderFindTheirReaders) {
    const GUID film = Guid("{C1B2A390-52D7-4E6B-8A8C-91D3E07F4B03}");
    const std::string texts = "1\n00:00:01,000 --> 00:00:02,500\n<i>Hello</i>,\nyou there\n\n"
                              "2\n00:00:03,000 --> 00:00:04,000\nBye\n\n";
    Make("texts", Bytes(texts.begin(), texts.end()));
    Make("junk", Bytes(5000, 'x'));
    for (const auto& [kind, format] :
         {std::pair{"wave", SF_FORMAT_WAV | SF_FORMAT_PCM_16}, {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16}}) {
        SF_INFO info{0, 8000, 1, format, 0, 0};
        SNDFILE* out = sf_open(Path(kind).c_str(), SFM_WRITE, &info);
        sf_writef_short(out, std::vector<short>(100).data(), 100);
        sf_close(out);
    }
    const std::pair<const char*, GUID> kinds[] = {{"wave", Guid("{2F6E4B10-94C7-4B0D-8E1A-6A0B5D3C9E01}")},
                                                  {"flac", Guid("{7D0A3C50-1B8E-4C55-9F6B-2E4471A0BC02}")},
                                                  {"texts", film},
                                                  {"junk", GUID{}}};
    const char* const endings[] = {"wav", "flac", "mkv", "txt", "mp3"};
    for (size_t i = 0; i < 100; i++) {
        const auto& [kind, reader] = kinds[i % 4];
        const std::string name = std::to_string(i) + "." + endings[i % 5];
        std::filesystem::copy_file(Path(kind), Path(name));
        GUID found{};
        HRESULT status = S_OK;
        manager->IdentifyFileType(WidePath(name).c_str(), &found, &status);
        EXPECT_EQ(status, reader == GUID{} ? MEDIA_E_UNSUPPORTED_FORMAT : S_OK) << name << " " << kind;
        EXPECT_EQ(found, reader) << name << " " << kind;
    }
    ComPtr<IQmReadFile> file;
    ComPtr<IQmReadTextStream> stream;
    ASSERT_EQ(manager->OpenReader(WidePath("texts").c_str(), file.Out()), S_OK);
    ASSERT_EQ(file->GetStream(0, IID_IQmReadTextStream, stream.OutVoid()), S_OK);
    char16_t text[64];
    int64_t start = 0, end = 0;
    ASSERT_EQ(stream->ReadNext(&start, &end, text, 64), S_OK);
    EXPECT_EQ(start, 10000000);
    EXPECT_EQ(end, 25000000);
    EXPECT_EQ(Utf8FromUtf16(text), "Hello,\nyou there");
    EXPECT_EQ(stream->ReadNext(&start, &end, text, 4), S_OK);
    EXPECT_EQ(Utf8FromUtf16(text), "Bye");
    EXPECT_EQ(stream->ReadNext(&start, &end, text, 64), S_FALSE);

    // Held by its reader under any name until it is let go.
    std::filesystem::create_symlink(Path("texts"), Path("link"));
    GUID holder{};
    EXPECT_EQ(manager->FindLockedReader(WidePath("link").c_str(), &holder), S_OK);
    EXPECT_EQ(holder, film);
    EXPECT_EQ(manager->FindLockedReader(WidePath("wave").c_str(), &holder), MEDIA_E_UNSUPPORTED_FORMAT);
    file.Reset();
    EXPECT_EQ(manager->FindLockedReader(WidePath("texts").c_str(), &holder), MEDIA_E_UNSUPPORTED_FORMAT);
    EXPECT_EQ(manager->IsOpenProgressNeeded(WidePath("0.wav").c_str()), S_FALSE);
    EXPECT_EQ(manager->IsOpenProgressNeeded(WidePath("2.mkv").c_str()), S_OK);
    EXPECT_EQ(manager->IsOpenProgressNeeded(WidePath("texts").c_str()), S_OK);
    EXPECT_EQ(manager->IsOpenProgressNeeded(WidePath("none").c_str()), MEDIA_E_OPEN);
}

/// What a header tells beyond its samples is neither silence nor a sound that cannot be read to its end.
TEST_F(Formats, ASoundEndsWhereItsSamplesDo) {
    constexpr uint32_t FRAMES = 48000, PIECE = 1600, RATE = 48000, FRAME = 4;
    const Bytes samples = Sound(QMSAMPLE_PCM16, 2, FRAMES);
    Builder movi;
    movi.Text("movi");
    for (size_t at = 0; at < samples.size(); at += PIECE * FRAME)
        movi.Chunk("00wb", Bytes(&samples[at], &samples[at] + PIECE * FRAME));
    const Bytes strh = Builder()
                           .Text("auds")
                           .Zeros(16)
                           .Little(FRAME)
                           .Little(RATE * FRAME)
                           .Little(0u)
                           .Little(FRAMES + 20000)
                           .Little(PIECE * FRAME)
                           .Little(0u)
                           .Little(FRAME)
                           .Zeros(8)
                           .bytes;
    const Bytes strl = Builder().Text("strl").Chunk("strh", strh).Chunk("strf", PcmFormat(2, RATE, 16)).bytes;
    const Bytes hdrl = Builder().Text("hdrl").Chunk("avih", Bytes(56)).Chunk("LIST", strl).bytes;
    const Bytes avi = Builder().Text("AVI ").Chunk("LIST", hdrl).Chunk("LIST", movi.bytes).bytes;
    Make("told.avi", Builder().Chunk("RIFF", avi).bytes);
    // Layer II, 192 kbit/s, 44.1 kHz: 626 bytes for 1152 frames, or a byte more, by which their number is
    // told wrong from the first; nothing is allotted, so that it is silence.
    Builder mpeg;
    mpeg.Big(0xFFFDA000u).Zeros(622);
    for (int i = 1; i < 400; i++) mpeg.Big(0xFFFDA200u).Zeros(623);
    Make("silence.mp2", mpeg.bytes);
    for (const char* name : {"told.avi", "silence.mp2"}) {
        SCOPED_TRACE(name);
        ComPtr<IQmReadFile> file;
        ComPtr<IQmReadAudioStream> stream;
        _qmwaveformat format{};
        uint64_t frames = 0;
        ASSERT_EQ(manager->OpenReader(WidePath(name).c_str(), file.Out()), S_OK);
        ASSERT_EQ(file->GetStream(0, IID_IQmReadAudioStream, stream.OutVoid()), S_OK);
        ASSERT_EQ(stream->GetFormat(&format, sizeof format), S_OK);
        ASSERT_EQ(stream->GetFrames(&frames), S_OK);
        ASSERT_GT(frames, 0u);
        Bytes back((frames + PIECE) * format.blockAlign);
        uint32_t got = 0;
        EXPECT_EQ(stream->Read(0, static_cast<uint32_t>(frames) + PIECE, back.data(), &got), S_OK);
        EXPECT_EQ(got, frames);
        back.resize(size_t{got} * format.blockAlign);
        if (name == std::string("told.avi")) {
            EXPECT_TRUE(back == samples) << frames;
        } else {
            EXPECT_EQ(frames, 400u * 1152);
            EXPECT_EQ(std::ranges::count(back, 0), static_cast<ptrdiff_t>(back.size()));
        }
    }
}

/// Each choice makes a template that the renderer takes and tells again, here and in another process.
TEST_F(Formats, EveryChoiceOfATemplateCanBeMade) {
    for (const char* group : {"-1", "1"}) {
        std::string config = "[FileIO Plug-Ins]\n";
        for (const char* plugin : {"wave", "sndfile"})
            config += std::string(plugin) + "=" + OWN_PLUGINS + "/" + plugin + ".so\n";
        for (const char* plugin : {"wave", "sndfile"})
            config += std::string("[") + plugin + "]\nSurrogate=" + group + "\n";
        Make("plugins/z.Fio2007-Config", Bytes(config.begin(), config.end()));
        Start();
        for (const GUID& id : RENDERERS) {
            ComPtr<IQmRenderFileClass> renderer;
            ASSERT_EQ(manager->GetRendererClass(id, renderer.Out()), S_OK);
            tagQMTEMPLATExV2* block = nullptr;
            for (uint32_t i = 0; renderer->GetPreset(i, &block) == S_OK; i++) {
                OwnedTemplate preset(block);
                FIOTEMPLATEFIELD fields[8];
                uint32_t count = 0;
                ASSERT_EQ(renderer->GetFields(block, 8, fields, &count), S_OK);
                EXPECT_GE(count, 2u);
                EXPECT_EQ(renderer->GetFields(block, count - 1, fields, &count), MEDIA_E_NO_ROOM);
                for (uint32_t f = 0; f < count; f++)
                    for (uint32_t c = 0; c < fields[f].count; c++) {
                        tagQMTEMPLATExV2* changed = nullptr;
                        ASSERT_EQ(QmFio_CopyTemplate(&changed, block), S_OK);
                        EXPECT_EQ(renderer->SetField(&changed, fields[f].field, fields[f].choices[c]), S_OK);
                        const OwnedTemplate owned(changed);
                        EXPECT_EQ(renderer->CheckTemplate(changed), S_OK);
                        EXPECT_EQ(TemplateName(*changed), TemplateName(*block));
                        FIOTEMPLATEFIELD after[8];
                        uint32_t now = 0;
                        ASSERT_EQ(renderer->GetFields(changed, 8, after, &now), S_OK);
                        const auto* at =
                            std::ranges::find(after, after + now, fields[f].field, &FIOTEMPLATEFIELD::field);
                        ASSERT_NE(at, after + now);
                        EXPECT_EQ(at->value, fields[f].choices[c]) << fields[f].field;
                    }
                tagQMTEMPLATExV2* same = preset.release();
                EXPECT_EQ(renderer->SetField(&same, FIO_FIELD_RATE, 12345), E_INVALIDARG);
                EXPECT_EQ(renderer->SetField(&same, 99, 0), E_INVALIDARG);
                EXPECT_EQ(same, block);
                CoTaskMemFree(same);
            }
        }
    }
}

}  // namespace
