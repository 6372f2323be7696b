// Lines of text, shaped once and drawn often: the letters of a console's names and numbers change far less
// often than they are painted, and shaping them takes longer than painting them.
#pragma once

#include <QFont>
#include <QGlyphRun>
#include <QList>

#include <string_view>

struct ShapedText {
    QList<QGlyphRun> runs;  ///< at their places from the left top of the line on
    qreal advance = 0;      ///< the line's width, the space behind its words counted
    qreal width = 0;        ///< without that space
    qreal height = 0;
};

/// Where a line that is too wide is shortened with an ellipsis.
struct Shortening {
    Qt::TextElideMode where = Qt::ElideNone;
    int widest = 0;
    bool operator==(const Shortening&) const = default;
};

/// One line; line breaks count as spaces, and the words run as their letters do. Kept for the next call on
/// the program's thread; made anew on another.
ShapedText ShapeText(const QFont& font, std::u16string_view text, Shortening shortening = {});
