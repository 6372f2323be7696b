#include "image/rows/simple_loops.h"
#include "image/rows/vector_blends.h"
#include "image/rows/vector_scaling.h"

namespace tarn {

namespace {

constexpr ImageRows Made() {
    ImageRows rows{};
    AddSimpleLoops(rows);
    AddBlends<64>(rows);
    AddScaling(rows);
    return rows;
}

}  // namespace

constexpr ImageRows IMAGE_ROWS_AVX512 = Made();

}  // namespace tarn
