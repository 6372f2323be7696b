#include "host/app/theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QStyleFactory>

namespace host {

void ApplyHostTheme(QApplication& app) {
    struct Row {
        QPalette::ColorRole role;
        QRgb color, disabled;
    };
    constexpr Row ROWS[] = {
        {QPalette::Window, 0xff24272c, 0xff24272c},
        {QPalette::WindowText, 0xffdcdfe4, 0xff8a9099},
        {QPalette::Base, 0xff191b1f, 0xff191b1f},
        {QPalette::AlternateBase, 0xff1f2227, 0xff1f2227},
        {QPalette::Text, 0xffdcdfe4, 0xff8a9099},
        {QPalette::Button, 0xff2f333a, 0xff2a2d33},
        {QPalette::ButtonText, 0xffdcdfe4, 0xff8a9099},
        {QPalette::BrightText, 0xfff5f7fa, 0xfff5f7fa},
        {QPalette::Highlight, 0xff57a9cc, 0xff3a5866},
        {QPalette::HighlightedText, 0xff0c1418, 0xff0c1418},
        {QPalette::ToolTipBase, 0xff34383f, 0xff34383f},
        {QPalette::ToolTipText, 0xffe6e8ec, 0xffe6e8ec},
        {QPalette::PlaceholderText, 0xff9ca2ab, 0xff8a9099},
        {QPalette::Link, 0xff86c9e6, 0xff86c9e6},
    };
    QPalette palette;
    for (const Row& row : ROWS) {
        palette.setColor(row.role, QColor(row.color));
        palette.setColor(QPalette::Disabled, row.role, QColor(row.disabled));
    }
    // The style draws a shadow of this under disabled texts, which would double them.
    palette.setColor(QPalette::Disabled, QPalette::Light,
                     palette.color(QPalette::Disabled, QPalette::Button));
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    app.setPalette(palette);
    QFont font(QFontDatabase::hasFamily(QStringLiteral("Inter")) ? QStringLiteral("Inter")
                                                                 : QStringLiteral("DejaVu Sans"));
    font.setPixelSize(13);
    app.setFont(font);
}

}  // namespace host
