// Keys of the host's actions and of commands that a plug-in registers: which counts, how the user changes it,
// and that it is kept.
#include "host/app/key_actions.h"
#include "host/app/keys_dialog.h"
#include "host/app/settings.h"
#include "host/contract/project.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QKeySequenceEdit>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QtTest/QTest>

namespace {
using namespace host;

constexpr uint32_t SENDS = 50062, INSERTS = 50061, SHOW_ALL = 50047;
constexpr uint16_t PLAIN = 0x100, SHIFT = 0x102, CTRL = 0x104;

/// Counts the keys that nobody took before.
struct Page final : QWidget {
    Page() { setFocusPolicy(Qt::StrongFocus); }
    void keyPressEvent(QKeyEvent* event) override {
        keys += event->key() != Qt::Key_Shift && event->key() != Qt::Key_Control;
    }
    int keys = 0;
};

class Registered : public testing::Test {
protected:
    Registered() {
        qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());
        auto* column = new QVBoxLayout(page);
        column->addWidget(field);
        window.setCentralWidget(page);
        QMenu* file = window.menuBar()->addMenu(QStringLiteral("&File"));
        QAction* save = file->addAction(QStringLiteral("&Save..."), QKeySequence::Save, [this] { saved++; });
        save->setObjectName(QStringLiteral("File.Save"));
        window.addToolBar(bar);
        window.show();
        page->setFocus();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    void Register(uint32_t action) {
        const MPCOMMAND rows[] = {{u"Show.Sends", u"Sends", SENDS, 0},
                                  {u"Show.Inserts", nullptr, INSERTS, 0},
                                  {u"Show.All", u"All", SHOW_ALL, 0}};
        const MPCOMMANDKEY keys[] = {{'K', PLAIN, SENDS},    {'S', CTRL, SENDS}, {192, SHIFT, INSERTS},
                                     {'K', PLAIN, SHOW_ALL}, {'Q', PLAIN, 1},    {7, PLAIN, SHOW_ALL}};
        MPCOMMANDREG registration{.size = sizeof registration,
                                  .action = action,
                                  .commands = rows,
                                  .commandCount = 3,
                                  .reserved20 = 0,
                                  .name = u"A Console",
                                  .keys = keys,
                                  .keyCount = 6,
                                  .reply = {},
                                  .reserved68 = 0};
        tarn::ComPtr<IMPPropertyStore> store;
        ASSERT_EQ(project.PluginHost()->QueryInterface(IID_IMPPropertyStore, store.OutVoid()), S_OK);
        ASSERT_EQ(store->SetProperty(&MPPROP_COMMANDS, 0, sizeof registration, &registration), S_OK);
    }
    std::unique_ptr<KeyActions> Actions() {
        auto actions = std::make_unique<KeyActions>(project, settings, window, *page,
                                                    [this](uint32_t command) { run.push_back(command); });
        actions->TakeActions(*bar);
        actions->Refresh();
        return actions;
    }
    /// Works the dialog, which stays until it is closed.
    template <class F>
    void WithDialog(KeyActions& actions, F work) {
        QTimer::singleShot(0, [&] {
            QWidget* dialog = QApplication::activeModalWidget();
            work(*dialog);
            dialog->close();
        });
        actions.ShowDialog();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    static QPushButton& Button(const QWidget& dialog, const QString& text) {
        for (QPushButton* button : dialog.findChildren<QPushButton*>())
            if (button->text() == text) return *button;
        throw std::runtime_error("no button " + text.toStdString());
    }
    /// Answers what is asked next; its text.
    QString Answer(QMessageBox::StandardButton with, QPushButton& asks) {
        QString asked;
        QTimer::singleShot(0, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            asked = box->text();
            box->button(with)->click();
        });
        asks.click();
        return asked;
    }
    std::vector<uint32_t> Taken() { return std::exchange(run, {}); }

    QTemporaryDir folder;
    Project project{{.systemDevice = false}};
    QMainWindow window;
    Page* page = new Page;
    QLineEdit* field = new QLineEdit;
    QToolBar* bar = new QToolBar;
    Settings settings{true};
    std::vector<uint32_t> run;
    int saved = 0;
};

using Commands = std::vector<uint32_t>;

TEST_F(Registered, KeysRunTheFirstThatComesWithThemAndFieldsKeepTheirs) {
    Register(COMMANDS_REGISTER);
    const auto actions = Actions();
    QTest::keyClick(page, Qt::Key_K);
    QTest::keyClick(page, Qt::Key_QuoteLeft, Qt::ShiftModifier);
    EXPECT_EQ(Taken(), (Commands{SENDS, INSERTS}));
    QTest::keyClick(page, Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(saved, 1) << "the host's own come first";
    field->setFocus();
    QTest::keyClicks(field, QStringLiteral("k"));
    EXPECT_EQ(field->text(), QStringLiteral("k"));
    EXPECT_EQ(Taken(), Commands{});
    page->setFocus();
    QTest::keyClick(page, Qt::Key_Q);
    EXPECT_EQ(page->keys, 1) << "a key of no command stays the page's";
    Register(COMMANDS_UNREGISTER);
    actions->Refresh();
    QTest::keyClick(page, Qt::Key_K);
    EXPECT_EQ(Taken(), Commands{});
}

TEST_F(Registered, TheUserSearchesChangesAndResetsThemAndTheyAreKept) {
    Register(COMMANDS_REGISTER);
    auto actions = Actions();
    WithDialog(*actions, [&](QWidget& dialog) {
        auto* list = dialog.findChild<QTreeWidget*>();
        QStringList shown;
        dialog.findChild<QLineEdit*>()->setText(QStringLiteral("show.in"));
        for (int g = 0; g < list->topLevelItemCount(); g++)
            for (int i = 0; i < list->topLevelItem(g)->childCount(); i++)
                if (QTreeWidgetItem* row = list->topLevelItem(g)->child(i); !row->isHidden()) {
                    shown += row->text(0);
                    list->setCurrentItem(row);
                }
        EXPECT_EQ(shown, QStringList{QStringLiteral("Show.Inserts")});
        auto* key = dialog.findChild<QKeySequenceEdit*>();
        key->setKeySequence(QKeySequence(Qt::Key_K, Qt::Key_L));
        EXPECT_EQ(key->keySequence(), QKeySequence(Qt::Key_K)) << "a key is one";
        QPushButton& assign = Button(dialog, QStringLiteral("&Assign"));
        EXPECT_EQ(Answer(QMessageBox::No, assign),
                  QStringLiteral("K is the key of \"Sends\". Give it to \"Show.Inserts\" instead?"));
        EXPECT_EQ(list->currentItem()->text(1), QKeySequence(Qt::SHIFT | Qt::Key_QuoteLeft).toString());
        Answer(QMessageBox::Yes, assign);
        EXPECT_EQ(list->currentItem()->text(1), QStringLiteral("K"));
    });
    for (int time = 0; time < 2; time++) {
        QTest::keyClick(page, Qt::Key_K);
        EXPECT_EQ(Taken(), Commands{INSERTS}) << time;
        QTest::keyClick(page, Qt::Key_QuoteLeft, Qt::ShiftModifier);
        EXPECT_EQ(Taken(), Commands{}) << "taken away";
        EXPECT_EQ(page->keys, 0) << "also from the page, which may know it";
        actions = nullptr;
        actions = Actions();  // as the next run of the program finds it
    }
    WithDialog(*actions, [&](QWidget& dialog) {
        Answer(QMessageBox::Yes, Button(dialog, QStringLiteral("Reset &All...")));
    });
    QTest::keyClick(page, Qt::Key_K);
    EXPECT_EQ(Taken(), Commands{SENDS});
}

TEST(CommandKeys, ChoicesOutliveTheirCommandsAndOnlyWholeTextsAreRead) {
    CommandKeys keys;
    const KeyCommand one{"one", "g", "One", {QKeySequence(Qt::Key_F1)}}, two{"two", "g", "Two"};
    keys.SetCommands({one, two});
    keys.Choose("two", {QKeySequence(Qt::Key_F1), QKeySequence(Qt::CTRL | Qt::Key_Comma)});
    const std::string text = keys.Format();
    for (const char* bad : {"", "[]", "{\"one\":1}", "{\"one\":[1]}", "{\"one\":[\"F1\"]"})
        EXPECT_FALSE(keys.Parse(bad)) << bad;
    EXPECT_EQ(keys.Format(), text);
    CommandKeys again;
    ASSERT_TRUE(again.Parse(text));
    again.SetCommands({one});
    EXPECT_EQ(again.KeysOf("one"), Keys{}) << "it was taken away";
    again.SetCommands({one, two});
    EXPECT_EQ(again.KeysOf("two"), keys.KeysOf("two"));
    again.Reset("two");
    again.Reset("one");
    EXPECT_EQ(again.HolderOf(QKeySequence(Qt::Key_F1))->name, "one");
}

}  // namespace
