// The routines of one level, made from its pieces: a vector of LANES samples as integers, floats or
// doubles, loaded, converted and stored. A level says what differs from the others and nothing else.
//
// A routine whose destination is wider works from the last sample to the first, any other from the first to
// the last, so that a buffer may be converted in its place.
#pragma once

#include "audio/copy/copy_table.h"
#include "audio/copy/samples.h"

namespace {

/// A vector of integers from memory, and back; the level brings one piece a width.
template <class V, QMSAMPLETYPE TYPE>
inline typename V::Whole LoadWholes(const uint8_t* p) {
    constexpr bool SWAP = Sample<TYPE>::IS_BIG_ENDIAN;
    if constexpr (Sample<TYPE>::BYTES == 1) return V::template Load8<TYPE == QMSAMPLE_PCM8>(p);
    if constexpr (Sample<TYPE>::BYTES == 2) return V::template Load16<SWAP>(p);
    if constexpr (Sample<TYPE>::BYTES == 3) return V::template Load24<SWAP>(p);
    if constexpr (Sample<TYPE>::BYTES == 4) return V::template Load32<SWAP>(p);
}
template <class V, QMSAMPLETYPE TYPE>
inline void StoreWholes(uint8_t* p, typename V::Whole value) {
    constexpr bool SWAP = Sample<TYPE>::IS_BIG_ENDIAN;
    if constexpr (Sample<TYPE>::BYTES == 1) V::template Store8<TYPE == QMSAMPLE_PCM8>(p, value);
    if constexpr (Sample<TYPE>::BYTES == 2) V::template Store16<SWAP>(p, value);
    if constexpr (Sample<TYPE>::BYTES == 3) V::template Store24<SWAP>(p, value);
    if constexpr (Sample<TYPE>::BYTES == 4) V::template Store32<SWAP>(p, value);
}

/// Integers of one width as those of another, at a scale of 1.
template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC>
inline typename V::Whole Shifted(const uint8_t* s) {
    using D = Sample<DST>;
    using S = Sample<SRC>;
    constexpr int SHIFT = D::BITS - S::BITS;
    if constexpr (S::BYTES == 3 && SHIFT > 0) {
        static_assert(SHIFT == 8);
        return V::template LoadTop24<S::IS_BIG_ENDIAN>(s);
    } else if constexpr (S::BYTES == 3 && SHIFT < 0) {
        // A float holds the source, and its conversion rounds as wanted; the stores of these types saturate.
        static_assert(D::BYTES <= 2);
        return V::Rounded(V::ToFloat(V::template LoadTop24<S::IS_BIG_ENDIAN>(s)), 1.0f / (1 << (8 - SHIFT)));
    }
    typename V::Whole x = LoadWholes<V, SRC>(s);
    if constexpr (SHIFT > 0) {
        return V::template ShiftLeft<SHIFT>(x);
    } else if constexpr (SHIFT == 0) {
        if constexpr (S::MAY_EXCEED && !D::MAY_EXCEED)
            x = V::Clamped(x, static_cast<int32_t>(D::LOWEST), static_cast<int32_t>(D::HIGHEST));
        return x;
    } else if constexpr (S::BYTES == 2 || (S::MAY_EXCEED && D::BYTES <= 2)) {
        // As above. A word beyond 24 bits loses some in a float, and is beyond the store's range all the
        // same.
        return V::Rounded(V::ToFloat(x), 1.0f / (1 << -SHIFT));
    } else if constexpr (SHIFT < 0) {
        // What rounds above the highest value is cut before, where the sum below cannot run over.
        constexpr int DOWN = -SHIFT;
        constexpr auto UNIT = int64_t{1} << DOWN;
        constexpr auto HIGHEST = static_cast<int32_t>(static_cast<int64_t>(D::HIGHEST) * UNIT);
        static_assert(!S::MAY_EXCEED);
        x = V::Least(x, HIGHEST);
        return V::template RoundedDown<DOWN>(x);  // ties to even
    }
}

/// Floats or doubles times a factor, clamped and rounded; NaN is 0. Where the store saturates,
/// only what would not convert at all is cut.
template <class V, QMSAMPLETYPE DST, class Vector, class Factor>
inline typename V::Whole RoundedTo(Vector x, Factor factor) {
    using D = Sample<DST>;
    if constexpr (D::BYTES <= 2)
        return V::RoundedBelow(x, factor, static_cast<Factor>(D::HIGHEST));
    else
        return V::RoundedWithin(x, factor, static_cast<Factor>(D::LOWEST), static_cast<Factor>(D::HIGHEST));
}

/// Whether the level has a piece of its own from 32 bits to 16, which takes two vectors.
template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
constexpr bool NarrowsPairs() {
    if constexpr (requires { V::NARROWS_32_TO_16; })
        return UNITY && Sample<DST>::BYTES == 2 && Sample<SRC>::BITS == 32 && !Sample<SRC>::IS_FLOAT;
    return false;
}

/// Samples that CopyVector takes at once.
template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
constexpr int64_t LANES_OF = NarrowsPairs<V, DST, SRC, UNITY>() ? 2 * V::LANES : V::LANES;

/// One vector from type to type, by the rule of CopySample.
template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
inline void CopyVector(uint8_t* d, const uint8_t* s, float scale) {
    using D = Sample<DST>;
    using S = Sample<SRC>;
    constexpr bool FLOAT_HOLDS_SOURCE = SRC == QMSAMPLE_FLOAT32 || (!S::IS_FLOAT && S::BYTES < 4);
    if constexpr (NarrowsPairs<V, DST, SRC, UNITY>()) {
        V::template Narrow32To16<D::IS_BIG_ENDIAN, S::IS_BIG_ENDIAN>(d, s);
    } else if constexpr (!D::IS_FLOAT && !S::IS_FLOAT) {
        if constexpr (UNITY && D::BYTES == 2 && S::BYTES == 2)
            V::Swap16(d, s);
        else if constexpr (UNITY && D::BYTES == 1 && S::BYTES == 1)
            V::Flip8(d, s);
        else if constexpr (UNITY)
            StoreWholes<V, DST>(d, Shifted<V, DST, SRC>(s));
        else  // one rounding, as when source, scale and full scales are multiplied in turn: those are powers
              // of 2
            StoreWholes<V, DST>(
                d, RoundedTo<V, DST>(V::ToDouble(LoadWholes<V, SRC>(s)),
                                     static_cast<double>(scale) * (D::FULL_SCALE / S::FULL_SCALE)));
    } else if constexpr (SRC == QMSAMPLE_FLOAT32 && !D::IS_FLOAT) {
        typename V::Float x = V::LoadFloat(s);
        if constexpr (!UNITY) x = V::Times(x, scale);
        // Full scale is a power of 2, so that the product is exact.
        if constexpr (D::BITS == 32)
            StoreWholes<V, DST>(d, V::Rounded32(x));
        else
            StoreWholes<V, DST>(d, RoundedTo<V, DST>(x, static_cast<float>(D::FULL_SCALE)));
    } else if constexpr (SRC == QMSAMPLE_FLOAT64 && !D::IS_FLOAT) {
        typename V::Double x = V::LoadDouble(s);
        if constexpr (!UNITY) x = V::Times(x, static_cast<double>(scale));
        StoreWholes<V, DST>(d, RoundedTo<V, DST>(x, D::FULL_SCALE));
    } else if constexpr (DST == QMSAMPLE_FLOAT32 && (FLOAT_HOLDS_SOURCE || (UNITY && !S::IS_FLOAT))) {
        typename V::Float x;
        if constexpr (S::IS_FLOAT)
            x = V::LoadFloat(s);
        else if constexpr (S::BYTES == 3)
            x = V::Times(V::ToFloat(V::template LoadTop24<S::IS_BIG_ENDIAN>(s)), 1 / 2147483648.0f);
        else
            x = V::Times(V::ToFloat(LoadWholes<V, SRC>(s)), static_cast<float>(1 / S::FULL_SCALE));
        if constexpr (!UNITY) x = V::Times(x, scale);
        V::StoreFloat(d, x);
    } else {
        typename V::Double x;
        if constexpr (SRC == QMSAMPLE_FLOAT32) {
            typename V::Float f = V::LoadFloat(s);
            if constexpr (!UNITY) f = V::Times(f, scale);
            x = V::ToDouble(f);
        } else {
            if constexpr (SRC == QMSAMPLE_FLOAT64)
                x = V::LoadDouble(s);
            else
                x = V::Times(V::ToDouble(LoadWholes<V, SRC>(s)), 1 / S::FULL_SCALE);
            if constexpr (!UNITY) x = V::Times(x, static_cast<double>(scale));
        }
        if constexpr (DST == QMSAMPLE_FLOAT32)
            V::StoreFloat(d, V::ToFloat(x));
        else
            V::StoreDouble(d, x);
    }
}

constexpr int64_t LINE = 64;

/// How many samples lie before the beginning of a line; -1 when none begins there.
inline int64_t StepsToLine(const uint8_t* p, int64_t step) {
    const auto address = static_cast<int64_t>(reinterpret_cast<uintptr_t>(p) % LINE);
    for (int64_t steps = 0; steps < LINE; steps++)
        if ((address + steps * step) % LINE == 0) return steps;
    return -1;
}

/// Whole vectors.
template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY, bool BACKWARD>
inline void CopyVectors(uint8_t* d, const uint8_t* s, int64_t vectors, float scale) {
    constexpr int64_t LANES = LANES_OF<V, DST, SRC, UNITY>;
    constexpr int64_t TO = LANES * Sample<DST>::BYTES, FROM = LANES * Sample<SRC>::BYTES;
    if constexpr (BACKWARD)
        for (int64_t i = vectors - 1; i >= 0; i--)
            CopyVector<V, DST, SRC, UNITY>(d + i * TO, s + i * FROM, scale);
    else
        for (int64_t i = 0; i < vectors; i++) CopyVector<V, DST, SRC, UNITY>(d + i * TO, s + i * FROM, scale);
}

/// Samples `from` to `to`, one by one: the few beside the vectors. A call costs them nothing, and in line
/// they would be most of the code.
template <QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
[[gnu::noinline]] void CopySamples(uint8_t* d, const uint8_t* s, int64_t from, int64_t to, float scale) {
    constexpr int64_t TO = Sample<DST>::BYTES, FROM = Sample<SRC>::BYTES;
    if constexpr (TO > FROM)
        for (int64_t i = to - 1; i >= from; i--) CopySample<DST, SRC, UNITY>(d + i * TO, s + i * FROM, scale);
    else
        for (int64_t i = from; i < to; i++) CopySample<DST, SRC, UNITY>(d + i * TO, s + i * FROM, scale);
}

template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
void CopyAll(uint8_t* d, const uint8_t* s, int64_t samples, float scale) {
    constexpr int64_t TO = Sample<DST>::BYTES, FROM = Sample<SRC>::BYTES;
    if constexpr (V::LANES == 1) {
        CopySamples<DST, SRC, UNITY>(d, s, 0, samples, scale);
    } else {
        // Stores that cross lines of the cache cost double, so the vectors of long runs lie on lines.
        const bool isLong = samples >= 16 * LINE;
        const int64_t steps = isLong ? StepsToLine(d, TO) : 0, head = steps < 0 ? 0 : steps;
        constexpr int64_t LANES = LANES_OF<V, DST, SRC, UNITY>;
        const int64_t vectors = (samples - head) / LANES, tail = head + vectors * LANES;
        constexpr bool BACKWARD = TO > FROM;
        CopySamples<DST, SRC, UNITY>(d, s, BACKWARD ? tail : 0, BACKWARD ? samples : head, scale);
        CopyVectors<V, DST, SRC, UNITY, BACKWARD>(d + head * TO, s + head * FROM, vectors, scale);
        CopySamples<DST, SRC, UNITY>(d, s, BACKWARD ? 0 : tail, BACKWARD ? head : samples, scale);
    }
}

/// Long runs into another buffer, through a piece that stays in the first cache. Returns how many samples
/// were done: all but a few, or none where the destination cannot be aligned.
template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
int64_t CopyStreamed(uint8_t* d, const uint8_t* s, int64_t samples, float scale) {
    constexpr int64_t TO = Sample<DST>::BYTES, FROM = Sample<SRC>::BYTES, PIECE = 16 * LINE;
    int64_t i = StepsToLine(d, TO);
    if (i < 0) return 0;
    CopySamples<DST, SRC, UNITY>(d, s, 0, i, scale);
    alignas(LINE) uint8_t piece[PIECE * TO];
    for (; i + PIECE <= samples; i += PIECE) {
        CopyVectors<V, DST, SRC, UNITY, false>(piece, s + i * FROM, PIECE / LANES_OF<V, DST, SRC, UNITY>,
                                               scale);
        V::Stream(d + i * TO, piece, sizeof piece);
    }
    V::EndStream();
    return i;
}

template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
void CopyRun(uint8_t* d, const uint8_t* s, int64_t samples, float scale) {
    constexpr int64_t TO = Sample<DST>::BYTES, FROM = Sample<SRC>::BYTES;
    if constexpr (V::LANES > 1)
        if (samples * TO >= STREAMED_BYTES && (d >= s + samples * FROM || s >= d + samples * TO)) {
            const int64_t done = CopyStreamed<V, DST, SRC, UNITY>(d, s, samples, scale);
            d += done * TO;
            s += done * FROM;
            samples -= done;
        }
    CopyAll<V, DST, SRC, UNITY>(d, s, samples, scale);
}

template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC>
void Copy(void* dst, const void* src, int64_t samples, float scale) {
    auto* d = static_cast<uint8_t*>(dst);
    const auto* s = static_cast<const uint8_t*>(src);
    if (samples <= 0) return;
    if (scale != 1.0f) return CopyRun<V, DST, SRC, false>(d, s, samples, scale);
    if constexpr (DST == SRC) {
        if (d != s) std::memcpy(d, s, static_cast<size_t>(samples) * Sample<DST>::BYTES);
    } else {
        CopyRun<V, DST, SRC, true>(d, s, samples, scale);
    }
}

/// These four were never made, though their opposites were.
constexpr bool HasRoutine(QMSAMPLETYPE dst, QMSAMPLETYPE src) {
    return !((dst == QMSAMPLE_BE16 || dst == QMSAMPLE_BE24) &&
             (src == QMSAMPLE_PCM24IN32 || src == QMSAMPLE_BE32));
}

template <class V, int DST, int SRC>
constexpr void FillTable(CopyTable& table) {
    if constexpr (HasRoutine(COPY_TYPES[DST], COPY_TYPES[SRC]))
        table.routine[DST][SRC] = Copy<V, COPY_TYPES[DST], COPY_TYPES[SRC]>;
    if constexpr (SRC + 1 < COPY_TYPE_COUNT)
        FillTable<V, DST, SRC + 1>(table);
    else if constexpr (DST + 1 < COPY_TYPE_COUNT)
        FillTable<V, DST + 1, 0>(table);
}

template <class V>
constexpr CopyTable MakeTable() {
    CopyTable table{};
    FillTable<V, 0, 0>(table);
    return table;
}

}  // namespace
