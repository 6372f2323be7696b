// A console's object and its page in a window of the test: made through the module's entry points, embedded
// by its window id, as a host does it.
#pragma once

#include "contract/host_contract.h"
#include "tests/support/fake_host.h"
#include "tests/support/page_driver.h"

extern "C" {
HRESULT QmOPTPlug_CreateOPTObject(IUnknown** out);
HRESULT QmOPTPlug_CreateOPTPropertyPage(const GUID* pageId, IPropertyPage** out);
}

/// The console's object, between the module's entry point and its release.
class ConsoleSession {
public:
    explicit ConsoleSession(FakeHost& host);
    /// Begins to work with the host and its project.
    HRESULT Open();
    void Close();
    IUnknown* Object() { return m_object.Get(); }

private:
    FakeHost& m_host;
    tarn::ComPtr<IUnknown> m_object;
    tarn::ComPtr<IMPInitialise> m_init;
};

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

class PageHarness final : public PageDriver {
public:
    /// Makes the page of `plugin` in a window of that size and shows it.
    PageHarness(IUnknown* plugin, QSize size);
    ~PageHarness() override { Close(); }

    HRESULT Open(IUnknown* plugin, const GUID& page = CLSID_ConsoleMixerPage);
    void Close();
    QWidget& Page() override;
    /// As a host has a command of the console carried out.
    bool RunCommand(uint32_t command);

    QWidget top;
    std::u16string title;  ///< of the page, as Page asked for it last

private:
    PageSite m_site;
    tarn::ComPtr<IPropertyPage> m_page;
};
