#include "image/rows/video_rows.h"

#include "image/dib_copy.h"

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

uint16_t Rounded(float value) { return static_cast<uint16_t>(std::clamp(value, 0.0f, 65535.0f) + 0.5f); }

struct Weights {
    double red, blue;
};

uint32_t LoadWord(const uint8_t* p) {
    uint32_t word = 0;
    std::memcpy(&word, p, sizeof word);
    return word;
}
void SetBits(uint8_t* p, uint32_t shift, uint32_t bits, uint32_t value) {
    const uint32_t mask = ((1u << bits) - 1) << shift, word = (LoadWord(p) & ~mask) | value << shift;
    std::memcpy(p, &word, sizeof word);
}

}  // namespace

YuvMatrix YuvMatrix::For(uint32_t flags, uint32_t depth) {
    constexpr Weights BT601{0.299, 0.114}, BT709{0.2126, 0.0722};
    const auto [red, blue] = flags & DIB_COPY_BT709 ? BT709 : BT601;
    const double green = 1 - red - blue;
    const bool isFull = (flags & DIB_COPY_FULL_RANGE) != 0;
    constexpr double STEP = 256, COLORS = 65535;  // a step of 8 bits; the highest colour
    const double most = static_cast<double>(((1u << depth) - 1) << (16 - depth));
    const double luma = isFull ? most : 219 * STEP, chroma = isFull ? most : 224 * STEP;
    const double perChroma = 2 * COLORS / chroma;
    YuvMatrix m;
    m.lumaOffset = static_cast<float>(isFull ? 0 : 16 * STEP);
    m.lumaScale = static_cast<float>(COLORS / luma);
    m.redV = static_cast<float>((1 - red) * perChroma);
    m.blueU = static_cast<float>((1 - blue) * perChroma);
    m.greenU = static_cast<float>((1 - blue) * perChroma * blue / green);
    m.greenV = static_cast<float>((1 - red) * perChroma * red / green);
    m.redWeight = static_cast<float>(red);
    m.greenWeight = static_cast<float>(green);
    m.blueWeight = static_cast<float>(blue);
    m.chromaU = static_cast<float>(1 / ((1 - blue) * perChroma));
    m.chromaV = static_cast<float>(1 / ((1 - red) * perChroma));
    return m;
}

void YuvMatrix::ToColors(const PixelYuv* from, int32_t pixels, Pixel64* to) const {
    for (int32_t i = 0; i < pixels; i++) {
        const float y = (static_cast<float>(from[i].y) - lumaOffset) * lumaScale;
        const float u = static_cast<float>(from[i].u) - 32768.0f,
                    v = static_cast<float>(from[i].v) - 32768.0f;
        to[i] = {Rounded(y + redV * v), Rounded(y - greenU * u - greenV * v), Rounded(y + blueU * u),
                 from[i].alpha};
    }
}

void YuvMatrix::FromColors(const Pixel64* from, int32_t pixels, PixelYuv* to) const {
    for (int32_t i = 0; i < pixels; i++) {
        const auto red = static_cast<float>(from[i].red), green = static_cast<float>(from[i].green),
                   blue = static_cast<float>(from[i].blue);
        const float luma = redWeight * red + greenWeight * green + blueWeight * blue;
        to[i] = {Rounded(luma / lumaScale + lumaOffset), Rounded((blue - luma) * chromaU + 32768.0f),
                 Rounded((red - luma) * chromaV + 32768.0f), from[i].alpha};
    }
}

VideoRows::VideoRows(const DibView& view, const VideoLayout& layout)
    : m_layout(layout), m_width(view.width), m_base(view.top),
      m_planes(PlacePlanes(layout, view.width, view.height)) {
    const size_t bytes = layout.bytes;
    m_step[0] = layout.kind == VideoKind::Packed422 ? 2 * bytes : bytes;
    m_step[1] = m_step[2] = layout.kind == VideoKind::Packed422    ? 4 * bytes
                            : layout.kind == VideoKind::SemiPlanar ? 2 * bytes
                                                                   : bytes;
}

const uint8_t* VideoRows::Samples(int channel, int32_t y) const {
    const int32_t row = channel == 0 ? y : y >> m_layout.chromaY;
    return m_base + m_planes.offset[channel] + m_planes.stride[channel] * static_cast<uint64_t>(row);
}

// v210 has the samples of UYVY, three to a word. In A410's words U, Y and V follow each other.
struct PackedPlace {
    size_t byte;
    uint32_t shift;
};
static PackedPlace PlaceIn(VideoKind kind, int channel, int32_t x) {
    const auto at = static_cast<size_t>(x);
    if (kind == VideoKind::Packed410) return {at * 4, channel == 0 ? 10u : channel == 1 ? 0u : 20u};
    const size_t sample = channel == 0 ? 2 * at + 1 : 4 * at + (channel == 1 ? 0 : 2);
    return {sample / 3 * 4, static_cast<uint32_t>(sample % 3 * 10)};
}

uint32_t VideoRows::Sample(int channel, int32_t x, int32_t y) const {
    const uint8_t* row = Samples(channel, y);
    const auto up = [&](uint32_t value) { return value << (16 - m_layout.depth); };
    if (m_layout.kind == VideoKind::V210 || IsPackedWord()) {
        const PackedPlace place = PlaceIn(m_layout.kind, channel, x);
        return up(LoadWord(row + place.byte) >> place.shift & 0x3FF);
    }
    const uint8_t* p = row + m_step[channel] * static_cast<size_t>(x);
    if (m_layout.bytes == 1) return up(*p);
    uint16_t word = 0;
    std::memcpy(&word, p, sizeof word);
    return up(static_cast<uint32_t>(word >> m_layout.shift) & ((1u << m_layout.depth) - 1));
}

void VideoRows::SetSample(int channel, int32_t x, int32_t y, uint16_t value) const {
    auto* row = const_cast<uint8_t*>(Samples(channel, y));
    const uint32_t down = 16u - m_layout.depth;
    const uint32_t rounded = down ? (value + (1u << (down - 1))) >> down : value;
    const uint32_t sample = std::min(rounded, (1u << m_layout.depth) - 1);
    if (m_layout.kind == VideoKind::V210 || IsPackedWord()) {
        const PackedPlace place = PlaceIn(m_layout.kind, channel, x);
        return SetBits(row + place.byte, place.shift, 10, sample);
    }
    uint8_t* p = row + m_step[channel] * static_cast<size_t>(x);
    if (m_layout.bytes == 1) {
        *p = static_cast<uint8_t>(sample);
    } else {
        const auto word = static_cast<uint16_t>(sample << m_layout.shift);
        std::memcpy(p, &word, sizeof word);
    }
}

void VideoRows::Read(int32_t y, PixelYuv* out) const {
    for (int32_t x = 0; x < m_width; x++) {
        const int32_t shared = x >> m_layout.chromaX;
        uint32_t alpha = 65535;
        if (IsPackedWord()) alpha = (LoadWord(Samples(0, y) + static_cast<size_t>(x) * 4) >> 30) * 21845;
        out[x] = {static_cast<uint16_t>(Sample(0, x, y)), static_cast<uint16_t>(Sample(1, shared, y)),
                  static_cast<uint16_t>(Sample(2, shared, y)), static_cast<uint16_t>(alpha)};
    }
}

void VideoRows::Write(int32_t y, int32_t rows, const PixelYuv* in) const {
    for (int32_t r = 0; r < rows; r++)
        for (int32_t x = 0; x < m_width; x++) {
            const PixelYuv& p =
                in[static_cast<size_t>(r) * static_cast<size_t>(m_width) + static_cast<size_t>(x)];
            SetSample(0, x, y + r, p.y);
            if (IsPackedWord())
                SetBits(const_cast<uint8_t*>(Samples(0, y + r)) + static_cast<size_t>(x) * 4, 30, 2,
                        (p.alpha * 3u + 32767u) / 65535u);
        }
    const int32_t across = 1 << m_layout.chromaX;
    for (int32_t x = 0; x < m_width; x += across) {
        uint32_t u = 0, v = 0, count = 0;
        for (int32_t r = 0; r < rows; r++)
            for (int32_t i = x; i < std::min(x + across, m_width); i++, count++) {
                const PixelYuv& p =
                    in[static_cast<size_t>(r) * static_cast<size_t>(m_width) + static_cast<size_t>(i)];
                u += p.u;
                v += p.v;
            }
        SetSample(1, x >> m_layout.chromaX, y, static_cast<uint16_t>((u + count / 2) / count));
        SetSample(2, x >> m_layout.chromaX, y, static_cast<uint16_t>((v + count / 2) / count));
    }
}

}  // namespace tarn
