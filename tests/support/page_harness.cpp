#include "tests/support/page_harness.h"

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QThread>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace {

QAccessibleInterface* Child(QAccessibleInterface* parent, const QString& name) {
    for (int i = 0; parent && i < parent->childCount(); i++)
        if (parent->child(i)->text(QAccessible::Name) == name) return parent->child(i);
    return nullptr;
}

QAccessibleInterface* Control(QWidget& page, const QString& channel, const QString& name) {
    return Child(Child(QAccessible::queryAccessibleInterface(&page), channel), name);
}

}  // namespace

PageHarness::PageHarness(IUnknown* plugin, QSize size) {
    top.resize(size);
    top.show();
    EXPECT_EQ(Open(plugin), S_OK);
    Settle();
}

HRESULT PageHarness::Open(IUnknown* plugin) {
    HRESULT hr = QmOPTPlug_CreateOPTPropertyPage(&CLSID_ConsoleMixerPage, m_page.Out());
    if (hr == S_OK) hr = m_page->SetPageSite(&m_site);
    if (hr == S_OK) hr = m_page->SetObjects(1, &plugin);
    const RECT rect{0, 0, top.width(), top.height()};
    if (hr == S_OK) hr = m_page->Activate(static_cast<HWND>(top.winId()), &rect, 0);
    if (hr == S_OK) hr = m_page->Show(SW_SHOW);
    return hr;
}

void PageHarness::Close() {
    if (!m_page) return;
    m_page->Deactivate();
    m_page->SetObjects(0, nullptr);
    m_page->SetPageSite(nullptr);
    m_page.Reset();
    EXPECT_EQ(m_site.references, 0);
}

QWidget& PageHarness::Page() {
    PROPPAGEINFOEX info{};
    info.base.size = sizeof info;
    EXPECT_EQ(m_page->GetPageInfo(&info.base), S_OK);
    CoTaskMemFree(info.base.title);
    CoTaskMemFree(info.menuName);
    QWidget* page = QWidget::find(static_cast<WId>(info.window));
    EXPECT_TRUE(page);
    return *page;
}

void PageHarness::Settle() {
    QApplication::processEvents();
    QThread::msleep(1);
    QApplication::processEvents();
}

void PageHarness::Mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons,
                        Qt::KeyboardModifiers modifiers) {
    QWidget& page = Page();
    QMouseEvent event(type, QPointF(at), QPointF(page.mapToGlobal(at)), button, buttons, modifiers);
    QApplication::sendEvent(&page, &event);
    QApplication::processEvents();
}

void PageHarness::Press(QPoint at, Qt::KeyboardModifiers modifiers) {
    Mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton, modifiers);
    Mouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, modifiers);
}
void PageHarness::Move(QPoint at, Qt::KeyboardModifiers modifiers) {
    Mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton, modifiers);
}
void PageHarness::Release(QPoint at, Qt::KeyboardModifiers modifiers) {
    Mouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton, modifiers);
}
void PageHarness::Click(QPoint at, Qt::KeyboardModifiers modifiers) {
    Press(at, modifiers);
    Release(at, modifiers);
}
void PageHarness::DoubleClick(QPoint at) {
    Click(at);
    Mouse(QEvent::MouseButtonDblClick, at, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    Release(at);
}

void PageHarness::Wheel(QPoint at, int turn, Qt::KeyboardModifiers modifiers) {
    QWidget& page = Page();
    QWheelEvent event(QPointF(at), QPointF(page.mapToGlobal(at)), QPoint(), QPoint(0, turn), Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&page, &event);
    QApplication::processEvents();
}

void PageHarness::Key(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers);
        QApplication::sendEvent(&Page(), &event);
    }
    QApplication::processEvents();
}

QRect PageHarness::Area(const QString& channel, const QString& control) {
    QAccessibleInterface* found = Control(Page(), channel, control);
    if (found && found->role() == QAccessible::Slider) found = found->child(0);
    EXPECT_TRUE(found) << channel.toStdString() << " " << control.toStdString();
    return found ? QRect(Page().mapFromGlobal(found->rect().topLeft()), found->rect().size()) : QRect();
}

QPoint PageHarness::Centre(const QString& channel, const QString& control) { return Area(channel, control).center(); }

double PageHarness::FaderDb(const QString& channel) {
    QAccessibleInterface* found = Control(Page(), channel, QStringLiteral("Volume"));
    return found ? found->valueInterface()->currentValue().toDouble() : -1000;
}

bool PageHarness::IsChecked(const QString& channel, const QString& control) {
    QAccessibleInterface* found = Control(Page(), channel, control);
    return found && found->state().checked;
}

bool PageHarness::IsSelected(const QString& channel) {
    QAccessibleInterface* found = Child(QAccessible::queryAccessibleInterface(&Page()), channel);
    return found && found->state().selected;
}

QStringList PageHarness::Channels() {
    QStringList names;
    QAccessibleInterface* page = QAccessible::queryAccessibleInterface(&Page());
    for (int i = 0; page && i < page->childCount(); i++) names += page->child(i)->text(QAccessible::Name);
    return names;
}
