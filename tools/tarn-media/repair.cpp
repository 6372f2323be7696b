#include "mediafile/repair.h"

#include "tools/tarn-media/media_tool.h"

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace {

/// "take.wav" to "take.repaired.wav".
std::string RepairedName(const std::string& file) {
    const std::filesystem::path path(file);
    return (path.parent_path() / (path.stem().string() + ".repaired" + path.extension().string())).string();
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
        CopyContent(in.get(), out.File());
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
