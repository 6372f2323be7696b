#include "controls/meter_bitmaps.h"

#include "kernel/color_math.h"
#include "kernel/ui/skin_images.h"
#include "platform/ui/paint.h"

#include <QTransform>

#include <algorithm>
#include <memory>
#include <vector>

using namespace tarn;

namespace {
std::vector<std::unique_ptr<MeterBitmaps>>& Pairs() {
    static std::vector<std::unique_ptr<MeterBitmaps>> pairs;
    return pairs;
}

QRgb Scaled(COLORREF color, double factor) {
    const auto part = [&](uint32_t c) { return std::min(static_cast<int>((c & 0xFF) * factor + 0.5), 255); };
    return qRgb(part(color), part(color >> 8), part(color >> 16));
}

// A bar is a rod lit from the front: a little darker towards its edges.
constexpr double kEdgeShade = 0.2;

QImage Build(const MeterLook& look, bool lit) {
    const int width = look.vertical ? look.width : look.length,
              height = look.vertical ? look.length : look.width;
    QImage image(width, height, QImage::Format_RGB32);
    if (image.isNull()) return image;
    size_t b = 0;
    for (int32_t along = 0; along < look.length; along++) {
        while (b + 1 < look.bands.size() && along >= look.bands[b + 1].from) b++;
        const MeterLook::Band& band = look.bands[b];
        const int32_t end = b + 1 < look.bands.size() ? look.bands[b + 1].from : look.length;
        const double height01 = end > band.from ? (along - band.from + 0.5) / (end - band.from) : 1;
        const COLORREF color = BlendChannels(lit ? band.lit : band.unlit, lit ? band.litTop : band.unlitTop,
                                             static_cast<uint32_t>(height01 * 255 + 0.5));
        for (int32_t across = 0; across < look.width; across++) {
            const double u = 2 * (across + 0.5) / look.width - 1;
            const QRgb shaded = Scaled(color, lit ? 1 - kEdgeShade * u * u : 1);
            if (look.vertical)
                image.setPixel(across, look.length - 1 - along, shaded);
            else
                image.setPixel(along, across, shaded);
        }
    }
    return image;
}

QImage FromSkin(const MeterLook& look, bool lit) {
    const QImage skin = ViewSkinBmp(*look.skin);
    const int half = skin.width() / 2;
    if (half == 0) return Build(look, lit);
    QImage part = skin.copy(lit ? 0 : half, 0, half, skin.height());
    if (!look.vertical) part = part.transformed(QTransform().rotate(90));
    const QSize size = look.vertical ? QSize(look.width, look.length) : QSize(look.length, look.width);
    return part.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_RGB32);
}

QImage Make(const MeterLook& look, bool lit) {
    return look.skin && look.skin->pixels ? FromSkin(look, lit) : Build(look, lit);
}
}  // namespace

MeterBitmaps* AcquireMeterBitmaps(const MeterLook& look) {
    auto& pairs = Pairs();
    const auto it = std::find_if(pairs.begin(), pairs.end(), [&](const auto& p) { return p->look == look; });
    if (it != pairs.end()) {
        (*it)->users++;
        return it->get();
    }
    auto made = std::make_unique<MeterBitmaps>(MeterBitmaps{look, Make(look, true), Make(look, false), 1});
    if (made->lit.isNull() || made->unlit.isNull()) return nullptr;
    return pairs.emplace_back(std::move(made)).get();
}

void ReleaseMeterBitmaps(MeterBitmaps* bitmaps) {
    if (!bitmaps || --bitmaps->users > 0) return;
    auto& pairs = Pairs();
    pairs.erase(std::find_if(pairs.begin(), pairs.end(), [=](const auto& p) { return p.get() == bitmaps; }));
}

size_t CountMeterBitmaps() { return Pairs().size(); }
