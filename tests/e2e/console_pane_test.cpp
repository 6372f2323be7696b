// The left pane on a real project: the list of channels and the groups, worked with real events.
#include "tests/e2e/console_project.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QTimer>

#include <functional>

namespace {

constexpr uint32_t CMD_VIEW_GROUP = 50057, CMD_MIX_GROUP = 50058, CMD_LIST = 50067, CMD_GROUPS = 1250,
                   CMD_BUTTONS = 1251;

class ConsolePane : public ConsoleProject {
protected:
    void SetUp() override {
        ConsoleProject::SetUp();
        place.resize(900, 480);
        ASSERT_TRUE(Until([&] { return Names() == QStringList{"Drums", "Bass", "Keys", "Master"}; }));
    }
    void TearDown() override {
        place.RunCommand(50073);  // the widths are the process's
        ConsoleProject::TearDown();
    }
    QAbstractItemView& View(const char* name) {
        auto* view = Page().findChild<QAbstractItemView*>(QLatin1String(name));
        EXPECT_TRUE(view) << name;
        return *view;
    }
    QAbstractItemView& List() { return View("ChannelList"); }
    QAbstractItemView& Groups() { return View("GroupList"); }
    QModelIndex Row(QAbstractItemView& view, const QString& name) {
        for (int row = 0; row < view.model()->rowCount(); row++)
            if (view.model()->index(row, 0).data().toString() == name) return view.model()->index(row, 0);
        ADD_FAILURE() << "no row " << name.toStdString();
        return {};
    }
    QStringList Names(QAbstractItemView& view) {
        QStringList names;
        for (int row = 0; row < view.model()->rowCount(); row++)
            names += view.model()->index(row, 0).data().toString();
        return names;
    }
    QStringList Names() { return Names(List()); }
    bool IsChecked(const QString& name) { return Row(List(), name).data(Qt::CheckStateRole) == Qt::Checked; }
    bool IsRowSelected(const QString& name) { return List().selectionModel()->isSelected(Row(List(), name)); }
    static void ClickOn(QWidget& widget, QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
                        Qt::MouseButton button = Qt::LeftButton) {
        for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, QPointF(at), QPointF(widget.mapToGlobal(at)), button,
                              type == QEvent::MouseButtonPress ? button : Qt::NoButton, modifiers);
            QApplication::sendEvent(&widget, &event);
        }
        QApplication::processEvents();
    }
    void ClickRow(QAbstractItemView& view, const QString& name,
                  Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        ClickOn(*view.viewport(), view.visualRect(Row(view, name)).center(), modifiers);
    }
    /// To whatever has the keyboard.
    void Type(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString& text = {}) {
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers, text);
            // A menu that closes leaves no window active where there is no window manager.
            if (!QApplication::activeWindow()) place.activateWindow(), QApplication::processEvents();
            ASSERT_TRUE(QApplication::focusWidget());
            QApplication::sendEvent(QApplication::focusWidget(), &event);
        }
        Settle();
    }
    void Type(const QString& text) {
        for (const QChar letter : text)
            Type(static_cast<Qt::Key>(letter.toUpper().unicode()), Qt::NoModifier, QString(letter));
    }
    /// Chooses an item of the next menu that opens.
    void Choose(const QString& item) {
        QTimer::singleShot(1, [this, item] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) return Choose(item);
            for (QAction* action : menu->actions())
                if (action->text().remove('&').section('\t', 0, 0) == item) {
                    menu->setActiveAction(action);
                    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
                    QApplication::sendEvent(menu, &enter);
                    return;
                }
            ADD_FAILURE() << "no item " << item.toStdString();
            menu->close();
        });
    }
    QImage Picture() {
        if (QWidget* focus = QApplication::focusWidget()) focus->clearFocus();  // the caret blinks
        Settle();
        return place.grab().toImage();
    }
    void Reopen() {
        plugin->ProjectClosing();
        project.Open(Folder() / "test.tarn");
        plugin->ProjectOpened();
        ASSERT_TRUE(Until([&] { return Channels().contains("Drums"); }));
        Settle();
    }
};

TEST_F(ConsolePane, ListAndStripsShowOneSelectionOneFocusAndTheSameChannels) {
    ClickRow(List(), "Bass");
    EXPECT_TRUE(Find("Bass").selected);
    EXPECT_TRUE(PageDriver::IsSelected("Bass")) << "the strip";
    ClickRow(List(), "Keys", Qt::ControlModifier);
    EXPECT_TRUE(Find("Bass").selected && Find("Keys").selected && !Find("Drums").selected);
    Click(Title("Drums"));
    EXPECT_TRUE(
        Until([&] { return IsRowSelected("Drums") && !IsRowSelected("Bass") && !IsRowSelected("Keys"); }));
    EXPECT_EQ(List().currentIndex(), Row(List(), "Drums")) << "the focus of the strips";
    EXPECT_TRUE(Find("Drums").selected) << "and no echo of it";
    project.EditChannel(Find("Keys").id, [](Channel& c) { c.selected = true; });
    EXPECT_TRUE(Until([&] { return IsRowSelected("Keys"); })) << "the host's own change";

    const QRect row = List().visualRect(Row(List(), "Bass"));
    ClickOn(*List().viewport(), {row.left() + 10, row.center().y()});
    EXPECT_TRUE(Until([&] { return !Channels().contains("Bass"); })) << "its box hides the strip";
    EXPECT_TRUE(Find("Bass").hidden);
    EXPECT_TRUE(Names().contains("Bass") && !IsChecked("Bass")) << "the row stays";
    project.EditChannel(Find("Bass").id, [](Channel& c) { c.hidden = false; });
    EXPECT_TRUE(Until([&] { return Channels().contains("Bass") && IsChecked("Bass"); }));

    const ChannelId guitar = project.AddChannel(ChannelKind::AudioTrack, "Guitar");
    project.MoveChannel(guitar, 0);
    ASSERT_TRUE(Until([&] { return Names().value(0) == "Guitar"; }));
    EXPECT_TRUE(IsRowSelected("Drums") && !IsRowSelected("Guitar")) << "selection moves with its rows";
    project.RemoveChannel(guitar);
    ASSERT_TRUE(Until([&] { return Names() == QStringList{"Drums", "Bass", "Keys", "Master"}; }));

    QAbstractItemModel& rows = *List().model();
    const auto drop = [&](const char* name, int before) {
        const std::unique_ptr<QMimeData> dragged(rows.mimeData({Row(List(), name)}));
        return rows.canDropMimeData(dragged.get(), Qt::MoveAction, before, 0, {}) &&
               rows.dropMimeData(dragged.get(), Qt::MoveAction, before, 0, {});
    };
    EXPECT_TRUE(drop("Drums", 2)) << "between the second and the third";
    EXPECT_TRUE(Until([&] { return Names().mid(0, 3) == QStringList({"Bass", "Drums", "Keys"}); }));
    EXPECT_TRUE(drop("Keys", 0));
    EXPECT_TRUE(Until([&] { return Names().mid(0, 3) == QStringList({"Keys", "Bass", "Drums"}); }));
    EXPECT_FALSE(drop("Master", 0) || drop("Drums", 4)) << "the master keeps its place";
    ClickRow(List(), "Master");
    EXPECT_FALSE(Row(List(), "Master").flags() & Qt::ItemIsEditable) << "it has no name of its own";
}

TEST_F(ConsolePane, IsWorkedByTheKeyboardAlone) {
    Page().setFocus();
    Type(Qt::Key_F6);  // the bar above
    Type(Qt::Key_F6);
    ASSERT_EQ(QApplication::focusWidget(), &List());
    Type(Qt::Key_Home);
    Type(Qt::Key_Down);
    EXPECT_TRUE(Find("Bass").selected && !Find("Drums").selected);
    Type(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_TRUE(Find("Bass").selected && Find("Keys").selected);
    Type(Qt::Key_Space);
    EXPECT_TRUE(Until([&] { return !Channels().contains("Bass") && !Channels().contains("Keys"); }));
    EXPECT_FALSE(Find("Keys").mute);
    Type(Qt::Key_Z, Qt::NoModifier, "z");
    EXPECT_FALSE(Find("Drums").mute || Find("Keys").mute)
        << "a hidden channel has no strip that keys work on";
    Type(Qt::Key_Space);
    ASSERT_TRUE(Until([&] { return Channels().contains("Bass") && Channels().contains("Keys"); }));

    Type("/dr");
    EXPECT_TRUE(Find("Drums").selected && !Find("Keys").selected) << "a search";
    Type(Qt::Key_F2);
    auto* edit = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_TRUE(edit);
    edit->selectAll();
    edit->insert("Kit");
    Type(Qt::Key_Return);
    EXPECT_TRUE(Until([&] { return Names().value(0) == "Kit" && Channels().value(0) == "Kit"; }));
    project.Undo();
    EXPECT_TRUE(Until([&] { return Names().value(0) == "Drums"; })) << "one step of the host's";
    List().setFocus();
    Type(Qt::Key_F2);
    qobject_cast<QLineEdit*>(QApplication::focusWidget())->clear();
    Type(Qt::Key_Return);
    EXPECT_EQ(Names().value(0), "Drums") << "an empty name is none";

    List().setFocus();
    Choose("Hide Channel");
    Type(Qt::Key_Menu);
    EXPECT_TRUE(Until([&] { return !Channels().contains("Drums"); }));
    Choose("Hide Channel");
    Type(Qt::Key_Menu);
    EXPECT_TRUE(Until([&] { return Channels().contains("Drums"); })) << "the menu of a hidden channel";
    Type(Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), &Page());
    Type(Qt::Key_C, Qt::ShiftModifier);
    EXPECT_FALSE(List().isVisible());
    Type(Qt::Key_C, Qt::ShiftModifier);
    EXPECT_TRUE(List().isVisible());
}

TEST_F(ConsolePane, SplittersAndTheButtonMoveThePane) {
    ASSERT_TRUE(place.RunCommand(CMD_GROUPS));
    const QRect list = List().geometry(), groups = Groups().geometry();
    const auto drag = [&](QPoint from, QPoint by) {
        Press(from);
        Move(from + by / 2);
        Move(from + by);
        Release(from + by);
    };
    drag({list.right() + 2, 60}, {60, 0});
    EXPECT_EQ(List().width(), list.width() + 53) << "the pane's edge is where the mouse is";
    drag({50, list.bottom() + 6}, {0, 40});
    EXPECT_EQ(Groups().geometry().bottom(), groups.bottom()) << "one grows by what the other gives";
    EXPECT_GT(List().height(), list.height() + 30);
    Press({50, List().geometry().bottom() + 6});
    Move({50, List().geometry().bottom() - 60});
    Key(Qt::Key_Escape);
    QAccessibleInterface* page = QAccessible::queryAccessibleInterface(&Page());
    for (int i = 0; i < page->childCount(); i++)
        if (QAccessibleInterface* child = page->child(i); child->role() == QAccessible::ButtonMenu) {
            EXPECT_EQ(child->text(QAccessible::Name), "Hide Channel List");
            const QPoint at = Page().mapFromGlobal(child->rect().center());
            Click(at);
            break;
        }
    EXPECT_FALSE(List().isVisible());
    EXPECT_TRUE(Groups().isVisible());
    ASSERT_TRUE(place.RunCommand(CMD_GROUPS));
    ASSERT_TRUE(place.RunCommand(CMD_BUTTONS));
    EXPECT_LT(Area("Drums", "Mute").left(), 60) << "without a pane the strips begin at the left";
    DoubleClick({Page().width() - 10, 300});
    EXPECT_TRUE(List().isVisible()) << "a double-click on the ground beside the strips";
}

TEST_F(ConsolePane, AViewGroupBringsThePageBackAfterTheProjectWasClosed) {
    project.EditChannel(Find("Keys").id, [](Channel& c) { c.hidden = true; });
    for (const uint32_t command : {CMD_GROUPS, 50061u, 50065u, 50074u})
        ASSERT_TRUE(place.RunCommand(command));
    const QRect edge = Area("Drums", "Mute");
    Press({edge.right() + 3, 40});
    Release({edge.right() + 3, 40});
    ASSERT_TRUE(Until([&] { return !Channels().contains("Keys"); }));
    ASSERT_TRUE(place.RunCommand(CMD_VIEW_GROUP));
    ASSERT_EQ(Names(Groups()), QStringList{"View Group 1"});
    const QImage before = Picture();
    project.Save();

    for (const uint32_t command : {50061u, 50062u, 50065u, 50066u, 50070u, 50072u, 50047u})
        ASSERT_TRUE(place.RunCommand(command));
    ASSERT_TRUE(Until([&] { return Channels().contains("Keys"); }));
    EXPECT_NE(Picture(), before);
    Groups().setFocus();
    Type(Qt::Key_Delete);
    EXPECT_TRUE(Names(Groups()).isEmpty());
    project.EditChannel(Find("Keys").id, [](Channel& c) { c.hidden = false; });
    Reopen();
    ASSERT_EQ(Names(Groups()), QStringList{"View Group 1"}) << "the project has it";
    for (const uint32_t command : {50062u, 50073u}) ASSERT_TRUE(place.RunCommand(command));
    project.EditChannel(Find("Bass").id, [](Channel& c) { c.hidden = true; });
    project.EditChannel(Find("Keys").id, [](Channel& c) { c.hidden = false; });
    ASSERT_TRUE(Until([&] { return Channels().contains("Keys") && !Channels().contains("Bass"); }));

    ClickRow(Groups(), "View Group 1");
    EXPECT_TRUE(Until([&] { return Picture() == before; }));
    EXPECT_TRUE(Find("Keys").hidden && !Find("Bass").hidden);
    Groups().setFocus();
    Type(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(Until([&] { return Find("Bass").hidden && !Find("Keys").hidden; })) << "it can be taken back";
    EXPECT_NE(Picture(), before);
}

TEST_F(ConsolePane, AMixGroupSelectsItsChannelsAndIsRenamedSavedAndDeleted) {
    ASSERT_TRUE(place.RunCommand(CMD_GROUPS));
    ASSERT_TRUE(place.RunCommand(CMD_MIX_GROUP));
    EXPECT_TRUE(Names(Groups()).isEmpty()) << "of nothing there is none";
    ClickRow(List(), "Drums");
    ClickRow(List(), "Keys", Qt::ControlModifier);
    ASSERT_TRUE(place.RunCommand(CMD_MIX_GROUP));
    Groups().setFocus();
    Type(Qt::Key_F2);
    auto* edit = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_TRUE(edit);
    edit->setText("Outer");
    Type(Qt::Key_Return);
    ASSERT_TRUE(Until([&] { return Names(Groups()) == QStringList{"Outer"}; }));
    project.Save();
    ClickRow(List(), "Bass");
    ASSERT_FALSE(Find("Drums").selected);
    project.Save();
    Reopen();
    Groups().setFocus();
    Type(Qt::Key_Down);
    Type(Qt::Key_Return);
    EXPECT_TRUE(Find("Drums").selected && Find("Keys").selected && !Find("Bass").selected);
    Do("Drums:fader=-6.0");
    EXPECT_NEAR(Find("Keys").fader_db, -6, 0.001) << "what acts on the selection acts on them";

    ClickRow(List(), "Bass");
    Groups().setFocus();
    Choose("Save Group");
    Type(Qt::Key_Menu);
    ClickRow(List(), "Drums");
    ClickRow(Groups(), "Outer");
    EXPECT_TRUE(Find("Bass").selected && !Find("Drums").selected) << "it holds the others now";
    Type(Qt::Key_Delete);
    EXPECT_TRUE(Names(Groups()).isEmpty());
    Type(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Names(Groups()), QStringList{"Outer"});
}

}  // namespace
