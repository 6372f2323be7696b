// The message window: events of the window system as messages, timers, capture, painting, caret, tips.
#include "recorder_window.h"

#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QTextDocument>
#include <QToolTip>
#include <QWheelEvent>

namespace {
/// The mouse rests on the window.
QString TipUnderTheMouse(QWidget& w) {
    QHelpEvent help(QEvent::ToolTip, {10, 10}, w.mapToGlobal(QPoint(10, 10)));
    QApplication::sendEvent(&w, &help);
    return QToolTip::text();
}
using Ids = std::vector<uint32_t>;
}  // namespace

TEST(Window, LivesBetweenCreateAndDestroy) {
    Recorder w;
    EXPECT_EQ(w.Take(), Ids{WM_CREATE});
    w.Destroy();
    w.Destroy();
    EXPECT_EQ(w.Take(), Ids{WM_DESTROY});
    EXPECT_FALSE(w.Post(WM_APP));
    QTest::mouseMove(&w, {5, 5});
    QTest::keyClick(&w, Qt::Key_A);
    EXPECT_EQ(w.Take(), Ids{});
}

TEST(Window, MouseEventsComeWithAHitTestAndTheKeys) {
    Recorder w;
    w.Open();
    QTest::mousePress(&w, Qt::LeftButton, Qt::ShiftModifier, {20, 30});
    EXPECT_EQ(w.Last(WM_LBUTTONDOWN).wparam, MK_LBUTTON | MK_SHIFT);
    EXPECT_EQ(UnpackPoint(w.Last(WM_LBUTTONDOWN).lparam), (POINT{20, 30}));
    EXPECT_EQ(w.ToClient(UnpackPoint(w.Last(WM_NCHITTEST).lparam)), (POINT{20, 30}));
    EXPECT_EQ(w.Take(), (Ids{WM_NCHITTEST, WM_SETCURSOR, WM_LBUTTONDOWN}));
    QTest::mouseRelease(&w, Qt::LeftButton, Qt::ControlModifier, {20, 30});
    EXPECT_EQ(w.Last(WM_LBUTTONUP).wparam, MK_CONTROL);
    w.Take();
    QTest::mouseClick(&w, Qt::RightButton, {}, {20, 30});
    QTest::mouseDClick(&w, Qt::RightButton, {}, {20, 30});
    QTest::mouseRelease(&w, Qt::RightButton, {}, {20, 30});
    EXPECT_EQ(w.Count(WM_RBUTTONDOWN), 1u);
    EXPECT_EQ(w.Count(WM_RBUTTONDBLCLK), 1u);
    EXPECT_EQ(w.Count(WM_CONTEXTMENU), 2u) << "what nobody takes of the right button asks for the menu";
    EXPECT_EQ(w.ToClient(UnpackPoint(w.Last(WM_CONTEXTMENU).lparam)).x, 20);
    w.Take();
    QTest::mousePress(&w, Qt::ForwardButton, {}, {1, 1});
    EXPECT_EQ(HighWord(w.Last(WM_XBUTTONDOWN).wparam), 2);
    QTest::mouseRelease(&w, Qt::ForwardButton, {}, {1, 1});
    w.Take();
    QTest::mouseMove(&w, {199, 2});
    EXPECT_EQ(w.Take(), (Ids{WM_NCHITTEST, WM_SETCURSOR, WM_MOUSEMOVE})) << "without a button, too";
}

TEST(Window, CaptureSilencesTheHitTestAndIsLostWithTheWindow) {
    Recorder w;
    w.Open();
    QTest::mousePress(&w, Qt::LeftButton, {}, {20, 30});
    w.SetCapture(true);
    w.Take();
    QTest::mouseMove(&w, {-40, 500});
    EXPECT_EQ(w.Take(), Ids{WM_MOUSEMOVE});
    w.SetCapture(false);
    w.SetCapture(false);
    EXPECT_EQ(w.Take(), Ids{WM_CAPTURECHANGED});
    w.SetCapture(true);
    w.hide();
    EXPECT_EQ(w.Count(WM_CANCELMODE), 1u);
    EXPECT_EQ(w.Count(WM_CAPTURECHANGED), 1u);
    EXPECT_FALSE(w.HasCapture());
    QTest::mouseRelease(&w, Qt::LeftButton, {}, {20, 30});
}

TEST(Window, Wheel) {
    Recorder w;
    w.Open();
    SendWheel(w, {10, 10}, {0, -120}, Qt::ControlModifier);
    EXPECT_EQ(SignedHighWord(w.Last(WM_MOUSEWHEEL).wparam), -120);
    EXPECT_EQ(LowWord(w.Last(WM_MOUSEWHEEL).wparam), MK_CONTROL);
    EXPECT_EQ(w.ToClient(UnpackPoint(w.Last(WM_MOUSEWHEEL).lparam)).x, 10);
    SendWheel(w, {10, 10}, {15, 0});
    EXPECT_EQ(SignedHighWord(w.Last(WM_MOUSEHWHEEL).wparam), -15);
}

TEST(Window, KeysAndWhatIsPassedOn) {
    struct Parent : QWidget {
        std::vector<int> keys;
        void keyPressEvent(QKeyEvent* e) override { keys.push_back(e->key()); }
    } parent;
    auto* w = new Recorder(&parent);
    parent.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&parent));
    struct Row {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        uint32_t vk;
    };
    for (const Row& row :
         {Row{Qt::Key_A, {}, 'A'}, Row{Qt::Key_7, {}, '7'},
          Row{Qt::Key_7, Qt::KeypadModifier, VK_NUMPAD0 + 7}, Row{Qt::Key_Home, {}, VK_HOME},
          Row{Qt::Key_Tab, {}, VK_TAB}, Row{Qt::Key_Backtab, {}, VK_TAB}, Row{Qt::Key_F9, {}, VK_F9},
          Row{Qt::Key_Escape, {}, VK_ESCAPE}, Row{Qt::Key_Plus, Qt::KeypadModifier, VK_ADD}}) {
        QTest::keyPress(w, row.key, row.modifiers);
        EXPECT_EQ(w->Last(WM_KEYDOWN).wparam, row.vk);
        QTest::keyRelease(w, row.key, row.modifiers);
        EXPECT_EQ(w->Last(WM_KEYUP).wparam, row.vk);
    }
    EXPECT_EQ(parent.keys.size(), 9u) << "the default hands keys on";
    parent.keys.clear();
    bool control = false;
    w->also = [&](uint32_t message, uintptr_t, intptr_t) {
        if (message == WM_KEYDOWN) control = w->IsKeyDown(VK_CONTROL) && !w->IsKeyDown(VK_SHIFT);
        return intptr_t{0};
    };
    QTest::keyPress(w, Qt::Key_Delete, Qt::ControlModifier);
    EXPECT_TRUE(parent.keys.empty()) << "a key that was used goes no further";
    EXPECT_TRUE(control);
    QTest::keyRelease(w, Qt::Key_Delete, Qt::ControlModifier);
    w->also = nullptr;
    QTest::keyClick(w, Qt::Key_Menu);
    EXPECT_EQ(w->Last(WM_CONTEXTMENU).lparam, -1);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Up, {}, QString(), true);
    QApplication::sendEvent(w, &repeat);
    EXPECT_TRUE(w->Last(WM_KEYDOWN).lparam & KEY_REPEATED);
}

TEST(Window, FocusLeavesMenusAside) {
    Recorder w;
    w.Open();
    QFocusEvent popup(QEvent::FocusOut, Qt::PopupFocusReason), other(QEvent::FocusOut, Qt::MouseFocusReason);
    QApplication::sendEvent(&w, &popup);
    EXPECT_EQ(w.Take(), Ids{WM_CANCELMODE}) << "what is held is released in the menu";
    QApplication::sendEvent(&w, &other);
    EXPECT_EQ(w.Take(), Ids{WM_KILLFOCUS});
}

TEST(Window, Timers) {
    Recorder w;
    w.SetTimer(42, 5);
    w.SetTimer(7, 5);
    w.SetTimer(42, 1);
    QTRY_VERIFY_WITH_TIMEOUT(w.Count(WM_TIMER) >= 6, 2000);
    EXPECT_GE(std::count_if(w.got.begin(), w.got.end(), [](const Message& m) { return m.wparam == 42; }), 2);
    w.KillTimer(42);
    w.KillTimer(7);
    w.KillTimer(7);
    w.got.clear();
    QTest::qWait(20);
    EXPECT_EQ(w.Count(WM_TIMER), 0u);
}

TEST(Window, PaintsWhatIsInvalidAndKeepsTheRest) {
    Recorder w;
    std::vector<RECT> painted;
    COLORREF color = 0x0000FF;
    w.also = [&](uint32_t message, uintptr_t wparam, intptr_t) {
        if (message != WM_PAINT) return intptr_t{0};
        const auto& info = *reinterpret_cast<const PaintInfo*>(wparam);
        painted.push_back(info.rect);
        FillRect(info.painter, {-500, -500, 500, 500}, color);
        return intptr_t{0};
    };
    w.Open();
    QTRY_VERIFY(!painted.empty());
    EXPECT_EQ(painted.front(), w.ClientRect());
    painted.clear();
    color = 0x00FF00;
    w.Invalidate({10, 10, 20, 20});
    QTRY_VERIFY(!painted.empty());
    EXPECT_EQ(painted, (std::vector<RECT>{{10, 10, 20, 20}}));
    {
        WindowPainter direct(w);
        ASSERT_TRUE(direct);
        FillRect(*direct, {50, 50, 60, 60}, 0xFF0000);
        direct.Drawn({50, 50, 60, 60});
    }
    QTest::qWait(30);
    EXPECT_EQ(painted.size(), 1u) << "direct drawing needs no paint";
    const QImage image = w.grab().toImage();
    EXPECT_EQ(image.pixelColor(5, 5), QColor(255, 0, 0));
    EXPECT_EQ(image.pixelColor(15, 15), QColor(0, 255, 0)) << "painted again";
    EXPECT_EQ(image.pixelColor(55, 55), QColor(0, 0, 255)) << "drawn directly";
    w.resize(100, 100);
    EXPECT_FALSE(WindowPainter(w)) << "until the paint at the new size";
}

TEST(Window, CaretLiesOverThePaint) {
    Recorder w;
    w.Open();
    w.CaretService().SetColor(0x00FFFF);
    w.CreateCaret({4, 4});
    w.MoveCaret({10, 10});
    const auto yellow = [&] { return w.grab().toImage().pixelColor(11, 11) == QColor(255, 255, 0); };
    EXPECT_FALSE(yellow()) << "made hidden";
    w.ShowCaret(true);
    EXPECT_TRUE(yellow());
    QTRY_VERIFY_WITH_TIMEOUT(!yellow(), 3000);
    QTRY_VERIFY_WITH_TIMEOUT(yellow(), 3000);
    w.MoveCaret({100, 50});
    EXPECT_FALSE(yellow());
    w.DestroyCaret();
    EXPECT_FALSE(w.CaretService().IsShown());
}

TEST(Window, PointersByNumber) {
    Recorder w;
    EXPECT_EQ(w.cursor().shape(), Qt::ArrowCursor);
    w.SetPointer(CURSOR_SPLIT_ROWS);
    EXPECT_EQ(w.cursor().shape(), Qt::SplitVCursor);
    w.SetPointer(CURSOR_THUMB_LEFT);
    EXPECT_FALSE(w.cursor().pixmap().isNull());
    w.SetPointer(4711);
    EXPECT_EQ(w.cursor().shape(), Qt::ArrowCursor);
}

TEST(Window, EmbedsInAWindowOfThisProcess) {
    QWidget host;
    host.resize(300, 200);
    host.show();
    auto* w = new Recorder;
    EXPECT_FALSE(w->EmbedIn(0));
    ASSERT_TRUE(w->EmbedIn(static_cast<HWND>(host.winId())));
    EXPECT_EQ(w->parentWidget(), &host);
}

TEST(Tips, StayOnTheScreenAndBelongToTheirElement) {
    constexpr RECT screen{0, 0, 1000, 500};
    struct Row {
        POINT wanted;
        SIZE size;
        POINT place;
    };
    for (const Row& row : {Row{{10, 10}, {50, 20}, {10, 10}}, Row{{990, 490}, {50, 20}, {950, 480}},
                           Row{{-5, -5}, {50, 20}, {0, 0}}, Row{{10, 10}, {2000, 900}, {0, 0}}}) {
        EXPECT_EQ(PlaceTip(row.wanted, row.size, screen), row.place);
    }
    Recorder w;
    w.Open();
    EXPECT_EQ(TipUnderTheMouse(w), QString());
    w.TipService().SetHover(u"Mute", {0, 0, 20, 20});
    EXPECT_EQ(TipUnderTheMouse(w), QString("Mute"));
    w.TipService().SetHover(u"Solo", {20, 0, 40, 20});
    EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); })) << "it belonged to another element";
    EXPECT_EQ(TipUnderTheMouse(w), QString("Solo"));
    w.TipService().HideHover();
    w.TipService().Track(u"-6.0 dB", {100, 100});
    EXPECT_TRUE(w.TipService().IsTracking());
    w.TipService().HideTracked();
    EXPECT_FALSE(w.TipService().IsTracking());
}

// What looks like rich text would have Qt open the files that it names.
TEST(Tips, ShowWhatTheyAreGivenLetterByLetter) {
    const QString name = QStringLiteral("<b>A &amp; B</b>  <img src='/x.png'> \"C\"");
    Recorder w;
    w.Open();
    w.TipService().Track(name.toStdU16String(), {100, 100});
    EXPECT_EQ(w.findChild<QLabel*>()->textFormat(), Qt::PlainText);
    EXPECT_EQ(w.findChild<QLabel*>()->text(), name);
    w.TipService().SetHover(name.toStdU16String(), {0, 0, 20, 20});
    QTextDocument shown;
    shown.setHtml(TipUnderTheMouse(w));
    EXPECT_EQ(shown.toPlainText().simplified(), name.simplified());
}
