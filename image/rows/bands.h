// Rows shared out to threads. Each row is worked on in the same way whoever has it, so that the result does
// not depend on their number.
#pragma once

#include "platform/types.h"

#include <algorithm>
#ifdef _OPENMP
#include <omp.h>
#endif
#ifdef __SANITIZE_THREAD__
#include <thread>
#include <vector>
#endif

namespace tarn {

/// Below this a thread costs more than it does.
inline constexpr uint64_t BAND_BYTES = 1 << 18;

/// How many bands a work of so many bytes is worth.
inline int32_t BandCount(int32_t rows, uint64_t bytes) {
#ifdef _OPENMP
    const auto most = static_cast<uint64_t>(omp_in_parallel() ? 1 : omp_get_max_threads());
#else
    const uint64_t most = 1;
#endif
    const uint64_t worth = std::min(std::max<uint64_t>(bytes / BAND_BYTES, 1), most);
    return static_cast<int32_t>(std::min<uint64_t>(worth, static_cast<uint64_t>(std::max(rows, 1))));
}

/// Calls work(band, from, to) for so many bands of 0..rows; their ends are multiples of `step`. It must not
/// throw.
template <class Work>
void ForBands(int32_t bands, int32_t rows, int32_t step, Work work) {
    const auto end = [=](int32_t band) {
        const int64_t steps = (int64_t{rows} + step - 1) / step * band / bands;
        return static_cast<int32_t>(std::min<int64_t>(steps * step, rows));
    };
    if (bands == 1) return work(0, 0, rows);
#ifdef __SANITIZE_THREAD__
    // The sanitizer does not see how OpenMP's threads wait for each other, and would report every row. These
    // it sees, and so whether bands get in each other's way.
    std::vector<std::jthread> threads;
    for (int32_t band = 0; band < bands; band++)
        threads.emplace_back([=, &work] { work(band, end(band), end(band + 1)); });
#else
#ifdef _OPENMP
#pragma omp parallel for num_threads(bands) schedule(static, 1)
#endif
    for (int32_t band = 0; band < bands; band++) work(band, end(band), end(band + 1));
#endif
}

}  // namespace tarn
