#include "console/window_look.h"

#include "kernel/ui/theme.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/paint.h"

#include <QPalette>
#include <QWidget>

void UseConsoleColours(QWidget& window, COLORREF selection) {
    const COLORREF ground = QmGetUIColor(COLOR_WINDOW), face = QmGetUIColor(COLOR_BTNFACE);
    const COLORREF text = ReadableOn(QmGetUIColor(COLOR_WINDOWTEXT), ground);
    const struct {
        QPalette::ColorRole role;
        COLORREF colour;
    } rows[] = {{QPalette::Base, ground},
                {QPalette::Text, text},
                {QPalette::PlaceholderText, ReadableOn(QmGetUIColor(COLOR_GRAYTEXT), ground)},
                {QPalette::Window, face},
                {QPalette::WindowText, ReadableOn(text, face)},
                {QPalette::Button, face},
                {QPalette::ButtonText, ReadableOn(QmGetUIColor(COLOR_BTNTEXT), face)},
                {QPalette::Highlight, selection},
                {QPalette::HighlightedText, ReadableOn(text, selection)}};
    QPalette colours = window.palette();
    for (const auto& row : rows) colours.setColor(row.role, ToColor(row.colour));
    window.setPalette(colours);
    window.setFont(QmGetUIFont(UIFONT_TEXT));
}
