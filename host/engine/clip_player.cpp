#include "host/engine/clip_player.h"

#include "host/engine/gain.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>

namespace host {

namespace {

// A file that has not been played this near is closed.
constexpr double kNearSeconds = 5;

constexpr size_t kPortionFrames = 1024;

}  // namespace

int64_t FrameAt(double seconds, int sampleRate) { return std::llround(seconds * sampleRate); }

ClipPlayer::ClipPlayer(const std::vector<Clip>& clips, const std::filesystem::path& folder, int sampleRate,
                       ProblemLog& problems)
    : m_sampleRate(sampleRate), m_problems(problems) {
    std::map<std::string, size_t> sources;
    for (size_t i = 0; i < clips.size(); i++) {
        const Clip& clip = clips[i];
        const auto [source, isNew] = sources.try_emplace(clip.file, m_sources.size());
        if (isNew) m_sources.push_back({.name = clip.file, .path = folder / clip.file, .open = nullptr});
        m_clips.push_back({.start = FrameAt(clip.start, sampleRate),
                           .end = FrameAt(clip.start + clip.length, sampleRate),
                           .offset = FrameAt(clip.offset, sampleRate),
                           .gain = GainFromDb(clip.gain_db),
                           .file = source->second,
                           .order = i,
                           .endSoFar = 0});
    }
    std::stable_sort(m_clips.begin(), m_clips.end(),
                     [](const Placed& a, const Placed& b) { return a.start < b.start; });
    int64_t end = 0;
    for (Placed& clip : m_clips) clip.endSoFar = end = std::max(end, clip.end);
    for (size_t i = 0; i < m_sources.size(); i++) {
        Open(i, 0);
        KeepOpen(0);
    }
}

ClipPlayer::~ClipPlayer() = default;

FileAtRate* ClipPlayer::Open(size_t index, int64_t frame) {
    Source& source = m_sources[index];
    source.usedAt = frame;
    if (source.broken) return nullptr;
    if (source.open) {
        const auto place = std::find(m_open.begin(), m_open.end(), index);
        std::rotate(place, place + 1, m_open.end());
        return source.open.get();
    }
    KeepOpen(std::max<size_t>(1, OpenFileShare::Files()) - 1);
    try {
        source.open = std::make_unique<FileAtRate>(source.path, m_sampleRate);
        m_open.push_back(index);
        if (source.open->Channels() > 2)
            m_problems.Report(source.name + ": has " + std::to_string(source.open->Channels()) +
                              " channels, the first two are played");
    } catch (const AudioFileError& e) {
        source.broken = !e.mayPass;
        m_problems.Report(source.name + ": " + e.what());
    }
    return source.open.get();
}

void ClipPlayer::CloseDistant(int64_t frame) {
    const auto near = static_cast<int64_t>(kNearSeconds * m_sampleRate);
    std::erase_if(m_open, [&](size_t index) {
        Source& source = m_sources[index];
        const bool distant = std::abs(frame - source.usedAt) > near;
        if (distant) source.open.reset();
        return distant;
    });
}

// The longest unused go first.
void ClipPlayer::KeepOpen(size_t most) {
    if (m_open.size() <= most) return;
    const auto kept = m_open.end() - static_cast<std::ptrdiff_t>(most);
    std::for_each(m_open.begin(), kept, [this](size_t index) { m_sources[index].open.reset(); });
    m_open.erase(m_open.begin(), kept);
}

void ClipPlayer::Produce(int64_t frame, size_t n, float* left, float* right) {
    std::fill(left, left + n, 0.0f);
    std::fill(right, right + n, 0.0f);
    const int64_t end = frame + static_cast<int64_t>(n);
    m_found.clear();
    auto after = std::lower_bound(m_clips.begin(), m_clips.end(), end,
                                  [](const Placed& clip, int64_t at) { return clip.start < at; });
    while (after != m_clips.begin() && (--after)->endSoFar > frame)
        if (after->end > frame) m_found.push_back(&*after);
    std::sort(m_found.begin(), m_found.end(),
              [](const Placed* a, const Placed* b) { return a->order < b->order; });
    for (const Placed* clip : m_found) {
        const int64_t from = std::max(frame, clip->start), to = std::min(end, clip->end);
        const int64_t skip = from - frame;
        Add(*clip, from, static_cast<size_t>(to - from), left + skip, right + skip);
    }
    CloseDistant(frame);
    KeepOpen(OpenFileShare::Files());
}

void ClipPlayer::Add(const Placed& clip, int64_t frame, size_t n, float* left, float* right) {
    Source& source = m_sources[clip.file];
    FileAtRate* file = Open(clip.file, frame);
    if (!file) return;
    std::array<float, kPortionFrames> fromLeft, fromRight;
    for (size_t done = 0; done < n;) {
        const size_t count = std::min(n - done, kPortionFrames);
        const int64_t at = frame + static_cast<int64_t>(done);
        file->Read(clip.offset + (at - clip.start), count, fromLeft.data(), fromRight.data());
        for (size_t i = 0; i < count; i++) {
            left[done + i] += fromLeft[i] * clip.gain;
            right[done + i] += fromRight[i] * clip.gain;
        }
        done += count;
    }
    if (!file->Fault().empty()) m_problems.Report(source.name + ": " + file->Fault());
}

}  // namespace host
