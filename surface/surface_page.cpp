#include "surface/surface_page.h"

#include "surface/surface_form.h"
#include "surface/surface_texts.h"

namespace {
constexpr SIZE IDEAL_SIZE{760, 560};
}  // namespace

/// Fills itself with the form.
class CSurfacePage::PageWindow final : public MessageWindow {
public:
    explicit PageWindow(ComPtr<CSurfacePlugin> plugin) : m_form(new SurfaceForm(std::move(plugin), this)) {
        setObjectName(QStringLiteral("surface"));
        setFocusProxy(m_form);
    }
    ~PageWindow() override { Destroy(); }
    intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        if (message == WM_SIZE) m_form->setGeometry(rect());
        return MessageWindow::OnMessage(message, wparam, lparam);
    }

private:
    SurfaceForm* m_form;
};

CSurfacePage::~CSurfacePage() {
    if (Window()) Deactivate();
}

HRESULT CSurfacePage::SetObjects(uint32_t count, IUnknown** objects) {
    const HRESULT hr = CBaseListPage::SetObjects(count, objects);
    if (hr == S_OK && Window()) Deactivate();
    return hr;
}

HRESULT CSurfacePage::Activate(HWND parent, const RECT* rect, BOOL) {
    if (!rect) return E_POINTER;
    const ComPtr<COPTPlugin> plugin = ThePlugin();
    ComPtr<CSurfacePlugin> surface(dynamic_cast<CSurfacePlugin*>(plugin.Get()));
    if (!surface || Window()) return E_UNEXPECTED;
    auto window = std::make_unique<PageWindow>(std::move(surface));
    PageWindow* made = window.get();
    if (!made->EmbedIn(parent)) return E_INVALIDARG;
    made->setGeometry(ToQRect(*rect));
    SetWindow(std::move(window));
    if (made->Create()) return S_OK;
    SetWindow(nullptr);
    return E_OUTOFMEMORY;
}

HRESULT CSurfacePage::GetPageInfo(PROPPAGEINFO* info) {
    if (!info) return E_POINTER;
    info->title = CoTaskMemString(SurfaceText(IDS_SURFACE));
    info->pageSize = IDEAL_SIZE;
    info->docString = info->helpFile = nullptr;
    info->helpContext = 0;
    if (info->size == sizeof(PROPPAGEINFOEX)) {
        auto* extended = reinterpret_cast<PROPPAGEINFOEX*>(info);
        extended->window = Window() ? Window()->Handle() : 0;
        extended->menuName = nullptr;
    }
    return info->title ? S_OK : E_OUTOFMEMORY;
}
