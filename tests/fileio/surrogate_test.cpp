// Plug-ins in processes of their own: the same results, no harm done, nothing left.
#include "fileio/memory_token.h"
#include "fileio/out_of_process.h"
#include "fileio/template_list.h"
#include "tests/fileio/file_manager.h"

#include <csignal>
#include <cstring>
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
