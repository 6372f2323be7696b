#include "tests/support/page_harness.h"

#include <gtest/gtest.h>

ConsoleSession::ConsoleSession(FakeHost& host) : m_host(host) {
    EXPECT_EQ(QmOPTPlug_CreateOPTObject(m_object.Out()), S_OK);
    EXPECT_EQ(m_object->QueryInterface(IID_IMPInitialise, m_init.OutVoid()), S_OK);
}

HRESULT ConsoleSession::Open() {
    const HRESULT hr = m_host.Initialise(*m_init.Get());
    if (hr == S_OK) m_host.OpenProject();
    return hr;
}

void ConsoleSession::Close() {
    m_host.CloseProject();
    m_init->Terminate();
}

PageHarness::PageHarness(IUnknown* plugin, QSize size) {
    top.resize(size);
    top.show();
    EXPECT_EQ(Open(plugin), S_OK);
    Settle();
}

HRESULT PageHarness::Open(IUnknown* plugin, const GUID& page) {
    HRESULT hr = QmOPTPlug_CreateOPTPropertyPage(&page, m_page.Out());
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

bool PageHarness::RunCommand(uint32_t command) {
    MSG message{};
    message.message = COMMAND_MESSAGE;
    message.wParam = command;
    return m_page->TranslateAccelerator(&message) == S_OK;
}

QWidget& PageHarness::Page() {
    PROPPAGEINFOEX info{};
    info.base.size = sizeof info;
    EXPECT_EQ(m_page->GetPageInfo(&info.base), S_OK);
    title = info.base.title;
    CoTaskMemFree(info.base.title);
    CoTaskMemFree(info.menuName);
    QWidget* page = QWidget::find(static_cast<WId>(info.window));
    EXPECT_TRUE(page);
    return *page;
}
