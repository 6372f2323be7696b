#include "image/palette.h"

#include "image/dib_copy.h"
#include "image/rows/dib_view.h"
#include "platform/guarded.h"
#include "platform/memory.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <vector>

using namespace tarn;

constexpr int32_t MOST_COLORS = 256;

struct tQMQUANTIZER {
    static constexpr size_t KEPT = 4096;

    RGBQUAD palette[MOST_COLORS];
    int32_t colors;
    struct {
        uint32_t color;  ///< with the highest bit set where one is kept
        uint32_t index;
    } kept[KEPT];
};

namespace {

constexpr uint32_t IS_KEPT = 0x80000000;

uint32_t Packed(RGBQUAD c) { return uint32_t{c.rgbRed} << 16 | uint32_t{c.rgbGreen} << 8 | c.rgbBlue; }
RGBQUAD Unpacked(uint32_t c) {
    return {static_cast<uint8_t>(c), static_cast<uint8_t>(c >> 8), static_cast<uint8_t>(c >> 16), 0};
}

uint32_t Search(const tQMQUANTIZER& q, RGBQUAD c) {
    int32_t best = std::numeric_limits<int32_t>::max();
    uint32_t at = 0;
    for (int32_t i = 0; i < q.colors; i++) {
        const int32_t r = q.palette[i].rgbRed - c.rgbRed, g = q.palette[i].rgbGreen - c.rgbGreen,
                      b = q.palette[i].rgbBlue - c.rgbBlue;
        const int32_t distance = r * r + g * g + b * b;
        if (distance < best) {
            best = distance;
            at = static_cast<uint32_t>(i);
        }
    }
    return at;
}

/// Colours of which the upper five bits of each channel are alike.
struct Bin {
    uint64_t count = 0, sum[3] = {};
    int32_t at[3] = {};
};
constexpr int32_t BIN_SIDE = 32;

/// A run of bins, and how far they spread.
struct Box {
    size_t from, to;
    uint64_t count = 0;
    int32_t channel = 0, spread = 0;
};

Box Measured(const std::vector<Bin>& bins, size_t from, size_t to) {
    Box box{from, to};
    int32_t low[3] = {BIN_SIDE, BIN_SIDE, BIN_SIDE}, high[3] = {};
    for (size_t i = from; i < to; i++) {
        box.count += bins[i].count;
        for (int c = 0; c < 3; c++) {
            low[c] = std::min(low[c], bins[i].at[c]);
            high[c] = std::max(high[c], bins[i].at[c]);
        }
    }
    for (int c = 0; c < 3; c++)
        if (high[c] - low[c] > box.spread) {
            box.spread = high[c] - low[c];
            box.channel = c;
        }
    return box;
}

/// The box with most pixels that can be cut, weighed by its extent, is cut where half of its pixels are on
/// each side.
void CutBoxes(std::vector<Bin>& bins, std::vector<Box>& boxes, size_t most) {
    while (boxes.size() < most) {
        const auto weight = [](const Box& b) { return b.count * static_cast<uint64_t>(b.spread); };
        const auto widest = std::ranges::max_element(boxes, {}, weight);
        if (weight(*widest) == 0) return;
        const Box box = *widest;
        const auto at = [&](size_t i) { return bins.begin() + static_cast<ptrdiff_t>(i); };
        std::sort(at(box.from), at(box.to),
                  [c = box.channel](const Bin& a, const Bin& b) { return a.at[c] < b.at[c]; });
        uint64_t before = 0;
        size_t cut = box.from;
        while (cut + 1 < box.to && (cut == box.from || before + bins[cut].count <= box.count / 2))
            before += bins[cut++].count;
        *widest = Measured(bins, box.from, cut);
        boxes.push_back(Measured(bins, cut, box.to));
    }
}

RGBQUAD Mean(const std::vector<Bin>& bins, const Box& box) {
    uint64_t sum[3] = {};
    for (size_t i = box.from; i < box.to; i++)
        for (int c = 0; c < 3; c++) sum[c] += bins[i].sum[c];
    const auto mean = [&](int c) { return static_cast<uint8_t>((sum[c] + box.count / 2) / box.count); };
    return {mean(2), mean(1), mean(0), 0};
}

}  // namespace

HRESULT QmDibCreateColorQuantizer(HQMQUANTIZER* quantizer, const RGBQUAD* palette, int32_t colorCount) {
    if (!quantizer) return E_INVALIDARG;
    *quantizer = nullptr;
    if (!palette || colorCount < 1 || colorCount > MOST_COLORS) return E_INVALIDARG;
    auto* made = static_cast<HQMQUANTIZER>(MemAlloc(sizeof(tQMQUANTIZER)));
    if (!made) return E_OUTOFMEMORY;
    std::copy_n(palette, colorCount, made->palette);
    made->colors = colorCount;
    *quantizer = made;
    return S_OK;
}

void QmDibFreeColorQuantizer(HQMQUANTIZER quantizer) { MemFree(quantizer); }

uint32_t QmDibNearestColor(HQMQUANTIZER q, RGBQUAD color) {
    const uint32_t key = Packed(color) | IS_KEPT;
    auto& kept = q->kept[(key ^ key >> 11) % tQMQUANTIZER::KEPT];
    if (kept.color != key) kept = {key, Search(*q, color)};
    return kept.index;
}

HRESULT QmDibQuantizePalette(const BITMAPINFOHEADER* header, const void* bits, int32_t stride,
                             RGBQUAD* palette, int32_t* colorCount) {
    if (!palette || !colorCount || *colorCount < 1 || *colorCount > MOST_COLORS) return E_INVALIDARG;
    const auto most = static_cast<size_t>(*colorCount);
    return Guarded([&]() -> HRESULT {
        DibView view;
        if (const HRESULT hr = ViewDib(header, bits, stride, view); Failed(hr)) return hr;
        std::vector<uint32_t> row(static_cast<size_t>(view.width));
        std::set<uint32_t> exact;
        std::vector<Bin> bins(BIN_SIDE * BIN_SIDE * BIN_SIDE);
        for (int32_t y = 0; y < view.height; y++) {
            if (const HRESULT hr = QmDibReadRow(header, bits, stride, y, row.data()); Failed(hr)) return hr;
            for (const uint32_t pixel : row) {
                if (exact.size() <= most) exact.insert(pixel & 0xFFFFFF);
                const uint32_t channel[3] = {pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF};
                Bin& bin = bins[channel[0] >> 3 << 10 | channel[1] >> 3 << 5 | channel[2] >> 3];
                bin.count++;
                for (int c = 0; c < 3; c++) {
                    bin.sum[c] += channel[c];
                    bin.at[c] = static_cast<int32_t>(channel[c] >> 3);
                }
            }
        }
        if (exact.size() <= most) {
            std::ranges::transform(exact, palette, Unpacked);
            *colorCount = static_cast<int32_t>(exact.size());
            return S_OK;
        }
        std::erase_if(bins, [](const Bin& bin) { return bin.count == 0; });
        std::vector<Box> boxes{Measured(bins, 0, bins.size())};
        boxes.reserve(most);
        CutBoxes(bins, boxes, most);
        std::ranges::transform(boxes, palette, [&](const Box& box) { return Mean(bins, box); });
        *colorCount = static_cast<int32_t>(boxes.size());
        return S_OK;
    });
}
