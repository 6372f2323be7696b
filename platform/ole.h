// The published object interfaces that the plug-in and its host share: connection points, property pages,
// persistence. Slots are in the published order.
#pragma once

#include "platform/com.h"

inline constexpr GUID IID_IConnectionPointContainer = tarn::Guid("{B196B284-BAB4-101A-B69C-00AA00341D07}");
inline constexpr GUID IID_IConnectionPoint = tarn::Guid("{B196B286-BAB4-101A-B69C-00AA00341D07}");
inline constexpr GUID IID_ISpecifyPropertyPages = tarn::Guid("{B196B28B-BAB4-101A-B69C-00AA00341D07}");
inline constexpr GUID IID_IPropertyPageSite = tarn::Guid("{B196B28C-BAB4-101A-B69C-00AA00341D07}");
inline constexpr GUID IID_IPropertyPage = tarn::Guid("{B196B28D-BAB4-101A-B69C-00AA00341D07}");
inline constexpr GUID IID_IPersistStream = tarn::Guid("{00000109-0000-0000-C000-000000000046}");
inline constexpr GUID IID_IPersist = tarn::Guid("{0000010C-0000-0000-C000-000000000046}");

struct IStream;  // platform/stream.h

struct IConnectionPoint : IUnknown {
    virtual HRESULT GetConnectionInterface(GUID* iid) = 0;
    virtual HRESULT GetConnectionPointContainer(struct IConnectionPointContainer** out) = 0;
    /// Connects a sink, which the point holds a reference to until Unadvise. *cookie is never 0. [any-thread]
    virtual HRESULT Advise(IUnknown* sink, uint32_t* cookie) = 0;
    /// After it returns the sink is not called any more. [any-thread]
    virtual HRESULT Unadvise(uint32_t cookie) = 0;
    virtual HRESULT EnumConnections(void** out) = 0;
};

struct IConnectionPointContainer : IUnknown {
    virtual HRESULT EnumConnectionPoints(void** out) = 0;
    virtual HRESULT FindConnectionPoint(const GUID& iid, IConnectionPoint** out) = 0;
};

/// Counted array of class ids; the receiver frees `ids` with CoTaskMemFree.
struct CAUUID {
    uint32_t count;
    GUID* ids;
};

struct ISpecifyPropertyPages : IUnknown {
    virtual HRESULT GetPages(CAUUID* pages) = 0;
};

struct IPersist : IUnknown {
    virtual HRESULT GetClassID(GUID* id) = 0;
};

struct IPersistStream : IPersist {
    virtual HRESULT IsDirty() = 0;
    virtual HRESULT Load(IStream* stream) = 0;
    virtual HRESULT Save(IStream* stream, BOOL clearDirty) = 0;
    virtual HRESULT GetSizeMax(uint64_t* size) = 0;
};

/// Page description; `size` is the number of bytes the caller provides. Texts are CoTaskMem, the caller frees
/// them.
struct PROPPAGEINFO {
    uint32_t size;
    char16_t* title;
    SIZE pageSize;
    char16_t* docString;
    char16_t* helpFile;
    uint32_t helpContext;
};
static_assert(sizeof(PROPPAGEINFO) == 48);

/// The longer record of hosts that dock pages: `base.size` is 88.
struct PROPPAGEINFOEX {
    PROPPAGEINFO base;
    uint32_t style;      ///< 0x80000: the page paints its whole area
    HWND window;         ///< 0 while the page is not active
    char16_t* menuName;  ///< CoTaskMem; null keeps the host's own
    uint8_t reserved[16];
};
static_assert(sizeof(PROPPAGEINFOEX) == 88);

struct MSG {
    HWND window;
    uint32_t message;
    uintptr_t wParam;
    intptr_t lParam;
    uint32_t time;
    POINT point;
};

struct IPropertyPageSite : IUnknown {
    virtual HRESULT OnStatusChange(uint32_t flags) = 0;
    virtual HRESULT GetLocaleID(uint32_t* lcid) = 0;
    virtual HRESULT GetPageContainer(IUnknown** out) = 0;
    virtual HRESULT TranslateAccelerator(MSG* msg) = 0;
};

/// All operations on the thread of the page's window.
struct IPropertyPage : IUnknown {
    virtual HRESULT SetPageSite(IPropertyPageSite* site) = 0;
    /// Makes the page's window as a child of `parent`, hidden, at `rect` of it.
    virtual HRESULT Activate(HWND parent, const RECT* rect, BOOL modal) = 0;
    virtual HRESULT Deactivate() = 0;
    virtual HRESULT GetPageInfo(PROPPAGEINFO* info) = 0;
    virtual HRESULT SetObjects(uint32_t count, IUnknown** objects) = 0;
    virtual HRESULT Show(uint32_t cmd) = 0;
    virtual HRESULT Move(const RECT* rect) = 0;
    virtual HRESULT IsPageDirty() = 0;
    virtual HRESULT Apply() = 0;
    virtual HRESULT Help(const char16_t* helpDir) = 0;
    virtual HRESULT TranslateAccelerator(MSG* msg) = 0;
};

inline constexpr uint32_t SW_HIDE = 0;
inline constexpr uint32_t SW_SHOW = 5;
