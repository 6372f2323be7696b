// The images of an operation, looked at and found fit. Internal to the library.
#pragma once

#include "image/dib_filters.h"
#include "image/rows/dib_view.h"

#include <initializer_list>

namespace tarn {

struct FilterView {
    const QMDIBREF* dib;
    DibView* view;
};

/// Views of images that are alike in size and kind of pixel; bytesPerPixel is 4 or 16.
HRESULT ViewAlike(std::initializer_list<FilterView> views, uint32_t& bytesPerPixel);
/// Views of two images of one type, whose pixels take so many whole bytes.
HRESULT ViewForRotation(const QMDIBREF* dst, const QMDIBREF* src, bool isTurned, DibView& to, DibView& from,
                        uint32_t& bytesPerPixel);

}  // namespace tarn
