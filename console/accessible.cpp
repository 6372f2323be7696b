#include "console/accessible.h"

#include "console/mixer_page.h"
#include "console/texts.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include <array>
#include <vector>

namespace {

using Role = AccessibleNode::Role;

QString ToQString(const std::u16string& text) { return QString::fromStdU16String(text); }

QAccessibleInterface* InterfaceOf(QWidget& window, AccessibleNode* node);

/// A node as the window system sees it. It goes with its node.
class NodeAccessible final : public QAccessibleInterface,
                             public QAccessibleValueInterface,
                             public QAccessibleActionInterface {
public:
    NodeAccessible(MessageWindow& window, AccessibleNode& node) : m_window(window), m_node(node) {}

    AccessibleNode& Node() const { return m_node; }

    bool isValid() const override { return true; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return QAccessible::queryAccessibleInterface(&m_window)->window(); }
    QAccessibleInterface* parent() const override {
        AccessibleNode* node = m_node.Parent();
        return node ? InterfaceOf(m_window, node) : QAccessible::queryAccessibleInterface(&m_window);
    }
    QAccessibleInterface* child(int index) const override {
        return index < 0 || index >= childCount() ? nullptr : InterfaceOf(m_window, m_node.Child(index));
    }
    int childCount() const override { return m_node.ChildCount(); }
    int indexOfChild(const QAccessibleInterface* which) const override;
    QAccessibleInterface* childAt(int x, int y) const override {
        for (int i = 0; i < childCount(); i++)
            if (child(i)->rect().contains(x, y)) return child(i);
        return nullptr;
    }
    QString text(QAccessible::Text which) const override;
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override {
        const RECT area = m_node.Area();
        const POINT at = m_window.ToScreen({area.left, area.top});
        return QRect(at.x, at.y, area.Width(), area.Height());
    }
    QAccessible::Role role() const override {
        constexpr std::array ROLES = {
            QAccessible::NoRole,     QAccessible::Grouping,    QAccessible::Slider,
            QAccessible::Indicator,  QAccessible::ProgressBar, QAccessible::CheckBox,
            QAccessible::ButtonMenu, QAccessible::ToolBar,     QAccessible::Graphic};
        return ROLES[static_cast<size_t>(m_node.TheRole())];
    }
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override {
        const Role role = m_node.TheRole();
        if (type == QAccessible::ValueInterface && (role == Role::Slider || role == Role::Meter))
            return static_cast<QAccessibleValueInterface*>(this);
        if (type == QAccessible::ActionInterface && (role == Role::Switch || role == Role::Button))
            return static_cast<QAccessibleActionInterface*>(this);
        return nullptr;
    }

    QVariant currentValue() const override { return m_node.Value().value; }
    void setCurrentValue(const QVariant& value) override { m_node.SetValue(value.toDouble()); }
    QVariant maximumValue() const override { return m_node.Value().max; }
    QVariant minimumValue() const override { return m_node.Value().min; }
    QVariant minimumStepSize() const override { return 0.1; }

    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& action) override {
        if (action == pressAction()) m_node.Press();
    }
    QStringList keyBindingsForAction(const QString&) const override {
        return m_node.Key() ? QStringList(QString(QLatin1Char(m_node.Key()))) : QStringList();
    }

private:
    MessageWindow& m_window;
    AccessibleNode& m_node;
};

class PageAccessible final : public QAccessibleWidget {
public:
    PageAccessible(QWidget& window, CConsoleMixerPage& page)
        : QAccessibleWidget(&window, QAccessible::Pane), m_page(page) {}

    /// The strips come first, then what lies around them, then the windows in it.
    std::vector<const CViewRegion*> InOrder() const {
        std::vector<const CViewRegion*> regions;
        for (const auto& region : m_page.Regions()) regions.insert(regions.begin(), region.get());
        return regions;
    }

    int childCount() const override {
        int count = static_cast<int>(Windows().size());
        for (const auto& region : m_page.Regions()) count += region->PartCount();
        return count;
    }
    QAccessibleInterface* child(int index) const override {
        if (index < 0) return nullptr;
        for (const CViewRegion* region : InOrder()) {
            if (index < region->PartCount()) return Of(region->Part(index));
            index -= region->PartCount();
        }
        return QAccessible::queryAccessibleInterface(Windows().value(index));
    }
    int indexOfChild(const QAccessibleInterface* which) const override {
        const auto* found = dynamic_cast<const NodeAccessible*>(which);
        int before = 0;
        for (const CViewRegion* region : InOrder()) {
            const int place = found ? found->Node().Place() : -1;
            if (place >= 0 && place < region->PartCount() && region->Part(place) == &found->Node())
                return before + place;
            before += region->PartCount();
        }
        const auto window = which ? Windows().indexOf(qobject_cast<QWidget*>(which->object())) : -1;
        return window < 0 ? -1 : before + static_cast<int>(window);
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        const POINT at = m_page.ToClient({x, y});
        for (QWidget* window : Windows())
            if (window->geometry().contains(at.x, at.y)) return QAccessible::queryAccessibleInterface(window);
        for (const auto& region : m_page.Regions())
            if (region->Bounds().Contains(at)) {
                AccessibleNode* node = region->PartAt(at);
                return node ? Of(node) : nullptr;
            }
        return nullptr;
    }
    QAccessibleInterface* focusChild() const override {
        if (!widget()->hasFocus())
            if (QAccessibleInterface* inside = QAccessibleWidget::focusChild()) return inside;
        for (const auto& region : m_page.Regions())
            if (AccessibleNode* node = region->FocusedPart()) return Of(node);
        return nullptr;
    }
    QString text(QAccessible::Text which) const override {
        return which == QAccessible::Name ? ToQString(ConsoleText(IDS_MIXING_CONSOLE)) : QString();
    }

private:
    QList<QWidget*> Windows() const {
        QList<QWidget*> windows;
        for (QObject* child : widget()->children())
            if (auto* window = qobject_cast<QWidget*>(child); window && window->isVisible())
                windows += window;
        return windows;
    }
    QAccessibleInterface* Of(AccessibleNode* node) const { return InterfaceOf(*widget(), node); }

    CConsoleMixerPage& m_page;
};

QAccessibleInterface* InterfaceOf(QWidget& window, AccessibleNode* node) {
    if (!node->handedOut)
        node->handedOut = QAccessible::registerAccessibleInterface(
            new NodeAccessible(static_cast<MessageWindow&>(window), *node));
    return QAccessible::accessibleInterface(node->handedOut);
}

int NodeAccessible::indexOfChild(const QAccessibleInterface* which) const {
    const auto* found = dynamic_cast<const NodeAccessible*>(which);
    return found && found->m_node.Parent() == &m_node ? found->m_node.Place() : -1;
}

QString NodeAccessible::text(QAccessible::Text which) const {
    switch (which) {
    case QAccessible::Name: return ToQString(m_node.Name());
    case QAccessible::Description: return ToQString(m_node.Description());
    case QAccessible::Value: return ToQString(m_node.TextOfValue());
    case QAccessible::UserText: return QString::fromStdString(m_node.Identifier());
    default: return {};
    }
}

QAccessible::State NodeAccessible::state() const {
    const Role role = m_node.TheRole();
    QAccessible::State state;
    if (role == Role::Group) {
        state.focusable = state.selectable = true;
        state.selected = m_node.IsSelected();
        const QAccessibleInterface* focused =
            m_window.hasFocus() ? QAccessible::queryAccessibleInterface(&m_window)->focusChild() : nullptr;
        state.focused = focused == this;
    }
    if (role == Role::Switch) {
        state.checkable = true;
        state.checked = m_node.IsOn();
    }
    state.readOnly = role == Role::Meter;
    state.offscreen = !m_node.Area().Intersects(m_window.ClientRect());
    return state;
}

QAccessibleInterface* MakeAccessible(const QString&, QObject* object) {
    auto* window = qobject_cast<QWidget*>(object);
    if (!window) return nullptr;
    const QVariant page = window->property(ACCESSIBLE_PAGE_PROPERTY);
    if (!page.isValid()) return nullptr;
    return new PageAccessible(*window, *reinterpret_cast<CConsoleMixerPage*>(page.value<quintptr>()));
}

}  // namespace

AccessibleNode::~AccessibleNode() {
    if (handedOut) QAccessible::deleteAccessibleInterface(handedOut);
}

void InstallConsoleAccessibility() {
    static const bool once = (QAccessible::installFactory(MakeAccessible), true);
    (void)once;
}

void TellChange(QWidget& window, AccessibleNode& part) {
    if (!QAccessible::isActive() || !part.handedOut) return;
    QAccessibleInterface* shown = InterfaceOf(window, &part);
    if (part.TheRole() == Role::Switch) {
        QAccessible::State changed;
        changed.checked = true;
        QAccessibleStateChangeEvent event(shown, changed);
        QAccessible::updateAccessibility(&event);
    } else {
        QAccessibleValueChangeEvent event(shown, part.Value().value);
        QAccessible::updateAccessibility(&event);
    }
}

void TellFocus(CConsoleMixerPage& page, AccessibleNode& focused) {
    QAccessibleEvent event(InterfaceOf(page.ThePageWindow(), &focused), QAccessible::Focus);
    QAccessible::updateAccessibility(&event);
}
