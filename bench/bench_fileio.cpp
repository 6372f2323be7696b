// File plug-ins: a minute of sound opened and read in this process and in another, the same opened alone,
// which of the readers a thousand files are for, and the start of the manager with and without its cache.
#include "fileio/manager.h"
#include "fileio/template_list.h"
#include "platform/file.h"
#include "platform/text.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace tarn;

namespace {

namespace fs = std::filesystem;

constexpr uint32_t RATE = 48000, SECONDS = 60, FILES = 1000;

void Check(HRESULT hr) {
    if (Failed(hr)) std::abort();
}

using Manager = ComPtr<IQmFileIOMgrForApp>;
Manager StartManager(const fs::path& folder, uint32_t flags = 0) {
    Manager manager;
    Check(QMFileIO_CreateInstance(u"TarnBench", 0, nullptr, manager.Out()));
    Check(manager->Init(flags, WideFromPath(folder).c_str()));
    return manager;
}

/// A folder that goes with the program, and in it the user's folders, a folder of plug-ins that run here and
/// one of the same that run in another process, and a minute of sound in several kinds of file.
struct Place {
    Place() {
        path = ::mkdtemp(name.data());
        for (const char* variable : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
            ::setenv(variable, (path / variable).c_str(), 1);
        for (const auto& [folder, group] : {std::pair{"here", "-1"}, {"there", "1"}}) {
            std::string text = "[FileIO Plug-Ins]\n", error;
            for (const char* plugin : {"wave", "sndfile"})
                text += std::string(plugin) + "=" + OWN_PLUGINS + "/" + plugin + ".so\n";
            for (const char* plugin : {"wave", "sndfile"})
                text += std::string("[") + plugin + "]\nSurrogate=" + group + "\n";
            fs::create_directories(path / folder);
            if (!ReplaceFile(path / folder / "z.Fio2007-Config", text, error)) std::abort();
        }
        const Manager manager = StartManager(path / "here");
        for (const char* ending : {"wav", "flac", "ogg"}) Render(*manager, ending, SECONDS * RATE, "minute");
        fs::create_directories(path / "many");
        const char* const endings[] = {"wav", "aiff", "flac", "ogg", "w64"};
        for (uint32_t i = 0; i < FILES; i++)
            Render(*manager, endings[i % std::size(endings)], 1000, "many/" + std::to_string(i));
    }
    ~Place() { fs::remove_all(path); }

    void Render(IQmFileIOMgrForApp& manager, const std::string& ending, uint32_t frames,
                const std::string& stem) const {
        const fs::path file = path / (stem + "." + ending);
        const std::u16string wide = Utf16FromUtf8(ending);
        uint32_t position = 0;
        GUID id{};
        ComPtr<IQmRenderFileClass> renderer;
        ComPtr<IQmRenderFile> out;
        tagQMTEMPLATExV2* settings = nullptr;
        _qmwaveformat format{};
        format.Init(RATE, QMSAMPLE_PCM16, 2, 0, sizeof format);
        Check(manager.FindNextRenderClassByExt(wide.c_str(), &position, &id));
        Check(manager.GetRendererClass(id, renderer.Out()));
        Check(renderer->GetDefault(wide.c_str(), &format, &settings));
        const OwnedTemplate owned(settings);
        const QMSAMPLETYPE type = settings->audio.format.sampleType;
        format.Init(RATE, type, 2, 0, sizeof format);
        const int fd = ::open(file.c_str(), O_RDWR | O_CREAT, 0600);
        Check(renderer->CreateFile(fd, WideFromPath(file).c_str(), settings, &format, out.Out()));
        ::close(fd);
        std::vector<int16_t> integers(size_t{frames} * 2);
        std::vector<float> floats(size_t{frames} * 2);
        for (size_t i = 0; i < integers.size(); i++) {
            floats[i] = 0.3f * std::sin(0.03f * static_cast<float>(i / 2 % 30000));
            integers[i] = static_cast<int16_t>(floats[i] * 32767);
        }
        const bool isFloat = type == QMSAMPLE_FLOAT32;
        Check(out->Write(isFloat ? static_cast<const void*>(floats.data()) : integers.data(), frames));
        Check(out->End());
    }

    std::string name = fs::temp_directory_path() / "tarn-bench-XXXXXX";
    fs::path path;
};
const fs::path& Folder() {
    static const Place place;
    return place.path;
}

struct Opened {
    Opened(IQmFileIOMgrForApp& manager, const fs::path& path) {
        Check(manager.OpenReader(WideFromPath(path).c_str(), file.Out()));
        Check(file->GetStream(0, IID_IQmReadAudioStream, stream.OutVoid()));
        Check(stream->GetFormat(&format, sizeof format));
    }
    ComPtr<IQmReadFile> file;
    ComPtr<IQmReadAudioStream> stream;
    _qmwaveformat format{};
};

/// What a round takes in ms, in this process and in the other in turn. The least, since the machine may give
/// its time to others meanwhile.
struct Least {
    double here = 1e9, there = 1e9;
    void Add(const double (&round)[2]) {
        here = std::min(here, round[0]);
        there = std::min(there, round[1]);
    }
    void Tell(benchmark::State& state, const std::string& what) const {
        state.counters[what + " here"] = here;
        state.counters[what + " there"] = there;
        state.counters[what + " ratio"] = there / here;
    }
};

/// Blocks of 0 bytes: it is opened and closed alone.
void ReadMinute(benchmark::State& state, const char* file) {
    using Clock = std::chrono::steady_clock;
    const auto since = [](Clock::time_point begin) {
        return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    };
    const Manager managers[] = {StartManager(Folder() / "here"), StartManager(Folder() / "there")};
    const fs::path path = Folder() / file;
    std::vector<uint8_t> block(static_cast<size_t>(state.range(0)));
    Least reading, all;
    for (auto _ : state) {
        double reads[2] = {}, wholes[2] = {};
        for (size_t i = 0; i < 2; i++) {
            const auto begin = Clock::now();
            {
                const Opened opened(*managers[i], path);
                const auto isOpen = Clock::now();
                const auto frames = static_cast<uint32_t>(block.size() / opened.format.blockAlign);
                uint32_t got = frames;
                for (uint64_t at = 0; frames > 0 && got == frames; at += got)
                    Check(opened.stream->Read(at, frames, block.data(), &got));
                reads[i] = since(isOpen);
            }
            wholes[i] = since(begin);
        }
        reading.Add(reads);
        all.Add(wholes);
    }
    if (!block.empty()) reading.Tell(state, "read");
    all.Tell(state, "all");
}

void Identify(benchmark::State& state, const char* plugins) {
    const Manager manager = StartManager(Folder() / plugins);
    std::vector<std::u16string> paths;
    for (const auto& entry : fs::directory_iterator(Folder() / "many"))
        paths.push_back(WideFromPath(entry.path()));
    for (auto _ : state)
        for (const std::u16string& path : paths) {
            GUID reader{};
            HRESULT status = S_OK;
            Check(manager->IdentifyFileType(path.c_str(), &reader, &status));
        }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(paths.size()));
}

void Start(benchmark::State& state, uint32_t flags) {
    Folder();
    StartManager(OWN_PLUGINS);  // leaves the cache
    for (auto _ : state) StartManager(OWN_PLUGINS, flags);
}

[[maybe_unused]] const bool added = [] {
    for (const char* file : {"minute.wav", "minute.flac", "minute.ogg"})
        benchmark::RegisterBenchmark((std::string("read/") + file).c_str(), ReadMinute, file)
            ->Arg(0)
            ->Arg(4 << 10)
            ->Arg(64 << 10)
            ->Arg(1 << 20)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    for (const char* plugins : {"here", "there"})
        benchmark::RegisterBenchmark((std::string("identify 1,000 files/") + plugins).c_str(), Identify,
                                     plugins)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    benchmark::RegisterBenchmark("start/cache", Start, 0u)->Unit(benchmark::kMillisecond)->UseRealTime();
    benchmark::RegisterBenchmark("start/no cache", Start, uint32_t{FIO_INIT_NO_CACHE})
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    return true;
}();

}  // namespace
