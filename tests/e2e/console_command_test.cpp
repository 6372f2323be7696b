// Every command that the console offers: by the host, by its key, by its button, each with what comes of it
// in the session and on the page.
#include "tests/e2e/console_project.h"

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>

#include <functional>
#include <set>

namespace {

class ConsoleCommand : public ConsoleProject {
protected:
    void SetUp() override {
        ConsoleProject::SetUp();
        place.resize(1200, 900);
        for (const ChannelKind kind : {ChannelKind::MidiTrack, ChannelKind::AudioBus, ChannelKind::Fx,
                                       ChannelKind::Synth, ChannelKind::InputBus})
            project.AddChannel(kind, TraitsOf(kind).name);
        ASSERT_TRUE(Until([&] { return Channels().size() == 10; }));
        Click(Title("Bass"));
        ASSERT_TRUE(Find("Bass").selected);
    }
    static QAccessibleInterface* Find(QAccessibleInterface* in, const QString& identifier) {
        for (int i = 0; in && i < in->childCount(); i++) {
            QAccessibleInterface* child = in->child(i);
            if (child->text(QAccessible::UserText) == identifier) return child;
            if (child->role() != QAccessible::ToolBar) continue;
            if (QAccessibleInterface* found = Find(child, identifier)) return found;
        }
        return nullptr;
    }
    using ConsoleProject::Find;
    QAccessibleInterface* Button(uint32_t command) {
        return Find(QAccessible::queryAccessibleInterface(&Page()), QStringLiteral("command%1").arg(command));
    }
    void ClickButton(uint32_t command) {
        QAccessibleInterface* button = Button(command);
        ASSERT_TRUE(button) << command;
        Click(Page().mapFromGlobal(button->rect().center()));
    }
    bool Shows(const char* control) { return ShownOf("Bass", control); }
    bool ShownOf(const QString& channel, const char* control) {
        QAccessibleInterface* strip = nullptr;
        QAccessibleInterface* page = QAccessible::queryAccessibleInterface(&Page());
        for (int i = 0; i < page->childCount(); i++)
            if (page->child(i)->text(QAccessible::Name) == channel) strip = page->child(i);
        for (int i = 0; strip && i < strip->childCount(); i++)
            if (strip->child(i)->text(QAccessible::Name) == QLatin1String(control)) return true;
        return false;
    }
    size_t Hidden(ChannelKind kind) {
        const Session session = project.Snapshot();
        return static_cast<size_t>(std::ranges::count_if(
            session.channels, [kind](const Channel& c) { return c.kind == kind && c.hidden; }));
    }
    size_t Count(ChannelKind kind) {
        const Session session = project.Snapshot();
        return static_cast<size_t>(std::ranges::count(session.channels, kind, &Channel::kind));
    }
    int Width() {
        return Area("Bass", "Mute").isEmpty() ? 0 : Area("Keys", "Mute").left() - Area("Bass", "Mute").left();
    }
};

struct Way {
    uint32_t command;
    int key;  ///< 0 for none
    Qt::KeyboardModifiers modifiers;
    bool button;
};

TEST_F(ConsoleCommand, KindsOfChannelsAreHiddenAndShown) {
    const struct {
        Way way;
        ChannelKind kind;
    } rows[] = {{{50048, Qt::Key_A, Qt::NoModifier, true}, ChannelKind::AudioTrack},
                {{50048, Qt::Key_A, Qt::AltModifier, true}, ChannelKind::AudioTrack},
                {{50049, Qt::Key_C, Qt::NoModifier, true}, ChannelKind::MidiTrack},
                {{50050, Qt::Key_U, Qt::NoModifier, true}, ChannelKind::AudioBus},
                {{50054, Qt::Key_R, Qt::NoModifier, true}, ChannelKind::InputBus},
                {{50052, Qt::Key_E, Qt::NoModifier, true}, ChannelKind::Fx},
                {{50051, Qt::Key_V, Qt::NoModifier, true}, ChannelKind::Synth},
                {{50053, Qt::Key_T, Qt::NoModifier, true}, ChannelKind::Master},
                {{50055, Qt::Key_P, Qt::NoModifier, true}, ChannelKind::PreviewBus}};
    const qsizetype all = Channels().size();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.way.command);
        const auto count = static_cast<qsizetype>(Count(row.kind));
        const auto shown = [&](bool on) {
            return Until([&] { return Channels().size() == (on ? all : all - count); }) &&
                   Hidden(row.kind) == (on ? 0 : static_cast<size_t>(count));
        };
        ASSERT_TRUE(place.RunCommand(row.way.command));
        EXPECT_TRUE(shown(false)) << "by the host";
        EXPECT_TRUE(Until([&] { return !Button(row.way.command)->state().checked; }));
        Key(static_cast<Qt::Key>(row.way.key), row.way.modifiers);
        EXPECT_TRUE(shown(true)) << "by its key";
        ClickButton(row.way.command);
        EXPECT_TRUE(shown(false)) << "by its button";
        ASSERT_TRUE(place.RunCommand(50047));
        EXPECT_TRUE(shown(true)) << "with all others";
    }
    ASSERT_TRUE(place.RunCommand(50047));
    EXPECT_TRUE(Until([&] { return Channels().isEmpty(); })) << "all were shown: all are hidden";
    ClickButton(50047);
    EXPECT_TRUE(Until([&] { return Channels().size() == all; }));
}

TEST_F(ConsoleCommand, RegionsWidthsAndLooksFollow) {
    const struct {
        Way way;
        const char* part;
    } regions[] = {{{50061, Qt::Key_I, Qt::NoModifier, true}, "Insert FX 1"},
                   {{50062, Qt::Key_S, Qt::NoModifier, true}, "Add Send"},
                   {{50060, Qt::Key_H, Qt::NoModifier, true}, "Output"},
                   {{50066, Qt::Key_F, Qt::NoModifier, true}, "Volume"}};
    for (const auto& row : regions) {
        SCOPED_TRACE(row.way.command);
        const bool was = Shows(row.part);
        ASSERT_TRUE(place.RunCommand(row.way.command));
        EXPECT_EQ(Shows(row.part), !was) << "by the host";
        Key(static_cast<Qt::Key>(row.way.key), row.way.modifiers);
        EXPECT_EQ(Shows(row.part), was) << "by its key";
        ClickButton(row.way.command);
        EXPECT_EQ(Shows(row.part), !was) << "by its button";
        EXPECT_TRUE(Until([&] { return Button(row.way.command)->state().checked != was; }));
        ClickButton(row.way.command);
    }
    const int usual = Width();
    Key(Qt::Key_W);
    const int wide = Width();
    EXPECT_GT(wide, usual);
    Key(Qt::Key_N);
    const int narrow = Width();
    EXPECT_LT(narrow, usual);
    ClickButton(781);
    EXPECT_GT(Width(), narrow) << "a step wider";
    ClickButton(782);
    EXPECT_EQ(Width(), narrow) << "and back";
    ClickButton(50074);
    EXPECT_EQ(Width(), wide);
    Key(Qt::Key_D);
    EXPECT_EQ(Width(), usual);

    // What changes the picture and nothing that is named: there, and back to the same picture.
    project.Stop();
    for (const Way& way : {Way{50065, Qt::Key_M, Qt::NoModifier, true},
                           {50070, Qt::Key_L, Qt::ShiftModifier, true},
                           {50162, Qt::Key_T, Qt::ShiftModifier, false},
                           {50064, 0, Qt::NoModifier, true},
                           {29026, 0, Qt::NoModifier, false},
                           {50063, 0, Qt::NoModifier, false},
                           {40010, 0, Qt::NoModifier, false},
                           {50140, 0, Qt::NoModifier, false}}) {
        SCOPED_TRACE(way.command);
        const bool meters = way.command == 40010;
        if (meters) place.RunCommand(50065);
        Settle();
        const QImage before = Page().grab().toImage();
        ASSERT_TRUE(place.RunCommand(way.command));
        EXPECT_NE(Page().grab().toImage(), before);
        way.key ? Key(static_cast<Qt::Key>(way.key), way.modifiers) : void(place.RunCommand(way.command));
        EXPECT_EQ(Page().grab().toImage(), before);
        if (meters) place.RunCommand(50065);
    }
    for (const uint32_t first : {40001u, 29009u, 29016u}) {
        if (first != 40001) place.RunCommand(first == 29009 ? 50064 : 50063);
        std::set<QByteArray> pictures;
        const uint32_t count = first == 40001 ? 8 : first == 29009 ? 7 : 4;
        for (uint32_t i = 0; i < count; i++) {
            ASSERT_TRUE(place.RunCommand(first + i));
            const QImage picture = Page().grab().toImage();
            pictures.emplace(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes());
        }
        EXPECT_EQ(pictures.size(), count) << first << ": each has a look of its own";
    }
}

TEST_F(ConsoleCommand, ChannelsAreAddedRenamedHiddenRemovedAndMonitored) {
    const struct {
        Way way;
        ChannelKind kind;
    } rows[] = {{{50108, Qt::Key_Q, Qt::ControlModifier, true}, ChannelKind::AudioTrack},
                {{50109, Qt::Key_Q, Qt::ControlModifier | Qt::AltModifier, true}, ChannelKind::MidiTrack},
                {{50078, Qt::Key_B, Qt::ControlModifier | Qt::ShiftModifier, true}, ChannelKind::AudioBus},
                {{50077, Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier, true}, ChannelKind::Fx},
                {{50079, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier, true}, ChannelKind::Synth},
                {{50166, Qt::Key_I, Qt::ControlModifier | Qt::ShiftModifier, true}, ChannelKind::InputBus}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.way.command);
        const size_t before = Count(row.kind);
        ASSERT_TRUE(place.RunCommand(row.way.command));
        Key(static_cast<Qt::Key>(row.way.key), row.way.modifiers);
        ClickButton(row.way.command);
        EXPECT_EQ(Count(row.kind), before + 3) << "by the host, its key and its button";
    }
    place.resize(2400, 900);
    for (const auto& [command, on] : {std::pair(50084u, &Monitoring::dim), {50083u, &Monitoring::downmix}}) {
        ASSERT_TRUE(place.RunCommand(command));
        EXPECT_TRUE(project.Snapshot().monitoring.*on);
        EXPECT_TRUE(Until([&] { return Button(command)->state().checked; }));
        ClickButton(command);
        EXPECT_FALSE(project.Snapshot().monitoring.*on);
    }
    Key(Qt::Key_F2);
    auto* edit = Page().findChild<QLineEdit*>();
    ASSERT_TRUE(edit);
    edit->selectAll();
    edit->insert("Contrabass");
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(edit, &enter);
    EXPECT_FALSE(Find("Contrabass").name.empty());
    ASSERT_TRUE(Until([&] { return Channels().contains("Contrabass"); }));
    Click(Title("Keys"), Qt::ControlModifier);
    Key(Qt::Key_H, Qt::ShiftModifier);
    EXPECT_TRUE(Find("Contrabass").hidden && Find("Keys").hidden) << "all that are selected";
    EXPECT_FALSE(Find("Drums").hidden);
    ASSERT_TRUE(Until([&] { return !Channels().contains("Keys"); }));
    ASSERT_TRUE(place.RunCommand(50047));
    ASSERT_TRUE(Until([&] { return Channels().contains("Keys") && Channels().contains("Contrabass"); }));
    Key(Qt::Key_Delete);
    EXPECT_TRUE(Find("Contrabass").name.empty() && Find("Keys").name.empty());
    EXPECT_FALSE(Find("Drums").name.empty());

    asked.clear();
    Key(Qt::Key_C, Qt::ControlModifier);
    Key(Qt::Key_X, Qt::ControlModifier);
    Key(Qt::Key_V, Qt::ControlModifier);
    ClickButton(50069);
    EXPECT_EQ(asked, (std::vector<uint32_t>{50091, 50090, 50092, 50069})) << "the host's own to do";
    ASSERT_TRUE(place.RunCommand(55023));
    for (const Channel& channel : project.Snapshot().channels)
        EXPECT_TRUE(channel.selected || channel.kind == ChannelKind::PreviewBus) << channel.name;
}

TEST_F(ConsoleCommand, HostsKnowThemAllAndMenusShowKeysAndTellWhatTheyDo) {
    std::set<std::string> names;
    for (const RegisteredCommand& command : project.Commands()) {
        EXPECT_EQ(command.group, "Mix Console");
        EXPECT_FALSE(command.text.empty()) << command.name;
        names.insert(command.name);
    }
    EXPECT_EQ(names.size(), 37u) << "of a full editor";
    EXPECT_TRUE(names.contains("MixingConsole.Show.Channels.All") && names.contains("Insert.SoftSynth"));

    const auto textOf = [this](const char* name) {
        for (const RegisteredCommand& command : project.Commands())
            if (command.name == name) return command.text;
        return std::string();
    };
    EXPECT_EQ(textOf("Edit.Cut"), "Cut");
    constexpr uint32_t GERMAN = 1031, ENGLISH = 1033;
    place.Close();
    plugin->SetLanguage(GERMAN);
    ASSERT_TRUE(OpenPage());
    EXPECT_EQ(textOf("Edit.Cut"), "Ausschneiden") << "in the language of the user";
    place.Close();
    plugin->SetLanguage(ENGLISH);
    ASSERT_TRUE(OpenPage());

    QStringList items;
    std::function<void()> look = [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu) return QTimer::singleShot(1, look);
        for (QAction* action : menu->actions()) items += action->text().remove('&');
        menu->setActiveAction(menu->actions().first());
        EXPECT_EQ(status, "Show or hide the channel list.");
        menu->close();
    };
    QTimer::singleShot(1, look);
    ASSERT_TRUE(place.RunCommand(1246));
    EXPECT_TRUE(items.contains("Channel List\tShift+C")) << items.join("; ").toStdString();
    EXPECT_TRUE(status.isEmpty()) << "the menu is closed";

    // By the keyboard alone: to the bar, along it, and its menu opens.
    items.clear();
    Key(Qt::Key_F6);
    QTimer::singleShot(1, look);
    Key(Qt::Key_Return);
    EXPECT_FALSE(items.isEmpty());
    Key(Qt::Key_Escape);
    Key(Qt::Key_I);
    EXPECT_TRUE(Shows("Insert FX 1")) << "back at the strips";
}

}  // namespace
