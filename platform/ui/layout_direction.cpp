#include "platform/ui/layout_direction.h"

#include <QGuiApplication>

void SetProcessDefaultLayout(bool rightToLeft) {
    if (qApp) QGuiApplication::setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
}
