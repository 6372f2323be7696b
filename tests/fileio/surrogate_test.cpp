// Plug-ins in processes of their own: the same results, no harm done, nothing left.
#include "audio/g711.h"
#include "fileio/memory_token.h"
#include "fileio/out_of_process.h"
#include "fileio/template_list.h"
#include "tests/fileio/file_manager.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tarn;

namespace {

constexpr uint32_t CALL_LIMIT = 3000;  ///< milliseconds that a call may take
constexpr HRESULT GONE = StatusCode(0x800706BE);
constexpr GUID WAVE_READER = Guid("{2F6E4B10-94C7-4B0D-8E1A-6A0B5D3C9E01}"),
               WAVE_RENDERER = Guid("{2F6E4B11-94C7-4B0D-8E1A-6A0B5D3C9E01}");

class Surrogate : public FileManagerTest {
protected:
    void Config(const std::string& text) { MakeText("plugins/z.Fio2007-Config", text); }
    void MakeText(const std::string& name, const std::string& text) {
        Make(name, Bytes(text.begin(), text.end()));
    }
    HRESULT Open(const std::string& name, ComPtr<IQmReadFile>* file) {
        GUID reader = ApartId(0);
        return manager->OpenReaderEx(WidePath(name).c_str(), &reader, file->Out());
    }
    HRESULT Opened(const std::string& name) {
        ComPtr<IQmReadFile> file;
        return Open(name, &file);
    }
    static GUID ApartId(uint16_t copy) {
        GUID id = ProbeId(9);
        id.Data2 = copy;
        return id;
    }
    void InstallApart(int copy) {
        std::filesystem::copy_file(std::string(PROBES_FOLDER) + "/probe-apart.so",
                                   Path("plugins/apart-" + std::to_string(copy) + ".so"));
    }
    static size_t OpenFiles() {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
    }
};

TEST_F(Surrogate, GivesTheSameAsTheProgramsOwnProcess) {
    const std::string wave = std::string(OWN_PLUGINS) + "/wave.so";
    Bytes samples(4 * 700001);
    for (size_t i = 0; i < samples.size(); i++) samples[i] = static_cast<uint8_t>(i * 31 + i / 977);
    for (const int group : {-1, 3}) {
        SCOPED_TRACE(group);
        Config("[FileIO Plug-Ins]\nwave=" + wave + "\n[wave]\nSurrogate=" + std::to_string(group) + "\n");
        Start();
        EXPECT_EQ(StateOf("wave").group, group);
        ComPtr<IQmRenderFileClass> renderer;
        ASSERT_EQ(manager->GetRendererClass(WAVE_RENDERER, renderer.Out()), S_OK);
        tagQMTEMPLATExV2* settings = nullptr;
        ASSERT_EQ(
            QmFio_GetTemplateByName(manager.Get(), &WAVE_RENDERER, u"48,000 Hz, 16 Bit, Stereo", &settings),
            S_OK);
        const std::string name = "of" + std::to_string(group) + ".wav";
        const int fd = ::open(Path(name).c_str(), O_RDWR | O_CREAT, 0600);
        ComPtr<IQmRenderFile> made;
        ASSERT_EQ(
            renderer->CreateFile(fd, WidePath(name).c_str(), settings, &settings->audio.format, made.Out()),
            S_OK);
        ASSERT_EQ(made->Write(samples.data(), 700001), S_OK);
        ASSERT_EQ(made->End(), S_OK);
        ::close(fd);
        CoTaskMemFree(settings);

        ComPtr<IQmReadFile> file;
        ComPtr<IQmReadAudioStream> stream;
        ComPtr<IQmReadVideoStream> none;
        ASSERT_EQ(manager->OpenReader(WidePath(name).c_str(), file.Out()), S_OK);
        ASSERT_EQ(file->GetStream(0, IID_IQmReadAudioStream, stream.OutVoid()), S_OK);
        EXPECT_EQ(file->GetStream(0, IID_IQmReadVideoStream, none.OutVoid()), E_NOINTERFACE);
        ComPtr<IQmOutOfProcObj> where;
        ASSERT_EQ(stream->QueryInterface(IID_IQmOutOfProcObj, where.OutVoid()),
                  group < 0 ? E_NOINTERFACE : S_OK);
        uint32_t flag = 0, got = 0;
        if (where) {
            ASSERT_EQ(where->IsOutOfProc(&flag), S_OK);
        }
        EXPECT_EQ(flag, group < 0 ? 0 : UINT32_MAX);
        Bytes back(samples.size());
        // From another thread than the one that has opened it, and beyond the end.
        std::thread([&] { EXPECT_EQ(stream->Read(0, 800000, back.data(), &got), S_OK); }).join();
        EXPECT_EQ(got, 700001u);
        EXPECT_EQ(back, samples);
        ASSERT_EQ(stream->Read(699999, 2, back.data(), &got), S_OK);
        EXPECT_TRUE(std::equal(back.begin(), back.begin() + 8, samples.end() - 8));
    }
    EXPECT_EQ(Content("of3.wav"), Content("of-1.wav"));
}

TEST_F(Surrogate, EndsAloneAndTheNextFileHasANewOne) {
    InstallApart(0);
    MakeText("fine", "ZED!");
    MakeText("crash", "BOOM");
    MakeText("loop", "LOOP");
    MakeText("try", "TRYS");
    Start();
    EXPECT_EQ(StateOf("apart-0").group, 0);
    ASSERT_EQ(manager->SetMetric(2004, CALL_LIMIT), S_OK);
    Start();
    EXPECT_EQ(Opened("try"), S_OK);  // all that it tries was refused
    ComPtr<IQmReadFile> file;
    ASSERT_EQ(Open("fine", &file), S_OK);
    const size_t before = OpenFiles();
    for (int round = 0; round < 20; round++) {
        const char* const bad = round ? "crash" : "loop";
        ASSERT_EQ(Opened(bad), GONE) << round;
        uint32_t count = 0;
        EXPECT_EQ(file->GetStreamCount(&count), GONE);  // what came from the old one stays dead
        file.Reset();
        ASSERT_EQ(Open("fine", &file), S_OK) << round;
        EXPECT_EQ(file->GetStreamCount(&count), S_OK);
    }
    EXPECT_EQ(OpenFiles(), before);
    EXPECT_TRUE(log->Has("its process has ended"));
    file.Reset();
    manager->CleanUp();
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);  // none is left
}

/// What a plug-in tells may be anything, here and there.
TEST_F(Surrogate, BelievesNoCountAndNoText) {
    InstallApart(0);
    Install("signed");
    MakeText("lies", "LIES");
    MakeText("lies.acme", "LIES");
    Start();
    ComPtr<IQmReadFile> file;
    ASSERT_EQ(Open("lies", &file), S_OK);
    char16_t text[600] = {};
    EXPECT_EQ(file->GetFormatName(text, std::size(text)), S_OK);
    EXPECT_EQ(std::u16string(text), std::u16string(511, u'x'));
    ComPtr<IQmReadAudioStream> stream;
    EXPECT_EQ(file->GetStream(0, IID_IQmReadAudioStream, stream.OutVoid()), E_NOINTERFACE);
    ASSERT_EQ(file->GetStream(1, IID_IQmReadAudioStream, stream.OutVoid()), S_OK);
    Bytes samples(4000);
    for (const uint64_t at : {0, 1000, 7}) {
        uint32_t got = 0;
        EXPECT_EQ(stream->Read(at, 1000, samples.data(), &got), S_OK);
        EXPECT_EQ(got, 1000u);
    }
    ASSERT_EQ(file->GetStream(2, IID_IQmReadAudioStream, stream.OutVoid()), S_OK);
    for (const uint64_t at : {uint64_t{0}, uint64_t{1} << 62, UINT64_MAX - 1}) {
        uint32_t got = 1;
        EXPECT_EQ(stream->Read(at, 1000, samples.data(), &got), MEDIA_E_READ);
        EXPECT_EQ(got, 0u);
    }
    for (const char* name : {"lies", "lies.acme"}) {
        ASSERT_EQ(manager->MediaInfo_Open(WidePath(name).c_str()), S_OK);
        EXPECT_EQ(manager->MediaInfo_GetAudioProperty(0, u"Format", text, std::size(text)), S_OK) << name;
        EXPECT_EQ(std::u16string_view(text).find_first_not_of(u'x'), std::u16string_view::npos);
        EXPECT_EQ(manager->MediaInfo_GetAudioProperty(9, u"Format", text, std::size(text)),
                  MEDIA_E_NOT_FOUND);
        manager->MediaInfo_Close();
    }
}

/// Killed before each message in turn, or while it is under way: that file fails, and nothing else.
TEST_F(Surrogate, MayBeKilledAtAnyMessage) {
    Config("[FileIO Plug-Ins]\nwave=" + std::string(OWN_PLUGINS) + "/wave.so\n[wave]\nSurrogate=3\n");
    Make("a.wav",
         WaveForm(Builder().Chunk("fmt ", PcmFormat(2, 48000, 8, 7)).Chunk("data", Bytes(2000000)).bytes));
    Start();
    struct Held {
        ComPtr<IQmReadFile> file;
        ComPtr<IQmReadAudioStream> stream;
        Bytes samples = Bytes(4 << 16);
        char16_t text[32];
        uint32_t number = 0;
        uint64_t frames = 0;
        QmWaveFormatBlock format{};
    };
    using Step = std::function<HRESULT(Held&)>;
    const auto read = [](Held& h, uint64_t at) {
        return h.stream->Read(at, 1 << 16, h.samples.data(), &h.number);
    };
    const Step steps[] = {
        [this](Held& h) { return manager->OpenReader(WidePath("a.wav").c_str(), h.file.Out()); },
        [](Held& h) { return h.file->GetFormatName(h.text, 32); },
        [](Held& h) { return h.file->GetStreamCount(&h.number); },
        [](Held& h) { return h.file->GetStream(0, IID_IQmReadAudioStream, h.stream.OutVoid()); },
        [](Held& h) { return h.stream->GetFormat(&h.format.format, sizeof h.format); },
        [](Held& h) { return h.stream->GetFrames(&h.frames); },
        [&](Held& h) { return read(h, 0); },
        [&](Held& h) { return read(h, 1 << 16); },
        [&](Held& h) { return read(h, 500000); },
        [](Held& h) {
            ComPtr<IQmReadMeta> meta;
            return h.file->GetMeta(IID_IQmReadMeta, meta.OutVoid());
        },
        [](Held& h) { return h.stream.Reset(), S_OK; },
        [](Held& h) { return h.file.Reset(), S_OK; },
    };
    // More by hand, to see whether memory grows.
    const char* more = std::getenv("TARN_KILL_ROUNDS");
    const int rounds = more ? std::atoi(more) : 2 * static_cast<int>(std::size(steps));
    size_t before = 0;
    {
        Held first;
        ASSERT_EQ(steps[0](first), S_OK);
    }
    for (int round = 0; round < rounds; round++) {
        const size_t when = static_cast<size_t>(round) % std::size(steps);
        SCOPED_TRACE(round);
        Held held;
        for (size_t i = 0; i < std::size(steps); i++) {
            const bool isOfStream = i >= 4 && i <= 8, isKnown = i == 3 || i == 4;
            if (isOfStream ? !held.stream : i > 0 && !held.file) continue;
            std::thread killer;
            for (const pid_t process : i == when ? Surrogates() : std::vector<pid_t>()) {
                // A message that is sent meanwhile is never answered.
                if (round % 2) ::kill(process, SIGSTOP);
                killer = std::thread([process] { ::kill(process, SIGKILL); });
            }
            const HRESULT hr = steps[i](held);
            if (killer.joinable()) killer.join();
            // What is killed before it is asked for a file is replaced at once; what was told with the file,
            // and what was read ahead, is there.
            EXPECT_TRUE(Succeeded(hr) ? i <= when || isKnown || i > 6 || when == 0 : hr == GONE && i >= when)
                << i << ": " << hr;
        }
        held = {};
        ASSERT_EQ(steps[0](held), S_OK);
        ASSERT_EQ(steps[3](held), S_OK);
        ASSERT_EQ(read(held, 0), S_OK);
        held = {};
        EXPECT_EQ(Surrogates().size(), 1u);
        log->lines.clear();
        if (round == 0) before = OpenFiles();
        EXPECT_EQ(OpenFiles(), before);
        if (more && (round % 100 == 0 || round == rounds - 1)) {
            std::ifstream status("/proc/self/statm");
            size_t pages = 0, resident = 0;
            status >> pages >> resident;
            std::printf("round %d: %zu descriptors, %zu KiB\n", round, OpenFiles(), resident * 4);
        }
    }
}

/// Each with a file of its own over the one connection, forwards and to and fro; samples that are read where
/// they lie, even when nobody is there any more to ask, and others.
TEST_F(Surrogate, ServesManyThreadsAtOnce) {
    Config("[FileIO Plug-Ins]\nwave=" + std::string(OWN_PLUGINS) + "/wave.so\n[wave]\nSurrogate=3\n");
    constexpr uint32_t FRAMES = 700001;
    Bytes samples(size_t{FRAMES} * 4);
    for (size_t i = 0; i < samples.size(); i++) samples[i] = static_cast<uint8_t>(i * 31 + i / 977);
    const Bytes law(samples.begin(), samples.begin() + FRAMES * 2);
    Bytes decoded(samples.size());
    DecodeMuLaw(law.data(), law.size(), reinterpret_cast<int16_t*>(decoded.data()));
    const struct {
        const char* name;
        const Bytes& samples;
    } files[] = {{"a.wav", samples}, {"law.wav", decoded}};
    Make("a.wav", WaveForm(Builder().Chunk("fmt ", PcmFormat(2, 48000, 16)).Chunk("data", samples).bytes));
    Make("law.wav", WaveForm(Builder().Chunk("fmt ", PcmFormat(2, 48000, 8, 7)).Chunk("data", law).bytes));
    Start();
    const auto read = [&](const auto& file, uint32_t block, uint32_t stride) {
        ComPtr<IQmReadFile> opened;
        ComPtr<IQmReadAudioStream> stream;
        ASSERT_EQ(manager->OpenReader(WidePath(file.name).c_str(), opened.Out()), S_OK);
        ASSERT_EQ(opened->GetStream(0, IID_IQmReadAudioStream, stream.OutVoid()), S_OK);
        Bytes back(size_t{block} * 4);
        uint32_t got = 0;
        for (uint32_t at = 0, next = 0; next < FRAMES; next += block, at = (next * stride) % FRAMES) {
            ASSERT_EQ(stream->Read(at, block, back.data(), &got), S_OK);
            ASSERT_EQ(got, std::min(block, FRAMES - at)) << at;
            ASSERT_EQ(std::memcmp(back.data(), &file.samples[size_t{at} * 4], size_t{got} * 4), 0) << at;
        }
    };
    std::vector<std::thread> threads;
    using Way = std::pair<uint32_t, uint32_t>;
    for (const auto& file : files)
        for (const Way& way :
             {Way{1000, 1}, Way{16384, 1}, Way{65536, 1}, Way{300000, 1}, Way{50000, 3}, Way{65536, 7}})
            threads.emplace_back([&read, &file, way] { read(file, way.first, way.second); });
    for (std::thread& thread : threads) thread.join();
    ComPtr<IQmReadFile> opened;
    ComPtr<IQmReadAudioStream> stream;
    ASSERT_EQ(manager->OpenReader(WidePath("a.wav").c_str(), opened.Out()), S_OK);
    ASSERT_EQ(opened->GetStream(0, IID_IQmReadAudioStream, stream.OutVoid()), S_OK);
    for (const pid_t process : Surrogates()) ::kill(process, SIGKILL);
    Bytes back(samples.size());
    uint32_t got = 0;
    EXPECT_EQ(stream->Read(0, FRAMES, back.data(), &got), S_OK);
    EXPECT_TRUE(got == FRAMES && back == samples);
}

TEST_F(Surrogate, AsksThoseThatNobodyKnowsWhereTheyDoNoHarm) {
    Install("crashes");
    Install("hangs");
    Install("signed");
    Start(FIO_INIT_NO_CACHE | FIO_INIT_NO_SURROGATES, Path("none"));
    ASSERT_EQ(manager->SetMetric(2004, CALL_LIMIT), S_OK);
    Start();
    for (const char* bad : {"crashes", "hangs"})
        EXPECT_NE(Utf8FromUtf16(StateOf(bad).failure).find("ends its process"), std::string::npos)
            << Utf8FromUtf16(StateOf(bad).failure);
    EXPECT_EQ(Utf8FromUtf16(StateOf("signed").failure), "");
    const std::string loads = Loads();
    Start();
    EXPECT_EQ(Loads(), loads);  // not before they change
}

TEST_F(Surrogate, ThirtyGroupsAndNoMore) {
    std::string config = "[FileIO Plug-Ins]\n";
    for (int i = 0; i < 31; i++) {
        InstallApart(i);
        config += "apart-" + std::to_string(i) + "=\n";
    }
    for (int i = 0; i < 31; i++)
        config += "[apart-" + std::to_string(i) + "]\nSurrogate=" + std::to_string(i + 1) + "\n";
    Config(config);
    Start();
    for (uint16_t i = 0; i < 31; i++) {
        ComPtr<IQmReadFileClass> reader;
        EXPECT_EQ(manager->GetReaderClass(ApartId(i), reader.Out()), i < 30 ? S_OK : MEDIA_E_NO_ROOM) << i;
    }
}

TEST(MemoryToken, IsTheMemoryItselfWhereItBelongsAndACopyElsewhere) {
    char own[] = "twelve bytes";
    const _qmmemorytoken token = PlainMemoryToken(own, 12);
    EXPECT_EQ(CMappingOfQmMemoryToken(token).Pointer(), own);
    {
        const COutOfProcessMemoryToken shared(token);
        _qmmemorytoken out{};
        ASSERT_EQ(shared.GetMemoryToken(&out), S_OK);
        EXPECT_EQ(out.kind, QMMEMORY_MAPPING);
        const pid_t child = ::fork();
        if (child == 0) {
            CMappingOfQmMemoryToken there(out, 0, static_cast<int>(out.handle));
            if (!there.Pointer() || std::memcmp(there.Pointer(), "twelve", 6) != 0) ::_exit(1);
            std::memcpy(there.Pointer(), "TWELVE", 6);
            // A file that is shorter than it tells would end who touches it.
            _qmmemorytoken longer = out;
            longer.size = 1 << 20;
            ::_exit(CMappingOfQmMemoryToken(longer, 0, static_cast<int>(out.handle)).Pointer() ? 2 : 0);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        EXPECT_STREQ(own, "twelve bytes");
    }
    EXPECT_STREQ(own, "TWELVE bytes");  // copied out at the end

    const pid_t child = ::fork();
    if (child == 0)
        for (;;) ::pause();
    _qmmemorytoken theirs = token;
    theirs.processId = static_cast<uint32_t>(child);
    own[0] = 'x';  // in this process alone
    {
        CMappingOfQmMemoryToken copy(theirs);
        ASSERT_TRUE(copy.Pointer());
        EXPECT_EQ(std::memcmp(copy.Pointer(), "TWELVE", 6), 0);
        std::memcpy(copy.Pointer(), "eleven", 6);
        EXPECT_EQ(copy.Dispose(), S_OK);
        EXPECT_EQ(std::memcmp(CMappingOfQmMemoryToken(theirs).Pointer(), "eleven bytes", 12), 0);
        const CMappingOfQmMemoryToken empty(theirs, QMMEMORY_COPY_OUT);
        EXPECT_EQ(static_cast<char*>(empty.Pointer())[0], 0);
        theirs.base = 16;
        void* none = own;
        EXPECT_EQ(CMappingOfQmMemoryToken(theirs, QMMEMORY_COPY_IN).GetPointer(&none), E_FAIL);
        EXPECT_EQ(none, nullptr);
        const COutOfProcessMemoryToken failed(theirs);
        _qmmemorytoken out{};
        EXPECT_EQ(failed.GetMemoryToken(&out), E_FAIL);
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

}  // namespace
