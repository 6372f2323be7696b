// The routines of one level, made from its pieces: a vector of LANES samples as whole numbers, floats or
// doubles, loaded, converted and stored. A level says what differs from the others and nothing else.
//
// A routine whose destination is wider works from the last sample to the first, any other from the first to
// the last, so that a buffer may be converted in its place.
#pragma once

#include "audio/copy/copy_table.h"
#include "audio/copy/samples.h"

namespace {

/// A vector of whole numbers from memory, and back; the level brings one piece a width.
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

/// Whole numbers of one width as those of another, at a scale of 1.
template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC>
inline typename V::Whole Shifted(typename V::Whole x) {
    using D = Sample<DST>;
    using S = Sample<SRC>;
    constexpr int SHIFT = D::BITS - S::BITS;
    if constexpr (SHIFT > 0) return V::template ShiftLeft<SHIFT>(x);
    if constexpr (SHIFT == 0 && !(S::MAY_EXCEED && !D::MAY_EXCEED)) return x;
    if constexpr (SHIFT == 0)
        return V::Clamped(x, static_cast<int32_t>(D::LOWEST), static_cast<int32_t>(D::HIGHEST));
    if constexpr (SHIFT < 0) {
        // What rounds above the highest value is cut before, where the sum below cannot run over.
        constexpr int DOWN = -SHIFT;
        constexpr auto UNIT = int64_t{1} << DOWN;
        constexpr auto HIGHEST = static_cast<int32_t>(static_cast<int64_t>(D::HIGHEST) * UNIT);
        x = S::MAY_EXCEED
                ? V::Clamped(x, static_cast<int32_t>(static_cast<int64_t>(D::LOWEST) * UNIT), HIGHEST)
                : V::Least(x, HIGHEST);
        return V::template RoundedDown<DOWN>(x);  // ties to even
    }
}

/// One vector from type to type, by the rule of CopySample.
template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
inline void CopyVector(uint8_t* d, const uint8_t* s, float scale) {
    using D = Sample<DST>;
    using S = Sample<SRC>;
    constexpr bool FLOAT_HOLDS_SOURCE = SRC == QMSAMPLE_FLOAT32 || (!S::IS_FLOAT && S::BYTES < 4);
    if constexpr (!D::IS_FLOAT && !S::IS_FLOAT) {
        const typename V::Whole x = LoadWholes<V, SRC>(s);
        if constexpr (UNITY)
            StoreWholes<V, DST>(d, Shifted<V, DST, SRC>(x));
        else  // one rounding, as when source, scale and full scales are multiplied in turn: those are powers
              // of 2
            StoreWholes<V, DST>(d, V::Rounded(V::Times(V::ToDouble(x), static_cast<double>(scale) *
                                                                           (D::FULL_SCALE / S::FULL_SCALE)),
                                              D::LOWEST, D::HIGHEST));
    } else if constexpr (SRC == QMSAMPLE_FLOAT32 && !D::IS_FLOAT) {
        typename V::Float x = V::LoadFloat(s);
        if constexpr (!UNITY) x = V::Times(x, scale);
        x = V::Times(x, static_cast<float>(D::FULL_SCALE));  // exact, a power of 2
        if constexpr (D::BITS == 32)
            StoreWholes<V, DST>(d, V::Rounded32(x));
        else
            StoreWholes<V, DST>(d,
                                V::Rounded(x, static_cast<float>(D::LOWEST), static_cast<float>(D::HIGHEST)));
    } else if constexpr (SRC == QMSAMPLE_FLOAT64 && !D::IS_FLOAT) {
        typename V::Double x = V::LoadDouble(s);
        if constexpr (!UNITY) x = V::Times(x, static_cast<double>(scale));
        StoreWholes<V, DST>(d, V::Rounded(V::Times(x, D::FULL_SCALE), D::LOWEST, D::HIGHEST));
    } else if constexpr (DST == QMSAMPLE_FLOAT32 && (FLOAT_HOLDS_SOURCE || (UNITY && !S::IS_FLOAT))) {
        typename V::Float x;
        if constexpr (S::IS_FLOAT)
            x = V::LoadFloat(s);
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

template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
void CopyAll(uint8_t* d, const uint8_t* s, int64_t samples, float scale) {
    constexpr int64_t TO = Sample<DST>::BYTES, FROM = Sample<SRC>::BYTES;
    constexpr int64_t LANES = V::LANES;
    const auto one = [=](int64_t i) { CopySample<DST, SRC, UNITY>(d + i * TO, s + i * FROM, scale); };
    // Stores that cross lines of the cache cost double, so long runs begin where the destination is aligned.
    constexpr int64_t LINE = 64, WORTH_ALIGNING = 16 * LINE;
    if constexpr (TO > FROM) {
        int64_t i = samples;
        if constexpr (LANES > 1) {
            if (samples >= WORTH_ALIGNING)
                for (int64_t k = 0; k < LINE && (reinterpret_cast<uintptr_t>(d + i * TO) % LINE) != 0; k++)
                    one(--i);
            for (; i >= LANES; i -= LANES)
                CopyVector<V, DST, SRC, UNITY>(d + (i - LANES) * TO, s + (i - LANES) * FROM, scale);
        }
        while (i > 0) one(--i);
    } else {
        int64_t i = 0;
        if constexpr (LANES > 1) {
            if (samples >= WORTH_ALIGNING)
                for (int64_t k = 0; k < LINE && (reinterpret_cast<uintptr_t>(d + i * TO) % LINE) != 0; k++)
                    one(i++);
            for (; i + LANES <= samples; i += LANES)
                CopyVector<V, DST, SRC, UNITY>(d + i * TO, s + i * FROM, scale);
        }
        for (; i < samples; i++) one(i);
    }
}

template <class V, QMSAMPLETYPE DST, QMSAMPLETYPE SRC>
void Copy(void* dst, const void* src, int64_t samples, float scale) {
    auto* d = static_cast<uint8_t*>(dst);
    const auto* s = static_cast<const uint8_t*>(src);
    if (samples <= 0) return;
    if (scale != 1.0f) return CopyAll<V, DST, SRC, false>(d, s, samples, scale);
    if constexpr (DST == SRC) {
        if (d != s) std::memcpy(d, s, static_cast<size_t>(samples) * Sample<DST>::BYTES);
    } else {
        CopyAll<V, DST, SRC, true>(d, s, samples, scale);
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
