// Video codes: where samples lie, and colours beside another implementation.
#include "image/video_layout.h"
#include "tests/image/image_support.h"

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

#include <cstring>

using namespace tarn;

namespace {

TEST(VideoLayout, BytesAndPlanes) {
    struct Row {
        QMPIXELTYPE type;
        uint32_t total, offsets[3];
    };
    // 5 x 3 pixels.
    for (const Row& row : {Row{QMPIXEL_I420, 15 + 6 + 6, {0, 15, 21}}, Row{QMPIXEL_YV12, 27, {0, 21, 15}},
                           Row{QMPIXEL_NV12, 27, {0, 15, 16}}, Row{QMPIXEL_P010, 54, {0, 30, 32}},
                           Row{QMPIXEL_PL10, 54, {0, 30, 42}}, Row{QMPIXEL_YV16, 15 + 18, {0, 24, 15}},
                           Row{QMPIXEL_YV24, 45, {0, 30, 15}}, Row{QMPIXEL_Y41B, 15 + 12, {0, 15, 21}},
                           Row{QMPIXEL_UYVY, 36, {1, 0, 2}}, Row{QMPIXEL_YUYV, 36, {0, 1, 3}},
                           Row{QMPIXEL_Y210, 72, {0, 2, 6}}, Row{QMPIXEL_V210, 384, {0, 0, 0}},
                           Row{QMPIXEL_P412, 90, {0, 30, 32}}, Row{QMPIXEL_A410, 60, {0, 0, 0}}}) {
        const OwnedDib dib = NewDib(row.type, 5, 3);
        uint32_t offsets[3] = {};
        EXPECT_EQ(QmYUVImageBytesAndOffsets(dib.get(), offsets), row.total) << row.type;
        EXPECT_EQ(dib->biSizeImage, row.total);
        for (int i = 0; i < 3; i++) EXPECT_EQ(offsets[i], row.offsets[i]) << row.type << ' ' << i;
    }
}

/// Frames of blocks of 4 x 2 pixels, so that no way of sharing chroma makes a difference.
OwnedDib Blocks(int32_t width, int32_t height, uint32_t seed) {
    std::mt19937 random(seed);
    OwnedDib dib = NewDib(QMPIXEL_RGBA32, width, height);
    std::vector<uint32_t> colors(static_cast<size_t>(width * height));
    for (uint32_t& color : colors) color = static_cast<uint32_t>(random()) | 0xFF000000;
    for (int32_t y = 0; y < height; y++)
        for (int32_t x = 0; x < width; x++)
            std::memcpy(Bits(dib) + (y * width + x) * 4, &colors[static_cast<size_t>(y / 2 * width + x / 4)],
                        4);
    return dib;
}

struct Peer {
    QMPIXELTYPE type;
    AVPixelFormat format;
    int depth;
};
constexpr Peer PEERS[] = {
    {QMPIXEL_UYVY, AV_PIX_FMT_UYVY422, 8},
    {QMPIXEL_YUYV, AV_PIX_FMT_YUYV422, 8},
    {QMPIXEL_Y41B, AV_PIX_FMT_YUV411P, 8},
    {QMPIXEL_I420, AV_PIX_FMT_YUV420P, 8},
    {QMPIXEL_NV12, AV_PIX_FMT_NV12, 8},
    {QMPIXEL_P010, AV_PIX_FMT_P010LE, 10},
    {QMPIXEL_PL10, AV_PIX_FMT_YUV420P10LE, 10},
    {QMPIXEL_P210, AV_PIX_FMT_P210LE, 10},
    {QMPIXEL_P216, AV_PIX_FMT_P216LE, 16},
    {QMPIXEL_Y210, AV_PIX_FMT_Y210LE, 10},
    {QMPIXEL_P410, AV_PIX_FMT_P410LE, 10},
    {QMPIXEL_YV12, AV_PIX_FMT_YUV420P, 8},
    {QMPIXEL_YV16, AV_PIX_FMT_YUV422P, 8},
    {QMPIXEL_YV24, AV_PIX_FMT_YUV444P, 8},
    // Of 12 bits it has none, but samples lie as those of 16 do.
    {QMPIXEL_P012, AV_PIX_FMT_P016LE, 12},
    {QMPIXEL_P212, AV_PIX_FMT_P216LE, 12},
    {QMPIXEL_P412, AV_PIX_FMT_P416LE, 12},
};

/// Planes of an image as the other library takes them.
struct Planes {
    uint8_t* data[4] = {};
    int stride[4] = {};
    Planes(const OwnedDib& dib) {
        const VideoLayout* layout = FindVideoLayout(QmGetPixelType(dib.get()));
        if (!layout) {  // from the picture's top
            stride[0] = -dib->biWidth * 4;
            data[0] = Bits(dib) - int64_t{stride[0]} * (dib->biHeight - 1);
            return;
        }
        const VideoPlanes planes = PlacePlanes(*layout, dib->biWidth, dib->biHeight);
        const int count = layout->kind == VideoKind::Planar       ? 3
                          : layout->kind == VideoKind::SemiPlanar ? 2
                                                                  : 1;
        for (int i = 0; i < count; i++) {
            data[i] = Bits(dib) + (count == 1 ? 0 : planes.offset[i]);
            stride[i] = static_cast<int>(planes.stride[i]);
        }
    }
};

void PeerConverts(const OwnedDib& from, AVPixelFormat fromFormat, const OwnedDib& to, AVPixelFormat toFormat,
                  uint32_t flags) {
    SwsContext* context =
        sws_getContext(from->biWidth, from->biHeight, fromFormat, to->biWidth, to->biHeight, toFormat,
                       SWS_POINT | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT,
                       nullptr, nullptr, nullptr);
    ASSERT_NE(context, nullptr);
    const int* matrix = sws_getCoefficients(flags & DIB_COPY_BT709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
    const int isFull = flags & DIB_COPY_FULL_RANGE ? 1 : 0;
    const bool fromVideo = fromFormat != AV_PIX_FMT_BGRA;
    sws_setColorspaceDetails(context, matrix, fromVideo ? isFull : 1, matrix, fromVideo ? 1 : isFull, 0,
                             1 << 16, 1 << 16);
    const Planes source(from), target(to);
    EXPECT_EQ(sws_scale(context, source.data, source.stride, 0, from->biHeight, target.data, target.stride),
              to->biHeight);
    sws_freeContext(context);
}

TEST(VideoColors, WithinOneStepOfAnotherImplementation) {
    constexpr int32_t WIDTH = 96, HEIGHT = 32;
    const OwnedDib colors = Blocks(WIDTH, HEIGHT, 11);
    for (const Peer& peer : PEERS)
        for (const uint32_t flags : {0u, DIB_COPY_BT709, DIB_COPY_FULL_RANGE}) {
            SCOPED_TRACE(testing::Message() << "type " << peer.type << " flags " << flags);
            const OwnedDib ours = Converted(colors, peer.type, flags),
                           theirs = Converted(colors, peer.type, flags);
            // One of them it only reads.
            const bool isWritten = sws_isSupportedOutput(peer.format) != 0;
            EXPECT_EQ(isWritten, peer.type != QMPIXEL_Y210);
            if (isWritten) PeerConverts(colors, AV_PIX_FMT_BGRA, theirs, peer.format, flags);
            // A step is one of 8 bits: the other library computes deeper video from colours of 8.
            const bool isWord = peer.depth > 8;
            const int shift = isWord ? FindVideoLayout(peer.type)->shift + peer.depth - 8 : 0;
            const size_t bytes = isWord ? 2 : 1;
            for (size_t i = 0; i < ours->biSizeImage; i += bytes) {
                uint16_t a = 0, b = 0;
                std::memcpy(&a, Bits(ours) + i, bytes);
                std::memcpy(&b, Bits(theirs) + i, bytes);
                ASSERT_NEAR(a, b, 1 << shift) << "at " << i;
            }
            const OwnedDib back = Converted(theirs, QMPIXEL_RGBA32, flags),
                           expected = NewDib(QMPIXEL_RGBA32, WIDTH, HEIGHT);
            PeerConverts(theirs, peer.format, expected, AV_PIX_FMT_BGRA, flags);
            for (size_t i = 0; i < back->biSizeImage; i++)
                ASSERT_NEAR(Bits(back)[i], Bits(expected)[i], 1) << "at " << i;
        }
}

TEST(VideoColors, EveryLevelIsThePlainOne) {
    std::mt19937 random(3);
    std::vector<uint8_t> y(131), u(140), v(140), expected(131 * 4), found(131 * 4);
    for (auto* bytes : {&y, &u, &v})
        for (uint8_t& b : *bytes) b = static_cast<uint8_t>(random());
    const YuvFixed fixed{-1160, 19003, 14686, 1747, 4366, 17305};
    for (const ImageRows* rows : VectorRows())
        for (const auto convert : {&ImageRows::planarToBgra, &ImageRows::semiPlanarToBgra})
            for (int32_t n = 0; n <= 131; n++) {
                (PlainRows().*convert)(expected.data(), y.data(), u.data(), v.data(), n, fixed);
                (rows->*convert)(found.data(), y.data(), u.data(), v.data(), n, fixed);
                ASSERT_EQ(found, expected) << n;
            }
}

}  // namespace
