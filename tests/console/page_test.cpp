// The page as a user works it: real mouse and key events on the offscreen window, and a host that shows what
// came of it.
#include "console/console_plugin.h"
#include "console/gain.h"
#include "contract/guided_tour.h"
#include "platform/ui/window.h"
#include "tests/support/page_harness.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QKeyEvent>

#include <gtest/gtest.h>

#include <functional>
#include <optional>

using namespace tarn;

namespace {

class Page : public ::testing::Test {
protected:
    void SetUp() override {
        host.channels = {{1, KIND_AUDIO_TRACK, 0, u"Drums"}, {2, KIND_AUDIO_TRACK, 1, u"Bass"},
                         {3, KIND_AUDIO_TRACK, 2, u"Keys"},  {4, KIND_AUDIO_BUS, 0, u"Rhythm"},
                         {5, KIND_MASTER, 1, u"Master"},     {6, KIND_BUS | KIND_SPECIAL, -2, u"Preview"}};
        host.transport = TRANSPORT_PLAYING;
        console.emplace(host);
        ASSERT_EQ(console->Open(), S_OK);
        page.emplace(console->Object(), QSize(700, 500));
    }
    void TearDown() override {
        page.reset();
        console->Close();
        console.reset();
        EXPECT_EQ(host.References(), 0);
    }
    FakeChannel Channel(uint64_t id) {
        std::lock_guard guard(host.lock);
        return *host.Find(id);
    }
    int32_t Position(uint64_t id) { return GainToPosition(Channel(id).volume); }
    bool Touched(uint64_t id) { return Channel(id).touched; }
    bool Has(uint64_t id, uint32_t bit) { return Channel(id).switches & bit; }
    bool Selected(uint64_t id) { return Has(id, SWITCH_SELECTED); }
    void Edit(uint64_t id, auto change) {
        host.Edit([&] { change(*host.Find(id)); });
    }
    /// A change that the host tells of.
    void Change(uint64_t id, uint32_t mask, auto change) {
        Edit(id, change);
        host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, id, mask);
    }

    FakeHost host;
    std::optional<ConsoleSession> console;
    std::optional<PageHarness> page;
};

struct OtherPlugin final : COPTControlPlugin {
    OtherPlugin() : COPTControlPlugin(nullptr) {}
    HRESULT GetPages(CAUUID*) override { return E_NOTIMPL; }
    HRESULT UpdateEntry(const MPCTRLREC&) override { return S_OK; }
};

const QString VOLUME = QStringLiteral("Volume"), MUTE = QStringLiteral("Mute"), SOLO = QStringLiteral("Solo");
const QString DRUMS = QStringLiteral("Drums"), BASS = QStringLiteral("Bass"), KEYS = QStringLiteral("Keys");

TEST_F(Page, AFaderGestureBeginsChangesAndEndsAtTheHostOrIsTakenBack) {
    const QPoint thumb = page->Centre(DRUMS, VOLUME);
    page->Press(thumb);
    EXPECT_TRUE(Touched(1));
    EXPECT_EQ(Position(1), 0) << "a press alone moves nothing";
    page->Move(thumb + QPoint(0, 40));
    const int32_t lower = Position(1);
    EXPECT_LT(lower, -10);
    EXPECT_EQ(page->FaderDb(DRUMS), lower / 10.0);
    EXPECT_EQ(Position(2), 0) << "nothing else moves";
    page->Release(thumb + QPoint(0, 40));
    EXPECT_FALSE(Touched(1));
    ASSERT_GE(host.sets.size(), 3u);
    for (const FakeHost::SetCall& call : host.sets) {
        EXPECT_EQ(call.mask, MASK_AUTOMATION | MASK_VOLUME);
        EXPECT_EQ(call.rec.selector, SELECT_CONSOLE_WRITE);
        EXPECT_EQ(call.rec.pairSelector, SPEAKER_FRONT);
    }
    page->DoubleClick(page->Centre(DRUMS, VOLUME));
    EXPECT_EQ(Position(1), 0) << "a double-click restores unity";
    EXPECT_FALSE(Touched(1));
    page->Press(thumb);
    page->Move(thumb + QPoint(0, 60));
    EXPECT_LT(Position(1), 0);
    page->Key(Qt::Key_Escape);
    EXPECT_FALSE(Touched(1));
    page->Release(thumb + QPoint(0, 60));
    EXPECT_EQ(Position(1), 0) << "Esc takes a drag back";
}

TEST_F(Page, SelectedStripsMoveAlongWithTheirOffsets) {
    Change(2, MASK_VOLUME, [](FakeChannel& c) { c.volume = PositionToGain(-100); });
    ASSERT_TRUE(PageHarness::Until([&] { return page->FaderDb(BASS) == -10.0; }));
    page->Click(page->Title(DRUMS));
    page->Click(page->Title(BASS), Qt::ControlModifier);
    EXPECT_TRUE(Selected(1) && Selected(2) && !Selected(3));
    EXPECT_TRUE(page->IsSelected(DRUMS) && page->IsSelected(BASS));

    QPoint thumb = page->Centre(DRUMS, VOLUME);
    page->Press(thumb);
    page->Move(thumb + QPoint(0, 30));
    const int32_t drums = Position(1);
    EXPECT_LT(drums, 0);
    EXPECT_EQ(Position(2), drums - 100);
    EXPECT_TRUE(Touched(1) && Touched(2));
    EXPECT_FALSE(Touched(3));
    page->Release(thumb + QPoint(0, 30));
    EXPECT_FALSE(Touched(1) || Touched(2));

    thumb = page->Centre(KEYS, VOLUME);
    page->Press(thumb);
    page->Move(thumb + QPoint(0, 30));
    page->Release(thumb + QPoint(0, 30));
    EXPECT_EQ(Position(1), drums) << "an unselected strip moves alone";

    page->Click(page->Title(KEYS), Qt::ShiftModifier);
    EXPECT_TRUE(Selected(2) && Selected(3)) << "from the anchor on";
    page->Click(page->Title(KEYS));
    EXPECT_TRUE(!Selected(1) && !Selected(2) && Selected(3));
}

TEST_F(Page, SwitchesActOnReleaseInside) {
    page->Click(page->Centre(DRUMS, MUTE));
    EXPECT_TRUE(Has(1, SWITCH_MUTE));
    EXPECT_TRUE(page->IsChecked(DRUMS, MUTE));
    page->Press(page->Centre(DRUMS, SOLO));
    page->Move(page->Centre(BASS, SOLO));
    page->Release(page->Centre(BASS, SOLO));
    EXPECT_FALSE(Has(1, SWITCH_SOLO) || Has(2, SWITCH_SOLO)) << "let go elsewhere";
    page->Click(page->Centre(DRUMS, MUTE));
    EXPECT_FALSE(Has(1, SWITCH_MUTE));
}

TEST_F(Page, WheelAndKeysMoveFaders) {
    const QPoint slot = page->Centre(DRUMS, VOLUME) + QPoint(0, 60);
    page->Wheel(slot, -120);
    EXPECT_EQ(Position(1), -10);
    page->Wheel(slot, 240, Qt::ControlModifier);
    EXPECT_EQ(Position(1), -8);
    EXPECT_FALSE(Touched(1)) << "each notch is a gesture of its own";

    page->Page().setFocus();
    page->Click(page->Title(DRUMS));
    page->Key(Qt::Key_Down);
    EXPECT_EQ(Position(1), -9);
    page->Key(Qt::Key_Right);
    EXPECT_TRUE(page->IsSelected(BASS) && !page->IsSelected(DRUMS));
    page->Key(Qt::Key_Up);
    EXPECT_EQ(Position(2), 1);
    page->Key(Qt::Key_Z);
    EXPECT_TRUE(Has(2, SWITCH_MUTE));
    page->Key(Qt::Key_X);
    EXPECT_TRUE(Has(2, SWITCH_SOLO));
    page->Key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_TRUE(Selected(1) && Selected(5));
    EXPECT_FALSE(Selected(6)) << "the preview bus takes no selection";
    page->Key(Qt::Key_Down);
    EXPECT_EQ(Position(1), -10);
    EXPECT_EQ(Position(3), -1) << "keys move the selection too";
    EXPECT_FALSE(Touched(1) || Touched(2) || Touched(3));
}

TEST_F(Page, ShowsTheHostsChannelsWhileItIsOpen) {
    const QStringList all{"Drums", "Bass", "Keys", "Preview", "Rhythm", "Master"};
    EXPECT_EQ(page->Channels(), all) << "in the console's order";
    Change(1, MASK_SWITCHES, [](FakeChannel& c) { c.switches |= SWITCH_MUTE; });
    EXPECT_TRUE(PageHarness::Until([&] { return page->IsChecked(DRUMS, MUTE); }));
    Change(2, MASK_NAME, [](FakeChannel& c) { c.name = u"Low"; });
    EXPECT_TRUE(PageHarness::Until([&] { return page->Channels().contains(QStringLiteral("Low")); }));
    Change(3, MASK_SWITCHES, [](FakeChannel& c) { c.switches |= SWITCH_HIDDEN; });
    EXPECT_TRUE(PageHarness::Until([&] { return !page->Channels().contains(KEYS); }));
    host.Control(MPCTRL_PROJECT, 0);
    EXPECT_TRUE(PageHarness::Until([&] { return page->Channels().isEmpty(); }));
    host.OpenProject();
    EXPECT_TRUE(PageHarness::Until([&] { return page->Channels().size() == 5; }));
}

// The release of a key that is held comes to whoever has the keyboard then.
TEST_F(Page, AKeyThatIsHeldLetsGoOfItsFaderWhateverComesBetween) {
    QWidget& window = page->Page();
    const auto send = [&](QEvent&& event) { QApplication::sendEvent(&window, &event); };
    const std::pair<const char*, std::function<void()>> ways[] = {
        {"focus", [&] { send(QFocusEvent(QEvent::FocusOut, Qt::ActiveWindowFocusReason)); }},
        {"menu", [&] { send(QFocusEvent(QEvent::FocusOut, Qt::PopupFocusReason)); }},
        {"hidden", [&] { page->top.hide(), page->top.show(); }},
        {"disabled", [&] { window.setEnabled(false), window.setEnabled(true); }},
        {"switch", [&] { page->Press(page->Centre(BASS, MUTE)); }},
        {"key up over a switch that is held", [&] { send(QKeyEvent(QEvent::KeyRelease, Qt::Key_Down, {})); }},
    };
    page->Click(page->Title(DRUMS));
    for (const auto& [name, way] : ways) {
        send(QKeyEvent(QEvent::KeyPress, Qt::Key_Down, {}));
        ASSERT_TRUE(Touched(1)) << name;
        way();
        EXPECT_FALSE(Touched(1)) << name;
    }
}

TEST_F(Page, AChannelRemovedUnderTheMouseEndsItsGesture) {
    page->Click(page->Title(DRUMS));
    page->Click(page->Title(BASS), Qt::ControlModifier);
    const QPoint thumb = page->Centre(DRUMS, VOLUME);
    page->Press(thumb);
    page->Move(thumb + QPoint(0, 20));
    host.Edit([&] { std::erase_if(host.channels, [](auto& c) { return c.id == 1; }); });
    host.Control(MPCTRL_CHANNEL, CHANGE_REMOVED, LEVEL_CHANNEL, 1, KIND_AUDIO_TRACK);
    EXPECT_TRUE(PageHarness::Until([&] { return !page->Channels().contains(DRUMS); }));
    page->Move(thumb + QPoint(0, 60));
    page->Release(thumb + QPoint(0, 60));
    EXPECT_FALSE(Touched(2)) << "those that moved along are let go";
}

TEST_F(Page, RefusesWhatTheContractRefuses) {
    ComPtr<IPropertyPage> other;
    EXPECT_EQ(QmOPTPlug_CreateOPTPropertyPage(&IID_IUnknown, other.Out()), E_NOINTERFACE);
    ASSERT_EQ(QmOPTPlug_CreateOPTPropertyPage(&CLSID_ConsoleMixerPage, other.Out()), S_OK);
    const RECT rect{0, 0, 10, 10};
    EXPECT_EQ(other->Activate(0, nullptr, 0), E_POINTER);
    EXPECT_EQ(other->Activate(0, &rect, 0), E_UNEXPECTED) << "no site";
    EXPECT_EQ(other->Deactivate(), E_UNEXPECTED);
    EXPECT_EQ(other->GetPageInfo(nullptr), E_POINTER);
    IUnknown* two[] = {console->Object(), console->Object()};
    EXPECT_EQ(other->SetObjects(2, two), E_UNEXPECTED);
    IUnknown* foreign = host.Unknown();
    EXPECT_NE(other->SetObjects(1, &foreign), S_OK) << "not our plug-in";
    ComPtr<OtherPlugin> control(new OtherPlugin);
    ASSERT_EQ(control->FinalConstruct(), S_OK);
    ComPtr<IUnknown> unknown;
    control->QueryInterface(IID_IUnknown, unknown.OutVoid());
    IUnknown* ofAnotherModule = unknown.Get();
    EXPECT_EQ(other->SetObjects(1, &ofAnotherModule), E_NOINTERFACE);
    EXPECT_EQ(control->DetachPage(nullptr), E_UNEXPECTED) << "nothing was attached";
    EXPECT_EQ(other->SetObjects(0, nullptr), S_OK);
}

TEST_F(Page, EveryPageThatIsNamedCanBeMadeAndShown) {
    ComPtr<ISpecifyPropertyPages> specify;
    ASSERT_EQ(console->Object()->QueryInterface(IID_ISpecifyPropertyPages, specify.OutVoid()), S_OK);
    CAUUID named{};
    ASSERT_EQ(specify->GetPages(&named), S_OK);
    std::vector<GUID> ids(named.ids, named.ids + named.count);
    CoTaskMemFree(named.ids);
    EXPECT_EQ(ids, (std::vector<GUID>{CLSID_ConsoleCfgPage, CLSID_ConsoleMixerPage}));
    ids.push_back(CLSID_ConsolePage);
    for (const GUID& id : ids) {
        SCOPED_TRACE(id.Data1);
        page->Close();
        ASSERT_EQ(page->Open(console->Object(), id), S_OK);
        EXPECT_TRUE(page->Page().isVisible());
        EXPECT_FALSE(page->title.empty());
    }
}

TEST_F(Page, AGuidedTourFindsOutThatTheConsoleIsThere) {
    ComPtr<IPropertyPage> other;
    ASSERT_EQ(QmOPTPlug_CreateOPTPropertyPage(&CLSID_ConsoleMixerPage, other.Out()), S_OK);
    ComPtr<IMixConsoleUIForGuidedTour> tour;
    ASSERT_EQ(other->QueryInterface(IID_IMixConsoleUIForGuidedTour, tour.OutVoid()), S_OK);
    ComPtr<IUnknown> none;
    EXPECT_EQ(tour->QueryInterface(IID_IPropertyPage, none.OutVoid()), E_NOINTERFACE);
    other.Reset();
    EXPECT_EQ(tour->Reserved(), S_OK) << "a host may hold it longer than the page";
}

/// What a change of one channel costs, however many there are.
TEST_F(Page, AChangeAsksTheHostAsOftenAmongThousandsOfChannels) {
    const auto callsOfAChange = [&](size_t channels) {
        host.Edit([&] {
            host.channels.clear();
            for (uint64_t id = 1; id <= channels; id++)
                host.channels.push_back({id, KIND_AUDIO_TRACK, static_cast<int32_t>(id), u"T"});
        });
        host.Notify(MPNOTIFY_PROJECT_RELOAD);
        auto* list = page->Page().findChild<QAbstractItemView*>(QStringLiteral("ChannelList"));
        EXPECT_TRUE(
            PageHarness::Until([&] { return list->model()->rowCount() == static_cast<int>(channels); }));
        PageHarness::Settle();
        const int before = host.Calls();
        Change(3, MASK_NAME | MASK_SWITCHES, [](FakeChannel& c) {
            c.name = u"Named";
            c.switches = SWITCH_SELECTED;
        });
        const QModelIndex row = list->model()->index(2, 0);
        EXPECT_TRUE(PageHarness::Until(
            [&] { return row.data() == "Named" && list->selectionModel()->isSelected(row); }));
        return host.Calls() - before;
    };
    const int few = callsOfAChange(30);
    EXPECT_GT(few, 0);
    EXPECT_EQ(callsOfAChange(2000), few);
}

TEST_F(Page, WhatIsHiddenInTheConsoleAloneIsNoneOfTheHosts) {
    page->Close();
    console->Close();
    host.Edit([&] { host.preferences[u"UseHostHideState"] = 0; });
    ASSERT_EQ(console->Open(), S_OK);
    ASSERT_EQ(page->Open(console->Object()), S_OK);
    constexpr uint32_t AUDIO_TRACKS = 50048, ALL = 50047;
    host.sets.clear();
    page->RunCommand(AUDIO_TRACKS);
    const auto hidden = [&] {
        return !page->Channels().contains(DRUMS) && page->Channels().contains("Rhythm");
    };
    EXPECT_TRUE(PageHarness::Until(hidden));
    EXPECT_TRUE(host.sets.empty());
    page->Close();
    ASSERT_EQ(page->Open(console->Object()), S_OK);
    EXPECT_TRUE(hidden()) << "another page of the same console";
    host.Notify(MPNOTIFY_PROJECT_RELOAD);
    PageHarness::Settle();
    EXPECT_TRUE(PageHarness::Until(hidden)) << "and entries that were made anew";
    page->RunCommand(ALL);
    EXPECT_TRUE(PageHarness::Until([&] { return page->Channels().contains(DRUMS); }));
    host.Edit([&] { host.preferences[u"UseHostHideState"] = 1; });
}

TEST_F(Page, WithoutGroupsAtTheHostThereAreNone) {
    const auto* bar = page->Page().findChild<QWidget*>(QStringLiteral("GroupBar"));
    constexpr uint32_t SHOW_GROUPS = 1250, VIEW_GROUP = 50057;
    const auto* groups = page->Page().findChild<QAbstractItemView*>(QStringLiteral("GroupList"));
    page->RunCommand(SHOW_GROUPS);
    page->RunCommand(VIEW_GROUP);
    EXPECT_FALSE(bar->isVisible() || groups->isVisible());
    EXPECT_EQ(groups->model()->rowCount(), 0);
    page->Close();
    host.Edit([&] { host.preferences[u"ShowGroups"] = 1; });
    ASSERT_EQ(page->Open(console->Object()), S_OK);
    page->RunCommand(SHOW_GROUPS);
    page->RunCommand(VIEW_GROUP);
    groups = page->Page().findChild<QAbstractItemView*>(QStringLiteral("GroupList"));
    EXPECT_TRUE(groups->isVisible());
    EXPECT_EQ(groups->model()->rowCount(), 1);
}

TEST_F(Page, ATimeTickReadsTheValuesBackWhileTheTransportStands) {
    host.transport = 0;
    Edit(1, [](FakeChannel& c) { c.volume = PositionToGain(-60); });  // by itself, and nobody was told
    host.Control(MPCTRL_METERS);
    PageHarness::Settle();
    EXPECT_EQ(page->FaderDb(DRUMS), 0) << "a meter tick reads values of a running host alone";
    host.Tick();
    EXPECT_TRUE(PageHarness::Until([&] { return page->FaderDb(DRUMS) == -6.0; }));
}

TEST_F(Page, AMeterTickChangesTheMetersAloneOnTheScreen) {
    const auto picture = [&] { return page->top.grab().toImage(); };
    page->Page().clearFocus();  // the caret blinks
    PageHarness::Settle();
    const QImage before = picture();
    Edit(1, [](FakeChannel& c) { c.level = 0.5f; });
    host.Control(MPCTRL_METERS);
    const QRect meter = page->Area(DRUMS, QStringLiteral("Level"));
    ASSERT_TRUE(PageHarness::Until([&] { return picture() != before; }));
    const QImage after = picture();
    for (int y = 0; y < after.height(); y++)
        for (int x = 0; x < after.width(); x++)
            ASSERT_TRUE(after.pixel(x, y) == before.pixel(x, y) || meter.contains(x, y)) << x << ", " << y;
}

TEST_F(Page, WhatIsScrolledIsAsIfItWerePaintedThere) {
    for (const int regions : {50059, 50061}) page->RunCommand(static_cast<uint32_t>(regions));
    for (uint64_t id = 1; id <= 5; id++)
        Edit(id, [&](FakeChannel& c) { c.level = 0.1f * static_cast<float>(id); });
    page->Page().clearFocus();  // the caret blinks
    page->Page().resize(430, 500);
    const auto picture = [&] { return page->top.grab().toImage(); };
    host.Control(MPCTRL_METERS);
    PageHarness::Settle();
    QImage last = picture();
    const QPoint title(300, 40);
    for (const int turn : {-120, -60, -25, 40, 240, -1000, 120}) {
        page->Wheel(title, turn);
        host.Control(MPCTRL_METERS);
        PageHarness::Settle();
        const QImage scrolled = picture();
        EXPECT_NE(scrolled, last) << turn;
        dynamic_cast<MessageWindow&>(page->Page()).InvalidateAll();
        last = picture();
        EXPECT_EQ(scrolled, last) << turn;
    }
}

}  // namespace
