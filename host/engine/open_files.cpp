#include "host/engine/open_files.h"

#include <algorithm>
#include <atomic>

#include <sys/resource.h>

namespace host {

namespace {

constexpr size_t kMostATrack = 8;
constexpr rlim_t kForTheRest = 128;   // window system, devices, fonts, settings, files that are saved
constexpr rlim_t kEnough = 1u << 16;  // beyond it tables of descriptors cost memory

std::atomic<size_t> tracks{0};

}  // namespace

void RaiseOpenFileLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    const rlim_t wanted = std::min(limit.rlim_max, kEnough);
    if (limit.rlim_cur >= wanted) return;
    limit.rlim_cur = wanted;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

OpenFileShare::OpenFileShare() { tracks++; }
OpenFileShare::~OpenFileShare() { tracks--; }

size_t OpenFileShare::Files() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur <= kForTheRest) return 0;
    const auto files = static_cast<size_t>(std::min(limit.rlim_cur, kEnough) - kForTheRest);
    return std::min(kMostATrack, files / std::max<size_t>(1, tracks));
}

}  // namespace host
