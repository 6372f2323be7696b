// How a strip looks.
#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/strip.h"
#include "console/texts.h"
#include "kernel/color_math.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_fonts.h"
#include "kernel/ui/ui_glyphs.h"
#include "platform/ui/paint.h"

#include <map>
#include <tuple>

namespace {

/// Pixels of the device.
struct Rounded {
    QSize size;
    qreal scale, radius;
    COLORREF fill, frame;
    auto Fields() const { return std::tuple(size.width(), size.height(), scale, radius, fill, frame); }
    bool operator<(const Rounded& other) const { return Fields() < other.Fields(); }
};

QImage DrawRounded(const Rounded& box) {
    QImage image(box.size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.scale(box.scale, box.scale);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToColor(box.frame));
    const QRectF outer(QPointF(), QSizeF(box.size) / box.scale);
    const qreal line = LineWidth(painter);
    painter.drawRoundedRect(outer, box.radius, box.radius);
    painter.setBrush(ToColor(box.fill));
    painter.drawRoundedRect(outer.adjusted(line, line, -line, -line), box.radius - line / 2,
                            box.radius - line / 2);
    return image;
}

/// Strips have the same boxes by the hundred, and round corners take longer to draw than to copy.
void FillRounded(QPainter& painter, const RECT& rect, qreal radius, COLORREF fill, COLORREF frame) {
    constexpr size_t MOST = 512;
    static std::map<Rounded, QImage> drawn;
    const qreal scale = painter.deviceTransform().m22();
    const DevicePixels device(painter);
    const QRect area = device.Map(rect);
    if (area.isEmpty()) return;
    const Rounded box{area.size(), scale, radius, fill, frame};
    auto found = drawn.find(box);
    if (found == drawn.end()) {
        if (drawn.size() >= MOST) drawn.clear();
        found = drawn.emplace(box, DrawRounded(box)).first;
    }
    painter.drawImage(area.topLeft(), found->second);
}

COLORREF Face() { return QmGetUIColor(COLOR_BTNFACE); }
/// Of lists and of what lies lower than the face.
COLORREF Well() { return QmSkin_BlendColor(Face(), QmGetUIColor(COLOR_3DDKSHADOW), 90, 0); }
COLORREF ButtonFace(bool pressed) {
    const COLORREF face = QmSkin_BlendColor(Face(), QmGetUIColor(UICOLOR_STRONG), 22, 0);
    return pressed ? QmSkin_BlendColor(face, QmGetUIColor(COLOR_3DDKSHADOW), 70, 0) : face;
}

RECT Inner(const RECT& rect, LONG x) { return {rect.left + x, rect.top, rect.right - x, rect.bottom}; }

}  // namespace

void Strip::Paint(QPainter& painter, const RECT& area, const StripLook& look) {
    const RECT& strip = m_rects.strip;
    const COLORREF face = Face();
    const RECT body{strip.left, strip.top, strip.right - 1, strip.bottom};
    FillRect(painter, body,
             IsSelected() ? QmSkin_BlendColor(face, QmGetUIColor(COLOR_HIGHLIGHT), 30, 0) : face);
    VLine(painter, strip.left, strip.top, strip.bottom, QmGetUIColor(COLOR_3DLIGHT));
    VLine(painter, strip.right - 1, strip.top, strip.bottom, QmGetUIColor(COLOR_3DDKSHADOW));
    PaintRegions(painter);

    for (const StripPart& part : StripParts()) {
        if (!part.paint) continue;
        for (uint32_t i = 0; i < part.count; i++) {
            const RECT at = part.area(*this, i);
            if (!at.IsEmpty() && at.Intersects(area)) part.paint(*this, painter, part, i, look);
        }
    }
    const auto frame = [&](uint32_t element, LONG outside, uint32_t colour) {
        const RECT at = AreaOfElement(*this, element);
        if (element == ELEMENT_NONE || at.IsEmpty()) return;
        FrameRect(painter, {at.left - outside, at.top - outside, at.right + outside, at.bottom + outside},
                  QmGetUIColor(colour));
    };
    constexpr LONG HOT_WIDTH = 2;
    for (LONG i = 0; i < HOT_WIDTH; i++) frame(look.hot, -i, UICOLOR_TICK);
    frame(look.marked, 1, COLOR_HIGHLIGHT);
}

/// A line above each region, its name, and the wells of lists and send rows.
void Strip::PaintRegions(QPainter& painter) const {
    constexpr struct {
        StripRegion region;
        ConsoleTextId name;
    } LABELS[] = {{StripRegion::Inserts, IDS_REGION_INSERTS}, {StripRegion::Sends, IDS_REGION_SENDS},
                  {StripRegion::Io, IDS_REGION_IO},           {StripRegion::Scopes, IDS_REGION_SCOPE},
                  {StripRegion::Vu, IDS_REGION_VU},           {StripRegion::Peaks, IDS_REGION_PEAKS}};
    const COLORREF dark = QmGetUIColor(COLOR_3DDKSHADOW), light = QmGetUIColor(COLOR_3DLIGHT);
    for (const RECT& region : m_rects.region) {
        if (region.IsEmpty()) continue;
        HLine(painter, region.left + 1, region.right - 1, region.top, dark);
        HLine(painter, region.left + 1, region.right - 1, region.top + 1, light);
    }
    const COLORREF ink = ReadableOn(QmGetUIColor(COLOR_GRAYTEXT), Well());
    for (const auto& row : LABELS) {
        const RECT& label = m_rects.label[IndexOf(row.region)];
        if (label.IsEmpty()) continue;
        FillRect(painter, {label.left + 1, label.top + 1, label.right - 1, label.bottom}, Well());
        DrawText(painter, Inner(label, 5), ConsoleText(row.name), QmGetUIFont(UIFONT_SMALL), ink, TEXT_ELIDE);
    }
    for (const SendRects& send : m_rects.sends) {
        if (send.row.IsEmpty()) continue;
        if (send.row.top > m_rects.Region(StripRegion::Sends).top + 2)
            HLine(painter, send.row.left + 4, send.row.right - 4, send.row.top,
                  QmGetUIColor(COLOR_BTNSHADOW));
    }
    if (const StripControl* pan = Control(ELEMENT_PAN); pan && !m_rects.panValue.IsEmpty())
        DrawText(painter, m_rects.panValue, pan->ValueText(), QmGetUIFont(UIFONT_SMALL),
                 QmGetUIColor(COLOR_BTNTEXT), TEXT_CENTER);
    constexpr ConsoleTextId GROUPS[SPEAKER_GROUPS] = {IDS_GROUP_FRONT, IDS_GROUP_REAR, IDS_GROUP_CENTER,
                                                      IDS_GROUP_LFE};
    for (size_t i = 0; i < SPEAKER_GROUPS; i++)
        if (!m_rects.groupName[i].IsEmpty()) {
            DrawText(painter, m_rects.groupName[i], ConsoleText(GROUPS[i]), QmGetUIFont(UIFONT_SMALL),
                     QmGetUIColor(COLOR_BTNTEXT), TEXT_CENTER | TEXT_ELIDE);
            PaintNumber(painter, m_rects.groupValue[i], m_controls[i]->ValueText(), Has(SWITCH_MUTE));
        }
}

void Strip::PaintNumber(QPainter& painter, const RECT& at, const std::u16string& text, bool silent) const {
    FillRounded(painter, at, 2, QmGetUIColor(COLOR_WINDOW), QmGetUIColor(COLOR_BTNSHADOW));
    DrawText(painter, at, text, QmGetUIFont(UIFONT_SMALL),
             QmGetUIColor(silent ? COLOR_GRAYTEXT : COLOR_BTNTEXT), TEXT_CENTER | TEXT_ELIDE);
}

void Strip::PaintValue(QPainter& painter, const RECT& area, size_t part, bool offBySolo) const {
    PaintNumber(painter, area, ValueText(offBySolo, part), Has(SWITCH_MUTE) || offBySolo);
}

void Strip::PaintTitle(QPainter& painter) const {
    const RECT& title = m_rects.title;
    constexpr LONG BAND = 4;
    FillRect(painter, {title.left + 1, title.top, title.right - 1, title.top + BAND},
             m_site.images.look.ChannelColour(m_entry.lookColour));
    const RECT& icon = m_rects.kindIcon;
    if (icon.IsEmpty()) return;
    const ImageList& images = m_site.images.kinds;
    const SIZE size = images.Size();
    images.Draw(
        painter, ConsoleImages::KindIcon(m_entry.kind),
        {icon.left + (icon.Width() - size.cx) / 2, icon.top + (icon.Height() - size.cy) / 2 + BAND / 2});
    RECT word = m_rects.kindWord;
    word.top += BAND / 2;
    word.bottom += BAND / 2;
    DrawText(painter, word, KindWord(), QmGetUIFont(UIFONT_SMALL), QmGetUIColor(COLOR_GRAYTEXT), TEXT_ELIDE);
}

void Strip::PaintNamePlate(QPainter& painter, bool focused) const {
    const RECT& plate = m_rects.namePlate;
    const COLORREF accent = QmGetUIColor(COLOR_HIGHLIGHT);
    FillRect(painter, {plate.left + 1, plate.top, plate.right - 1, plate.bottom},
             IsSelected() ? QmSkin_BlendColor(QmGetUIColor(COLOR_WINDOW), accent, 96, 0)
                          : QmGetUIColor(COLOR_WINDOW));
    constexpr LONG BAND = 4;
    FillRect(painter, {plate.left + 1, plate.top, plate.right - 1, plate.top + BAND},
             m_site.images.look.ChannelColour(m_entry.lookColour));
    if (focused)
        FrameRect(painter, {plate.left + 1, plate.top + BAND, plate.right - 1, plate.bottom}, accent);
    const RECT text{m_rects.name.left + 3, m_rects.name.top + 1, m_rects.name.right - 3,
                    m_rects.name.bottom + 1};
    DrawText(painter, text, m_entry.Name(), QmGetUIFont(UIFONT_TEXT),
             QmGetUIColor(IsSelected() ? UICOLOR_STRONG : COLOR_BTNTEXT), TEXT_CENTER | TEXT_ELIDE_MIDDLE);
}

void Strip::PaintSwitch(QPainter& painter, const StripPart& part, const RECT& area, bool on,
                        bool pressed) const {
    const COLORREF fill = on ? QmGetUIColor(part.litColour) : ButtonFace(false);
    FillRounded(painter, area, 3,
                pressed ? QmSkin_BlendColor(fill, QmGetUIColor(COLOR_3DDKSHADOW), 70, 0) : fill,
                QmGetUIColor(COLOR_3DDKSHADOW));
    const bool small = std::u16string_view(part.letter).size() > 1;
    DrawText(painter, area, part.letter, QmGetUIFont(small ? UIFONT_SMALL : UIFONT_BOLD),
             ReadableOn(QmGetUIColor(on ? UICOLOR_STRONG : COLOR_GRAYTEXT), fill), TEXT_CENTER);
}

void Strip::PaintButton(QPainter& painter, const RECT& area, const std::u16string& text, bool pressed,
                        bool empty) const {
    FillRounded(painter, area, 3, empty ? Well() : ButtonFace(pressed), QmGetUIColor(COLOR_3DDKSHADOW));
    DrawText(painter, Inner(area, 4), text, QmGetUIFont(UIFONT_SMALL),
             QmGetUIColor(empty ? COLOR_GRAYTEXT : COLOR_BTNTEXT), TEXT_CENTER | TEXT_ELIDE_MIDDLE);
}

/// An effect: a lamp that is lit while it works, and its name. The row behind the last one adds.
void Strip::PaintInsert(QPainter& painter, uint32_t index, bool pressed) const {
    const RECT& area = m_rects.inserts[static_cast<int>(index) - m_rects.insertRows.first];
    if (index >= m_inserts.size()) {
        FillRounded(painter, area, 3, Well(), QmGetUIColor(COLOR_3DDKSHADOW));
        QmDrawStandardUIGlyph(painter, {area.left, area.top + 4, area.right, area.bottom - 4}, UIGLYPH_PLUS,
                              COLOR_GRAYTEXT);
        return;
    }
    const StripInsert& insert = m_inserts[index];
    const bool missing = insert.state & EFFECT_MISSING;
    const bool works = !missing && !(insert.state & EFFECT_BYPASSED) && !Has(SWITCH_STRIP_10000);
    FillRounded(painter, area, 3, ButtonFace(pressed), QmGetUIColor(COLOR_3DDKSHADOW));
    const LONG lamp = area.Height() / 3, middle = (area.top + area.bottom) / 2;
    const RECT light{area.left + 5, middle - lamp / 2, area.left + 5 + lamp, middle - lamp / 2 + lamp};
    FillRounded(painter, light, lamp / 2.0,
                missing ? QmGetUIColor(UICOLOR_METER_HIGH)
                : works ? QmGetUIColor(UICOLOR_METER_LOW)
                        : Well(),
                QmGetUIColor(COLOR_3DDKSHADOW));
    RECT text{light.right + 4, area.top, area.right - 3, area.bottom};
    DrawText(painter, text, insert.name, QmGetUIFont(UIFONT_SMALL),
             QmGetUIColor(works ? COLOR_BTNTEXT : COLOR_GRAYTEXT), TEXT_ELIDE_MIDDLE);
    // Behind the fader: a bar at the right end.
    if (insert.state & EFFECT_POST_FADER)
        FillRect(painter, {area.right - 3, area.top + 3, area.right - 1, area.bottom - 3},
                 QmGetUIColor(COLOR_HIGHLIGHT));
}

void Strip::PaintScroll(QPainter& painter, const ShownRows& rows) {
    const RECT& column = rows.column;
    FillRect(painter, column, Well());
    const LONG top = column.top + column.Height() * rows.first / rows.all;
    const LONG bottom = column.top + column.Height() * (rows.first + rows.count) / rows.all;
    FillRounded(painter, {column.left + 1, top, column.right - 1, bottom}, 2, QmGetUIColor(UICOLOR_TICK),
                QmGetUIColor(COLOR_3DDKSHADOW));
}

/// The target's name, and below it what its level is in numbers.
void Strip::PaintSend(QPainter& painter, uint32_t row, bool pressed) const {
    const SendRects& rects = m_rects.sends[row];
    const StripSend& send = m_sends[SendOf(row)];
    const bool muted = send.switches & SENDSWITCH_10000;
    PaintButton(painter, rects.target, send.name, pressed, muted);
    if (const StripControl* level = Control(ELEMENT_SEND_LEVEL + row); level && !rects.value.IsEmpty())
        DrawText(painter, rects.value, muted ? ConsoleText(IDS_MUTED) : level->ValueText(),
                 QmGetUIFont(UIFONT_SMALL), QmGetUIColor(muted ? COLOR_GRAYTEXT : COLOR_BTNTEXT),
                 TEXT_RIGHT | TEXT_ELIDE);
}
