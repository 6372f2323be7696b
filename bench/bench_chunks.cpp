// Opening wave files on disk, of 4 and of 100,000 chunks, beside libsndfile's open.
#include "mediafile/byte_order.h"
#include "mediafile/inspect.h"
#include "mediafile/riff.h"
#include "mediafile/wave_file.h"
#include "platform/memory.h"
#include "platform/text.h"

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

using namespace tarn;

namespace {

/// A file of its own that goes with the program.
struct WaveOnDisk {
    explicit WaveOnDisk(int chunks) {
        const int fd = ::mkstemp(path.data());
        ::close(fd);
        HQMFILE file = QmFile_Open(Utf16FromUtf8(path).c_str(), FILE_ACCESS_READ_WRITE, FILE_CREATE_ALWAYS);
        WAVEFORMATEX wfx;
        QmAudio_InitWfx(&wfx, 48000, QMSAMPLE_PCM16, 2);
        riff_WriteFileID(file, FourCC("WAVE"), 4);
        riff_WriteChunk(file, FourCC("fmt "), &wfx, 16, nullptr);
        const uint8_t body[40] = {}, audio[4000] = {};
        for (int i = 0; i < chunks; i++) riff_WriteChunk(file, FourCC("none"), body, sizeof body, nullptr);
        riff_WriteChunk(file, FourCC("data"), audio, sizeof audio, nullptr);
        riff_SetRIFFSize(file, static_cast<uint32_t>(QmFile_Size(file) - 8));
        QmFile_Close(file);
    }
    ~WaveOnDisk() { ::unlink(path.c_str()); }
    std::string path = std::filesystem::temp_directory_path() / "tarn-bench-XXXXXX";
};

const WaveOnDisk& File(int64_t chunks) {
    static const WaveOnDisk small(2), large(100000);
    return chunks > 2 ? large : small;
}

void Ours_GetFileWfx(benchmark::State& state) {
    const std::u16string path = Utf16FromUtf8(File(state.range(0)).path);
    for (auto _ : state) {
        uint64_t frames = 0, offset = 0;
        WAVEFORMATEX* wfx = QmGetFileWfx(path.c_str(), &frames, &offset);
        if (!wfx) std::abort();
        MemFree(wfx);
    }
}
BENCHMARK(Ours_GetFileWfx)->Arg(2)->Arg(100000)->Unit(benchmark::kMicrosecond);

void Ours_Inspect(benchmark::State& state) {
    const std::u16string path = Utf16FromUtf8(File(state.range(0)).path);
    for (auto _ : state) {
        HQMFILE file = QmFile_Open(path.c_str(), FILE_ACCESS_READ, FILE_OPEN_EXISTING);
        benchmark::DoNotOptimize(InspectMedia(file));
        QmFile_Close(file);
    }
}
BENCHMARK(Ours_Inspect)->Arg(2)->Arg(100000)->Unit(benchmark::kMicrosecond);

void Sndfile_Open(benchmark::State& state) {
    const std::string& path = File(state.range(0)).path;
    for (auto _ : state) {
        SF_INFO info{};
        SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
        if (!file) std::abort();
        sf_close(file);
    }
}
BENCHMARK(Sndfile_Open)->Arg(2)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace
