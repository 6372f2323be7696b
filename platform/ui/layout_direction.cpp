// The window system's side of platform/layout_direction.h.
#include "platform/layout_direction.h"

#include <QGuiApplication>

using namespace tarn;

namespace {

void Apply(bool rightToLeft) {
    if (qApp) QGuiApplication::setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
}

[[maybe_unused]] const bool connected = (SetLayoutDirectionHandler(Apply), true);

}  // namespace
