#include "image/dib_filters.h"

#include "image/rows/bands.h"
#include "image/rows/filter_views.h"
#include "image/rows/image_rows.h"
#include "platform/guarded.h"

#include <algorithm>
#include <cstring>
#include <vector>

using namespace tarn;

namespace {

uint32_t PixelBytes(QMPIXELTYPE type) {
    if (type == QMPIXEL_RGBA32 || type == QMPIXEL_RGBA32_ALT) return 4;
    return type == QMPIXEL_RGBAFLOAT ? 16 : 0;
}

uint64_t WorkOf(const DibView& view, uint32_t bytesPerPixel) {
    return static_cast<uint64_t>(view.width) * static_cast<uint64_t>(view.height) * bytesPerPixel;
}

template <class Work>
void ForRows(const DibView& view, uint32_t bytesPerPixel, Work work) {
    ForBands(BandCount(view.height, WorkOf(view, bytesPerPixel)), view.height, 1,
             [&](int32_t, int32_t from, int32_t to) {
                 for (int32_t y = from; y < to; y++) work(y);
             });
}

/// Blends the destination over the source, in pieces that need no memory.
void UnderRow(const ImageRows& rows, uint8_t* dst, const uint8_t* src, int32_t pixels, uint32_t bytes) {
    constexpr int32_t PIECE = 256;
    alignas(64) uint8_t piece[PIECE * 16];
    const auto over = (bytes == 4 ? rows.blend8 : rows.blendFloat)[4];
    for (int32_t x = 0; x < pixels; x += PIECE) {
        const int32_t count = std::min(PIECE, pixels - x);
        const size_t at = static_cast<size_t>(x) * bytes, size = static_cast<size_t>(count) * bytes;
        std::memcpy(piece, src + at, size);
        over(piece, dst + at, count, FULL_WEIGHT);
        std::memcpy(dst + at, piece, size);
    }
}

void CutRow8(uint8_t* dst, const uint8_t* src, int32_t pixels) {
    for (int32_t i = 0; i < pixels * 4; i++) {
        const int32_t t = dst[i] * (255 - src[i | 3]) + 128;
        dst[i] = static_cast<uint8_t>((t + (t >> 8)) >> 8);
    }
}
void CutRowFloat(float* dst, const float* src, int32_t pixels) {
    for (int32_t i = 0; i < pixels * 4; i++) dst[i] *= 1.0f - src[i | 3];
}

float* Floats(uint8_t* row) { return reinterpret_cast<float*>(row); }

void Mix(const ImageRows& rows, uint8_t* out, uint8_t* a, uint8_t* b, int32_t pixels, uint32_t bytes,
         int32_t weight) {
    if (bytes == 4)
        rows.crossFade8(out, a, b, pixels * 4, weight);
    else
        rows.crossFadeFloat(Floats(out), Floats(a), Floats(b), pixels * 4,
                            static_cast<float>(weight) / 256.0f);
}

/// Sums along rows, then of those along columns: each pixel enters and leaves once, and is rounded at the
/// end.
template <class Channel, class Sum>
class Blur {
public:
    Blur(const DibView& dst, const DibView& src, int32_t across, int32_t down)
        : m_dst(dst), m_src(src), m_across(across), m_down(down),
          m_channels(static_cast<size_t>(src.width) * 4) {}

    void Run() {
        // A column's sums, and those of all rows that they reach over.
        m_sums.resize(m_channels);
        m_rows.resize(m_channels * static_cast<size_t>(2 * m_down + 1));
        for (int32_t y = -m_down; y <= m_down; y++) {
            Sum* row = RowSums(y);
            SumRow(Source(y), row);
            for (size_t i = 0; i < m_channels; i++) m_sums[i] += row[i];
        }
        for (int32_t y = 0;; y++) {
            PutRow(reinterpret_cast<Channel*>(m_dst.Row(y)));
            if (y + 1 == m_dst.height) return;
            Sum* row = RowSums(y + m_down + 1);  // lies where the one that leaves was
            for (size_t i = 0; i < m_channels; i++) m_sums[i] -= row[i];
            SumRow(Source(y + m_down + 1), row);
            for (size_t i = 0; i < m_channels; i++) m_sums[i] += row[i];
        }
    }

private:
    Sum* RowSums(int32_t y) {
        const int32_t count = 2 * m_down + 1;
        return m_rows.data() + m_channels * static_cast<size_t>((y + m_down) % count);
    }
    const Channel* Source(int32_t y) const {
        return reinterpret_cast<const Channel*>(m_src.Row(std::clamp(y, 0, m_src.height - 1)));
    }
    void SumRow(const Channel* from, Sum* to) const {
        const int32_t last = m_src.width - 1;
        for (int32_t c = 0; c < 4; c++) {
            const auto at = [&](int32_t x) {
                return Sum(from[static_cast<size_t>(std::clamp(x, 0, last)) * 4 + static_cast<size_t>(c)]);
            };
            Sum sum = 0;
            for (int32_t x = -m_across; x <= m_across; x++) sum += at(x);
            for (int32_t x = 0; x <= last; x++) {
                to[static_cast<size_t>(x) * 4 + static_cast<size_t>(c)] = sum;
                sum += at(x + m_across + 1) - at(x - m_across);
            }
        }
    }
    void PutRow(Channel* to) const {
        const auto count = static_cast<Sum>((2 * m_across + 1) * (2 * m_down + 1));
        const Sum half = sizeof(Channel) == 1 ? count / 2 : 0;
        for (size_t i = 0; i < m_channels; i++) to[i] = static_cast<Channel>((m_sums[i] + half) / count);
    }

    const DibView &m_dst, &m_src;
    const int32_t m_across, m_down;
    const size_t m_channels;
    std::vector<Sum> m_sums, m_rows;
};

/// Pixels of so many bytes, each to the place that `place` tells, in squares that stay in the cache.
template <size_t BYTES, class Place>
void Move(const DibView& from, const DibView& to, Place place) {
    constexpr int32_t SIDE = 32;
    ForBands(BandCount(from.height, WorkOf(from, BYTES)), from.height, SIDE,
             [&](int32_t, int32_t first, int32_t last) {
                 for (int32_t top = first; top < last; top += SIDE)
                     for (int32_t left = 0; left < from.width; left += SIDE)
                         for (int32_t y = top; y < std::min(top + SIDE, last); y++)
                             for (int32_t x = left; x < std::min(left + SIDE, from.width); x++) {
                                 const POINT p = place(x, y);
                                 std::memcpy(to.Row(p.y) + static_cast<size_t>(p.x) * BYTES,
                                             from.Row(y) + static_cast<size_t>(x) * BYTES, BYTES);
                             }
             });
}

template <class Place>
HRESULT MovePixels(const DibView& from, const DibView& to, uint32_t bytes, Place place) {
    switch (bytes) {
    case 1: Move<1>(from, to, place); break;
    case 2: Move<2>(from, to, place); break;
    case 3: Move<3>(from, to, place); break;
    case 4: Move<4>(from, to, place); break;
    case 8: Move<8>(from, to, place); break;
    default: Move<16>(from, to, place); break;
    }
    return S_OK;
}

}  // namespace

HRESULT tarn::ViewAlike(std::initializer_list<FilterView> views, uint32_t& bytesPerPixel) {
    bytesPerPixel = 0;
    const DibView* first = nullptr;
    for (const FilterView& v : views) {
        if (!v.dib) return E_POINTER;
        if (const HRESULT hr = ViewDib(v.dib->header, v.dib->bits, v.dib->stride, *v.view); Failed(hr))
            return hr;
        const uint32_t bytes = PixelBytes(v.view->type);
        if (!first) {
            first = v.view;
            bytesPerPixel = bytes;
        }
        if (bytes == 0 || bytes != bytesPerPixel || v.view->width != first->width ||
            v.view->height != first->height)
            return E_INVALIDARG;
        if (bytes == 16 &&
            (reinterpret_cast<uintptr_t>(v.view->top) | static_cast<uintptr_t>(v.view->stride)) % 4)
            return E_INVALIDARG;
    }
    return S_OK;
}

HRESULT tarn::ViewForRotation(const QMDIBREF* dst, const QMDIBREF* src, bool isTurned, DibView& to,
                              DibView& from, uint32_t& bytesPerPixel) {
    if (!dst || !src) return E_POINTER;
    if (const HRESULT hr = ViewDib(dst->header, dst->bits, dst->stride, to); Failed(hr)) return hr;
    if (const HRESULT hr = ViewDib(src->header, src->bits, src->stride, from); Failed(hr)) return hr;
    const uint32_t bits = QmGetPixelBitsPerChannel(from.type, nullptr);
    if (to.type != from.type || IsVideo(from.type) || bits % 8) return E_INVALIDARG;
    if (to.width != (isTurned ? from.height : from.width) ||
        to.height != (isTurned ? from.width : from.height))
        return E_INVALIDARG;
    bytesPerPixel = bits / 8;
    return S_OK;
}

HRESULT QmDibOver(const QMDIBREF* dst, const QMDIBREF* src) {
    DibView to, from;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
    const ImageRows& rows = BestRows();
    const auto over = (bytes == 4 ? rows.blend8 : rows.blendFloat)[4];
    ForRows(to, bytes, [&](int32_t y) { over(to.Row(y), from.Row(y), to.width, FULL_WEIGHT); });
    return S_OK;
}

HRESULT QmDibUnder(const QMDIBREF* dst, const QMDIBREF* src) {
    DibView to, from;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
    const ImageRows& rows = BestRows();
    ForRows(to, bytes, [&](int32_t y) { UnderRow(rows, to.Row(y), from.Row(y), to.width, bytes); });
    return S_OK;
}

HRESULT QmDibCutout(const QMDIBREF* dst, const QMDIBREF* src) {
    DibView to, from;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
    ForRows(to, bytes, [&](int32_t y) {
        if (bytes == 4)
            CutRow8(to.Row(y), from.Row(y), to.width);
        else
            CutRowFloat(Floats(to.Row(y)), Floats(from.Row(y)), to.width);
    });
    return S_OK;
}

HRESULT QmDibWeightedCrossFade(const QMDIBREF* dst, const QMDIBREF* a, const QMDIBREF* b, int32_t weight) {
    DibView to, first, second;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewAlike({{dst, &to}, {a, &first}, {b, &second}}, bytes); Failed(hr)) return hr;
    if (weight < 0 || weight > 256) return E_INVALIDARG;
    const ImageRows& rows = BestRows();
    ForRows(to, bytes,
            [&](int32_t y) { Mix(rows, to.Row(y), first.Row(y), second.Row(y), to.width, bytes, weight); });
    return S_OK;
}

HRESULT QmDibFieldBlend(const QMDIBREF* dst, const QMDIBREF* src) {
    DibView to, from;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
    const ImageRows& rows = BestRows();
    ForRows(to, bytes, [&](int32_t y) {
        const int32_t other = y + 1 < to.height ? y + 1 : std::max(y - 1, 0);
        Mix(rows, to.Row(y), from.Row(y), from.Row(other), to.width, bytes, 128);
    });
    return S_OK;
}

HRESULT QmDibCopyInterlace(const QMDIBREF* dst, const QMDIBREF* src, uint32_t field) {
    DibView to, from;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
    if (field > 1) return E_INVALIDARG;
    const size_t size = static_cast<size_t>(to.width) * bytes;
    for (auto y = static_cast<int32_t>(field); y < to.height; y += 2)
        std::memcpy(to.Row(y), from.Row(y), size);
    return S_OK;
}

HRESULT QmDibBlur(const QMDIBREF* dst, const QMDIBREF* src, int32_t across, int32_t down) {
    return Guarded([&]() -> HRESULT {
        DibView to, from;
        uint32_t bytes = 0;
        if (const HRESULT hr = ViewAlike({{dst, &to}, {src, &from}}, bytes); Failed(hr)) return hr;
        if (across < 0 || across > DIB_MAX_BLUR || down < 0 || down > DIB_MAX_BLUR) return E_INVALIDARG;
        if (bytes == 4)
            Blur<uint8_t, uint32_t>(to, from, across, down).Run();
        else
            Blur<float, double>(to, from, across, down).Run();
        return S_OK;
    });
}

HRESULT QmDibDesaturate(const QMDIBREF* dib, int32_t amount) {
    DibView view;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewAlike({{dib, &view}}, bytes); Failed(hr)) return hr;
    if (amount < 0 || amount > 256) return E_INVALIDARG;
    const ImageRows& rows = BestRows();
    ForRows(view, bytes, [&](int32_t y) {
        if (bytes == 4)
            rows.desaturate8(view.Row(y), view.width, amount);
        else
            rows.desaturateFloat(Floats(view.Row(y)), view.width, static_cast<float>(amount) / 256.0f);
    });
    return S_OK;
}

HRESULT QmDibRotate90(const QMDIBREF* dst, const QMDIBREF* src, uint32_t direction) {
    DibView to, from;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewForRotation(dst, src, true, to, from, bytes); Failed(hr)) return hr;
    if (direction > DIB_ROTATE_COUNTERCLOCKWISE) return E_INVALIDARG;
    if (direction == DIB_ROTATE_CLOCKWISE)
        return MovePixels(from, to, bytes, [last = from.height - 1](int32_t x, int32_t y) {
            return POINT{last - y, x};
        });
    return MovePixels(from, to, bytes, [last = from.width - 1](int32_t x, int32_t y) {
        return POINT{y, last - x};
    });
}

HRESULT QmDibRotate180(const QMDIBREF* dst, const QMDIBREF* src) {
    DibView to, from;
    uint32_t bytes = 0;
    if (const HRESULT hr = ViewForRotation(dst, src, false, to, from, bytes); Failed(hr)) return hr;
    return MovePixels(from, to, bytes, [right = from.width - 1, low = from.height - 1](int32_t x, int32_t y) {
        return POINT{right - x, low - y};
    });
}
