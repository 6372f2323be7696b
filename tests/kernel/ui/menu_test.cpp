// Menus: edits of the tree, loading by language, and a popup that its manager draws, under real keys.
#include "controls/meter.h"
#include "controls/meter_scales.h"
#include "kernel/codes.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/lang/languages.h"
#include "kernel/print/print.h"
#include "kernel/ui/menu_edit.h"
#include "kernel/ui/menu_manager.h"
#include "kernel/ui/menu_resources.h"
#include "kernel/ui/theme.h"
#include "platform/ui/window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMenu>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace tarn;

namespace {
constexpr uint32_t kSeparator = 0xFFFFFFFF;

// Numbers are commands, kSeparator a separator.
Menu Of(std::initializer_list<uint32_t> ids) {
    Menu menu;
    for (const uint32_t id : ids) id == kSeparator ? menu.AddSeparator() : void(menu.Add(id, u"item"));
    return menu;
}
std::vector<uint32_t> Ids(const Menu& menu) {
    std::vector<uint32_t> ids;
    for (const MenuItem& item : menu.items)
        ids.push_back(item.IsSeparator() ? kSeparator : item.submenu ? 0 : item.id);
    return ids;
}
using List = std::vector<uint32_t>;

class Manager : public MessageWindow, public CQmMenuManager {
public:
    Manager() {
        const _qmmenuman_info info{nullptr, {16, 16}, this, 0};
        EXPECT_EQ(MenuMan_Init(), S_OK);
        MenuMan_SetInfo(&info);
        resize(100, 100);
        Create();
    }
    ~Manager() override { Destroy(); }

    intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        if (message == WM_DRAWITEM) drawn++;
        if (message == WM_MENUSELECT) selected.push_back(LowWord(wparam));
        if (message == WM_COMMAND) commands.push_back(LowWord(wparam));
        intptr_t result;
        if (MenuMan_HandleMessage(this, message, wparam, lparam, &result)) return result;
        return MessageWindow::OnMessage(message, wparam, lparam);
    }
    BOOL MenuMan_GetAcceleratorInfo(uint32_t command, QMACCEL* keys) override {
        *keys = {key, ACCEL_CTRL | ACCEL_SHIFT, command};
        return command == 1 && key;
    }
    using CQmMenuManager::AddButtons;
    using CQmMenuManager::FitSpacersToMenuHeight;
    using CQmMenuManager::FreeButtons;
    using CQmMenuManager::IsSpacerMenuItem;
    using CQmMenuManager::OnMeasureItem;
    using CQmMenuManager::VkToLParam;

    int drawn = 0;
    uint32_t key = VK_F1 + 1;
    List selected, commands;
};

// Runs when the popup is up, and again after each of its keys.
void WhenOpen(std::function<void(QWidget*)> work) {
    QTimer::singleShot(50, [work] {
        QWidget* popup = QApplication::activePopupWidget();
        ASSERT_NE(popup, nullptr);
        popup->grab();
        work(popup);
    });
}
}  // namespace

TEST(MenuEdit, CullsAndCleans) {
    constexpr uint32_t S = kSeparator;
    struct Row {
        List before, cull, after;
        BOOL clean;
    };
    for (const Row& row : {Row{{5, 6, 7}, {5, 0, 7}, {6, 7}, 0}, Row{{1, S, 2, S, 3}, {2}, {1, S, 3}, 1},
                           Row{{S, 1, S, S, S, 2, S}, {}, {1, S, 2}, 1}, Row{{1, S, 2}, {2}, {1}, 1},
                           Row{{1, S, 2}, {1, 2}, {}, 1}, Row{{1, S, 2}, {1}, {S, 2}, 0}}) {
        Menu menu;
        for (const uint32_t id : row.before) id == S ? menu.AddSeparator() : void(menu.Add(id, u"x"));
        QmCullMenu(&menu, row.cull.data(), static_cast<int32_t>(row.cull.size()), row.clean);
        EXPECT_EQ(Ids(menu), row.after);
    }
    Menu menu = Of({1, S});
    Menu& below = *menu.AddSubmenu(u"sub").submenu;
    below.Add(2, u"b");
    below.AddSeparator();
    const uint32_t cull[] = {2, 0};
    QmCullMenu(&menu, cull, -1, 1);
    EXPECT_EQ(Ids(menu), List{1}) << "a menu of separators alone goes, and the separator before it";
    Menu empty = Of({S, S});
    EXPECT_FALSE(QmCleanMenu(&empty, nullptr, 0));
    EXPECT_TRUE(empty.items.empty());
}

TEST(MenuEdit, FindsGraysAndReplacesTokens) {
    Menu menu = Of({1});
    Menu& below = *menu.AddSubmenu(u"of $(Tarn.Test) 100% $5").submenu;
    below.Add(2, u"plain", MF_DISABLED);
    EXPECT_EQ(QmFindSubMenu(&menu, 1), &below);
    EXPECT_EQ(QmFindSubMenu(&menu, 0), nullptr);
    EXPECT_EQ(QmFindSubMenu(&menu, 7), nullptr);
    EXPECT_EQ(QmGetSubmenuByID(&menu, 2), &below);
    EXPECT_EQ(QmGetSubmenuByID(&menu, 9), nullptr);
    QmGrayAllMenuItems(&menu);
    EXPECT_TRUE(menu.items[1].state & MF_GRAYED && below.items[0].state & MF_GRAYED);
    QmEnableAllMenuItems(&menu);
    EXPECT_EQ(below.items[0].state, 0u);
    EXPECT_TRUE(QmGrayMenu(&menu, 2, 1));
    EXPECT_FALSE(QmGrayMenu(&menu, 9, 1));
    QmPrintF_AddToken(u"Tarn.Test", u"strings");
    QmMenuReplaceTokens(&menu);
    QmPrintF_DeleteToken(u"Tarn.Test");
    EXPECT_EQ(menu.items[1].text, u"of strings 100% $5");
    for (const auto& [name, capacity, fixed] : {std::tuple{u"R&B", 10u, u"R&&B"},
                                                {u"&&", 5u, u"&&&&"},
                                                {u"R&B", 4u, u"R&&"},
                                                {u"R&B", 3u, u"R"},
                                                {u"R&B", 1u, u""}}) {
        char16_t out[16] = u"?";
        QmFixNameForMenu(out, name, capacity);
        EXPECT_EQ(std::u16string_view(out), std::u16string_view(fixed));
    }
}

TEST(MenuResources, LoadInTheHandlesLanguage) {
    static const MENUROW kRows[] = {{0, 11, &KS_Meter_Labels, 0}, {0, 0, nullptr, 0},
                                    {0, 0, &KS_Control_Meter, 0}, {1, 12, &KS_Meter_Peaks, 0},
                                    {1, 13, &KS_Meter_Reset, 0},  {0, 14, &KS_Meter_Valleys, MF_MENUBREAK}};
    static const MENURESOURCE kMenus[] = {{900, kRows}};
    const ModuleMenus menus(ThisInstance(), kMenus);
    HQMLANG lang;
    ASSERT_EQ(QmLang_Open(&lang, ThisInstance(), 1031, 0), S_OK);
    const std::unique_ptr<Menu> menu(QmLoadMenu(lang, 900));
    ASSERT_TRUE(menu);
    EXPECT_EQ(Ids(*menu), (List{11, kSeparator, 0, 14}));
    EXPECT_EQ(Ids(*menu->items[2].submenu), (List{12, 13}));
    EXPECT_EQ(menu->items[0].text, u"Beschriftung &zeigen");
    EXPECT_EQ(menu->items[3].type, MF_MENUBREAK);
    EXPECT_EQ(QmLoadMenu(lang, 901), nullptr);
    const uint32_t cull[] = {12, 13};
    const std::unique_ptr<Menu> culled(QmLoadCulledMenu(lang, 900, cull, 2, 1));
    EXPECT_EQ(Ids(*culled), (List{11, kSeparator, 14}));
    QmLang_Close(lang);
}

TEST(MenuKeys, HaveNamesAndScanCodes) {
    EXPECT_EQ(AcceleratorText({'B', ACCEL_CTRL | ACCEL_SHIFT, 0}), u"Ctrl+Shift+B");
    EXPECT_EQ(AcceleratorText({VK_DELETE, ACCEL_ALT, 0}), u"Alt+Del");
    EXPECT_EQ(AcceleratorText({VK_F24, 0, 0}), u"F24");
    EXPECT_EQ(AcceleratorText({1, ACCEL_CTRL, 0}), u"");
    for (const auto& [key, scan] : {std::pair{'A', 0x1Eu}, {'0', 0x0Bu}, {'M', 0x32u}})
        EXPECT_EQ(VirtualKeyScanCode(static_cast<uint32_t>(key)), scan);
    EXPECT_EQ(VirtualKeyScanCode(VK_F1 + 10), 0x57u);
    EXPECT_EQ(VirtualKeyScanCode(VK_HOME), 0x147u);
    EXPECT_EQ(VirtualKeyScanCode(VK_NUMPAD9), 0x49u);
}

TEST(MenuManager, DrawsAPopupThatKeysWork) {
    ApplyTheme(Theme::Dark);
    Manager manager;
    EXPECT_EQ(manager.MenuMan_Init(), QM_E_ALREADY);
    Menu menu = Of({1, 2, kSeparator});
    menu.items[1].state = MF_CHECKED;
    menu.AddSubmenu(u"more").submenu->Add(3, u"third");
    std::u16string shown;
    WhenOpen([&](QWidget* popup) {
        shown = menu.items[0].text;
        QTest::keyClick(popup, Qt::Key_Down);
        QTest::keyClick(popup, Qt::Key_Down);
        QTest::keyClick(popup, Qt::Key_Return);
    });
    const auto owner = [&](uint32_t m, uintptr_t w, intptr_t l) { return manager.Send(m, w, l); };
    EXPECT_EQ(TrackPopupMenu(menu, {10, 10}, owner), 2u);
    EXPECT_GE(manager.drawn, 4);
    EXPECT_EQ(manager.selected, (List{1, 2, 0}));
    EXPECT_EQ(shown, u"item\tCtrl+Shift+F2");
    EXPECT_EQ(menu.items[0].text, u"item") << "given back";
    EXPECT_EQ(menu.items[0].type, 0u);
    manager.selected.clear();
    WhenOpen([](QWidget* popup) {
        QTest::keyClick(popup, Qt::Key_Up);
        QTest::keyClick(popup, Qt::Key_Right);
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Return);
    });
    EXPECT_EQ(TrackPopupMenu(menu, {10, 10}, owner), 3u) << "from the submenu";
    WhenOpen([](QWidget* popup) { QTest::keyClick(popup, Qt::Key_Escape); });
    EXPECT_EQ(TrackPopupMenu(menu, {10, 10}, owner), 0u);
}

TEST(MenuManager, FollowsTheFontAndTheKeysOfTheDay) {
    Manager manager;
    Menu menu = Of({1});
    const auto open = [&] {
        manager.AddButtons(menu);
        MENUMEASURE m{&menu, &menu.items[0], {}};
        EXPECT_TRUE(manager.OnMeasureItem(m));
        const std::u16string text = menu.items[0].text;
        manager.FreeButtons(menu);
        return std::pair(m.size, text);
    };
    const auto [before, keys] = open();
    manager.key = VK_F1 + 2;
    EXPECT_NE(open().second, keys);
    manager.key = 0;
    EXPECT_EQ(open().second, u"item") << "it has none any more";
    manager.key = VK_F1 + 1;
    const QFont usual = QApplication::font();
    const auto set = [](const QFont& font) {
        QApplication::setFont(font);
        QCoreApplication::processEvents();
    };
    QFont large = usual;
    large.setPixelSize(40);
    set(large);
    EXPECT_GT(open().first.cy, before.cy);
    set(usual);
    EXPECT_EQ(open().first.cy, before.cy);
}

TEST(MenuManager, DisabledTextsHaveNoShadow) {
    const QPalette usual = QApplication::palette();
    QPalette red = usual;
    red.setColor(QPalette::Light, Qt::red);
    QApplication::setPalette(red);
    Menu menu = Of({1});
    menu.items[0].state = MF_GRAYED;
    int reds = 0;
    WhenOpen([&](QWidget* popup) {
        const QImage image = popup->grab().toImage();
        for (int y = 0; y < image.height(); y++)
            for (int x = 0; x < image.width(); x++) {
                const QColor c = image.pixelColor(x, y);
                reds += c.red() > c.green() + 60;
            }
        QTest::keyClick(popup, Qt::Key_Escape);
    });
    TrackPopupMenu(menu, {10, 10}, [](uint32_t, uintptr_t, intptr_t) { return intptr_t{0}; });
    QApplication::setPalette(usual);
    EXPECT_EQ(reds, 0);
}

TEST(MenuManager, FromRightToLeftWhatStandsAtTheEdgesChangesSides) {
    for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        QGuiApplication::setLayoutDirection(direction);
        Manager manager;
        Menu menu = Of({1});
        menu.items[0].text = u"i";  // with long keys
        menu.AddSubmenu(u"a name that makes the menu much wider").submenu->Add(3, u"third");
        WhenOpen([&](QWidget* popup) {
            const QImage image = popup->grab().toImage();
            // Pixels that are not ground in a part of an item's row, its width cut in twenty; from the side
            // that reading begins at.
            const auto ink = [&](int item, int from, int to) {
                const QRect row = static_cast<QMenu*>(popup)->actionGeometry(popup->actions()[item]);
                int count = 0;
                for (int y = row.top(); y <= row.bottom(); y++)
                    for (int x = row.width() * from / 20; x < row.width() * to / 20; x++)
                        count += image.pixel(direction == Qt::LeftToRight ? row.left() + x : row.right() - x,
                                             y) != image.pixel(row.topLeft());
                return count;
            };
            EXPECT_GT(ink(0, 0, 10), 0) << direction;
            EXPECT_GT(ink(0, 10, 20), 4 * ink(0, 0, 10)) << direction << ": keys stand at the end";
            EXPECT_EQ(ink(1, 0, 1), 0) << direction;
            EXPECT_GT(ink(1, 19, 20), 0) << direction << ": the arrow of a submenu";
            QTest::keyClick(popup, Qt::Key_Escape);
        });
        TrackPopupMenu(menu, {10, 10},
                       [&](uint32_t m, uintptr_t w, intptr_t l) { return manager.Send(m, w, l); });
    }
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST(MenuManager, MeasuresAndSpacesColumns) {
    Manager manager;
    EXPECT_EQ(manager.MenuMan_SetFlags(MENUMAN_COLUMN_SPACERS | 3), 0u);
    Menu menu = Of({1, kSeparator, 2, 3});
    menu.items[2].type = MF_MENUBREAK;
    menu.items[3].type = MF_OWNERDRAW;
    manager.AddButtons(menu);
    ASSERT_EQ(menu.items.size(), 6u) << "a spacer before the column, one at the end";
    EXPECT_TRUE(manager.IsSpacerMenuItem(menu.items[2]));
    EXPECT_TRUE(manager.IsSpacerMenuItem(menu.items[5]));
    Menu below = Of({7, 8});
    below.items[0].data = 99;
    below.items[1].type = MF_MENUBREAK;
    manager.AddButtons(below);
    manager.FreeButtons(below);
    EXPECT_EQ(Ids(below), (List{7, 8}));
    EXPECT_EQ(below.items[0].data, 99u) << "the owner's own";
    EXPECT_TRUE(manager.IsSpacerMenuItem(menu.items[2])) << "a submenu that closes leaves its parent alone";
    const auto measure = [&](size_t i) {
        MENUMEASURE m{&menu, &menu.items[i], {-1, -1}};
        return manager.OnMeasureItem(m) ? m.size : SIZE{-1, -1};
    };
    EXPECT_EQ(measure(0).cy, 22);
    EXPECT_GT(measure(0).cx, 60);
    EXPECT_EQ(measure(1).cy, kMenuBarHeight / 2);
    EXPECT_EQ(measure(1).cx, 0);
    EXPECT_EQ(measure(4).cx, -1) << "somebody else's";
    manager.FitSpacersToMenuHeight(menu, 70);
    EXPECT_EQ(measure(2).cy, 70);
    manager.FreeButtons(menu);
    EXPECT_EQ(menu.items.size(), 4u);
    EXPECT_EQ(menu.items[3].type, MF_OWNERDRAW);
    const QMACCEL table[] = {{'B', ACCEL_CTRL, 7}, {'B', 0, 8}};
    EXPECT_TRUE(manager.MenuMan_TranslateAccelerator(table, 2, WM_KEYDOWN, 'B'));
    EXPECT_EQ(manager.commands, List{8});
    EXPECT_FALSE(manager.MenuMan_TranslateAccelerator(table, 2, WM_KEYDOWN, 'C'));
    EXPECT_EQ(manager.VkToLParam(VK_HOME), 0x147 << 16 | 1);
}

TEST(MeterMenu, SetsTheRangeAndTellsWhatItIs) {
    Manager manager;
    tQMMETER m;
    const RECT rect{0, 0, 40, 200};
    MeterInst_Init(&m, METERS_VERTICAL, &rect, &manager, 9, 0, 0);
    const POINT at{5, 5};
    List offered, checked;
    const auto open = [&](int downs) {
        offered.clear();
        checked.clear();
        WhenOpen([&, downs](QWidget* popup) {
            for (const QAction* action : popup->actions()) {
                if (action->isSeparator()) continue;
                const QString text = action->text();
                offered.push_back(static_cast<uint32_t>(text.size()));
                if (action->isChecked()) checked.push_back(static_cast<uint32_t>(offered.size()));
            }
            for (int i = 0; i < downs; i++) QTest::keyClick(popup, Qt::Key_Down);
            QTest::keyClick(popup, Qt::Key_Return);
        });
        return MeterInst_ContextMenu(&m, &at, nullptr, 0);
    };
    EXPECT_EQ(open(2), 40002u);
    EXPECT_EQ(MeterInst_Message(&m, METERM_GETDISPLAYRANGE, 0, 0), 16);
    EXPECT_EQ(offered.size(), 10u)
        << "ranges above the meter's, and the reset without a readout, are not there";
    EXPECT_EQ(checked, List{6}) << "the largest count that the range holds";
    EXPECT_EQ(open(6), 40006u);
    EXPECT_EQ(checked, List{2});
    EXPECT_EQ(MeterInst_Message(&m, METERM_GETDISPLAYRANGE, 0, 0), 0)
        << "the meter's own range is full range";
    EXPECT_EQ(open(8), 40010u);
    EXPECT_TRUE(m.style & METERS_LABELS);
    MeterInst_Deinit(&m);
}
