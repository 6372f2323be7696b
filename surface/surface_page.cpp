#include "surface/surface_page.h"

#include "surface/surface_form.h"
#include "surface/surface_texts.h"

using namespace tarn;

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

bool CSurfacePage::Takes(COPTPlugin& plugin) const { return dynamic_cast<CSurfacePlugin*>(&plugin); }

HRESULT CSurfacePage::SetObjects(uint32_t count, IUnknown** objects) {
    const HRESULT hr = CBaseListPage::SetObjects(count, objects);
    if (hr == S_OK && Window()) Deactivate();
    return hr;
}

HRESULT CSurfacePage::Activate(HWND parent, const RECT* rect, BOOL) {
    if (!rect) return E_POINTER;
    const ComPtr<COPTPlugin> plugin = ThePlugin();
    ComPtr<CSurfacePlugin> surface(dynamic_cast<CSurfacePlugin*>(plugin.Get()));
    if (!surface) return E_UNEXPECTED;
    return Embed(std::make_unique<PageWindow>(std::move(surface)), parent, rect);
}

HRESULT CSurfacePage::GetPageInfo(PROPPAGEINFO* info) {
    return TellPage(info, SurfaceText(IDS_SURFACE), IDEAL_SIZE);
}
