// Other people's files, when they stand beside the checkout: read as two other tools agree, or for a reason
// that is told here.
#include "tests/mediafile/media_support.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace {

namespace fs = std::filesystem;

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
    if (c.hasFormat && c.format.format.IsCompressed()) return "compressed: its frames are known to its codec";
    return {};
}

TEST(Corpus, IsReadAsTwoOtherToolsAgree) {
    const fs::path folder = fs::path(SOURCE_FOLDER) / ".." / "shared" / "corpus";
    if (!fs::exists(folder / "REFERENCE.tsv"))
        GTEST_SKIP() << "no files of other people stand beside the checkout";
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

}  // namespace
