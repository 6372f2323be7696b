#include "platform/ui/menu.h"

#include "platform/ui/messages.h"
#include "platform/ui/paint.h"

#include <QAction>
#include <QGuiApplication>
#include <QMenu>
#include <QProxyStyle>
#include <QStyleOptionMenuItem>

namespace {
class PopupMenu;

// Hands items that are drawn by the owner to it.
class ItemStyle final : public QProxyStyle {
public:
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    // A light shadow under disabled texts would double them on a dark ground.
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override {
        return hint == SH_EtchDisabledText ? 0 : QProxyStyle::styleHint(hint, option, widget, result);
    }
};

class PopupMenu final : public QMenu {
public:
    PopupMenu(Menu& menu, const MenuOwner& owner, QWidget* parent = nullptr)
        : QMenu(parent), m_menu(menu), m_owner(owner) {
        setStyle(&m_style);
        setPalette(QGuiApplication::palette());  // the style came with colours of its own
        connect(this, &QMenu::aboutToShow, this, [this] {
            Tell(WM_INITMENUPOPUP, reinterpret_cast<uintptr_t>(&m_menu), 0);
            Fill();
        });
        connect(this, &QMenu::aboutToHide, this,
                [this] { Tell(WM_UNINITMENUPOPUP, reinterpret_cast<uintptr_t>(&m_menu), 0); });
        connect(this, &QMenu::hovered, this, [this](QAction* action) {
            const MenuItem* item = ItemOf(action);
            if (!item) return;
            const uint32_t flags = MF_HILITE | item->state | (item->submenu ? MF_POPUP : 0);
            Tell(WM_MENUSELECT, PackWords(item->id, flags), reinterpret_cast<intptr_t>(&m_menu));
        });
    }
    ~PopupMenu() override { setStyle(nullptr); }

    const MenuItem* ItemOf(const QAction* action) const {
        const auto index = static_cast<size_t>(action ? action->property("item").toInt() : -1);
        return index < m_menu.items.size() ? &m_menu.items[index] : nullptr;
    }
    /// The item that a size is asked for.
    const MenuItem* Measured() const { return ItemOf(m_measured); }
    const Menu& Model() const { return m_menu; }
    intptr_t Tell(uint32_t message, uintptr_t wparam, intptr_t lparam) const {
        return m_owner(message, wparam, lparam);
    }

protected:
    void initStyleOption(QStyleOptionMenuItem* option, const QAction* action) const override {
        QMenu::initStyleOption(option, action);
        m_measured = action;
    }

private:
    void Fill() {
        clear();
        int index = 0;
        for (MenuItem& item : m_menu.items) {
            QAction* action = nullptr;
            if (item.type & (MF_MENUBARBREAK | MF_MENUBREAK) && index > 0)
                addSeparator()->setProperty("item", -1);
            if (item.IsSeparator())
                action = addSeparator();
            else if (item.submenu)
                action = addMenu(new PopupMenu(*item.submenu, m_owner, this));
            else
                action = addAction(QString());
            action->setText(QString::fromStdU16String(item.text));
            action->setProperty("item", index++);
            action->setEnabled(!(item.state & (MF_GRAYED | MF_DISABLED)));
            action->setCheckable(item.state & MF_CHECKED);
            action->setChecked(item.state & MF_CHECKED);
            QFont font = this->font();
            font.setBold(item.state & MF_DEFAULT);
            action->setFont(font);
        }
    }

    Menu& m_menu;
    const MenuOwner& m_owner;
    ItemStyle m_style;
    mutable const QAction* m_measured = nullptr;
};

QSize ItemStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                  const QWidget* widget) const {
    const auto* menu = type == CT_MenuItem ? dynamic_cast<const PopupMenu*>(widget) : nullptr;
    const MenuItem* item = menu ? menu->Measured() : nullptr;
    if (item && item->type & MF_OWNERDRAW) {
        MENUMEASURE measure{&menu->Model(), item, {}};
        if (menu->Tell(WM_MEASUREITEM, 0, reinterpret_cast<intptr_t>(&measure)))
            return {measure.size.cx + kMenuCheckWidth, measure.size.cy};
    }
    return QProxyStyle::sizeFromContents(type, option, size, widget);
}

void ItemStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const {
    const auto* menu = element == CE_MenuItem ? dynamic_cast<const PopupMenu*>(widget) : nullptr;
    const MenuItem* item = menu ? menu->ItemOf(menu->actionAt(option->rect.center())) : nullptr;
    if (item && item->type & MF_OWNERDRAW) {
        MENUDRAW draw{&menu->Model(), item, painter, FromQRect(option->rect), 0};
        if (option->state & State_Selected) draw.state |= MENUDRAW_SELECTED;
        if (!(option->state & State_Enabled)) draw.state |= MENUDRAW_DISABLED;
        if (item->state & MF_CHECKED) draw.state |= MENUDRAW_CHECKED;
        if (option->direction == Qt::RightToLeft) draw.state |= MENUDRAW_MIRRORED;
        if (menu->Tell(WM_DRAWITEM, 0, reinterpret_cast<intptr_t>(&draw))) return;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}
}  // namespace

MenuItem& Menu::Add(uint32_t id, std::u16string text, uint32_t state) {
    MenuItem& item = items.emplace_back();
    item.id = id;
    item.state = state;
    item.text = std::move(text);
    return item;
}

MenuItem& Menu::AddSubmenu(std::u16string text) {
    MenuItem& item = Add(0, std::move(text));
    item.submenu = std::make_unique<Menu>();
    return item;
}

void Menu::AddSeparator() { Add(0, {}).type = MF_SEPARATOR; }

MenuItem* Menu::Find(uint32_t id) {
    for (MenuItem& item : items) {
        if (item.id == id && !item.IsSeparator() && !item.submenu) return &item;
        if (MenuItem* found = item.submenu ? item.submenu->Find(id) : nullptr) return found;
    }
    return nullptr;
}

void Menu::Check(uint32_t id, bool on) {
    if (MenuItem* item = Find(id)) item->state = on ? item->state | MF_CHECKED : item->state & ~MF_CHECKED;
}

uint32_t TrackPopupMenu(Menu& menu, POINT screen, const MenuOwner& owner) {
    PopupMenu popup(menu, owner);
    uint32_t chosen = 0;
    // Of submenus too; their items are gone when exec returns.
    QObject::connect(&popup, &QMenu::triggered, [&](QAction* action) {
        const auto* in = dynamic_cast<const PopupMenu*>(action->parent());
        if (const MenuItem* item = in ? in->ItemOf(action) : nullptr) chosen = item->id;
    });
    popup.exec(QPoint(screen.x, screen.y));
    popup.Tell(WM_MENUSELECT, PackWords(0, 0xFFFF), 0);
    return chosen;
}
