// How the pixels of an image lie in memory: the header of a device-independent bitmap, the types of pixels,
// and each derived from the other. [any-thread]
#pragma once

#include "platform/four_cc.h"
#include "platform/types.h"

#pragma pack(push, 2)
/// Heads every image; what follows is told at QmDibAlloc. biHeight counts rows from the bottom, a negative
/// one from the top. Video codes lie from the top whatever its sign.
struct BITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth, biHeight;
    uint16_t biPlanes, biBitCount;
    uint32_t biCompression, biSizeImage;
    int32_t biXPelsPerMeter, biYPelsPerMeter;
    uint32_t biClrUsed, biClrImportant;
};
#pragma pack(pop)
static_assert(sizeof(BITMAPINFOHEADER) == 40 && offsetof(BITMAPINFOHEADER, biCompression) == 16);

struct RGBQUAD {
    uint8_t rgbBlue, rgbGreen, rgbRed, rgbReserved;
    friend bool operator==(const RGBQUAD&, const RGBQUAD&) = default;
};
static_assert(sizeof(RGBQUAD) == 4);

inline constexpr uint32_t BI_RGB = 0;
inline constexpr uint32_t BI_BITFIELDS = 3;                ///< three masks of 32 bits follow the head
inline constexpr uint32_t BI_QMGS = tarn::FourCC("QMGS");  ///< grey
inline constexpr uint32_t BI_QMDB = tarn::FourCC("QMDB");  ///< deep or premultiplied pixels

/// RGBA32 and RGBA32_ALT lie as blue, green, red, alpha; the first is straight, the second has its colours
/// multiplied with alpha. RGBA64 and RGBAFLOAT lie as red, green, blue, alpha and are straight until someone
/// premultiplies them. RGB10A2 has red in its high bits, RGB10A2_ALT in its low ones. Grey 32 is an integer.
enum QMPIXELTYPE : uint32_t {
    QMPIXEL_UNKNOWN = 0,
    QMPIXEL_PAL1 = 16,
    QMPIXEL_GRAY1 = 17,
    QMPIXEL_GRAY2 = 18,
    QMPIXEL_GRAY4 = 19,
    QMPIXEL_GRAY8 = 20,
    QMPIXEL_GRAY16 = 21,
    QMPIXEL_GRAY32 = 22,
    QMPIXEL_PAL4 = 23,
    QMPIXEL_PAL8 = 24,
    QMPIXEL_RGB555 = 25,
    QMPIXEL_RGB565 = 26,
    QMPIXEL_RGB24 = 27,
    QMPIXEL_RGBA32 = 28,
    QMPIXEL_RGBA32_ALT = 29,
    QMPIXEL_RGB10A2 = 30,
    QMPIXEL_RGBA64 = 31,
    QMPIXEL_RGBAFLOAT = 32,
    QMPIXEL_RGB10A2_ALT = 34,
    // Video, by four-character code; how each lies is told in video_layout.cpp.
    QMPIXEL_UYVY = 64,
    QMPIXEL_YUYV = 65,
    QMPIXEL_Y41B = 66,
    QMPIXEL_I420 = 67,
    QMPIXEL_V210 = 68,
    QMPIXEL_P010 = 69,
    QMPIXEL_PL10 = 70,
    QMPIXEL_P210 = 71,
    QMPIXEL_P216 = 72,
    QMPIXEL_Y210 = 73,
    QMPIXEL_P410 = 74,
    QMPIXEL_NV12 = 75,
    QMPIXEL_YV12 = 76,
    QMPIXEL_YV16 = 77,
    QMPIXEL_A410 = 78,
    QMPIXEL_P012 = 82,
    QMPIXEL_P212 = 83,
    QMPIXEL_P412 = 84,
    QMPIXEL_YV24 = 85,
};

/// Asks for the second header form of a type that has two: masks for RGB555 and RGBA32, "QMDB" for RGB24.
inline constexpr uint32_t PIXEL_OTHER_FORM = 1;

namespace tarn {

/// Every type there is, with its name in lower case, in ascending order.
struct PixelTypeName {
    QMPIXELTYPE type;
    const char* name;
};
QM_API const PixelTypeName* PixelTypeNames(size_t* count);

inline bool IsVideo(QMPIXELTYPE type) { return type >= QMPIXEL_UYVY; }

}  // namespace tarn

extern "C" {
/// With BI_BITFIELDS the three masks behind the header are read. QMPIXEL_UNKNOWN for null and for what no
/// type has.
QM_API QMPIXELTYPE QmGetPixelType(const BITMAPINFOHEADER* header);
/// Bits of a pixel, on average for video; 0 for an unknown type. `bits`, if given, gets those of red, green,
/// blue and alpha, or of luma, the two chroma channels and alpha. A single grey channel is in alpha's place.
QM_API uint32_t QmGetPixelBitsPerChannel(QMPIXELTYPE type, uint8_t bits[4]);
/// The header's fields for a type: returns the bits, 0 for an unknown one. All outputs may be null; the
/// masks, red, green, blue and apart from them alpha, are 0 for what has none. flags: PIXEL_OTHER_FORM.
QM_API uint32_t QmPixelTypeToBitAttribs(QMPIXELTYPE type, uint32_t* compression, uint32_t masks[3],
                                        uint32_t flags, uint32_t* alphaMask);
}
