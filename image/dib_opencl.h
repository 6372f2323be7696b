// The image operations on an OpenCL device. The loader is looked for at run time: without it, without a
// device, and before the family's programs are there, each ...OCL answers E_FAIL at once, and the caller
// takes the form of composite.h or dib_filters.h. E_FAIL, too, where the device fails in the middle; the
// destination is as it was then. All else is as in those, with the same bits for 8-bit pixels and within 1e-6
// for floats. [any-thread]
#pragma once

#include "image/composite.h"
#include "image/dib_filters.h"

/// Cuts to a point of the source from one of the destination, in pixels from the top left corner: x' = a x +
/// b y + c, y' = d x + e y + f.
struct QMDIBTRANSFORM {
    float a, b, c, d, e, f;
};

extern "C" {
/// Compile the programs of a family, or take them from the cache of an earlier run with the same device and
/// driver, and give them back. Each Initialize has its Shutdown; the device is let go with the last. E_FAIL
/// without a device.
QM_API HRESULT DibComposite_OpenCL_Initialize();  ///< composite, transform, layer, over, under, cutout
QM_API void DibComposite_OpenCL_Shutdown();
QM_API HRESULT DibCopy_OpenCL_Initialize();  ///< rotations, frame
QM_API void DibCopy_OpenCL_Shutdown();
QM_API HRESULT DibInterlace_OpenCL_Initialize();  ///< fields
QM_API void DibInterlace_OpenCL_Shutdown();
QM_API HRESULT VidHelp_OpenCL_Initialize();  ///< blur, cross fade, desaturate
QM_API void VidHelp_OpenCL_Shutdown();
QM_API HRESULT YUV_OpenCL_Initialize();  ///< 8-bit video to colours
QM_API void YUV_OpenCL_Shutdown();
/// Name and driver of the device in use; empty for none. `text` gets `capacity` bytes at most, with its end.
QM_API HRESULT QmOpenCL_GetDeviceText(char* text, size_t capacity);

/// Modes 0 to 4; E_FAIL for others and for a custom blend. Of Q14 rectangles only the whole pixels count.
QM_API HRESULT QmDibCompositeOCL(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect,
                                 int32_t dstStride, const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                                 const RECT* srcRect, int32_t srcStride, const QMCOMPOSITEPARAMS* params,
                                 uint32_t flags);
/// Each pixel of the destination with what lies at its place in the source, bilinearly; beyond the source is
/// nothing.
QM_API HRESULT QmDibCompositeTransformOCL(const QMDIBREF* dst, const QMDIBREF* src,
                                          const QMDIBTRANSFORM* transform, const QMCOMPOSITEPARAMS* params);
/// Images of one size, the source at an opacity of 0..16384.
QM_API HRESULT QmDibCompositeLayerFXOCL(const QMDIBREF* dst, const QMDIBREF* src,
                                        const QMCOMPOSITEPARAMS* params, int32_t opacity);
/// The outermost `width` pixels in a colour, 0xAARRGGBB, taken as the pixels are: straight or premultiplied.
QM_API HRESULT QmDibFrameOCL(const QMDIBREF* dib, int32_t width, uint32_t color);

QM_API HRESULT QmDibOverOCL(const QMDIBREF* dst, const QMDIBREF* src);
QM_API HRESULT QmDibUnderOCL(const QMDIBREF* dst, const QMDIBREF* src);
QM_API HRESULT QmDibCutoutOCL(const QMDIBREF* dst, const QMDIBREF* src);
QM_API HRESULT QmDibWeightedCrossFadeOCL(const QMDIBREF* dst, const QMDIBREF* a, const QMDIBREF* b,
                                         int32_t weight);
QM_API HRESULT QmDibFieldBlendOCL(const QMDIBREF* dst, const QMDIBREF* src);
QM_API HRESULT QmDibCopyInterlaceOCL(const QMDIBREF* dst, const QMDIBREF* src, uint32_t field);
QM_API HRESULT QmDibBlurOCL(const QMDIBREF* dst, const QMDIBREF* src, int32_t across, int32_t down);
QM_API HRESULT QmDibDesaturateOCL(const QMDIBREF* dib, int32_t amount);
QM_API HRESULT QmDibRotate90OCL(const QMDIBREF* dst, const QMDIBREF* src, uint32_t direction);
QM_API HRESULT QmDibRotate180OCL(const QMDIBREF* dst, const QMDIBREF* src);
/// QmDibCopy from 8-bit video in planes, with chroma that two pixels share, to the 8-bit RGBA types; E_FAIL
/// for others.
QM_API HRESULT QmDibCopyOCL(const QMDIBREF* dst, const QMDIBREF* src, uint32_t flags);
}
