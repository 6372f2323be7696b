#include "image/rows/resample.h"

#include "image/rows/bands.h"
#include "image/rows/image_rows.h"
#include "platform/memory.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace tarn {

namespace {

constexpr int32_t Floor(int64_t q14) { return static_cast<int32_t>(q14 >> 14); }
constexpr int32_t Ceiling(int64_t q14) { return static_cast<int32_t>((q14 + Q14_ONE - 1) >> 14); }

/// Scratch that is laid out once, so that no row asks for memory.
class Arena {
public:
    static constexpr size_t LINE = 64;
    /// Bytes of an array, in whole lines of the cache.
    static size_t Lines(uint64_t bytes) { return (bytes + 2 * LINE - 1) / LINE * LINE; }

    explicit Arena(size_t bytes) : m_block(static_cast<uint8_t*>(MemAlloc(bytes + LINE)), MemFree) {
        const auto address = reinterpret_cast<uintptr_t>(m_block.get());
        m_next = m_block.get() + (LINE - address % LINE) % LINE;
    }
    explicit operator bool() const { return m_block != nullptr; }

    template <class T>
    T* Take(uint64_t count) {
        auto* taken = reinterpret_cast<T*>(m_next);
        m_next += Lines(count * sizeof(T));
        return taken;
    }

private:
    std::unique_ptr<uint8_t, void (*)(void*)> m_block;
    uint8_t* m_next;
};

/// The types and routines of a kind of pixel.
struct BytePixels {
    using Channel = uint8_t;
    using Between = int16_t;
    using Weight = int16_t;
    static constexpr int32_t LERP_WEIGHTS = 4;  ///< a pixel in the table of columns
    static Weight FromFraction(int32_t q14) { return static_cast<Weight>(q14 * 2); }
    static constexpr auto LERP_ROWS = &ImageRows::lerpRows;
    static constexpr auto LERP_COLUMNS = &ImageRows::lerpColumns;
    static constexpr auto CUBIC_ROWS = &ImageRows::cubicRows;
    static constexpr auto CUBIC_COLUMNS = &ImageRows::cubicColumns;
};
struct FloatPixels {
    using Channel = float;
    using Between = float;
    using Weight = float;
    static constexpr int32_t LERP_WEIGHTS = 1;
    static Weight FromFraction(int32_t q14) { return static_cast<float>(q14) / Q14_ONE; }
    static constexpr auto LERP_ROWS = &ImageRows::lerpRowsFloat;
    static constexpr auto LERP_COLUMNS = &ImageRows::lerpColumnsFloat;
    static constexpr auto CUBIC_ROWS = &ImageRows::cubicRowsFloat;
    static constexpr auto CUBIC_COLUMNS = &ImageRows::cubicColumnsFloat;
};

template <class P, ResampleFilter FILTER>
class Resampler {
    using Channel = typename P::Channel;
    using Between = typename P::Between;
    using Weight = typename P::Weight;
    static constexpr bool IS_CUBIC = FILTER == ResampleFilter::Bicubic;
    static constexpr int32_t WEIGHTS = IS_CUBIC ? 4 : P::LERP_WEIGHTS;
    /// Pixels that stand before and behind those of a row: the outermost repeated.
    static constexpr int32_t BEFORE = IS_CUBIC ? 1 : 0, BEHIND = IS_CUBIC ? 2 : 1;

public:
    Resampler(const QMSUBPIXELPARAM& param, const RowSink* sink)
        : m_param(param), m_sink(sink), m_rows(BestRows()),
          m_x(param.dst.left, param.dst.right, param.src.left, param.src.right),
          m_y(param.dst.top, param.dst.bottom, param.src.top, param.src.bottom) {}

    HRESULT Run() {
        const auto count = static_cast<uint64_t>(m_x.count);
        const auto across = static_cast<uint64_t>(int64_t{m_x.srcLast} - m_x.srcFirst + 1);
        const uint64_t work = static_cast<uint64_t>(m_y.count) * (count + across) * 4 * sizeof(Channel);
        const int32_t bands = BandCount(m_y.count, work);
        const uint64_t between = (across + BEFORE + BEHIND) * 4, line = count * 4;
        Arena arena(Arena::Lines(count * sizeof(int32_t)) + Arena::Lines(count * WEIGHTS * sizeof(Weight)) +
                    static_cast<size_t>(bands) *
                        (Arena::Lines(between * sizeof(Between)) + Arena::Lines(line * sizeof(Channel))));
        if (!arena) return E_OUTOFMEMORY;
        m_at = arena.Take<int32_t>(count);
        m_weights = arena.Take<Weight>(count * WEIGHTS);
        PlaceColumns();
        auto* betweens = arena.Take<Between>(0);
        const size_t each = Arena::Lines(between * sizeof(Between)) + Arena::Lines(line * sizeof(Channel));
        ForBands(bands, m_y.count, 1, [&](int32_t band, int32_t from, int32_t to) {
            auto* own = reinterpret_cast<uint8_t*>(betweens) + each * static_cast<size_t>(band);
            auto* pixels = reinterpret_cast<Channel*>(own + Arena::Lines(between * sizeof(Between)));
            for (int32_t y = from; y < to; y++) {
                // Straight where they go saves a copy, and their memory is waited for while they are made.
                Channel* out = m_sink ? pixels : reinterpret_cast<Channel*>(Target(y));
                MakeRow(y, reinterpret_cast<Between*>(own), out);
                if (m_sink) Put(y, reinterpret_cast<const uint8_t*>(pixels));
            }
        });
        return S_OK;
    }

private:
    void PlaceColumns() {
        for (int32_t i = 0; i < m_x.count; i++) {
            const int32_t at = m_x.At(i);
            m_at[i] = Floor(at) - m_x.srcFirst;
            Weight* weights = m_weights + int64_t{i} * WEIGHTS;
            if constexpr (IS_CUBIC)
                CubicWeights(at & (Q14_ONE - 1), weights);
            else
                std::fill_n(weights, WEIGHTS, P::FromFraction(at & (Q14_ONE - 1)));
        }
    }

    const Channel* SourceRow(int32_t y) const {
        const int32_t row = std::clamp(y, m_y.srcFirst, m_y.srcLast);
        const uint8_t* p = m_param.srcBits + int64_t{m_param.srcStride} * row;
        return reinterpret_cast<const Channel*>(p) + int64_t{m_x.srcFirst} * 4;
    }

    uint8_t* Target(int32_t y) const {
        return m_param.dstBits + int64_t{m_param.dstStride} * (m_y.first + y) +
               m_x.first * int64_t{4 * sizeof(Channel)};
    }

    void MakeRow(int32_t y, Between* between, Channel* pixels) {
        const int32_t at = m_y.At(y), row = Floor(at), fraction = at & (Q14_ONE - 1);
        const int32_t channels = (m_x.srcLast - m_x.srcFirst + 1) * 4;
        Between* first = between + BEFORE * 4;
        if constexpr (IS_CUBIC) {
            const Channel* const rows[4] = {SourceRow(row - 1), SourceRow(row), SourceRow(row + 1),
                                            SourceRow(row + 2)};
            Weight weights[4];
            CubicWeights(fraction, weights);
            (m_rows.*P::CUBIC_ROWS)(first, rows, channels, weights);
        } else {
            (m_rows.*P::LERP_ROWS)(first, SourceRow(row), SourceRow(row + 1), channels,
                                   P::FromFraction(fraction));
        }
        for (int32_t i = 0; i < BEFORE; i++) std::copy_n(first, 4, between + int64_t{i} * 4);
        for (int32_t i = 0; i < BEHIND; i++)
            std::copy_n(first + channels - 4, 4, first + channels + int64_t{i} * 4);
        (m_rows.*(IS_CUBIC ? P::CUBIC_COLUMNS : P::LERP_COLUMNS))(pixels, between, m_at, m_weights,
                                                                  m_x.count);
    }

    /// Only the outermost columns may be covered in part.
    void Put(int32_t y, const uint8_t* pixels) const {
        constexpr int64_t BYTES = 4 * sizeof(Channel);
        const int64_t down = m_y.Coverage(y);
        uint8_t* dst = Target(y);
        const auto put = [&](int32_t from, int32_t to) {
            if (from >= to) return;
            const auto weight = static_cast<int32_t>(down * m_x.Coverage(from) >> 14);
            m_sink->Put(dst + from * BYTES, pixels + from * BYTES, to - from, weight);
        };
        const int32_t last = m_x.count - 1;
        put(0, 1);
        put(1, last);
        if (last > 0) put(last, last + 1);
    }

    const QMSUBPIXELPARAM& m_param;
    const RowSink* const m_sink;
    const ImageRows& m_rows;
    const ResampleAxis m_x, m_y;
    int32_t* m_at = nullptr;
    Weight* m_weights = nullptr;
};

}  // namespace

ResampleAxis::ResampleAxis(int32_t dstLow, int32_t dstHigh, int32_t srcLow, int32_t srcHigh)
    : first(Floor(dstLow)), count(Ceiling(dstHigh) - Floor(dstLow)), srcFirst(Floor(srcLow)),
      srcLast(std::max(Ceiling(srcHigh) - 1, Floor(srcLow))), m_dstLow(dstLow), m_dstHigh(dstHigh),
      m_srcLow(srcLow), m_srcHigh(srcHigh) {}

int32_t ResampleAxis::At(int32_t i) const {
    const int64_t from = (int64_t{first} + i) * Q14_ONE + Q14_ONE / 2 - m_dstLow;
    const int64_t dst = m_dstHigh - m_dstLow, src = m_srcHigh - m_srcLow;
    int64_t at = 0;
    if (dst > 2 * Q14_ONE)
        at = (from - Q14_ONE / 2) * std::max<int64_t>(src - Q14_ONE, 0) / (dst - Q14_ONE);
    else
        at = from * src / dst - Q14_ONE / 2;
    // Within the outermost pixels' centres, or on the only one's.
    const int64_t most = std::max<int64_t>(src - Q14_ONE, 0);
    const int64_t low = src < Q14_ONE ? int64_t{srcFirst} * Q14_ONE : m_srcLow;
    return static_cast<int32_t>(
        std::min<int64_t>(low + std::clamp<int64_t>(at, 0, most), int64_t{srcLast} * Q14_ONE));
}

int32_t ResampleAxis::Coverage(int32_t i) const {
    const int64_t low = (int64_t{first} + i) * Q14_ONE;
    return static_cast<int32_t>(std::min(low + Q14_ONE, m_dstHigh) - std::max(low, m_dstLow));
}

void CubicWeights(int32_t fraction, float weights[4]) {
    const double t = static_cast<double>(fraction) / Q14_ONE, t2 = t * t, t3 = t2 * t;
    weights[0] = static_cast<float>((-t3 + 2 * t2 - t) / 2);
    weights[1] = static_cast<float>((3 * t3 - 5 * t2 + 2) / 2);
    weights[2] = static_cast<float>((-3 * t3 + 4 * t2 + t) / 2);
    weights[3] = static_cast<float>((t3 - t2) / 2);
}

void CubicWeights(int32_t fraction, int16_t weights[4]) {
    float exact[4];
    CubicWeights(fraction, exact);
    int32_t rest = Q14_ONE;
    for (int i = 0; i < 4; i++) {
        // Away from 0, as the sign is known and the processor's mode of rounding shall not matter.
        const float scaled = exact[i] * Q14_ONE;
        weights[i] = static_cast<int16_t>(scaled < 0 ? scaled - 0.5f : scaled + 0.5f);
        rest -= weights[i];
    }
    weights[weights[1] >= weights[2] ? 1 : 2] += static_cast<int16_t>(rest);
}

HRESULT Resample(const QMSUBPIXELPARAM& param, ResampleFilter filter, uint32_t bytesPerPixel,
                 const RowSink* sink) {
    using enum ResampleFilter;
    if (bytesPerPixel == 4)
        return filter == Bilinear ? Resampler<BytePixels, Bilinear>(param, sink).Run()
                                  : Resampler<BytePixels, Bicubic>(param, sink).Run();
    return filter == Bilinear ? Resampler<FloatPixels, Bilinear>(param, sink).Run()
                              : Resampler<FloatPixels, Bicubic>(param, sink).Run();
}

bool ArePixels(const void* bits, int32_t stride, uint32_t bytesPerPixel) {
    if (bytesPerPixel == 4) return true;
    return bytesPerPixel == 16 && reinterpret_cast<uintptr_t>(bits) % alignof(float) == 0 &&
           stride % static_cast<int32_t>(alignof(float)) == 0;
}

bool ShiftedUp(const RECT* rect, RECT& up) {
    constexpr LONG MOST = INT32_MAX / Q14_ONE;
    for (LONG side : {rect->left, rect->top, rect->right, rect->bottom})
        if (side < -MOST || side > MOST) return false;
    up = {rect->left * Q14_ONE, rect->top * Q14_ONE, rect->right * Q14_ONE, rect->bottom * Q14_ONE};
    return true;
}

}  // namespace tarn
