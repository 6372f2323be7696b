// The place in the window where a plug-in's page lives: gives the page its parent by native window id, and
// keeps it as large as itself.
#pragma once

#include "contract/host_contract.h"

#include <QWidget>

#include <functional>

namespace host {

/// What a page asks of its host.
struct PageWishes {
    std::function<bool(uint32_t command)> run;        ///< what the page cannot do; false: nor the host
    std::function<void(const QString& text)> status;  ///< what the command under the mouse does, or empty
};

class PageHost final : public QWidget {
public:
    explicit PageHost(QWidget* parent = nullptr, PageWishes wishes = {});
    ~PageHost() override;

    /// Makes the page of `plugin` live here; false when it refuses. Another page goes first.
    bool Open(tarn::ComPtr<IPropertyPage> page, IUnknown* plugin);
    void Close();
    /// The page's title; empty without a page.
    QString Title() const;
    /// The page's own window, null without one.
    QWidget* PageWindow() const;
    /// Has the page carry out one of its commands; false when it does not take it.
    bool RunCommand(uint32_t command);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    class Site;
    /// The page's description with its texts taken over.
    struct Info {
        QString title;
        SIZE size{};
        HWND window = 0;
    };
    Info GetInfo() const;
    RECT Area() const { return {0, 0, width(), height()}; }

    tarn::ComPtr<IPropertyPage> m_page;
    tarn::ComPtr<IPropertyPageSite> m_site;
};

}  // namespace host
