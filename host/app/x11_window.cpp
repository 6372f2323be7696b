#include "host/app/x11_window.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace host {

QSize SizeOfX11Window(uintptr_t window) {
    const auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection()) return {};
    const auto wish = xcb_get_geometry(x11->connection(), static_cast<xcb_drawable_t>(window));
    const std::unique_ptr<xcb_get_geometry_reply_t, decltype(&std::free)> reply(
        xcb_get_geometry_reply(x11->connection(), wish, nullptr), &std::free);
    return reply ? QSize(reply->width, reply->height) : QSize();
}

}  // namespace host
