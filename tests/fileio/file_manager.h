// A manager over folders of the test's own, with the user's folders in a place that goes with the test.
#pragma once

#include "fileio/manager.h"
#include "platform/counted.h"
#include "platform/file.h"
#include "tests/mediafile/media_support.h"

#include <algorithm>
#include <mutex>

#include <unistd.h>

class LogLines final : public tarn::Counted<IQmFioLogger, IID_IQmFioLogger> {
public:
    void Log(const char16_t* line) override {
        const std::lock_guard lock(m_lock);
        lines.push_back(tarn::Utf8FromUtf16(line));
    }
    bool Has(const std::string& text) const {
        return std::ranges::any_of(lines, [&](const std::string& l) { return l.find(text) != l.npos; });
    }
    std::vector<std::string> lines;

private:
    std::mutex m_lock;
};

class FileManagerTest : public MediaTest {
protected:
    FileManagerTest() {
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
            ::setenv(name, Path(name).c_str(), 1);
        ::setenv("TARN_PROBE_LOADS", Path("loads").c_str(), 1);
        std::filesystem::create_directories(Path("plugins"));
    }
    ~FileManagerTest() override {
        manager.Reset();
        for (const char* name :
             {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "TARN_PROBE_LOADS"})
            ::unsetenv(name);
    }

    /// A library of tests/fileio/plugins.
    void Install(const std::string& probe) {
        std::filesystem::copy_file(std::string(PROBES_FOLDER) + "/probe-" + probe + ".so",
                                   Path("plugins/" + probe + ".so"));
    }
    /// A new manager, over the test's folder or another.
    void Start(uint32_t flags = 0, const std::string& folders = {}) {
        manager.Reset();
        log = tarn::ComPtr(new LogLines);
        ASSERT_EQ(QMFileIO_CreateInstance(u"TarnTest", 0, log.Get(), manager.Out()), S_OK);
        ASSERT_EQ(
            manager->Init(flags, tarn::Utf16FromUtf8(folders.empty() ? Path("plugins") : folders).c_str()),
            S_OK);
    }
    /// With the plug-ins that come with the program.
    void StartOwn() { Start(0, OWN_PLUGINS); }

    /// Processes that this one has started for plug-ins.
    static std::vector<pid_t> Surrogates() {
        std::vector<pid_t> found;
        for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
            std::ifstream status(entry.path() / "stat");
            pid_t process = 0, parent = 0;
            std::string name, state;
            if (status >> process >> name >> state >> parent && parent == ::getpid() &&
                name.starts_with("(FileIOSurr") && state != "Z")
                found.push_back(process);
        }
        return found;
    }

    std::string Loads() const {
        const Bytes marks = Content("loads");
        return {marks.begin(), marks.end()};
    }
    FIOPLUGINSTATE StateOf(const std::string& library) const {
        FIOPLUGINSTATE state{};
        for (uint32_t i = 0; tarn::Succeeded(manager->GetPluginInfo(i, &state)); i++)
            if (tarn::Utf8FromUtf16(state.library).ends_with("/" + library + ".so")) return state;
        return {};
    }
    static GUID ProbeId(uint32_t number) {
        GUID id = tarn::Guid("{00000000-1111-2222-3333-444444444444}");
        id.Data1 = number;
        return id;
    }

    tarn::ComPtr<LogLines> log;
    tarn::ComPtr<IQmFileIOMgrForApp> manager;
};
