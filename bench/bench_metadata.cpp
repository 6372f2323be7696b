// Metadata of 1,000 files shown by the program beside others' programs, each with as many files at a time as
// it takes, and a title set in a wave of 4 GiB. A program that is not there has no row.
#include "mediafile/meta/meta_values.h"
#include "mediafile/repair.h"
#include "mediafile/sample_file.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

using namespace tarn;

namespace {

namespace fs = std::filesystem;

constexpr int FILES = 1000;

HQMFILE Opened(const fs::path& path, QmFileCreation creation) {
    return QmFile_Open(path.u16string().c_str(), FILE_ACCESS_READ_WRITE, creation);
}

void SetTitle(HQMFILE file, const std::string& title) {
    const FileSource source(file);
    const MediaContents contents = InspectMedia(source);
    MetaDocument document = ReadMetaDocument(source, contents);
    if (!SetMetaValue(document, "info.INAM", title).empty() ||
        !SetMetaValue(document, "bext.Description", title).empty() ||
        ApplyMetaEdit(file, PlanMetaEdit(source, contents, document)) != S_OK)
        std::abort();
}

/// A folder of files that goes with the program.
struct Folder {
    Folder() {
        path = ::mkdtemp(name.data());
        const std::vector<uint8_t> samples(4000);
        for (int i = 0; i < FILES; i++) {
            HQMFILE file = Opened(path / (std::to_string(i) + ".wav"), FILE_CREATE_ALWAYS);
            _qmwaveformat format;
            format.Init(48000, QMSAMPLE_PCM16, 2, 0, sizeof format);
            SampleFile out(file, MediaContainer::Wave, format);
            if (out.Begin() != S_OK || out.Write(samples.data(), 4000) != S_OK || out.End() != S_OK)
                std::abort();
            SetTitle(file, "Take " + std::to_string(i));
            QmFile_Close(file);
        }
    }
    ~Folder() { fs::remove_all(path); }
    std::string name = fs::temp_directory_path() / "tarn-bench-XXXXXX";
    fs::path path;
};
const fs::path& Files() {
    static const Folder folder;
    return folder.path;
}

struct Program {
    const char *tool, *name, *command;  ///< `{}` stands for the folder
};
constexpr Program PROGRAMS[] = {
    {TARN_MEDIA, "tarn-media", "find {} -name '*.wav' | " TARN_MEDIA " meta show --names-from-stdin"},
    {TARN_MEDIA, "tarn-media, a process a file",
     "find {} -name '*.wav' | xargs -n 1 " TARN_MEDIA " meta show"},
    {"sndfile-info", "sndfile-info", "find {} -name '*.wav' | xargs sndfile-info"},
    {"sndfile-metadata-get", "sndfile-metadata-get, a process a file",
     "find {} -name '*.wav' | xargs -n 1 sndfile-metadata-get --all"},
    {"ffprobe", "ffprobe, a process a file",
     "find {} -name '*.wav' | xargs -n 1 ffprobe -v error -show_format"},
    {"bwfmetaedit", "bwfmetaedit", "find {} -name '*.wav' | xargs bwfmetaedit --out-core"},
};

void Show(benchmark::State& state, const Program& program) {
    std::string command = program.command;
    command.replace(command.find("{}"), 2, Files().string());
    for (auto _ : state)
        if (std::system((command + " > /dev/null 2>&1").c_str()) != 0)
            return state.SkipWithError("it failed");
    state.SetItemsProcessed(state.iterations() * FILES);
}

/// Each time another length, so that the chunk moves now and then.
void SetTitleInFourGigabytes(benchmark::State& state) {
    const fs::path path = Files() / "large";
    HQMFILE file = Opened(path, FILE_CREATE_ALWAYS);
    _qmwaveformat format;
    format.Init(48000, QMSAMPLE_PCM16, 2, 0, sizeof format);
    SampleFile(file, MediaContainer::Wave, format, {.mayBecomeLong = true}).Begin();
    // A hole in the place of samples takes no disk, and repair makes of it the long file that it is.
    constexpr int64_t LENGTH = int64_t{4} << 30;
    QmFile_Seek(file, LENGTH, FILE_FROM_CURRENT);
    if (!QmFile_SetEnd(file) || ApplyMediaRepair(file, PlanMediaRepair(file, {})) != S_OK) std::abort();
    size_t n = 0;
    for (auto _ : state) SetTitle(file, "Title " + std::string(n++ % 40, 'x'));
    QmFile_Close(file);
    fs::remove(path);
}

const bool IS_REGISTERED = [] {
    for (const Program& program : PROGRAMS) {
        const std::string isThere = "command -v " + std::string(program.tool) + " > /dev/null 2>&1";
        if (std::system(isThere.c_str()) != 0) continue;
        benchmark::RegisterBenchmark(program.name, Show, program)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
    benchmark::RegisterBenchmark("a title in 4 GiB", SetTitleInFourGigabytes)
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
    return true;
}();

}  // namespace
