#include "host/app/theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QStyleFactory>

namespace host {

namespace {

struct Row {
    QPalette::ColorRole role;
    QRgb color, disabled;
};
constexpr Row DARK[] = {
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
constexpr Row LIGHT[] = {
    {QPalette::Window, 0xffe7e9ed, 0xffe7e9ed},
    {QPalette::WindowText, 0xff22262c, 0xff6a717b},
    {QPalette::Base, 0xfffbfcfd, 0xfffbfcfd},
    {QPalette::AlternateBase, 0xfff1f3f5, 0xfff1f3f5},
    {QPalette::Text, 0xff22262c, 0xff6a717b},
    {QPalette::Button, 0xffedeff2, 0xffe3e6ea},
    {QPalette::ButtonText, 0xff22262c, 0xff6a717b},
    {QPalette::BrightText, 0xff0f1216, 0xff0f1216},
    {QPalette::Highlight, 0xff1d6f94, 0xff8fb4c6},
    {QPalette::HighlightedText, 0xffffffff, 0xffffffff},
    {QPalette::ToolTipBase, 0xfffffbe8, 0xfffffbe8},
    {QPalette::ToolTipText, 0xff22262c, 0xff22262c},
    {QPalette::PlaceholderText, 0xff5c636d, 0xff6a717b},
    {QPalette::Link, 0xff155a79, 0xff155a79},
};

}  // namespace

void ApplyHostTheme(QApplication& app, bool light) {
    QPalette palette;
    for (const Row& row : light ? LIGHT : DARK) {
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
