// The transport's icons, drawn in the theme's ink so that they can be seen on it.
#pragma once

#include <QColor>
#include <QIcon>

namespace host {

enum class TransportShape { ToStart, Play, Stop, Loop };

QIcon TransportIcon(TransportShape shape, const QColor& ink);

}  // namespace host
