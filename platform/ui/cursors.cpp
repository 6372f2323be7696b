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
    // Never destroyed: at the end of the process the window system is gone before statics are.
    static const struct Cursors {
        QCursor arrow{Qt::ArrowCursor}, columns{Qt::SplitHCursor}, rows{Qt::SplitVCursor};
        QCursor left = ThumbCursor("cursor_thumb_left"), right = ThumbCursor("cursor_thumb_right");
    }& cursors = *new Cursors;
    switch (id) {
    case CURSOR_SPLIT_COLUMNS: return cursors.columns;
    case CURSOR_SPLIT_ROWS: return cursors.rows;
    case CURSOR_THUMB_LEFT: return cursors.left;
    case CURSOR_THUMB_RIGHT: return cursors.right;
    default: return cursors.arrow;
    }
}
