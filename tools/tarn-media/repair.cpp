#include "mediafile/repair.h"

#include "tools/tarn-media/media_tool.h"

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

using namespace tarn;

namespace {

/// "take.wav" to "take.repaired.wav".
std::string RepairedName(const std::string& file) {
    const std::filesystem::path path(file);
    return (path.parent_path() / (path.stem().string() + ".repaired" + path.extension().string())).string();
}

std::string WhatIsNeeded(MediaRepairNeeds needs) {
    switch (needs) {
    case MediaRepairNeeds::Format: return "; --type, --rate and --channels together tell it";
    case MediaRepairNeeds::SamplesEnd: return "; --samples-end tells which";
    default: return {};
    }
}

void Report(const MediaContents& before, const MediaRepairPlan& plan, const std::string& file) {
    for (const MediaProblem& p : before.problems)
        std::printf("found   at %" PRIu64 ": %s\n", p.offset, p.text.c_str());
    for (const MediaEdit& edit : plan.edits)
        std::printf("changed at %" PRIu64 ": %s\n", edit.offset, edit.what.c_str());
    std::printf("%s: %" PRIu64 " frames\n", file.c_str(), plan.frames);
}

int InPlace(const RepairOptions& options, const MediaRepairPlan& plan, const FileStamp& whenRead) try {
    if (plan.MovesSamples())
        return Complain(options.file,
                        "bytes of its header are missing, and the samples have to move; repair a copy",
                        EXIT_FAULTY);
    const OwnedFile file = OpenToEdit(options.file, whenRead);
    const HRESULT hr = ApplyMediaRepair(file.get(), plan);
    if (Failed(hr)) return Complain(options.file, ReasonOf(hr));
    return QmFile_Flush(file.get()) ? EXIT_FINE : Complain(options.file, ReasonOf(MEDIA_E_WRITE));
} catch (const std::runtime_error& e) {
    return Complain(options.file, e.what());
}

int Copy(HQMFILE in, const RepairOptions& options, const MediaRepairPlan& plan, const std::string& target) {
    try {
        NewFile out(target, options.force);
        Progress progress("copying", static_cast<uint64_t>(QmFile_Size(in)));
        const HRESULT hr =
            WriteRepairedMedia(in, plan, out.File(), [&](uint64_t done) { progress.Show(done); });
        if (Failed(hr)) throw std::runtime_error(ReasonOf(hr));
        out.Commit();
    } catch (const std::runtime_error& e) {
        return Complain(target, e.what());
    }
    return EXIT_FINE;
}

}  // namespace

int Repair(const RepairOptions& options) {
    const OwnedFile in = OpenFile(options.file, FILE_ACCESS_READ, FILE_OPEN_EXISTING);
    if (!in) return Complain(options.file, ReasonOf(MEDIA_E_OPEN));
    const FileStamp whenRead = StampOf(in.get());
    WAVEFORMATEX format;
    MediaRepairOptions how;
    const FormatOptions& told = options.format;
    if (!told.type.empty() && told.rate && told.channels) {
        QmAudio_InitWfx(&format, told.rate, TypeByName(told.type), told.channels);
        how.format = &format;
    }
    if (!options.samplesEnd.empty())
        how.samplesEnd = options.samplesEnd == "end" ? UINT64_MAX : std::stoull(options.samplesEnd);
    const MediaContents before = InspectMedia(in.get());
    const MediaRepairPlan plan = PlanMediaRepair(in.get(), how);
    if (plan.IsRefused())
        return Complain(options.file, plan.refusal + WhatIsNeeded(plan.needs) + "; nothing was changed",
                        plan.samples == 0 ? EXIT_UNREADABLE : EXIT_FAULTY);
    if (plan.edits.empty()) {
        for (const MediaProblem& p : before.problems)
            std::printf("noted   at %" PRIu64 ": %s\n", p.offset, p.text.c_str());
        std::printf("%s: nothing to repair\n", options.file.c_str());
        return EXIT_FINE;
    }
    const std::string target = options.inPlace          ? options.file
                               : options.output.empty() ? RepairedName(options.file)
                                                        : options.output;
    const int code =
        options.inPlace ? InPlace(options, plan, whenRead) : Copy(in.get(), options, plan, target);
    if (code == EXIT_FINE) Report(before, plan, target);
    return code;
}
