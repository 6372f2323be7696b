// A console page in a window of the test: made through the module's entry points, embedded by its window id, as a host
// does it.
#pragma once

#include "plugin/host_contract.h"

#include <QEvent>
#include <QWidget>

extern "C" {
HRESULT QmOPTPlug_CreateOPTObject(IUnknown** out);
HRESULT QmOPTPlug_GetOPTObjectInfo(GUID* classId, char16_t* name, uint32_t nameSize, uint32_t* flags);
HRESULT QmOPTPlug_CreateOPTPropertyPage(const GUID* pageId, IPropertyPage** out);
HRESULT QmOPTPlug_UpdateKernelLCID(uint32_t lcid);
}

class PageSite final : public IPropertyPageSite {
public:
    HRESULT QueryInterface(const GUID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return static_cast<uint32_t>(++references); }
    uint32_t Release() override { return static_cast<uint32_t>(--references); }
    HRESULT OnStatusChange(uint32_t) override { return S_OK; }
    HRESULT GetLocaleID(uint32_t* lcid) override { return *lcid = 1033, S_OK; }
    HRESULT GetPageContainer(IUnknown**) override { return E_NOTIMPL; }
    HRESULT TranslateAccelerator(MSG*) override { return S_FALSE; }

    int references = 0;
};

class PageHarness {
public:
    /// Makes the page of `plugin` in a window of that size and shows it.
    PageHarness(IUnknown* plugin, QSize size);
    ~PageHarness() { Close(); }

    HRESULT Open(IUnknown* plugin);
    void Close();

    QWidget& Page();
    /// Handles events until the condition holds; false when it does not come to hold.
    template <class F>
    static bool Until(F condition) {
        for (int i = 0; i < 10000 && !condition(); i++) Settle();
        return condition();
    }
    /// Handles what waits, and gives other threads a moment.
    static void Settle();

    // The mouse, in pixels of the page.
    void Press(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Move(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Release(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Click(QPoint at, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void DoubleClick(QPoint at);
    void Wheel(QPoint at, int turn, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

    /// Centre of a control by the names of its channel and itself ("Volume" gives the thumb), and the value or the state
    /// that a screen reader would be told.
    QPoint Centre(const QString& channel, const QString& control);
    QRect Area(const QString& channel, const QString& control);
    double FaderDb(const QString& channel);
    bool IsChecked(const QString& channel, const QString& control);
    bool IsSelected(const QString& channel);
    QStringList Channels();

    QWidget top;

private:
    void Mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons,
               Qt::KeyboardModifiers modifiers);

    PageSite m_site;
    ComPtr<IPropertyPage> m_page;
};
