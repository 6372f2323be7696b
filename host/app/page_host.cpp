#include "host/app/page_host.h"

#include "platform/counted.h"

using namespace tarn;

namespace host {
namespace {

QString TakeText(char16_t* text) {
    QString taken = text ? QString::fromUtf16(text) : QString();
    CoTaskMemFree(text);
    return taken;
}

}  // namespace

class PageHost::Site final : public Counted<IPropertyPageSite, IID_IPropertyPageSite> {
public:
    explicit Site(PageWishes wishes) : m_wishes(std::move(wishes)) {}
    HRESULT OnStatusChange(uint32_t) override { return S_OK; }
    HRESULT GetLocaleID(uint32_t* lcid) override {
        if (!lcid) return E_POINTER;
        constexpr uint32_t ENGLISH_US = 1033;
        *lcid = ENGLISH_US;
        return S_OK;
    }
    HRESULT GetPageContainer(IUnknown** out) override {
        if (out) *out = nullptr;
        return E_NOTIMPL;
    }
    HRESULT TranslateAccelerator(MSG* message) override {
        if (!message) return E_POINTER;
        if (message->message == COMMAND_MESSAGE && m_wishes.run)
            return m_wishes.run(static_cast<uint32_t>(message->wParam)) ? S_OK : S_FALSE;
        if (message->message != STATUS_MESSAGE || !m_wishes.status) return S_FALSE;
        const auto* text = reinterpret_cast<const char16_t*>(message->lParam);
        m_wishes.status(text ? QString::fromUtf16(text) : QString());
        return S_OK;
    }

private:
    const PageWishes m_wishes;
};

PageHost::PageHost(QWidget* parent, PageWishes wishes)
    : QWidget(parent), m_site(new Site(std::move(wishes))) {
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(160, 160);
}

PageHost::~PageHost() { Close(); }

bool PageHost::Open(ComPtr<IPropertyPage> page, IUnknown* plugin) {
    Close();
    const RECT area = Area();
    if (!page || page->SetPageSite(m_site.Get()) != S_OK || page->SetObjects(1, &plugin) != S_OK)
        return false;
    if (page->Activate(static_cast<HWND>(winId()), &area, 0) != S_OK) {
        page->SetObjects(0, nullptr);
        page->SetPageSite(nullptr);
        return false;
    }
    m_page = std::move(page);
    m_page->Show(SW_SHOW);
    setFocusProxy(PageWindow());
    return true;
}

void PageHost::Close() {
    if (!m_page) return;
    setFocusProxy(nullptr);
    m_page->Deactivate();
    m_page->SetObjects(0, nullptr);
    m_page->SetPageSite(nullptr);
    m_page.Reset();
}

PageHost::Info PageHost::GetInfo() const {
    PROPPAGEINFOEX record{};
    record.base.size = sizeof record;
    if (!m_page || m_page->GetPageInfo(&record.base) != S_OK) return {};
    Info info{TakeText(record.base.title), record.base.pageSize, record.window};
    TakeText(record.base.docString);
    TakeText(record.base.helpFile);
    TakeText(record.menuName);
    return info;
}

QString PageHost::Title() const { return GetInfo().title; }
QWidget* PageHost::PageWindow() const { return QWidget::find(static_cast<WId>(GetInfo().window)); }

bool PageHost::RunCommand(uint32_t command) {
    MSG message{};
    message.window = GetInfo().window;
    message.message = COMMAND_MESSAGE;
    message.wParam = command;
    return m_page && m_page->TranslateAccelerator(&message) == S_OK;
}

void PageHost::resizeEvent(QResizeEvent*) {
    const RECT area = Area();
    if (m_page) m_page->Move(&area);
}

void PageHost::focusInEvent(QFocusEvent*) {
    if (QWidget* page = PageWindow()) page->setFocus();
}

}  // namespace host
