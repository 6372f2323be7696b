#include "controls/pan_draw.h"

#include "controls/pan_point.h"
#include "kernel/color_math.h"
#include "kernel/ui/skin_images.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/paint.h"

#include <QImage>
#include <QPainterPath>
#include <QRadialGradient>

#include <algorithm>

using namespace tarn;

struct PanPicture {
    QImage image;
};

namespace {
// The field is dark in every theme.
COLORREF Accent() {
    const COLORREF accent = QmGetUIColor(COLOR_HIGHLIGHT);
    return ContrastOf(accent, QmGetUIColor(UICOLOR_METER_GROUND)) >= 4.5
               ? accent
               : BlendChannels(accent, 0xFFFFFF, 110);
}

void DrawSkin(QPainter& p, const tQMSKINBMP& bmp, const RECT& rect) {
    p.drawImage(ToQRect(rect), ViewSkinBmp(bmp));
}

// The ground, lighter by so much.
COLORREF Raised(uint32_t weight) {
    return BlendChannels(QmGetUIColor(UICOLOR_METER_GROUND), 0xFFFFFF, weight);
}

void DrawField(const tQMPAN& pan, QPainter& p) {
    const LONG frame = pan.state & PANST_WIDE_FRAME ? 3 : 2;
    const QRectF field = ToQRect(pan.field), ground = field.adjusted(-frame, -frame, frame, frame);
    const bool round = pan.style & PANS_CIRCULAR;
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient depth(ground.topLeft(), ground.bottomLeft());
    depth.setColorAt(0, ToColor(Raised(6)));
    depth.setColorAt(1, ToColor(Raised(22)));
    p.setBrush(depth);
    p.setPen(QPen(ToColor(Raised(80)), 1));
    const QRectF edge = ground.adjusted(0.5, 0.5, -0.5, -0.5);
    if (round)
        p.drawEllipse(edge);
    else
        p.drawRoundedRect(edge, 3, 3);

    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(ToColor(Raised(62)), 1));
    const QPointF centre = field.center();
    p.drawLine(QPointF(field.left(), centre.y()), QPointF(field.right(), centre.y()));
    p.drawLine(QPointF(centre.x(), field.top()), QPointF(centre.x(), field.bottom()));
    p.setPen(QPen(ToColor(Raised(34)), 1));
    const double radius = std::min(field.width(), field.height()) / 2;
    p.drawEllipse(centre, radius / 2, radius / 2);
    if (!round) p.drawEllipse(centre, radius, radius);
    if (pan.style & PANS_GRID)
        for (const double share : {0.25, 0.75}) {
            const double x = field.left() + field.width() * share, y = field.top() + field.height() * share;
            p.drawLine(QPointF(x, field.top()), QPointF(x, field.bottom()));
            p.drawLine(QPointF(field.left(), y), QPointF(field.right(), y));
        }
}

// A box with its cone turned to the middle; a muted one is only an outline with a stroke through it.
void DrawSpeaker(const tQMPAN& pan, QPainter& p, uint32_t speaker) {
    const uint32_t muted = pan.at.panMode ? pan.at.modeMuteMask : pan.at.muteMask;
    const bool off = muted & 1u << speaker, disabled = pan.state & PANST_DISABLED;
    const RECT rect = PanSpeakerRect(pan, speaker);
    if (pan.state & PANST_SKIN && pan.skin.speaker) return DrawSkin(p, *pan.skin.speaker, rect);
    const QRectF box = QRectF(ToQRect(rect)).adjusted(0.5, 0.5, -0.5, -0.5);
    const COLORREF ink = off || disabled ? Raised(120) : Accent();
    p.setPen(QPen(ToColor(ink), 1.2));
    p.setBrush(
        ToColor(off ? Raised(14) : QmSkin_BlendColor(ink, QmGetUIColor(UICOLOR_METER_GROUND), 150, 0)));
    p.drawRoundedRect(box, 2, 2);
    if (off) {
        p.drawLine(box.bottomLeft() + QPointF(2, -2), box.topRight() + QPointF(-2, 2));
    } else {
        p.setBrush(ToColor(ink));
        p.drawEllipse(box.center(), box.width() * 0.24, box.height() * 0.24);
    }
    if (pan.state & PANST_FOCUSED && pan.focusSpeaker == static_cast<int32_t>(speaker)) {
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(ToColor(0xFFFFFF), 1.5));
        p.drawRoundedRect(box.adjusted(-2, -2, 2, 2), 3, 3);
    }
}

void DrawPicture(const tQMPAN& pan, QPainter& p) {
    if (pan.state & PANST_BACKGROUND) {
        const tQMSKINBMP& background = *pan.skin.background;
        const RECT own{pan.client.left, pan.client.top, pan.client.left + background.width,
                       pan.client.top + background.height};
        DrawSkin(p, background, pan.state & PANST_SKIN_STRETCHED ? pan.client : own);
    } else {
        DrawField(pan, p);
    }
    for (uint32_t i = 0; i < kPanSpeakers && !(pan.state & PANST_SKIN_NO_SPEAKERS); i++)
        if (pan.at.channelsMask & 1u << i) DrawSpeaker(pan, p, i);
}

void DrawPuck(const tQMPAN& pan, QPainter& p) {
    const RECT rect = PanPuckRect(pan);
    if (pan.state & PANST_SKIN && pan.skin.puck) return DrawSkin(p, *pan.skin.puck, rect);
    const QRectF r = ToQRect(rect);
    const bool disabled = pan.state & PANST_DISABLED;
    const COLORREF body = disabled ? Raised(110) : 0xF7F4F2;
    QRadialGradient light(r.center() - QPointF(r.width() * 0.15, r.height() * 0.2), r.width() * 0.65);
    light.setColorAt(0, ToColor(body));
    light.setColorAt(1, ToColor(QmSkin_BlendColor(body, 0x1A1512, 120, 0)));
    p.setBrush(light);
    p.setPen(
        QPen(ToColor(pan.state & PANST_FOCUSED ? Accent() : 0x14110F), pan.state & PANST_FOCUSED ? 2 : 1));
    p.drawEllipse(r);
}

// The axis that is free to move.
void DrawLock(const tQMPAN& pan, QPainter& p) {
    if (pan.at.lock == 0) return;
    const POINT puck = PanPixel(pan, {pan.at.x, pan.at.y});
    p.setPen(QPen(ToColor(Accent()), 1, Qt::DashLine));
    if (pan.at.lock == 1)
        p.drawLine(QPointF(pan.field.left, puck.y + 0.5), QPointF(pan.field.right, puck.y + 0.5));
    else
        p.drawLine(QPointF(puck.x + 0.5, pan.field.top), QPointF(puck.x + 0.5, pan.field.bottom));
}

void DrawMarker(const tQMPAN& pan, QPainter& p) {
    const double x = PanPixel(pan, {std::clamp(pan.marker / 100.0, -1.0, 1.0), 0}).x, y = pan.field.bottom;
    p.setPen(Qt::NoPen);
    p.setBrush(ToColor(Accent()));
    p.drawPolygon(QPolygonF({QPointF(x, y - 6), QPointF(x - 4, y), QPointF(x + 4, y)}));
}
}  // namespace

void FreePanPicture(tQMPAN& pan) {
    delete pan.picture;
    pan.picture = nullptr;
}

void PanInst_Draw(tQMPAN* pan, QPainter* painter) {
    if (pan->client.IsEmpty()) return;
    const qreal scale = painter->deviceTransform().m22();
    if (pan->picture && pan->picture->image.devicePixelRatio() != scale) FreePanPicture(*pan);
    if (!pan->picture) {
        const QSize size = (QSizeF(pan->client.Width(), pan->client.Height()) * scale).toSize();
        pan->picture = new PanPicture{QImage(size, QImage::Format_ARGB32_Premultiplied)};
        pan->picture->image.setDevicePixelRatio(scale);
        pan->picture->image.fill(Qt::transparent);
        QPainter p(&pan->picture->image);
        p.translate(-pan->client.left, -pan->client.top);
        DrawPicture(*pan, p);
    }
    painter->drawImage(QPoint(pan->client.left, pan->client.top), pan->picture->image);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    DrawLock(*pan, *painter);
    if (pan->style & PANS_MARKER) DrawMarker(*pan, *painter);
    DrawPuck(*pan, *painter);
    painter->restore();
    if (pan->state & PANST_FOCUSED && pan->style & PANS_FOCUS_ROOM)
        FrameRect(*painter, pan->client, QmGetUIColor(COLOR_HIGHLIGHT));
}
