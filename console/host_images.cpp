#include "console/host_images.h"

#include "console/console_plugin.h"

#include <QPainter>

namespace {

constexpr uint32_t LARGEST_IMAGE = 256, LARGEST_STRIP = 1 << 15;

/// A copy of the host's pixels, so that nothing of the host's is held. Null where the record cannot be true.
QImage CopyStrip(const MPIMAGESTRIP* strip) {
    if (!strip || strip->size != sizeof *strip || !strip->pixels || !strip->width || !strip->height ||
        strip->width > LARGEST_STRIP || strip->height > LARGEST_STRIP || strip->stride < strip->width ||
        strip->stride > LARGEST_STRIP)
        return {};
    return QImage(reinterpret_cast<const uchar*>(strip->pixels), static_cast<int>(strip->width),
                  static_cast<int>(strip->height), static_cast<qsizetype>(strip->stride) * 4,
                  QImage::Format_ARGB32_Premultiplied)
        .copy();
}

QImage Pale(const QImage& strip) {
    constexpr qreal OPACITY = 0.4;
    QImage pale(strip.size(), QImage::Format_ARGB32_Premultiplied);
    pale.fill(Qt::transparent);
    QPainter painter(&pale);
    painter.setOpacity(OPACITY);
    painter.drawImage(0, 0, strip);
    return pale;
}

}  // namespace

ImageList HostImages(CConsoleControlPlugin& plugin, uint32_t role, ImageList own) {
    MPIMAGES images{};
    images.size = sizeof images;
    images.role = role;
    if (plugin.HostRecord(MPPROP_PAGE_START, images) != S_OK || !images.width || !images.height ||
        images.width > LARGEST_IMAGE || images.height > LARGEST_IMAGE)
        return own;
    const QImage normal = CopyStrip(images.normal);
    const auto high = static_cast<uint32_t>(normal.height()), wide = static_cast<uint32_t>(normal.width());
    if (normal.isNull() || high % images.height) return own;
    const uint32_t image = images.width * (high / images.height);
    if (wide < image || wide % image) return own;
    QImage hot = CopyStrip(images.hot), disabled = CopyStrip(images.disabled);
    if (hot.size() != normal.size()) hot = normal;
    if (disabled.size() != normal.size()) disabled = Pale(normal);
    return {{normal, hot, disabled}, {static_cast<LONG>(images.width), static_cast<LONG>(images.height)}};
}
