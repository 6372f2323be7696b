#include "platform/ui/cursors.h"

#include "platform/ui/image_list.h"
#include "platform/ui/messages.h"

#include <QCursor>
#include <QGuiApplication>

namespace {
// The thumb cursors are arrows of our own: one side of a pair has no standard shape.
QCursor ThumbCursor(std::string_view image) {
    constexpr SIZE size{24, 24};
    constexpr ImageColors colors{0xFFFFFF, 0xFFFFFF, 0x101010};
    const ImageList list(std::span(&image, 1), size, {colors, colors, colors});
    const QPixmap pixmap = list.Pixmap(0, ImageState::Normal, qGuiApp->devicePixelRatio());
    return QCursor(pixmap, size.cx / 2, size.cy / 2);
}
}  // namespace

const QCursor& QmGetUICursor(uint32_t id) {
    static const QCursor arrow(Qt::ArrowCursor), columns(Qt::SplitHCursor), rows(Qt::SplitVCursor),
        left = ThumbCursor("cursor_thumb_left"), right = ThumbCursor("cursor_thumb_right");
    switch (id) {
    case CURSOR_SPLIT_COLUMNS: return columns;
    case CURSOR_SPLIT_ROWS: return rows;
    case CURSOR_THUMB_LEFT: return left;
    case CURSOR_THUMB_RIGHT: return right;
    default: return arrow;
    }
}
