#include "console/shell_page.h"

#include "console/console_plugin.h"
#include "console/texts.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/paint.h"

namespace {
constexpr SIZE IDEAL_SIZE{240, 120};
}  // namespace

class CConsoleShellPage::PageWindow final : public MessageWindow {
public:
    ~PageWindow() override { Destroy(); }
    intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        if (message != WM_PAINT) return MessageWindow::OnMessage(message, wparam, lparam);
        const auto& paint = *reinterpret_cast<const PaintInfo*>(wparam);
        FillRect(paint.painter, paint.rect, QmGetUIColor(COLOR_BTNFACE));
        return 0;
    }
};

CConsoleShellPage::~CConsoleShellPage() {
    if (Window()) Deactivate();
}

bool CConsoleShellPage::Takes(COPTPlugin& plugin) const {
    return dynamic_cast<CConsoleControlPlugin*>(&plugin);
}

HRESULT CConsoleShellPage::Activate(HWND parent, const RECT* rect, BOOL) {
    return Embed(std::make_unique<PageWindow>(), parent, rect);
}

HRESULT CConsoleShellPage::GetPageInfo(PROPPAGEINFO* info) {
    return TellPage(info, ConsoleText(m_title), IDEAL_SIZE);
}
