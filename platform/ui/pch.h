// Precompiled for the units of the window system side: what nearly all of them include, and
// nothing of the tree itself.
#pragma once

#include <QColor>
#include <QEvent>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QRegion>
#include <QString>
#include <QWidget>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>
