#include "console/accessible.h"

#include "console/mixer_page.h"
#include "console/texts.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include <array>
#include <map>

namespace {

QString ToQString(const std::u16string& text) { return QString::fromStdU16String(text); }

/// The parts of a strip in the order in which they are offered.
enum class Part { Group, Fader, Thumb, Meter, Switch };

struct PartId {
    Part part;
    int index = 0;  ///< of a switch

    friend auto operator<=>(const PartId&, const PartId&) = default;
};

std::vector<PartId> PartsOf(const Strip& strip) {
    std::vector<PartId> parts;
    if (!strip.Rects().fader.IsEmpty()) parts.push_back({Part::Fader});
    if (!strip.Rects().meter.IsEmpty()) parts.push_back({Part::Meter});
    int index = 0;
    for (const StripSwitch& s : StripSwitches()) {
        if (strip.HasSwitch(s)) parts.push_back({Part::Switch, index});
        index++;
    }
    return parts;
}

class PageAccessible;

/// One object of a strip. It lives until ForgetAccessible, which comes before its entry goes.
class PartAccessible final : public QAccessibleInterface,
                             public QAccessibleValueInterface,
                             public QAccessibleActionInterface {
public:
    PartAccessible(PageAccessible& page, ChannelEntry& entry, PartId id)
        : m_page(page), m_entry(entry), m_id(id) {}

    bool isValid() const override { return m_entry.view != nullptr; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override;
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int index) const override;
    int childCount() const override { return static_cast<int>(Children().size()); }
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QString text(QAccessible::Text which) const override;
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override;
    QAccessible::Role role() const override;
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    QVariant currentValue() const override;
    void setCurrentValue(const QVariant&) override {}  // a gesture of the user moves faders
    QVariant maximumValue() const override {
        return m_id.part == Part::Fader ? TheStrip().Fader().scale.max / 10.0 : 0.0;
    }
    QVariant minimumValue() const override;
    QVariant minimumStepSize() const override { return 0.1; }

    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& action) override;
    QStringList keyBindingsForAction(const QString&) const override;

private:
    Strip& TheStrip() const { return *Strip::Of(m_entry); }
    const StripSwitch& TheSwitch() const { return StripSwitches()[static_cast<size_t>(m_id.index)]; }
    std::vector<PartId> Children() const;
    RECT Area() const;

    PageAccessible& m_page;
    ChannelEntry& m_entry;
    PartId m_id;
};

class PageAccessible final : public QAccessibleWidget, public AccessiblePage {
public:
    PageAccessible(QWidget& window, CConsoleMixerPage& page)
        : QAccessibleWidget(&window, QAccessible::Pane), m_page(page) {
        m_page.SetAccessible(this);
    }
    ~PageAccessible() override {
        m_page.SetAccessible(nullptr);
        Forget();
    }

    int childCount() const override { return static_cast<int>(Strips().size()); }
    QAccessibleInterface* child(int index) const override {
        const std::vector<Strip*> strips = Strips();
        if (index < 0 || index >= std::ssize(strips)) return nullptr;
        return Of(strips[static_cast<size_t>(index)]->Entry(), {Part::Group});
    }
    int indexOfChild(const QAccessibleInterface* which) const override {
        for (int i = 0; i < childCount(); i++)
            if (child(i) == which) return i;
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        for (int i = 0; i < childCount(); i++)
            if (child(i)->rect().contains(x, y)) return child(i);
        return nullptr;
    }
    QAccessibleInterface* focusChild() const override {
        CMixerView* view = m_page.MixerView();
        return view && view->Focused() ? Of(*view->Focused(), {Part::Group}) : nullptr;
    }
    QString text(QAccessible::Text which) const override {
        return which == QAccessible::Name ? ToQString(ConsoleText(IDS_MIXING_CONSOLE)) : QString();
    }

    QAccessibleInterface* Of(ChannelEntry& entry, PartId part) const {
        QAccessible::Id& id = m_ids[{&entry, part}];
        if (!id)
            id = QAccessible::registerAccessibleInterface(
                new PartAccessible(const_cast<PageAccessible&>(*this), entry, part));
        return QAccessible::accessibleInterface(id);
    }
    void Forget() override {
        for (const auto& row : std::exchange(m_ids, {})) QAccessible::deleteAccessibleInterface(row.second);
    }
    void FocusMoved(ChannelEntry& focused) override {
        QAccessibleEvent event(Of(focused, {Part::Group}), QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    }
    CConsoleMixerPage& ThePage() const { return m_page; }

private:
    std::vector<Strip*> Strips() const {
        CMixerView* view = m_page.MixerView();
        return view ? view->VisibleStrips() : std::vector<Strip*>();
    }

    CConsoleMixerPage& m_page;
    mutable std::map<std::pair<ChannelEntry*, PartId>, QAccessible::Id> m_ids;
};

QWindow* PartAccessible::window() const { return m_page.window(); }

QAccessibleInterface* PartAccessible::parent() const {
    switch (m_id.part) {
    case Part::Group: return &m_page;
    case Part::Thumb: return m_page.Of(m_entry, {Part::Fader});
    default: return m_page.Of(m_entry, {Part::Group});
    }
}

std::vector<PartId> PartAccessible::Children() const {
    if (m_id.part == Part::Group) return PartsOf(TheStrip());
    if (m_id.part == Part::Fader) return {{Part::Thumb}};
    return {};
}

QAccessibleInterface* PartAccessible::child(int index) const {
    const std::vector<PartId> parts = Children();
    return index >= 0 && index < std::ssize(parts) ? m_page.Of(m_entry, parts[static_cast<size_t>(index)])
                                                   : nullptr;
}

int PartAccessible::indexOfChild(const QAccessibleInterface* which) const {
    for (int i = 0; i < childCount(); i++)
        if (child(i) == which) return i;
    return -1;
}

QAccessibleInterface* PartAccessible::childAt(int x, int y) const {
    for (int i = 0; i < childCount(); i++)
        if (child(i)->rect().contains(x, y)) return child(i);
    return nullptr;
}

RECT PartAccessible::Area() const {
    Strip& strip = TheStrip();
    switch (m_id.part) {
    case Part::Group: return strip.Rects().strip;
    case Part::Fader: return strip.Rects().fader;
    case Part::Thumb: return strip.Fader().thumbs[0].rect;
    case Part::Meter: return strip.Rects().meter;
    case Part::Switch: return strip.Rects().*TheSwitch().rect;
    }
    return {};
}

QRect PartAccessible::rect() const {
    const RECT area = Area();
    const POINT at = m_page.ThePage().ThePageWindow().ToScreen({area.left, area.top});
    return QRect(at.x, at.y, area.Width(), area.Height());
}

QAccessible::Role PartAccessible::role() const {
    constexpr std::array ROLES = {QAccessible::Grouping, QAccessible::Slider, QAccessible::Indicator,
                                  QAccessible::ProgressBar, QAccessible::CheckBox};
    return ROLES[static_cast<size_t>(m_id.part)];
}

QString PartAccessible::text(QAccessible::Text which) const {
    if (which == QAccessible::Value && m_id.part == Part::Fader)
        return ToQString(TheStrip().ValueText(false)) + " dB";
    if (which == QAccessible::Description && m_id.part == Part::Group)
        return ToQString(TheStrip().KindWord());
    if (which == QAccessible::UserText && m_id.part == Part::Group)
        return QString::number(m_entry.id.channel);
    if (which == QAccessible::UserText && m_id.part == Part::Switch)
        return QString::fromLatin1(TheSwitch().identifier);
    if (which != QAccessible::Name) return {};
    switch (m_id.part) {
    case Part::Group: return QString::fromUtf16(m_entry.Name());
    case Part::Fader: return ToQString(ConsoleText(IDS_FADER));
    case Part::Thumb: return ToQString(ConsoleText(IDS_THUMB));
    case Part::Meter: return ToQString(ConsoleText(IDS_LEVEL));
    case Part::Switch: return ToQString(ConsoleText(TheSwitch().textId));
    }
    return {};
}

QAccessible::State PartAccessible::state() const {
    QAccessible::State state;
    const CMixerView* view = m_page.ThePage().MixerView();
    if (m_id.part == Part::Group) {
        state.focusable = true;
        state.selectable = true;
        state.selected = TheStrip().IsSelected();
        state.focused = view && view->Focused() == &m_entry && m_page.ThePage().HasKeyboardFocus();
    }
    if (m_id.part == Part::Switch) {
        state.checkable = true;
        state.checked = TheStrip().IsOn(TheSwitch());
    }
    state.readOnly = m_id.part == Part::Meter;
    if (view) state.offscreen = !Area().Intersects(view->Bounds());
    return state;
}

void* PartAccessible::interface_cast(QAccessible::InterfaceType type) {
    if (type == QAccessible::ValueInterface && (m_id.part == Part::Fader || m_id.part == Part::Meter))
        return static_cast<QAccessibleValueInterface*>(this);
    if (type == QAccessible::ActionInterface && m_id.part == Part::Switch)
        return static_cast<QAccessibleActionInterface*>(this);
    return nullptr;
}

QVariant PartAccessible::currentValue() const {
    return m_id.part == Part::Fader ? TheStrip().Position() / 10.0 : TheStrip().PeakDb();
}

QVariant PartAccessible::minimumValue() const {
    return m_id.part == Part::Fader ? TheStrip().Fader().scale.min / 10.0 : METER_SILENCE_DB;
}

void PartAccessible::doAction(const QString& action) {
    if (action == pressAction() && m_id.part == Part::Switch) TheStrip().Toggle(TheSwitch());
}

QStringList PartAccessible::keyBindingsForAction(const QString&) const {
    constexpr std::array KEYS = {"Z", "X"};
    const auto index = static_cast<size_t>(m_id.index);
    return m_id.part == Part::Switch && index < KEYS.size() ? QStringList(QString::fromLatin1(KEYS[index]))
                                                            : QStringList();
}

QAccessibleInterface* MakeAccessible(const QString&, QObject* object) {
    auto* window = qobject_cast<QWidget*>(object);
    if (!window) return nullptr;
    const QVariant page = window->property(ACCESSIBLE_PAGE_PROPERTY);
    if (!page.isValid()) return nullptr;
    return new PageAccessible(*window, *reinterpret_cast<CConsoleMixerPage*>(page.value<quintptr>()));
}

}  // namespace

void InstallConsoleAccessibility() {
    static const bool once = (QAccessible::installFactory(MakeAccessible), true);
    (void)once;
}
