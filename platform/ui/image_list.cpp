#include "platform/ui/image_list.h"

#include "platform/ui/paint.h"

#include <QFile>
#include <QSvgRenderer>

#include <algorithm>

namespace {
QByteArray Source(std::string_view name) {
    QFile file(":/icons/" + QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size())) + ".svg");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray Colored(QByteArray svg, const ImageColors& colors) {
    const auto hex = [](COLORREF c) { return ToColor(c).name().toLatin1(); };
    // A key colour must not be met again in what took another one's place.
    svg.replace("#ffffff", "#ink").replace("#00ffff", "#accent").replace("#808080", "#shade");
    return svg.replace("#ink", hex(colors.ink))
        .replace("#accent", hex(colors.accent))
        .replace("#shade", hex(colors.shade));
}
}  // namespace

ImageList::ImageList(std::span<const std::string_view> names, SIZE size, const ImageTheme& theme)
    : m_size(size), m_theme(theme), m_rendered(names.size()) {
    for (const std::string_view name : names) m_sources.push_back(Source(name));
}

ImageList::ImageList(const std::array<QImage, 3>& strips, SIZE size) : m_size(size), m_strips(strips) {
    const int scale = strips[0].height() / size.cy;
    m_rendered.resize(static_cast<size_t>(strips[0].width() / (size.cx * scale)));
}

bool ImageList::IsComplete() const {
    return std::all_of(m_sources.begin(), m_sources.end(),
                       [](const QByteArray& svg) { return QSvgRenderer(svg).isValid(); });
}

void ImageList::Draw(QPainter& painter, int32_t index, POINT at, ImageState state) const {
    if (index < 0 || index >= Count()) return;
    const qreal scale = painter.device()->devicePixelRatioF();
    if (scale != m_scale) {
        m_scale = scale;
        for (auto& row : m_rendered) row.fill(QPixmap());
    }
    QPixmap& image = m_rendered[static_cast<size_t>(index)][static_cast<size_t>(state)];
    if (image.isNull()) image = Pixmap(index, state, scale);
    painter.drawPixmap(SnapRect(painter, QRectF(at.x, at.y, m_size.cx, m_size.cy)).topLeft(), image);
}

QPixmap ImageList::Pixmap(int32_t index, ImageState state, qreal scale) const {
    if (index < 0 || index >= Count()) return {};
    const QSize size = (QSizeF(m_size.cx, m_size.cy) * scale).toSize();
    if (const QImage& strip = m_strips[static_cast<size_t>(state)]; !strip.isNull()) {
        const int width = strip.width() / Count();
        const QImage image = strip.copy(index * width, 0, width, strip.height());
        QPixmap pixmap =
            QPixmap::fromImage(image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        pixmap.setDevicePixelRatio(scale);
        return pixmap;
    }
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QSvgRenderer svg(Colored(m_sources[static_cast<size_t>(index)], m_theme[static_cast<size_t>(state)]));
    QPainter painter(&pixmap);
    svg.render(&painter, QRectF(QPointF(), QSizeF(pixmap.size())));
    painter.end();
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}
