#include "platform/layout_direction.h"

#include <atomic>

namespace tarn {

namespace {
constinit std::atomic<LayoutDirectionHandler> current = nullptr;
}

void SetLayoutDirectionHandler(LayoutDirectionHandler handler) { current = handler; }

void ApplyLayoutDirection(bool rightToLeft) {
    if (const LayoutDirectionHandler handler = current) handler(rightToLeft);
}

}  // namespace tarn
