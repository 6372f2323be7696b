// The images' rows for the program that measures the peers'; its harness and data stand beside it there.
#include "peers.h"

#include "image/composite.h"
#include "image/scale.h"

namespace {

SIZE SizeOf(const peers::Img& image) { return {image.w, image.h}; }

void AddBlend(const char* work, int32_t mode, uint32_t bytesPerPixel) {
    peers::blend(work, "ours", [=](const peers::Img&, const peers::Img&) -> peers::BlendFn {
        return [=](const peers::Img& s, const peers::Img& d) {
            const SIZE from = SizeOf(s), to = SizeOf(d);
            const QMCOMPOSITEPARAMS params{sizeof params, mode, {}};
            QmDibCompositeUnscaled(d.p, &to, d.stride, nullptr, s.p, &from, s.stride, nullptr, bytesPerPixel,
                                   &params);
        };
    });
}

template <class Scale>
void AddScale(const char* work, Scale scale) {
    peers::scale(work, "ours",
                 [=](const peers::Img& s, const peers::Img& d, peers::SubRect r) -> peers::ScaleFn {
                     const auto q14 = [](double v) { return static_cast<LONG>(v * Q14_ONE); };
                     const RECT from{q14(r.x), q14(r.y), q14(r.x + r.w), q14(r.y + r.h)};
                     return [=] {
                         const SIZE source = SizeOf(s), target = SizeOf(d);
                         scale(d.p, &target, d.stride, nullptr, s.p, &source, s.stride, &from, 4u);
                     };
                 });
}

peers::AddRows rows([] {
    AddBlend("over", 4, 4);
    AddBlend("over_ui", 4, 4);
    AddBlend("add", 1, 4);
    AddBlend("modulate", 3, 4);
    AddBlend("over_float", 4, 16);
    AddBlend("add_float", 1, 16);
    AddScale("bilinear", QmDibScale_BilinearSubPixel);
    AddScale("bicubic", QmDibScale_BiCubicSubPixel);
    AddScale("bilinear_subpix", QmDibScale_BilinearSubPixel);
    AddScale("bicubic_subpix", QmDibScale_BiCubicSubPixel);
});

}  // namespace
