// Headers for raw samples: put before them, written over room that was left for them, or left as room.
#include "mediafile/media_codes.h"
#include "mediafile/wave_file.h"
#include "tools/tarn-media/media_tool.h"

#include <algorithm>
#include <stdexcept>

using namespace tarn;

namespace {

bool IsWave64(const HeaderOptions& options, const std::string& path) {
    if (!options.container.empty()) return options.container == "w64";
    return path.size() > 4 && (path.ends_with(".w64") || path.ends_with(".W64"));
}

WAVEFORMATEX FormatOf(const FormatOptions& options) {
    WAVEFORMATEX wfx;
    QmAudio_InitWfx(&wfx, options.rate ? options.rate : 48000,
                    options.type.empty() ? QMSAMPLE_PCM16 : TypeByName(options.type),
                    options.channels ? options.channels : 2);
    return wfx;
}

HRESULT Insert(HQMFILE file, const WAVEFORMATEX& wfx, uint64_t headerBytes, bool is64) {
    const auto length = static_cast<uint64_t>(std::max<int64_t>(QmFile_Size(file), 0));
    if (length < headerBytes) return MEDIA_E_MALFORMED;
    const uint64_t samples = (length - headerBytes) / wfx.nBlockAlign * wfx.nBlockAlign;
    return is64 ? QmInsertW64Header(file, &wfx, samples, headerBytes)
                : QmInsertWavHeader(file, &wfx, samples, headerBytes);
}

std::string RoomReason(HRESULT hr, bool is64) {
    if (hr != MEDIA_E_MALFORMED) return ReasonOf(hr);
    return is64 ? "a Wave64 header has 112 bytes, or 136 and more by eights, and the file at least as many"
                : "a wave header has 46 bytes, or 54 and more by twos, and the file at least as many";
}

}  // namespace

int InsertHeader(const HeaderOptions& options) {
    const WAVEFORMATEX wfx = FormatOf(options.format);
    if (options.inPlace) {
        const bool is64 = IsWave64(options, options.input);
        const OwnedFile file = OpenFile(options.input, FILE_ACCESS_READ_WRITE, FILE_OPEN_EXISTING);
        if (!file) return Complain(options.input, ReasonOf(MEDIA_E_OPEN));
        const HRESULT hr = Insert(file.get(), wfx,
                                  options.bytes ? options.bytes
                                  : is64        ? WAVE64_HEADER
                                                : WAVE_HEADER,
                                  is64);
        return Failed(hr) ? Complain(options.input, RoomReason(hr, is64)) : EXIT_FINE;
    }
    if (options.output.empty())
        return Complain(options.input, "where to? name an output, or --in-place", EXIT_USAGE);
    const bool is64 = IsWave64(options, options.output);
    const uint64_t headerBytes = options.bytes ? options.bytes : is64 ? WAVE64_HEADER : WAVE_HEADER;
    const OwnedFile in = OpenFile(options.input, FILE_ACCESS_READ, FILE_OPEN_EXISTING);
    if (!in) return Complain(options.input, ReasonOf(MEDIA_E_OPEN));
    try {
        NewFile out(options.output, options.force);
        QmFile_Seek(out.File(), static_cast<int64_t>(headerBytes), FILE_FROM_START);
        CopyContent(in.get(), out.File());
        if (const HRESULT hr = Insert(out.File(), wfx, headerBytes, is64); Failed(hr))
            throw std::runtime_error(RoomReason(hr, is64));
        out.Commit();
    } catch (const std::runtime_error& e) {
        return Complain(options.output, e.what());
    }
    return EXIT_FINE;
}

int ReserveHeader(const HeaderOptions& options) {
    const WAVEFORMATEX wfx = FormatOf(options.format);
    const bool is64 = IsWave64(options, options.output);
    const uint64_t multiple = is64 ? 8 : 2, bytes = (options.bytes + multiple - 1) / multiple * multiple;
    try {
        NewFile out(options.output, options.force);
        QmFile_Seek(out.File(), static_cast<int64_t>(bytes), FILE_FROM_START);
        if (!QmFile_SetEnd(out.File())) throw std::runtime_error(ReasonOf(MEDIA_E_WRITE));
        if (const HRESULT hr = Insert(out.File(), wfx, bytes, is64); Failed(hr))
            throw std::runtime_error(RoomReason(hr, is64));
        out.Commit();
    } catch (const std::runtime_error& e) {
        return Complain(options.output, e.what());
    }
    return EXIT_FINE;
}
