#include "mediafile/repair.h"

#include "tools/tarn-media/media_tool.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace {

/// "take.wav" to "take.repaired.wav".
std::string RepairedName(const std::string& file) {
    const std::filesystem::path path(file);
    return (path.parent_path() / (path.stem().string() + ".repaired" + path.extension().string())).string();
}

void CopyFile(HQMFILE from, HQMFILE to) {
    constexpr uint32_t PIECE = 1 << 20;
    std::vector<uint8_t> piece(PIECE);
    Progress progress("copying", static_cast<uint64_t>(std::max<int64_t>(QmFile_Size(from), 0)));
    QmFile_Seek(from, 0, FILE_FROM_START);
    uint64_t done = 0;
    for (uint32_t got = PIECE; got == PIECE; done += got) {
        QmFile_Read(from, piece.data(), PIECE, &got);
        if (got < PIECE && QmFile_LastError() != 0)
            throw std::runtime_error("at " + std::to_string(done + got) + ": " + ReasonOf(MEDIA_E_READ));
        if (!QmFile_Write(to, piece.data(), got, nullptr)) throw std::runtime_error(ReasonOf(MEDIA_E_WRITE));
        progress.Show(done);
    }
}

/// The hint, when any part of it was given.
const WAVEFORMATEX* Hint(const FormatOptions& options, WAVEFORMATEX* hint) {
    if (options.type.empty() && !options.rate && !options.channels) return nullptr;
    QmAudio_InitWfx(hint, options.rate ? options.rate : 44100,
                    options.type.empty() ? QMSAMPLE_PCM16 : TypeByName(options.type),
                    options.channels ? options.channels : 2);
    return hint;
}

void Report(const MediaContents& before, const MediaRepair& repair, const std::string& file) {
    for (const MediaProblem& p : before.problems)
        std::printf("found   at %" PRIu64 ": %s\n", p.offset, p.text.c_str());
    for (const std::string& change : repair.changes) std::printf("changed %s\n", change.c_str());
    std::printf("%s: %" PRIu64 " frames\n", file.c_str(), repair.frames);
}

}  // namespace

int Repair(const RepairOptions& options) {
    const OwnedFile in = OpenFile(options.file, options.inPlace ? FILE_ACCESS_READ_WRITE : FILE_ACCESS_READ,
                                  FILE_OPEN_EXISTING);
    if (!in) return Complain(options.file, ReasonOf(MEDIA_E_OPEN));
    const MediaContents before = InspectMedia(in.get());
    if (before.problems.empty()) {
        std::printf("%s: nothing to repair\n", options.file.c_str());
        return EXIT_FINE;
    }
    WAVEFORMATEX record;
    const WAVEFORMATEX* hint = Hint(options.hint, &record);
    MediaRepair repair;
    if (options.inPlace) {
        const HRESULT hr = RepairMedia(in.get(), hint, &repair);
        if (Failed(hr)) return Complain(options.file, ReasonOf(hr));
        if (!QmFile_Flush(in.get())) return Complain(options.file, ReasonOf(MEDIA_E_WRITE));
        Report(before, repair, options.file);
        return EXIT_FINE;
    }
    const std::string target = options.output.empty() ? RepairedName(options.file) : options.output;
    try {
        NewFile out(target, options.force);
        CopyFile(in.get(), out.File());
        const HRESULT hr = RepairMedia(out.File(), hint, &repair);
        if (Failed(hr)) return Complain(options.file, ReasonOf(hr));
        if (repair.changes.empty()) {
            std::printf("%s: nothing to repair\n", options.file.c_str());
            return EXIT_FINE;
        }
        out.Commit();
    } catch (const std::runtime_error& e) {
        return Complain(target, e.what());
    }
    Report(before, repair, target);
    return EXIT_FINE;
}
