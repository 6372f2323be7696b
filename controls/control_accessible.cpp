#include "controls/control_accessible.h"

#include "controls/control_window.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include <array>

namespace {
class ControlAccessible final : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit ControlAccessible(ControlWindow& window)
        : QAccessibleWidget(&window, RoleOf(window)), m_window(window) {}

    QString text(QAccessible::Text which) const override {
        if (which == QAccessible::Value && Face().text)
            return QString::fromStdU16String(Face().text(m_window.Record()));
        if (which == QAccessible::Name && m_window.accessibleName().isEmpty())
            return QString::fromStdU16String(Face().name());
        return QAccessibleWidget::text(which);
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.readOnly = !Face().set;
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface && Face().value)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }

    QVariant currentValue() const override { return Face().value(m_window.Record()); }
    QVariant minimumValue() const override { return Face().low(m_window.Record()); }
    QVariant maximumValue() const override { return Face().high(m_window.Record()); }
    QVariant minimumStepSize() const override { return Face().step(m_window.Record()); }
    void setCurrentValue(const QVariant& value) override {
        if (Face().set && m_window.isEnabled()) Face().set(m_window.Record(), value.toDouble());
    }

private:
    static QAccessible::Role RoleOf(const ControlWindow& window) {
        constexpr std::array kRoles = {QAccessible::Slider, QAccessible::ProgressBar, QAccessible::Graphic};
        return kRoles[static_cast<size_t>(window.Class().face.kind)];
    }
    const ControlFace& Face() const { return m_window.Class().face; }

    ControlWindow& m_window;
};

QAccessibleInterface* Make(const QString&, QObject* object) {
    auto* window = dynamic_cast<ControlWindow*>(object);
    return window ? new ControlAccessible(*window) : nullptr;
}
}  // namespace

void InstallControlAccessibility() {
    static const bool once = (QAccessible::installFactory(Make), true);
    (void)once;
}

void AnnounceControlValue(ControlWindow& window) {
    if (!QAccessible::isActive() || !window.Class().face.value) return;
    QAccessibleValueChangeEvent event(&window, window.Class().face.value(window.Record()));
    QAccessible::updateAccessibility(&event);
}
