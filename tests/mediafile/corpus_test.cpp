// Other people's files, when they stand beside the checkout: read as two other tools agree, or for a reason
// that is told here.
#include "mediafile/repair.h"
#include "tests/mediafile/media_support.h"

#include <sndfile.h>

#include <algorithm>
#include <map>
#include <sstream>

using namespace tarn;

namespace {

namespace fs = std::filesystem;

/// Empty where there are none.
fs::path Folder() {
    const fs::path folder = fs::path(SOURCE_FOLDER) / ".." / "shared" / "corpus";
    return fs::exists(folder / "REFERENCE.tsv") ? folder : fs::path();
}

struct Reading {
    std::string rate, channels, frames;
    bool operator<(const Reading& o) const {
        return std::tie(rate, channels, frames) < std::tie(o.rate, o.channels, o.frames);
    }
    bool operator==(const Reading& o) const = default;
};

/// What at least two of the tools that count frames reliably agree on.
std::map<std::string, Reading> Agreed(const fs::path& table) {
    std::map<std::string, std::map<Reading, int>> votes;
    std::ifstream in(table);
    std::string line;
    while (std::getline(in, line)) {
        std::vector<std::string> cells;
        std::istringstream row(line);
        for (std::string cell; std::getline(row, cell, '\t');) cells.push_back(cell);
        const bool counts = cells.size() > 6 && cells[2] == "ok" && !cells[3].empty() && !cells[6].empty() &&
                            (cells[1].starts_with("sndfile-info") || cells[1].starts_with("ffprobe") ||
                             cells[1].starts_with("soxi") || cells[1].starts_with("exiftool"));
        if (counts) votes[cells[0]][{cells[3], cells[4], cells[6]}]++;
    }
    std::map<std::string, Reading> agreed;
    for (const auto& [file, readings] : votes) {
        const auto best = std::max_element(readings.begin(), readings.end(),
                                           [](const auto& a, const auto& b) { return a.second < b.second; });
        if (best->second >= 2) agreed[file] = best->first;
    }
    return agreed;
}

/// Why the file is not read as the others do; empty when it should be.
std::string Reason(const MediaContents& c) {
    for (const MediaProblem& p : c.problems)
        for (const char* known : {"RF64", "big-endian RIFF", "which is not supported"})
            if (p.text.find(known) != std::string::npos) return known;
    if (c.hasFormat && c.coding.codec == SampleCodec::None) return "a codec that is not read";
    return {};
}

TEST(Corpus, IsReadAsTwoOtherToolsAgree) {
    const fs::path folder = Folder();
    if (folder.empty()) GTEST_SKIP() << "no files of other people stand beside the checkout";
    size_t compared = 0;
    for (const auto& [file, expected] : Agreed(folder / "REFERENCE.tsv")) {
        const OwnedHandle handle(
            QmFile_Open((folder / file).u16string().c_str(), FILE_ACCESS_READ, FILE_OPEN_EXISTING));
        if (!handle) continue;
        const MediaContents c = InspectMedia(handle.get());
        const _qmwaveformat& f = c.format.format;
        const Reading ours = {std::to_string(f.sampleRate), std::to_string(f.channels),
                              std::to_string(c.frames)};
        compared++;
        if (c.hasFormat && ours == expected) continue;
        EXPECT_NE(Reason(c), "") << file << ": " << ours.rate << ' ' << ours.channels << ' ' << ours.frames
                                 << " and not " << expected.rate << ' ' << expected.channels << ' '
                                 << expected.frames;
    }
    EXPECT_GT(compared, 100u);
}

struct CloseSound {
    void operator()(SNDFILE* f) const { sf_close(f); }
};

struct Sound {
    bool isRead = false;
    int format = 0, channels = 0, rate = 0;
    std::vector<int> samples;
};
Sound ReadByOthers(const std::string& path) {
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, CloseSound> in(sf_open(path.c_str(), SFM_READ, &info));
    if (!in || info.channels <= 0 || info.frames > 10'000'000) return {};
    Sound sound{true, info.format, info.channels, info.samplerate, {}};
    sound.samples.resize(static_cast<size_t>(info.frames * info.channels));
    const sf_count_t got = sf_readf_int(in.get(), sound.samples.data(), info.frames);
    sound.samples.resize(static_cast<size_t>(std::max<sf_count_t>(got, 0) * info.channels));
    return sound;
}

/// As they are, cut, and as a killed recorder leaves them: what is repaired passes, is read by others as the
/// original was or better, and keeps its format.
TEST_F(MediaTest, RepairMakesNoFileOfOtherPeopleWorse) {
    const fs::path folder = Folder();
    if (folder.empty()) GTEST_SKIP() << "no files of other people stand beside the checkout";
    size_t repaired = 0, refused = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file() || entry.path().extension() == ".tsv" ||
            entry.path().extension() == ".md")
            continue;
        std::ifstream in(entry.path(), std::ios::binary);
        const Bytes original{std::istreambuf_iterator<char>(in), {}};
        const Sound whole = ReadByOthers(entry.path().string());
        for (const int percent : {100, 97, 60, 0}) {
            SCOPED_TRACE(entry.path().filename().string() + " at " + std::to_string(percent) + " per cent");
            Bytes damaged(original.begin(),
                          original.begin() +
                              static_cast<ptrdiff_t>(original.size() *
                                                     static_cast<size_t>(percent ? percent : 100) / 100));
            const MediaContents before = InspectMedia(Make("x", damaged).get());
            if (percent == 0) {  // both sizes were never set
                const size_t width = before.container == MediaContainer::Wave64 ? 8 : 4,
                             at = before.container == MediaContainer::Wave64 ? 16 : 4;
                if (!before.hasData || before.dataHeader + at + width > damaged.size()) continue;
                std::fill_n(damaged.begin() + static_cast<ptrdiff_t>(at), width, 0);
                std::fill_n(damaged.begin() + static_cast<ptrdiff_t>(before.dataHeader + at), width, 0);
                Make("x", damaged);
            }
            const OwnedHandle file = Open("x");
            const MediaRepairPlan plan = PlanMediaRepair(file.get(), {});
            if (plan.edits.empty()) {
                refused += plan.IsRefused();
                EXPECT_TRUE(plan.IsRefused() || !InspectMedia(file.get()).HasErrors());
                continue;
            }
            repaired++;
            ASSERT_EQ(WriteRepairedMedia(file.get(), plan, Make("y", {}).get(), {}), S_OK);
            const MediaContents after = Inspected("y");
            EXPECT_FALSE(after.HasErrors()) << after.problems[0].text;
            const Sound now = ReadByOthers(Path("x")), then = ReadByOthers(Path("y"));
            EXPECT_TRUE(then.isRead || !now.isRead);
            EXPECT_TRUE(then.isRead || !whole.isRead) << "a codec that needs its whole block";
            if (!then.isRead) continue;
            if (whole.isRead) {
                EXPECT_EQ(then.format, whole.format);
                EXPECT_EQ(then.channels, whole.channels);
                EXPECT_EQ(then.rate, whole.rate);
            }
            ASSERT_GE(then.samples.size(), now.samples.size());
            EXPECT_TRUE(std::equal(now.samples.begin(), now.samples.end(), then.samples.begin()));
        }
    }
    EXPECT_GT(repaired, refused);
}

}  // namespace
