// The window system's side of kernel/print/window_text.h. A control of a window is a child whose property
// "controlId" has its number.
#include "kernel/print/window_text.h"

#include "platform/text.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QVariant>
#include <QWidget>

using namespace tarn;

namespace {

QWidget* Find(HWND window, int32_t control) {
    QWidget* widget = QWidget::find(static_cast<WId>(window));
    if (!widget || control == WINDOW_ITSELF) return widget;
    for (QWidget* child : widget->findChildren<QWidget*>())
        if (const QVariant id = child->property("controlId"); id.isValid() && id.toInt() == control)
            return child;
    return nullptr;
}

/// What shows text of its own has it in one of these; any other widget in its title.
constexpr const char* PROPERTIES[] = {"text", "windowTitle"};

const char* TextProperty(const QWidget& widget) {
    const bool hasText = qobject_cast<const QLabel*>(&widget) ||
                         qobject_cast<const QAbstractButton*>(&widget) ||
                         qobject_cast<const QLineEdit*>(&widget);
    return PROPERTIES[hasText ? 0 : 1];
}

bool Get(HWND window, int32_t control, char16_t* out, uint32_t capacity) {
    const QWidget* widget = Find(window, control);
    if (widget)
        CopyText(out, capacity, widget->property(TextProperty(*widget)).toString().toStdU16String().c_str());
    return widget;
}

bool Set(HWND window, int32_t control, const char16_t* text) {
    QWidget* widget = Find(window, control);
    if (auto* label = qobject_cast<QLabel*>(widget)) label->setTextFormat(Qt::PlainText);
    return widget && widget->setProperty(TextProperty(*widget), QString::fromUtf16(text));
}

constexpr WindowTextService SERVICE = {Get, Set};

[[maybe_unused]] const bool serves = (SetWindowTextService(&SERVICE), true);

}  // namespace
