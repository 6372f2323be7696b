// Every kind of part of a strip, worked with real events on the offscreen page, against the real engine.
#include "tests/e2e/console_project.h"

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>

#include <functional>

namespace {

class ConsoleStrip : public ConsoleProject {
protected:
    void SetUp() override {
        ConsoleProject::SetUp();
        room = project.AddChannel(ChannelKind::Fx, "Room");
        hall = project.AddChannel(ChannelKind::Fx, "Hall");
        for (const char* name : {"Drums", "Bass"})
            Edit(name, [this](Channel& channel) {
                for (const char* uri : {"urn:absent:one", "urn:absent:two", "urn:absent:three"})
                    channel.inserts.push_back({FreeSub(channel), uri, uri + 11});
                channel.sends.push_back({FreeSub(channel), room, -12});
            });
        place.resize(900, 1000);
        for (const uint32_t region : {50061u, 50062u, 50064u, 50065u}) ASSERT_TRUE(place.RunCommand(region));
        ASSERT_TRUE(Until([&] { return !Text("Bass", "Send 1").isEmpty(); }));
    }
    void Edit(const char* name, const std::function<void(Channel&)>& change) {
        ASSERT_TRUE(project.EditChannel(Find(name).id, change)) << project.Refusal();
    }
    QAccessibleInterface* Node(const QString& channel, const QString& control) {
        QAccessibleInterface* page = QAccessible::queryAccessibleInterface(&Page());
        const auto child = [](QAccessibleInterface* parent, const QString& name) -> QAccessibleInterface* {
            for (int i = 0; parent && i < parent->childCount(); i++)
                if (parent->child(i)->text(QAccessible::Name) == name) return parent->child(i);
            return nullptr;
        };
        return child(child(page, channel), control);
    }
    QString Text(const QString& channel, const QString& control) {
        QAccessibleInterface* node = Node(channel, control);
        return node ? node->text(QAccessible::Value) : QString();
    }
    /// Chooses an item of the next menu that opens, as the keyboard does.
    void Choose(const QString& item) {
        QTimer::singleShot(1, [this, item] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) return Choose(item);
            for (QAction* action : menu->actions())
                if (action->text().remove('&').section('\t', 0, 0) == item.section('/', 0, 0)) {
                    menu->setActiveAction(action);
                    // Before the menu returns: what opens from it waits for the rest.
                    if (item.contains('/')) Choose(item.section('/', 1));
                    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
                    QApplication::sendEvent(menu, &enter);
                    return;
                }
            ADD_FAILURE() << "no item " << item.toStdString();
            menu->close();
        });
    }
    void ClickMenu(const QString& channel, const QString& control, const QString& item) {
        Choose(item);
        Click(Centre(channel, control));
        Settle();
    }
    void RightClick(QPoint at) {
        for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, QPointF(at), QPointF(Page().mapToGlobal(at)), Qt::RightButton,
                              type == QEvent::MouseButtonPress ? Qt::RightButton : Qt::NoButton,
                              Qt::NoModifier);
            QApplication::sendEvent(&Page(), &event);
        }
        QApplication::processEvents();
    }
    void Drag(QPoint from, QPoint to) {
        Press(from);
        Move((from + to) / 2);
        Move(to);
        Release(to);
    }
    std::vector<std::string> Chain(const char* name) {
        std::vector<std::string> names;
        for (const Insert& insert : Find(name).inserts) names.push_back(insert.name);
        return names;
    }

    ChannelId room = kNoChannel, hall = kNoChannel;
};

TEST_F(ConsoleStrip, EffectsAreBypassedMovedAndRemoved) {
    using Names = std::vector<std::string>;
    EXPECT_EQ(Text("Drums", "Insert FX 1"), "one");
    const QRect row = Area("Drums", "Insert FX 1");
    Click(row.topLeft() + QPoint(6, row.height() / 2));
    EXPECT_TRUE(Find("Drums").inserts[0].bypass) << "its lamp";
    EXPECT_FALSE(Find("Bass").inserts[0].bypass);
    DoubleClick(row.center());
    const auto wishes = project.TakeEditorWishes();
    ASSERT_EQ(wishes.size(), 1u) << "its window";
    EXPECT_EQ(wishes[0], std::pair(Find("Drums").id, Find("Drums").inserts[0].id));
    EXPECT_TRUE(Find("Drums").inserts[0].bypass) << "and nothing else";
    Wheel(row.center(), -120);
    EXPECT_EQ(Text("Drums", "Insert FX 3"), "three") << "the wheel scrolls the list";
    Wheel(row.center(), 240);
    Drag(Centre("Drums", "Insert FX 2"), Centre("Drums", "Insert FX 1"));
    EXPECT_EQ(Chain("Drums"), (Names{"two", "one", "three"}));
    EXPECT_EQ(Chain("Bass"), (Names{"one", "two", "three"}));
    Press(Centre("Drums", "Insert FX 1"));
    Move(Centre("Drums", "Insert FX 2"));
    Key(Qt::Key_Escape);
    Release(Centre("Drums", "Insert FX 2"));
    EXPECT_EQ(Chain("Drums"), (Names{"two", "one", "three"})) << "Esc takes a drag back";
    Choose("Remove");
    RightClick(Centre("Drums", "Insert FX 1"));
    EXPECT_EQ(Chain("Drums"), (Names{"one", "three"}));
    Choose("Post Fader");
    RightClick(Centre("Drums", "Insert FX 1"));
    EXPECT_TRUE(Find("Drums").inserts[0].post_fader);
    Click(Centre("Drums", "Bypass All Insert FX"));
    EXPECT_TRUE(Find("Drums").chain_bypass);
}

TEST_F(ConsoleStrip, SendsAreMovedSwitchedLedElsewhereAddedAndRemoved) {
    const auto send = [&](const char* name) { return Find(name).sends.at(0); };
    EXPECT_EQ(Text("Drums", "Send 1"), "Room");
    const QPoint thumb = Area("Drums", "Send Level 1").center();
    Press(thumb);
    Move(thumb + QPoint(-9, 0));
    const double lower = send("Drums").level_db;
    EXPECT_LT(lower, -12);
    Release(thumb + QPoint(-9, 0));
    EXPECT_NEAR(send("Bass").level_db, -12, 0.001);

    Click(Title("Drums"));
    Click(Title("Bass"), Qt::ControlModifier);
    Drag(Area("Drums", "Send Level 1").center(), Area("Drums", "Send Level 1").center() + QPoint(8, 0));
    EXPECT_GT(send("Drums").level_db, lower);
    EXPECT_NEAR(send("Bass").level_db - send("Drums").level_db, -12 - lower, 0.06)
        << "the send to the same bus on the other selected strip";

    Click(Centre("Drums", "Send Before or After the Fader"));
    EXPECT_TRUE(send("Drums").pre_fader);
    EXPECT_FALSE(send("Bass").pre_fader);
    ClickMenu("Drums", "Send 1", "Mute Send");
    EXPECT_TRUE(send("Drums").mute);
    ClickMenu("Drums", "Send 1", "Hall");
    EXPECT_EQ(send("Drums").target, hall);
    EXPECT_TRUE(send("Drums").pre_fader && send("Drums").mute) << "the rest of it stays";
    EXPECT_TRUE(Until([&] { return Text("Drums", "Send 1") == "Hall"; }));
    ClickMenu("Keys", "Add Send", "Room");
    ASSERT_EQ(Find("Keys").sends.size(), 1u);
    EXPECT_EQ(send("Keys").target, room);
    ClickMenu("Drums", "Send 1", "Remove");
    EXPECT_TRUE(Find("Drums").sends.empty());

    // The second row is the second send.
    Edit("Bass", [this](Channel& channel) { channel.sends.push_back({FreeSub(channel), hall, -6}); });
    Drag(Area("Bass", "Send Level 1").bottomLeft() + QPoint(0, 29),
         Area("Bass", "Send Level 1").bottomLeft() + QPoint(0, 129));
    ASSERT_TRUE(Until([&] { return Node("Bass", "Send Before or After the Fader 2"); }));
    Click(Centre("Bass", "Send Before or After the Fader 2"));
    EXPECT_TRUE(!Find("Bass").sends[0].pre_fader && Find("Bass").sends[1].pre_fader);
}

TEST_F(ConsoleStrip, SendsBeyondTheRowsAreScrolledToAndAreWhatTheySay) {
    for (const char* name : {"A", "B", "C", "D"}) {
        const ChannelId to = project.AddChannel(ChannelKind::Fx, name);
        Edit("Drums", [&](Channel& channel) { channel.sends.push_back({FreeSub(channel), to, -20}); });
    }
    ASSERT_TRUE(Until([&] { return Text("Drums", "Send 1") == "Room"; }));
    EXPECT_FALSE(Node("Drums", "Send 2")) << "there is room for one";
    EXPECT_TRUE(Until([&] {
        if (Text("Drums", "Send 2") == "A") return true;
        Wheel(Centre("Drums", "Send 1"), -120);
        return false;
    }));
    EXPECT_FALSE(Node("Drums", "Send 1"));
    Page().setFocus();
    Click(Title("Drums"));
    const auto onPart = [&] {
        return QAccessible::queryAccessibleInterface(&Page())->focusChild()->text(QAccessible::Name);
    };
    for (int i = 0; i < 40 && onPart() != "Send Level 4"; i++) Key(Qt::Key_Down, Qt::AltModifier);
    ASSERT_EQ(onPart(), "Send Level 4") << "the keyboard goes on beyond the last row";
    Key(Qt::Key_Right);
    Click(Centre("Drums", "Send Before or After the Fader"));
    const std::vector<Send> sends = Find("Drums").sends;
    for (size_t i = 0; i < sends.size(); i++) {
        EXPECT_EQ(sends[i].level_db > -19.99 && i > 0, i == 3) << i;
        EXPECT_EQ(sends[i].pre_fader, i == 3) << i;
    }
    for (int i = 0; i < 40 && onPart() != "Send 1"; i++) Key(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(onPart(), "Send 1") << "and back";
    ClickMenu("Drums", "Send 1", "Add Send/Hall");
    EXPECT_EQ(Find("Drums").sends.back().target, hall);
    EXPECT_EQ(Find("Drums").sends.size(), 6u);
}

TEST_F(ConsoleStrip, InputsAndMidiRoutesAreChosenFromWhatFits) {
    const ChannelId bus = project.AddChannel(ChannelKind::AudioBus, "Rhythm");
    const ChannelId pad = project.AddChannel(ChannelKind::Synth, "Pad");
    project.AddChannel(ChannelKind::MidiTrack, "Beat");
    ASSERT_TRUE(Until([&] { return Channels().contains("Beat") && Channels().contains("Pad"); }));
    ClickMenu("Drums", "Input", "Busses/Rhythm");
    EXPECT_EQ(Find("Drums").input.source, InputSource::Channel);
    EXPECT_EQ(Find("Drums").input.channel, bus);
    ClickMenu("Drums", "Input", "Hardware/Mono/Input 2");
    EXPECT_EQ(Find("Drums").input.source, InputSource::Device);
    EXPECT_TRUE(Find("Drums").input.mono && Find("Drums").input.first == 1);
    ClickMenu("Beat", "Output", "Pad");
    EXPECT_EQ(Find("Beat").output, pad);
    ClickMenu("Beat", "Output", "MIDI Channel/3");
    EXPECT_EQ(Find("Beat").midi_channel, 3u);
    EXPECT_EQ(Find("Beat").output, pad) << "and nothing else";
    ClickMenu("Beat", "Input", "All MIDI inputs");
    EXPECT_EQ(Find("Beat").input.source, InputSource::Device);
    EXPECT_EQ(Find("Beat").input.midi_port, "");
}

TEST_F(ConsoleStrip, RoutesPanAutomationAndThePairReachTheSession) {
    const ChannelId bus = project.AddChannel(ChannelKind::AudioBus, "Rhythm");
    ASSERT_TRUE(Until([&] { return Channels().contains("Rhythm"); }));
    ClickMenu("Drums", "Output", "Rhythm");
    EXPECT_EQ(Find("Drums").output, bus);
    EXPECT_EQ(Text("Drums", "Output"), "Rhythm");
    EXPECT_TRUE(project.RenameChannel(bus, "Beat"));
    EXPECT_TRUE(Until([&] { return Text("Drums", "Output") == "Beat"; })) << "the name of a bus, everywhere";
    ClickMenu("Drums", "Automation", "Latch");
    EXPECT_EQ(Find("Drums").automation_mode, AutomationMode::Latch);

    const QPoint pan = Area("Drums", "Pan").center();
    Drag(pan, pan + QPoint(-15, 0));
    const double left = Find("Drums").pan;
    EXPECT_LT(left, -0.2);
    EXPECT_NEAR(Find("Bass").pan, 0, 0.001);
    DoubleClick(Area("Drums", "Pan").center());
    EXPECT_NEAR(Find("Drums").pan, 0, 0.001);
    Choose("Film");
    RightClick(Node("Drums", "Pan")->rect().center() - Page().mapToGlobal(QPoint()) + QPoint(14, 0));
    EXPECT_EQ(Find("Drums").pan_model, PanModel::Film);
    Choose("Stereo Width/50%");
    RightClick(Area("Drums", "Pan").center());
    EXPECT_NEAR(Find("Drums").width, 0.5, 0.001);
    EXPECT_NEAR(Find("Drums").pan, 0, 0.001) << "and nothing else";

    Drag(Area("Drums", "Volume").center(), Area("Drums", "Volume").center() + QPoint(0, 20));
    EXPECT_FALSE(Find("Drums").fader_right_db) << "both parts of a pair";
    Click(Centre("Drums", "Lock Left and Right Together"));
    const double before = Find("Drums").fader_db;
    const QRect half = Area("Drums", "Volume");
    Drag({half.left() + 2, half.center().y()}, {half.left() + 2, half.center().y() + 20});
    ASSERT_TRUE(Find("Drums").fader_right_db) << "and then each on its own";
    EXPECT_LT(Find("Drums").fader_db, before);
    EXPECT_NEAR(*Find("Drums").fader_right_db, before, 0.001);
}

TEST_F(ConsoleStrip, NamesWidthsAndRegionsFollowTheHand) {
    const auto edit = [&] { return Page().findChild<QLineEdit*>("Edit"); };
    const QRect strip = Node("Drums", "Mute")->parent()->rect().translated(-Page().mapToGlobal(QPoint()));
    const QPoint plate(strip.center().x(), strip.bottom() - 6);
    for (const bool kept : {false, true}) {
        DoubleClick(plate);
        ASSERT_TRUE(edit());
        edit()->setText("Kit");
        edit()->setModified(true);
        QKeyEvent key(QEvent::KeyPress, kept ? Qt::Key_Return : Qt::Key_Escape, Qt::NoModifier);
        QApplication::sendEvent(edit(), &key);
        Settle();
        EXPECT_TRUE(Until([&] { return Channels().contains("Kit") == kept; }));
        EXPECT_FALSE(edit());
    }
    Drag(plate, plate + QPoint(2 * strip.width(), 0));
    EXPECT_TRUE(Until([&] {
        return Channels().mid(0, 3) == QStringList({"Bass", "Keys", "Kit"});
    })) << Channels().join(", ").toStdString();
    EXPECT_TRUE(project.MoveChannel(Find("Kit").id, 0));
    ASSERT_TRUE(Until([&] { return Channels().value(0) == "Kit"; }));
    const auto widthOf = [&](const char* name) { return Node(name, "Mute")->parent()->rect().width(); };
    const int before = widthOf("Kit"), other = widthOf("Bass");
    Drag({strip.right(), 300}, {strip.right() + 30, 300});
    EXPECT_EQ(widthOf("Kit"), before + 30);
    EXPECT_EQ(widthOf("Bass"), other);
    const QRect row = Area("Kit", "Insert FX 1");
    const int rows = [&] {
        int count = 0;
        while (Node("Bass", QString("Insert FX %1").arg(count + 1))) count++;
        return count;
    }();
    // The edge below the list, of one strip, for all.
    const int edge = row.top() - 2 + 2 + 2 * (row.height() + 2);
    Drag({row.center().x(), edge}, {row.center().x(), edge + 60});
    EXPECT_TRUE(Node("Bass", QString("Insert FX %1").arg(rows + 1)));
    ASSERT_TRUE(place.RunCommand(50074));
    EXPECT_GT(widthOf("Bass"), other);
    place.Close();
    ASSERT_TRUE(OpenPage());
    EXPECT_GT(widthOf("Bass"), other) << "the next page looks like the last";
    EXPECT_TRUE(Node("Bass", QString("Insert FX %1").arg(rows + 1)));
}

TEST_F(ConsoleStrip, EverythingIsReachedByKeysAndByAScreenReader) {
    Page().setFocus();
    Click(Title("Drums"));
    const auto onPart = [&] {
        QAccessibleInterface* focused = QAccessible::queryAccessibleInterface(&Page())->focusChild();
        return focused ? focused->text(QAccessible::Name) : QString();
    };
    QStringList seen;
    for (int i = 0; i < 40; i++) {
        Key(Qt::Key_Down, Qt::AltModifier);
        if (onPart() == "Drums") break;
        seen.push_back(onPart());
    }
    for (const char* part :
         {"Insert FX 1", "Send 1", "Send Level 1", "Output", "Automation", "Pan", "Mute", "Volume"})
        EXPECT_TRUE(seen.contains(part)) << part << " in " << seen.join(", ").toStdString();
    while (onPart() != "Send Level 1") Key(Qt::Key_Down, Qt::AltModifier);
    const double before = Find("Drums").sends[0].level_db;
    Key(Qt::Key_Right);
    EXPECT_GT(Find("Drums").sends[0].level_db, before);
    while (onPart() != "Mute") Key(Qt::Key_Down, Qt::AltModifier);
    Key(Qt::Key_Return);
    EXPECT_TRUE(Find("Drums").mute);
    Key(Qt::Key_Escape);
    EXPECT_EQ(onPart(), "Drums");

    Key(Qt::Key_S);
    EXPECT_FALSE(Node("Drums", "Send 1"));
    Key(Qt::Key_S);
    EXPECT_TRUE(Node("Drums", "Send 1"));

    Node("Bass", "Volume")->valueInterface()->setCurrentValue(-6.0);
    EXPECT_NEAR(Find("Bass").fader_db, -6, 0.05);
    Node("Bass", "Pan")->valueInterface()->setCurrentValue(40);
    EXPECT_NEAR(Find("Bass").pan, 0.4, 0.001);
    Node("Bass", "Solo")->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(Find("Bass").solo);
}

TEST_F(ConsoleStrip, AScopeIsGivenWhatLeavesTheChannel) {
    tarn::ComPtr<IMPCtrlChannels> channels;
    ASSERT_EQ(project.PluginHost()->QueryInterface(IID_IMPCtrlChannels, channels.OutVoid()), S_OK);
    const MPCHANNELID drums{Find("Drums").id, 0, 0};
    float samples[2 * SCOPE_PAIRS];
    // The loudest sample of either side in a piece of some length.
    const auto loudest = [&] {
        std::pair<float, float> most{};
        size_t pairs = 0;
        EXPECT_TRUE(Until([&] {
            MPCHANNELREC rec{};
            rec.selector = SELECT_METER_SCOPE;
            rec.scopeSamples = samples;
            EXPECT_EQ(channels->Get(&drums, LEVEL_CHANNEL, &rec, 0, MASK_METERS), S_OK);
            EXPECT_LE(rec.scopePairs, SCOPE_PAIRS);
            for (uint32_t i = 0; i < rec.scopePairs; i++) {
                most.first = std::max(most.first, std::abs(samples[2 * i]));
                most.second = std::max(most.second, std::abs(samples[2 * i + 1]));
            }
            return (pairs += rec.scopePairs) > 4000;
        }));
        return most;
    };
    project.SetLoop({0, SINE_SECONDS, true});
    project.Play();
    loudest();
    const float full = loudest().first;
    EXPECT_GT(full, 0.01f);
    Edit("Drums", [](Channel& channel) { channel.fader_db = -20, channel.pan = -1; });
    loudest();
    const auto [left, right] = loudest();
    EXPECT_LT(left, full / 4);
    EXPECT_GT(left, full / 20);
    EXPECT_LT(right, full / 1000);
    project.Stop();
}

// What is held goes away under the hand: the send, the effect, the channel.
TEST_F(ConsoleStrip, WhatIsHeldMayGo) {
    const char* parts[] = {"Volume", "Pan", "Send Level 1", "Mute", "Insert FX 1"};
    for (const char* part : parts) {
        SCOPED_TRACE(part);
        const ChannelId extra = project.AddChannel(ChannelKind::AudioTrack, "Extra");
        ASSERT_TRUE(project.EditChannel(extra, [&](Channel& channel) {
            channel.inserts.push_back({FreeSub(channel), "urn:absent:one", "one"});
            channel.sends.push_back({FreeSub(channel), room, -12});
        }));
        ASSERT_TRUE(Until([&] { return Node("Extra", "Send Level 1") && Node("Extra", "Insert FX 2"); }));
        const QPoint at = Centre("Extra", part);
        Press(at);
        Move(at + QPoint(4, 4));
        ASSERT_TRUE(project.RemoveChannel(extra));
        ASSERT_TRUE(Until([&] { return !Channels().contains("Extra"); }));
        Move(at + QPoint(8, 8));
        Release(at + QPoint(8, 8));
    }
    const QPoint level = Area("Drums", "Send Level 1").center();
    Press(level);
    Move(level + QPoint(5, 0));
    EXPECT_TRUE(project.RemovePart(Find("Drums").id, Find("Drums").sends[0].id));
    ASSERT_TRUE(Until([&] { return !Node("Drums", "Send Level 1"); }));
    Move(level + QPoint(9, 0));
    Release(level + QPoint(9, 0));
    Do("Drums:fader=-3.0");
    EXPECT_NEAR(Find("Drums").fader_db, -3, 0.05);
}

}  // namespace
