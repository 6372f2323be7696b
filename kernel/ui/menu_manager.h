// CQmMenuManager: draws an application's menus with icons, keys in a column and the theme's colours. The
// window that owns the menus passes its messages to MenuMan_HandleMessage. All on the window's thread.
#pragma once

#include "kernel/ui/menu_keys.h"
#include "platform/ui/menu.h"

#include <QFont>

#include <memory>
#include <vector>

class ImageList;
class QBrush;
struct ControlHost;
struct QMMENUBUTTON;

struct _qmmenuman_info {
    const ImageList* images;  ///< null: no icons. The caller keeps it alive
    SIZE imageSize;           ///< of items without an image; 0 for 16
    ControlHost* owner;
    uint32_t flags;
};

inline constexpr uint32_t MENUMAN_COLUMN_SPACERS = 0x10000000, MENUMAN_NO_ICONS = 0x20000000;

class QM_API CQmMenuManager {
public:
    CQmMenuManager();
    virtual ~CQmMenuManager();
    CQmMenuManager(const CQmMenuManager&) = delete;
    CQmMenuManager& operator=(const CQmMenuManager&) = delete;

    /// Image of a command in the information's list, -1 for none.
    virtual int32_t MenuMan_GetImageIndex(uint32_t command);
    /// The image of an item, and whether a checked item has a second image beside it. 0: none.
    virtual BOOL MenuMan_GetImage(const Menu* menu, uint32_t command, BOOL* checkedOut,
                                  const ImageList** list, int32_t* index);
    /// Called before a popup is shown: checks and greys its items.
    virtual void MenuMan_InitMenuState(Menu* menu);
    /// The keys of a command; 0: none.
    virtual BOOL MenuMan_GetAcceleratorInfo(uint32_t command, QMACCEL* accelerator);

    /// Makes the fonts from the window system's menu font. QM_E_ALREADY when called twice, QM_E_NO_RESOURCE
    /// when there is no font.
    HRESULT MenuMan_Init();
    void MenuMan_DeInit();
    /// Only MENUMAN_ bits are taken; returns the flags from before.
    uint32_t MenuMan_SetFlags(uint32_t flags);
    void MenuMan_SetInfo(const _qmmenuman_info* info);
    /// Sends the owner the WM_COMMAND of the first row that fits a WM_KEYDOWN; 1 when there was one.
    BOOL MenuMan_TranslateAccelerator(const QMACCEL* table, uint32_t count, uint32_t message, uintptr_t key);
    /// 1 when the message was the manager's; *result is what the window has to return.
    BOOL MenuMan_HandleMessage(ControlHost* window, uint32_t message, uintptr_t wparam, intptr_t lparam,
                               intptr_t* result);

protected:
    bool OnMeasureItem(MENUMEASURE& measure);
    bool OnDrawItem(const MENUDRAW& draw);
    void DrawMenuItem(const MENUDRAW& draw, const QMMENUBUTTON& button);
    void DrawMenuArrow(const MENUDRAW& draw, const RECT& rect);
    void DrawButton(const MENUDRAW& draw, const QMMENUBUTTON& button, const RECT& rect);
    void DrawMenuText(const MENUDRAW& draw, const RECT& rect, bool bold);
    void Draw3DCheckmark(const MENUDRAW& draw, const RECT& rect);
    /// Makes the items of a menu the manager's to draw, with their keys in the text, and gives them back.
    void AddButtons(Menu& menu);
    void FreeButtons(Menu& menu);
    /// Measures everything anew.
    void RefreshMenus();
    bool IsSpacerMenuItem(const MenuItem& item) const;
    void InsertSpacerMenuItem(Menu& menu, size_t position);
    /// With MENUMAN_COLUMN_SPACERS: one before each item that begins a column, one at the end of the last.
    void InsertColumnSpacers(Menu& menu);
    /// Each spacer fills its column up to the height.
    void FitSpacersToMenuHeight(Menu& menu, LONG height);
    uint32_t VkToScanCode(uint32_t virtualKey) const;
    /// The lparam of a key message.
    intptr_t VkToLParam(uint32_t virtualKey) const;
    std::u16string AcceleratorToString(const QMACCEL& accelerator) const;
    COLORREF MenuGetSysColor(int32_t index) const;
    const QBrush& MenuGetSysColorBrush(int32_t index) const;

private:
    const QMMENUBUTTON* ButtonOf(const MenuItem& item) const;
    bool MakeFonts();

    _qmmenuman_info m_info{};
    uint32_t m_flags = 0;
    std::unique_ptr<QFont> m_font, m_boldFont;
    bool m_boldIsSame = false;
    std::vector<std::unique_ptr<QMMENUBUTTON>> m_buttons;
};
