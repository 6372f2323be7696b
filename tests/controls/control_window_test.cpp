// Controls as windows: registered by name, worked by real events, found by a screen reader.
#include "controls/control_window.h"
#include "controls/fader.h"
#include "controls/fader_layout.h"
#include "controls/meter_scales.h"
#include "controls/pan.h"
#include "controls/scope.h"
#include "controls/trackbar.h"
#include "fake_window.h"
#include "kernel/ui/theme.h"
#include "recorder_window.h"

#include <QAccessible>

#include <string>

namespace {
struct ClassRow {
    const char16_t* name;
    BOOL (*start)();
    void (*end)();
    QAccessible::Role role;
    double low, high;
};
const ClassRow kRows[] = {
    {u"GUICS_Fader_Class", FaderInitialize, FaderTerminate, QAccessible::Slider, 0, 100},
    {u"GUICS_Trackbar_Class", TrackbarInitialize, TrackbarTerminate, QAccessible::Slider, 0, 100},
    {u"GUICS_Pan_Class", PanInitialize, PanTerminate, QAccessible::Slider, -1, 1},
    {u"GUICS_Meter_Class", MeterInitialize, MeterTerminate, QAccessible::ProgressBar, -90.3, 0},
    {u"GUICS_MeterEx_Class", MeterExInitialize, MeterExTerminate, QAccessible::ProgressBar, 0, 1},
    {u"GUICS_Scope_Class", ScopeInitialize, ScopeTerminate, QAccessible::Graphic, 0, 0},
};
constexpr RECT kRect{10, 10, 90, 190};

class Controls : public testing::Test {
protected:
    void SetUp() override {
        ApplyTheme(Theme::Dark);
        for (const ClassRow& row : kRows) EXPECT_TRUE(row.start());
    }
    void TearDown() override {
        for (const ClassRow& row : kRows) row.end();
    }
    Recorder parent;
};
}  // namespace

TEST_F(Controls, AreMadeByTheirClassesNames) {
    for (const ClassRow& row : kRows) {
        EXPECT_FALSE(row.start()) << "registered already";
        ControlWindow* control = QmCreateControl(row.name, 0, &kRect, &parent, 7);
        ASSERT_NE(control, nullptr);
        EXPECT_EQ(control->geometry(), QRect(10, 10, 80, 180));
        control->grab();
        control->resize(3, 2);
        control->grab();
        row.end();
        EXPECT_EQ(QmCreateControl(row.name, 0, &kRect, &parent, 7), nullptr);
        EXPECT_TRUE(row.start());
    }
    EXPECT_EQ(QmSendControl(nullptr, FADERM_GETPOS, 0, 0), 0);
}

TEST_F(Controls, AreToldToAScreenReader) {
    for (const ClassRow& row : kRows) {
        ControlWindow* control = QmCreateControl(row.name, 0, &kRect, &parent, 7);
        QAccessibleInterface* face = QAccessible::queryAccessibleInterface(control);
        ASSERT_NE(face, nullptr);
        EXPECT_EQ(face->role(), row.role);
        EXPECT_FALSE(face->text(QAccessible::Name).isEmpty());
        QAccessibleValueInterface* value = face->valueInterface();
        if (row.role == QAccessible::Graphic) {
            EXPECT_EQ(value, nullptr);
            continue;
        }
        ASSERT_NE(value, nullptr);
        EXPECT_NEAR(value->minimumValue().toDouble(), row.low, 0.05);
        EXPECT_NEAR(value->maximumValue().toDouble(), row.high, 0.05);
        EXPECT_FALSE(face->text(QAccessible::Value).isEmpty());
        EXPECT_EQ(face->state().readOnly, row.role == QAccessible::ProgressBar);
        if (row.role != QAccessible::Slider) continue;
        parent.got.clear();
        value->setCurrentValue(row.high);
        EXPECT_EQ(value->currentValue().toDouble(), row.high);
        EXPECT_EQ(LowWord(parent.Last(WM_HSCROLL).wparam), FADER_SET) << "as a user's change";
    }
    ControlWindow* fader = QmCreateControl(u"GUICS_Fader_Class", FADERS_TAPER, &kRect, &parent, 7);
    fader->setAccessibleName("Drums");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(fader)->text(QAccessible::Name), "Drums");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(fader)->text(QAccessible::Value), "5.0 dB");
}

TEST_F(Controls, TakeKeysWheelAndTab) {
    ControlWindow* first =
        QmCreateControl(u"GUICS_Fader_Class", FADERS_VERTICAL | FADERS_SELF_KEYS, &kRect, &parent, 1);
    constexpr RECT kBeside{110, 10, 190, 90};
    ControlWindow* second = QmCreateControl(u"GUICS_Trackbar_Class", FADERS_SELF_KEYS, &kBeside, &parent, 2);
    parent.Open();
    QApplication::setActiveWindow(&parent);
    first->setFocus();
    QTest::keyClick(first, Qt::Key_Up);
    EXPECT_EQ(QmSendControl(first, FADERM_GETPOS, 0, 0), 51);
    EXPECT_EQ(LowWord(parent.Last(WM_VSCROLL).wparam), FADER_END);
    QTest::keyClick(first, Qt::Key_Tab);
    EXPECT_TRUE(second->hasFocus());
    EXPECT_GT(parent.Count(WM_NOTIFY), 0u) << "the fader that is a window tells that it lost the focus";
    QTest::keyClick(second, Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(first->hasFocus());
    SendWheel(*first, {5, 5}, {0, 240});
    EXPECT_EQ(QmSendControl(first, FADERM_GETPOS, 0, 0), 71);
    EXPECT_EQ(Fader_DefScrollProc(0, FADER_TOP, first, 0, 0), 100);
    EXPECT_EQ(Fader_DefScrollProc(0, FADER_TOP, second, 0, 0), 0) << "another class";
    EXPECT_EQ(Trackbar_DefScrollProc(0, FADER_BOTTOM, second, 0, 0), 100);
    first->setEnabled(false);
    QTest::keyClick(first, Qt::Key_Up);
    EXPECT_EQ(QmSendControl(first, FADERM_GETPOS, 0, 0), 100);
    EXPECT_TRUE(static_cast<tQMFADER*>(first->Record())->state & FADERST_DISABLED);
}

TEST_F(Controls, AFaderIsDraggedByRealEvents) {
    ControlWindow* window =
        QmCreateControl(u"GUICS_Fader_Class", FADERS_VERTICAL | FADERS_TAPER, &kRect, &parent, 1);
    auto& fader = *static_cast<tQMFADER*>(window->Record());
    QmSendControl(window, FADERM_SETRANGE, 0, Limits(-720, 120));
    QmSendControl(window, FADERM_SETPOS, 0, 0);
    parent.Open();
    const auto thumb = [&] {
        const POINT p = FaderThumbCentre(fader, 0);
        return QPoint(p.x, p.y);
    };
    const QPoint from = thumb();
    QTest::mousePress(window, Qt::LeftButton, {}, from);
    QTest::mouseMove(window, from - QPoint(0, 20));
    EXPECT_NEAR(thumb().y(), from.y() - 20, 3) << "a tenth of a decibel is up to 3 pixels here";
    EXPECT_TRUE(window->HasCapture());
    QTest::keyPress(window, Qt::Key_Escape);
    EXPECT_EQ(thumb(), from);
    EXPECT_FALSE(window->HasCapture());
    QTest::mouseRelease(window, Qt::LeftButton, {}, from);
}

TEST_F(Controls, AMeterRefreshesWithoutAPaintOfAll) {
    ControlWindow* meter = QmCreateControl(u"GUICS_Meter_Class", METERS_VERTICAL, &kRect, &parent, 1);
    parent.Open();
    const QImage before = meter->grab().toImage();
    QmSendControl(meter, METERM_SETLEVELS, 0, 30000);
    meter->Refresh();
    const QImage after = meter->grab().toImage();
    EXPECT_NE(before, after);
    meter->InvalidateAll();
    EXPECT_EQ(meter->grab().toImage(), after);
}
