#include "image/composite.h"

#include "image/rows/bands.h"
#include "image/rows/dib_view.h"
#include "image/rows/image_rows.h"
#include "image/rows/resample.h"

#include <algorithm>
#include <cstdlib>

using namespace tarn;

namespace {

/// A mode's routine, or the custom one.
struct Blender final : RowSink {
    Blender(const QMCOMPOSITEPARAMS& params, uint32_t bytesPerPixel)
        : m_custom(params.custom), m_bytes(bytesPerPixel) {
        if (params.mode == COMPOSITE_CUSTOM) return;
        const ImageRows& rows = BestRows();
        m_blend = (bytesPerPixel == 4 ? rows.blend8 : rows.blendFloat)[params.mode];
    }
    void Put(uint8_t* dst, const uint8_t* pixels, int32_t count, int32_t weight) const noexcept override {
        if (m_blend)
            m_blend(dst, pixels, count, weight);
        else
            m_custom.blend(m_custom.context, dst, pixels, count, weight, m_bytes);
    }

private:
    ImageRows::Blend m_blend = nullptr;
    decltype(QMCOMPOSITEPARAMS::custom) m_custom;
    uint32_t m_bytes;
};

HRESULT Checked(const QMCOMPOSITEPARAMS* params) {
    if (!params) return E_POINTER;
    if (params->cbSize < sizeof *params) return E_INVALIDARG;
    if (params->mode == COMPOSITE_CUSTOM) return params->custom.blend ? S_OK : E_INVALIDARG;
    return params->mode < 0 || params->mode > COMPOSITE_LAST ? E_NOTIMPL : S_OK;
}

/// One direction of two rectangles; wide enough for any difference of coordinates.
struct Extent {
    int64_t low, high;
    int64_t Width() const { return high - low; }
};

int64_t Bound(LONG side) { return std::clamp<int64_t>(side, 0, INT32_MAX / Q14_ONE) * Q14_ONE; }

/// Cuts `range` to 0..bound and the other by as much times `factor`.
void Clip(Extent& range, int64_t bound, Extent& other, double factor) {
    const auto carried = [=](int64_t cut) { return static_cast<int64_t>(static_cast<double>(cut) * factor); };
    if (range.low < 0) {
        other.low += carried(-range.low);
        range.low = 0;
    }
    if (range.high > bound) {
        other.high -= carried(range.high - bound);
        range.high = bound;
    }
}

bool PrepareAxis(Extent& dst, LONG dstSide, Extent& src, LONG srcSide, int64_t& scale, int64_t& step) {
    constexpr int64_t LEAST = Q14_ONE / 16;
    const Extent asked = src;
    if (dst.Width() < LEAST || asked.Width() < Q14_ONE) return false;
    const double factor = static_cast<double>(asked.Width()) / static_cast<double>(dst.Width());
    scale = static_cast<int64_t>(factor * Q14_ONE);
    Clip(src, Bound(srcSide), dst, 1 / factor);
    if (src.Width() < Q14_ONE) return false;
    Clip(dst, Bound(dstSide), src, factor);
    if (dst.Width() < LEAST) return false;
    // What is rounded on the way must not leave the image.
    src.low = std::clamp<int64_t>(src.low, 0, Bound(srcSide) - 1);
    src.high = std::clamp<int64_t>(src.high, src.low + 1, Bound(srcSide));
    step = dst.Width() > 2 * Q14_ONE
               ? std::max<int64_t>((src.Width() - Q14_ONE) * Q14_ONE / (dst.Width() - Q14_ONE), 0)
               : 0;
    return true;
}

bool IsOnGrid(const RECT& r) { return ((r.left | r.top | r.right | r.bottom) & (Q14_ONE - 1)) == 0; }

bool HaveOneSize(const RECT& a, const RECT& b) {
    return int64_t{a.right} - a.left == int64_t{b.right} - b.left &&
           int64_t{a.bottom} - a.top == int64_t{b.bottom} - b.top;
}

RECT ShiftedDown(const RECT& r) {
    return {r.left / Q14_ONE, r.top / Q14_ONE, r.right / Q14_ONE, r.bottom / Q14_ONE};
}

bool TakeRect(const RECT* rect, const DibView& view, bool isSubpixel, RECT& taken) {
    if (rect) {
        taken = *rect;
        return true;
    }
    const RECT whole = view.Whole();
    taken = whole;
    return !isSubpixel || ShiftedUp(&whole, taken);
}

bool IsBytes(QMPIXELTYPE type) { return type == QMPIXEL_RGBA32 || type == QMPIXEL_RGBA32_ALT; }

}  // namespace

int32_t QmPrepareSubpixelParam(QMSUBPIXELPARAM* param, void* dstBits, const SIZE* dstSize, int32_t dstStride,
                               const RECT* dstRect, const void* srcBits, const SIZE* srcSize,
                               int32_t srcStride, const RECT* srcRect) {
    const auto range = [](const LONG RECT::*low, const LONG RECT::*high, const RECT* rect, LONG side) {
        return rect ? Extent{rect->*low, rect->*high} : Extent{0, Bound(side)};
    };
    Extent dstX = range(&RECT::left, &RECT::right, dstRect, dstSize->cx),
           dstY = range(&RECT::top, &RECT::bottom, dstRect, dstSize->cy),
           srcX = range(&RECT::left, &RECT::right, srcRect, srcSize->cx),
           srcY = range(&RECT::top, &RECT::bottom, srcRect, srcSize->cy);
    QMSUBPIXELPARAM made{};
    if (!PrepareAxis(dstX, dstSize->cx, srcX, srcSize->cx, made.scaleX, made.stepX) ||
        !PrepareAxis(dstY, dstSize->cy, srcY, srcSize->cy, made.scaleY, made.stepY))
        return 0;
    const auto rect = [](const Extent& x, const Extent& y) {
        return RECT{static_cast<LONG>(x.low), static_cast<LONG>(y.low), static_cast<LONG>(x.high),
                    static_cast<LONG>(y.high)};
    };
    made.dst = rect(dstX, dstY);
    made.src = rect(srcX, srcY);
    made.dstBits = static_cast<uint8_t*>(dstBits);
    made.srcBits = static_cast<const uint8_t*>(srcBits);
    made.dstSize = *dstSize;
    made.srcSize = *srcSize;
    made.dstStride = dstStride;
    made.srcStride = srcStride;
    *param = made;
    return 1;
}

int32_t QmDibPrepareRects(RECT* dst, RECT* src, SIZE dstSize, SIZE srcSize) {
    const auto clip = [](LONG RECT::*low, LONG RECT::*high, RECT* d, RECT* s, LONG dstSide, LONG srcSide) {
        const int64_t cut = std::max({int64_t{0}, -int64_t{d->*low}, -int64_t{s->*low}});
        const int64_t to = d->*low + cut, from = s->*low + cut;
        const int64_t count = std::min(
            {std::min<int64_t>(d->*high, dstSide) - to, std::min<int64_t>(s->*high, srcSide) - from});
        if (count <= 0) return false;
        d->*low = static_cast<LONG>(to);
        d->*high = static_cast<LONG>(to + count);
        s->*low = static_cast<LONG>(from);
        s->*high = static_cast<LONG>(from + count);
        return true;
    };
    return clip(&RECT::left, &RECT::right, dst, src, dstSize.cx, srcSize.cx) &&
           clip(&RECT::top, &RECT::bottom, dst, src, dstSize.cy, srcSize.cy);
}

HRESULT QmDibCompositeSP(void* dstBits, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                         const void* srcBits, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                         uint32_t bytesPerPixel, const QMCOMPOSITEPARAMS* params) {
    if (!dstBits || !dstSize || !srcBits || !srcSize) return E_POINTER;
    if (!ArePixels(dstBits, dstStride, bytesPerPixel) || !ArePixels(srcBits, srcStride, bytesPerPixel))
        return E_INVALIDARG;
    if (const HRESULT hr = Checked(params); Failed(hr)) return hr;
    QMSUBPIXELPARAM param;
    if (!QmPrepareSubpixelParam(&param, dstBits, dstSize, dstStride, dstRect, srcBits, srcSize, srcStride,
                                srcRect))
        return S_OK;
    const Blender blender(*params, bytesPerPixel);
    return Resample(param, ResampleFilter::Bilinear, bytesPerPixel, &blender);
}

HRESULT QmDibCompositeUnscaled(void* dstBits, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                               const void* srcBits, const SIZE* srcSize, int32_t srcStride,
                               const RECT* srcRect, uint32_t bytesPerPixel, const QMCOMPOSITEPARAMS* params) {
    if (!dstBits || !dstSize || !srcBits || !srcSize) return E_POINTER;
    if (!ArePixels(dstBits, dstStride, bytesPerPixel) || !ArePixels(srcBits, srcStride, bytesPerPixel))
        return E_INVALIDARG;
    if (const HRESULT hr = Checked(params); Failed(hr)) return hr;
    RECT dst = dstRect ? *dstRect : RECT{0, 0, dstSize->cx, dstSize->cy};
    RECT src = srcRect ? *srcRect : RECT{0, 0, srcSize->cx, srcSize->cy};
    if (!QmDibPrepareRects(&dst, &src, *dstSize, *srcSize)) return S_OK;
    const Blender blender(*params, bytesPerPixel);
    const int64_t bytes = bytesPerPixel;
    auto* to = static_cast<uint8_t*>(dstBits) + int64_t{dstStride} * dst.top + dst.left * bytes;
    const auto* from = static_cast<const uint8_t*>(srcBits) + int64_t{srcStride} * src.top + src.left * bytes;
    const auto work = static_cast<uint64_t>(dst.Width() * bytes) * static_cast<uint64_t>(dst.Height());
    ForBands(BandCount(dst.Height(), work), dst.Height(), 1, [&](int32_t, int32_t first, int32_t last) {
        for (int32_t y = first; y < last; y++)
            blender.Put(to + int64_t{dstStride} * y, from + int64_t{srcStride} * y, dst.Width(), FULL_WEIGHT);
    });
    return S_OK;
}

HRESULT QmDibComposite(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect,
                       int32_t dstStride, const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                       const RECT* srcRect, int32_t srcStride, const QMCOMPOSITEPARAMS* params,
                       uint32_t flags) {
    DibView dst, src;
    if (const HRESULT hr = ViewDib(dstHeader, dstBits, dstStride, dst); Failed(hr)) return hr;
    if (const HRESULT hr = ViewDib(srcHeader, srcBits, srcStride, src); Failed(hr)) return hr;
    const bool areBytes = IsBytes(dst.type) && IsBytes(src.type);
    if (!areBytes && !(dst.type == QMPIXEL_RGBAFLOAT && src.type == QMPIXEL_RGBAFLOAT)) return E_INVALIDARG;

    bool isSubpixel = (flags & COMPOSITE_SUBPIXEL) != 0;
    RECT to, from;
    if (!TakeRect(dstRect, dst, isSubpixel, to) || !TakeRect(srcRect, src, isSubpixel, from))
        return E_INVALIDARG;
    if (!HaveOneSize(to, from)) {
        if (!isSubpixel && (!ShiftedUp(&to, to) || !ShiftedUp(&from, from))) return E_INVALIDARG;
        isSubpixel = true;
    } else if (isSubpixel && IsOnGrid(to) && IsOnGrid(from)) {
        to = ShiftedDown(to);
        from = ShiftedDown(from);
        isSubpixel = false;
    }
    const SIZE dstSize = dst.Size(), srcSize = src.Size();
    const auto run = isSubpixel ? QmDibCompositeSP : QmDibCompositeUnscaled;
    return run(dst.top, &dstSize, static_cast<int32_t>(dst.stride), &to, src.top, &srcSize,
               static_cast<int32_t>(src.stride), &from, areBytes ? 4 : 16, params);
}

HRESULT QmDibPremultiply(void* bits, const SIZE* size, int32_t stride, const RECT* rect,
                         uint32_t bytesPerPixel) {
    if (!bits || !size) return E_POINTER;
    if (!ArePixels(bits, stride, bytesPerPixel)) return E_INVALIDARG;
    RECT area = rect ? *rect : RECT{0, 0, size->cx, size->cy}, same = area;
    if (!QmDibPrepareRects(&area, &same, *size, *size)) return S_OK;
    const ImageRows& rows = BestRows();
    const auto work =
        static_cast<uint64_t>(area.Width()) * bytesPerPixel * static_cast<uint64_t>(area.Height());
    ForBands(BandCount(area.Height(), work), area.Height(), 1, [&](int32_t, int32_t first, int32_t last) {
        for (int32_t y = first; y < last; y++) {
            uint8_t* row = static_cast<uint8_t*>(bits) + int64_t{stride} * (area.top + y) +
                           int64_t{area.left} * bytesPerPixel;
            if (bytesPerPixel == 4)
                rows.premultiply8(row, area.Width());
            else
                rows.premultiplyFloat(reinterpret_cast<float*>(row), area.Width());
        }
    });
    return S_OK;
}
