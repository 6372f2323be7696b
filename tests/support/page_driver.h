// Events on a console page, and what it shows.
#pragma once

#include <QEvent>
#include <QWidget>

/// Works a page as a person would: with the mouse and the keys, finding controls by the names that a screen
/// reader is told.
class PageDriver {
public:
    virtual ~PageDriver() = default;
    virtual QWidget& Page() = 0;

    /// Handles events until the condition holds; false when it does not come to hold.
    template <class F>
    static bool Until(F condition) {
        for (int i = 0; i < 10000 && !condition(); i++) Settle();
        return condition();
    }
    /// Handles what waits, and gives other threads a moment.
    static void Settle();

    // The mouse, in pixels of the page.
    void Press(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Move(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Release(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Click(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void DoubleClick(QPoint at);
    void Wheel(QPoint at, int turn, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

    /// Centre and area of a control by the names of its channel and itself; "Volume" gives the thumb.
    QPoint Centre(const QString& channel, const QString& control);
    QRect Area(const QString& channel, const QString& control);
    /// A point of the strip's title row, where a click selects.
    QPoint Title(const QString& channel);
    double FaderDb(const QString& channel);
    double LevelDb(const QString& channel);
    bool IsChecked(const QString& channel, const QString& control);
    bool IsSelected(const QString& channel);
    /// The names of the strips, from the left.
    QStringList Channels();

private:
    void Mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons,
               Qt::KeyboardModifiers modifiers);
};
