#include "fileio/manager.h"

#include "kernel/codes.h"
#include "mediafile/media_codes.h"
#include "tests/fileio/file_manager.h"

#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>

using namespace tarn;

namespace {

using Manager = FileManagerTest;

struct IdentityRow {
    const char *file, *content;
    uint32_t lastUsed;  ///< number of a probe
    uint32_t found;     ///< 0: nobody
    const char* line;   ///< the last of the log; the file's path follows
};
constexpr IdentityRow IDENTITIES[] = {
    {"a.acme", "ACME", 0, 1, "' Plugin found from file signature for "},
    {"a.zed", "ACME", 0, 1, "' Plugin found from file signature for "},
    {"a", "ACME", 0, 1, "' Plugin found from file signature for "},
    {"b.ZED", "ZED!", 0, 2, "' Plugin found from file extension for "},
    {"b.acme", "ZED!", 2, 2, "' Plugin found from last used reader for "},
    {"b.acme", "ZED!", 0, 2, "' Plugin found from going through the list for "},
    {"b", "ZED!", 1, 2, "' Plugin found from going through the list for "},
    {"c.zed", "none", 2, 0, "No Plugin Found through IdentifyFileType Session"},
    {"d.acme", "", 0, 0, "No Plugin Found through IdentifyFileType Session"},
};

TEST_F(Manager, FindsTheReaderInTheOrderTold) {
    Install("signed");
    Install("unsigned");
    Start();
    for (const IdentityRow& row : IDENTITIES) {
        SCOPED_TRACE(std::string(row.file) + " " + row.line);
        const std::string content = row.content;
        Make(row.file, Bytes(content.begin(), content.end()));
        ASSERT_EQ(manager->SetLastUsedReader(row.lastUsed ? ProbeId(row.lastUsed) : GUID{}), S_OK);
        GUID reader{};
        HRESULT status = 7;
        const HRESULT hr = manager->IdentifyFileType(WidePath(row.file).c_str(), &reader, &status);
        EXPECT_EQ(hr, row.found ? S_OK : MEDIA_E_UNSUPPORTED_FORMAT);
        EXPECT_EQ(status, hr);
        EXPECT_EQ(reader, row.found ? ProbeId(row.found) : GUID{});
        EXPECT_TRUE(log->lines.back().ends_with(row.line + (row.found ? Path(row.file) : "")))
            << log->lines.back();
    }
    // The slow way looks at no signature.
    GUID reader{};
    HRESULT status = 0;
    ASSERT_EQ(manager->IdentifyFileTypeSlow(WidePath("a.zed").c_str(), &reader, &status), S_OK);
    EXPECT_TRUE(log->lines.back().starts_with("IdentifyFileTypeSlow:'Probe 1"));
    EXPECT_TRUE(log->lines.back().ends_with("' plugin found from going through the list"));
    EXPECT_EQ(manager->IdentifyFileTypeFromId(WidePath("a.zed").c_str(), ProbeId(2), &status),
              MEDIA_E_UNSUPPORTED_FORMAT);
    EXPECT_EQ(manager->IdentifyFileTypeFromId(WidePath("b").c_str(), ProbeId(2), &status), S_OK);
    for (const char* none : {"no such file", "."})
        EXPECT_EQ(manager->IdentifyFileType(WidePath(none).c_str(), &reader, &status), MEDIA_E_OPEN);
    ASSERT_EQ(::mkfifo(Path("pipe.acme").c_str(), 0600), 0);
    EXPECT_EQ(manager->IdentifyFileType(WidePath("pipe.acme").c_str(), &reader, &status), MEDIA_E_OPEN);
}

TEST_F(Manager, ABrokenPluginStopsOnlyItself) {
    for (const char* probe : {"nonsense", "old", "refuses", "silent", "unsigned"}) Install(probe);
    Make("plugins/text.so", {'t', 'e', 'x', 't'});
    Install("signed");
    std::filesystem::copy_file(Path("plugins/signed.so"), Path("plugins/twin.so"));
    Start();
    struct Row {
        const char *library, *failure;
    };
    for (const Row& row : {Row{"nonsense", "texts without an end"},
                           {"old", "another version"},
                           {"silent", "does not say what it is (0x80004005)"},
                           {"text", "cannot load"},
                           {"twin", "has a class that"},
                           {"refuses", ""},
                           {"signed", ""}})
        EXPECT_NE(Utf8FromUtf16(StateOf(row.library).failure).find(row.failure), std::string::npos)
            << row.library << ": " << Utf8FromUtf16(StateOf(row.library).failure);
    Make("z.zed", {'Z', 'E', 'D', '!'});
    Make("n.zed", {'n', 'o', 'n', 'e'});
    GUID reader{};
    HRESULT status = 0;
    EXPECT_EQ(manager->IdentifyFileType(WidePath("z.zed").c_str(), &reader, &status), S_OK);
    EXPECT_EQ(reader, ProbeId(2));
    // A reader that might have read it did not start, and that is what is told.
    EXPECT_EQ(manager->IdentifyFileType(WidePath("n.zed").c_str(), &reader, &status), MEDIA_E_NOT_STARTED);
    EXPECT_EQ(Utf8FromUtf16(StateOf("refuses").failure), "does not start");
    ComPtr<IQmReadFileClass> none;
    EXPECT_EQ(manager->GetReaderClass(ProbeId(3), none.Out()), MEDIA_E_NOT_STARTED);
    EXPECT_EQ(manager->GetReaderClass(ProbeId(99), none.Out()), MEDIA_E_UNSUPPORTED_FORMAT);
}

TEST_F(Manager, ACompoundReaderIsAskedByTheProbeFirst) {
    Install("aloof");
    Install("compound");
    Make("both.zed", {'B', 'O', 'T', 'H'});
    Start();
    ComPtr<IQmReadFile> file;
    GUID reader{};
    ASSERT_EQ(manager->OpenReaderEx(WidePath("both.zed").c_str(), &reader, file.Out()), S_OK);
    EXPECT_EQ(reader, ProbeId(6));
    EXPECT_TRUE(log->Has(" IdentifyFileType: mergereader is bypassed:'Probe 7 in "));
    EXPECT_TRUE(log->Has("', 'for_compoundplug_only.mp4' Plugin examined, status: -2147467259"));
}

TEST_F(Manager, ASecondStartLoadsNothingUntilAFileIsWanted) {
    Install("signed");
    Install("unsigned");
    Install("silent");
    Start();
    EXPECT_EQ(Loads(), "152");
    EXPECT_TRUE(
        log->Has(" Loading reader plugin 'Probe 1 in 1033' from path '" + Path("plugins/signed.so") + "' "));
    Start();
    EXPECT_EQ(Loads(), "1525");  // one that did not answer is asked again
    EXPECT_TRUE(log->Has(" Loading cached reader plugin 'Probe 1 in 1033' from path '"));
    EXPECT_EQ(manager->IsPluginLoaded(0), S_FALSE);
    ComPtr<IQmReadFileClass> reader;
    ASSERT_EQ(manager->GetReaderClass(ProbeId(1), reader.Out()), S_OK);
    EXPECT_EQ(manager->IsPluginLoaded(0), S_OK);
    reader.Reset();
    std::filesystem::remove(Path("plugins/silent.so"));

    const std::string cache = Path("XDG_CACHE_HOME/Tarn/fileio-plugins.ini");
    struct Row {
        const char* what;
        std::function<void()> change;
        const char* loads;
    };
    const auto edit = [&](const std::string& from, const std::string& to) {
        std::string text, error;
        ASSERT_TRUE(ReadWholeFile(cache, 1 << 20, text, error)) << error;
        size_t at = text.find(from);
        ASSERT_NE(at, text.npos);
        for (; at != text.npos; at = text.find(from, at + to.size())) text.replace(at, from.size(), to);
        ASSERT_TRUE(ReplaceFile(cache, text, error)) << error;
    };
    for (const Row& row : {
             Row{"a library that changed",
                 [&] {
                     std::filesystem::last_write_time(Path("plugins/unsigned.so"),
                                                      std::filesystem::file_time_type::clock::now());
                 },
                 "2"},
             Row{"another language", [&] { edit("LangID=1033", "LangID=7"); }, "12"},
             Row{"an ending that is none", [&] { edit("ExtReader=zed", "ExtReader=z?d"); }, "2"},
             Row{"no file", [&] { std::filesystem::remove(cache); }, "12"},
             Row{"another file",
                 [&] {
                     Make("noise", Bytes(5000, 0x5B));
                     std::filesystem::copy_file(Path("noise"), cache,
                                                std::filesystem::copy_options::overwrite_existing);
                 },
                 "12"},
             Row{"nothing", [] {}, ""},
         }) {
        SCOPED_TRACE(row.what);
        manager.Reset();
        row.change();
        std::filesystem::remove(Path("loads"));
        Start();
        EXPECT_EQ(Loads(), row.loads);
    }
    std::filesystem::remove(Path("loads"));
    Start(FIO_INIT_NO_CACHE);
    EXPECT_EQ(Loads(), "12");
}

TEST_F(Manager, ConfigurationFilesOrderAndLimitPlugins) {
    Install("signed");
    Install("unsigned");
    const std::string text =
        "[FileIO Plug-Ins]\nunsigned=\nother=signed.so\ngone=\n[unsigned]\nzed=0\nnew=1\nzap=maybe\n"
        "[other]\nReader={00000001-1111-2222-3333-444444444444}\nacme=0\n";
    Make("plugins/z.Fio2007-Config", Bytes(text.begin(), text.end()));
    Start();
    FIOPLUGINSTATE state{};
    ASSERT_EQ(manager->GetPluginInfo(0, &state), S_OK);
    EXPECT_EQ(Utf8FromUtf16(state.info.readExtensions), "dat;new");
    ASSERT_EQ(manager->GetPluginInfo(1, &state), S_OK);
    EXPECT_EQ(Utf8FromUtf16(state.info.readExtensions), "");
    EXPECT_NE(Utf8FromUtf16(StateOf("gone").failure), "");
    EXPECT_TRUE(log->Has("z.Fio2007-Config: [unsigned] zap=maybe is neither 0 nor 1"));
    uint32_t position = 0, count = 0;
    GUID id{};
    EXPECT_EQ(manager->FindNextReaderClassByExt(u".NEW", &position, &id), S_OK);
    EXPECT_EQ(id, ProbeId(2));
    EXPECT_EQ(manager->FindNextReaderClassByExt(u".NEW", &position, &id), MEDIA_E_UNSUPPORTED_FORMAT);
    position = 0;
    EXPECT_EQ(manager->FindNextReaderClassByExt(u"zed", &position, &id), MEDIA_E_UNSUPPORTED_FORMAT);
    ASSERT_EQ(manager->GetPluginCount(&count), S_OK);
    EXPECT_EQ(count, 3u);
}

TEST_F(Manager, EnumeratesAndBuildsFilters) {
    Install("signed");
    Install("unsigned");
    Start();
    ComPtr<IQmFileIOTypeEnum> readers;
    ASSERT_EQ(manager->GetReaderEnum(readers.Out()), S_OK);
    FIOTYPEINFO items[4];
    uint32_t got = 0;
    EXPECT_EQ(readers->Next(4, items, &got), S_FALSE);
    ASSERT_EQ(got, 2u);
    EXPECT_EQ(items[1].id, ProbeId(2));
    ASSERT_EQ(readers->Reset(), S_OK);
    EXPECT_EQ(readers->Skip(1), S_OK);
    EXPECT_EQ(readers->Next(1, items, nullptr), S_OK);
    EXPECT_EQ(items[0].id, ProbeId(2));
    EXPECT_EQ(readers->Skip(1), S_FALSE);

    ComPtr<IQmFioFilterBuilder2> filter;
    ASSERT_EQ(manager->GetFilterBuilder2(filter.Out()), S_OK);
    ASSERT_EQ(filter->AddReaders(), S_OK);
    ASSERT_EQ(filter->AddType(u"More (here);;x", u"zed;more"), S_OK);
    EXPECT_EQ(filter->AddType(u"Bad", u"a b"), E_INVALIDARG);
    ASSERT_EQ(filter->AddAnyFile(u"Any"), S_OK);
    const std::u16string expected =
        u"All Media (*.acme *.zed *.dat *.more);;Probe 1 in 1033 (*.acme);;Probe 2 in 1033 (*.zed *.dat);;"
        u"More herex (*.zed *.more);;Any (*)";
    std::vector<char16_t> text(expected.size() + 1);
    EXPECT_EQ(filter->GetFilter(text.data(), static_cast<uint32_t>(expected.size())), MEDIA_E_NO_ROOM);
    ASSERT_EQ(filter->GetFilter(text.data(), static_cast<uint32_t>(text.size())), S_OK);
    EXPECT_EQ(text.data(), expected);
}

TEST_F(Manager, KeepsSettingsAndTellsItsState) {
    Install("signed");
    Start();
    EXPECT_TRUE(log->Has("*** Start of FileIO Manager log ***"));
    EXPECT_EQ(log->lines[1], "== Start Hardware Decoders Auto-detection ==");
    EXPECT_EQ(manager->Init(0), QM_E_ALREADY);
    ASSERT_EQ(manager->SetMetric(5, 17), S_OK);
    ASSERT_EQ(manager->SetMetricString(5, u"words"), S_OK);
    ASSERT_EQ(manager->SetLastUsedRenderer(ProbeId(8)), S_OK);
    ASSERT_EQ(manager->CleanUp(), S_OK);
    uint32_t value = 0;
    ASSERT_EQ(manager->GetPluginCount(&value), S_OK);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(manager->GrovelPlugins2(), E_UNEXPECTED);
    Start();
    GUID id{};
    char16_t text[8];
    EXPECT_EQ(manager->GetMetric(5, &value), S_OK);
    EXPECT_EQ(value, 17u);
    EXPECT_EQ(manager->GetMetric(6, &value), S_FALSE);
    EXPECT_EQ(manager->GetMetricString(5, text, 3), MEDIA_E_NO_ROOM);
    ASSERT_EQ(manager->GetMetricString(5, text, 8), S_OK);
    EXPECT_EQ(std::u16string_view(text), u"words");
    EXPECT_EQ(manager->GetLastUsedRenderer(&id), S_OK);
    EXPECT_EQ(id, ProbeId(8));
    EXPECT_EQ(manager->GetLastUsedReader(&id), S_FALSE);
    EXPECT_EQ(manager->SetGPUAcceleration(0x4000), E_INVALIDARG);
}

TEST_F(Manager, ProcessesScanOneAfterTheOther) {
    Install("signed");
    std::vector<pid_t> children;
    for (int i = 0; i < 4; i++) {
        const pid_t child = ::fork();
        if (child == 0) {
            ComPtr<IQmFileIOMgrForApp> own;
            QMFileIO_CreateInstance(u"TarnTest", 0, nullptr, own.Out());
            own->Init(0, WidePath("plugins").c_str());
            ::_exit(own->CleanUp() == S_OK ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(Loads(), "1");  // the others found what the first had written
}

}  // namespace
