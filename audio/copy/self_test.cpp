#include "audio/copy/levels.h"

#include <cstdio>
#include <vector>

using namespace tarn;

namespace {

/// All values of the type, or as many spread over its range.
std::vector<uint8_t> Ramp(QMSAMPLETYPE type) {
    constexpr int BITS = 16, COUNT = 1 << BITS;
    const uint32_t bytes = QmAudio_BytesFromSampleType(type);
    const int step = bytes == 1 ? COUNT / 256 : 1;
    std::vector<int32_t> values;
    for (int i = -COUNT / 2; i < COUNT / 2; i += step) values.push_back(i * COUNT);
    std::vector<uint8_t> ramp(values.size() * bytes);
    FindRoutine(COPY_PLAIN, type, QMSAMPLE_PCM32)(ramp.data(), values.data(),
                                                  static_cast<int64_t>(values.size()), 1);
    return ramp;
}

struct TestRow {
    QMSAMPLETYPE type, floatType;
    uint32_t needs;
    const CopyTable* table;
};
constexpr TestRow TEST_ROWS[] = {
    {QMSAMPLE_PCM8, QMSAMPLE_FLOAT32, 0, &COPY_PLAIN},
    {QMSAMPLE_PCM8, QMSAMPLE_FLOAT64, 0, &COPY_PLAIN},
    {QMSAMPLE_SIGNED8, QMSAMPLE_FLOAT32, 0, &COPY_PLAIN},
    {QMSAMPLE_SIGNED8, QMSAMPLE_FLOAT64, 0, &COPY_PLAIN},
    {QMSAMPLE_PCM16, QMSAMPLE_FLOAT32, 0, &COPY_PLAIN},
    {QMSAMPLE_PCM16, QMSAMPLE_FLOAT64, 0, &COPY_PLAIN},
    {QMSAMPLE_BE16, QMSAMPLE_FLOAT32, 0, &COPY_PLAIN},
    {QMSAMPLE_BE16, QMSAMPLE_FLOAT64, 0, &COPY_PLAIN},
    {QMSAMPLE_PCM24, QMSAMPLE_FLOAT32, 0, &COPY_PLAIN},
    {QMSAMPLE_PCM24, QMSAMPLE_FLOAT64, 0, &COPY_PLAIN},
    {QMSAMPLE_BE24, QMSAMPLE_FLOAT32, 0, &COPY_PLAIN},
    {QMSAMPLE_BE24, QMSAMPLE_FLOAT64, 0, &COPY_PLAIN},
    {QMSAMPLE_PCM24IN32, QMSAMPLE_FLOAT32, 0, &COPY_PLAIN},
    {QMSAMPLE_PCM24IN32, QMSAMPLE_FLOAT64, 0, &COPY_PLAIN},
#ifdef __x86_64__
    {QMSAMPLE_PCM16, QMSAMPLE_FLOAT32, CPU_SUPPORT_SSE2, &COPY_SSE2},
    {QMSAMPLE_PCM16, QMSAMPLE_FLOAT32, CPU_SUPPORT_AVX2, &COPY_AVX2},
    {QMSAMPLE_PCM16, QMSAMPLE_FLOAT32, CPU_SUPPORT_AVX512, &COPY_AVX512},
#endif
};

bool ComesBack(const TestRow& row) {
    const std::vector<uint8_t> ramp = Ramp(row.type);
    const auto count = static_cast<int64_t>(ramp.size() / QmAudio_BytesFromSampleType(row.type));
    std::vector<double> floats(static_cast<size_t>(count));
    std::vector<uint8_t> back(ramp.size());
    FindRoutine(*row.table, row.floatType, row.type)(floats.data(), ramp.data(), count, 1);
    FindRoutine(*row.table, row.type, row.floatType)(back.data(), floats.data(), count, 1);
    return back == ramp;
}

}  // namespace

HRESULT QmAudioCopy_UnitTest(uint32_t) try {
    HRESULT result = S_OK;
    for (const TestRow& row : TEST_ROWS) {
        if ((QmGetCPUSupport() & row.needs) != row.needs || ComesBack(row)) continue;
        if (Succeeded(result)) std::fputs("INTERNAL: AudioCopy unit test failed!\n", stderr);
        std::fprintf(stderr, "QmAudioCopy_UnitTest node[%d] failed.\n", static_cast<int>(&row - TEST_ROWS));
        result = E_FAIL;
    }
    return result;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}
