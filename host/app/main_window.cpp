#include "host/app/main_window.h"

#include "host/app/key_actions.h"
#include "host/app/mix_menu.h"
#include "host/app/page_host.h"
#include "host/app/progress.h"
#include "host/app/render_dialog.h"
#include "host/app/settings.h"
#include "host/app/texts.h"
#include "host/app/transport_bar.h"
#include "host/media/import.h"
#include "host/media/template_render.h"

#include "fileio/convert/file_manager.h"
#include "kernel/lang/languages.h"
#include "kernel/time/position.h"
#include "platform/file.h"
#include "platform/text.h"
#include "platform/ui/plain_text.h"

#include <QActionGroup>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QInputDialog>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>

using namespace tarn;

namespace host {
namespace {

constexpr int REFRESH_MILLISECONDS = 50;
constexpr QSize SURFACE_SIZE{860, 620};

struct TimeFormatRow {
    PositionFormat format;
    HostTextId text;
};
/// Those that need no tempo and no film.
constexpr TimeFormatRow TIME_FORMATS[] = {
    {POSITION_TIME, IDS_TIME},
    {POSITION_SECONDS, IDS_SECONDS},
    {POSITION_SAMPLES, IDS_SAMPLES},
    {POSITION_SMPTE_DROP, IDS_SMPTE_DROP},
    {POSITION_SMPTE_29_97, IDS_SMPTE_NON_DROP},
    {POSITION_SMPTE_30, IDS_SMPTE_30},
    {POSITION_SMPTE_EBU, IDS_SMPTE_EBU},
    {POSITION_SMPTE_FILM, IDS_SMPTE_FILM},
    {POSITION_SMPTE_23_976, IDS_SMPTE_23_976},
    {POSITION_CD, IDS_CD},
};

QString FromPath(const std::filesystem::path& path) { return QString::fromStdString(path.string()); }
std::filesystem::path ToPath(const QString& path) { return path.toStdString(); }

/// In the order of EditKind.
constexpr HostTextId EDITS[] = {
    IDS_STEP_ADD_CHANNEL,     IDS_STEP_REMOVE_CHANNEL, IDS_STEP_MOVE_CHANNEL, IDS_STEP_RENAME_CHANNEL,
    IDS_STEP_ADD_EFFECT,      IDS_STEP_REMOVE_EFFECT,  IDS_STEP_MOVE_EFFECT,  IDS_STEP_ADD_SEND,
    IDS_STEP_REMOVE_SEND,     IDS_STEP_VOLUME,         IDS_STEP_PAN,          IDS_STEP_SEND,
    IDS_STEP_EFFECT,          IDS_STEP_SWITCHES,       IDS_STEP_COLOUR,       IDS_STEP_ROUTE,
    IDS_STEP_AUTOMATION_MODE, IDS_STEP_AUTOMATION,     IDS_STEP_PARAMETER,    IDS_STEP_PRESET,
    IDS_STEP_IMPORT,
};
static_assert(std::size(EDITS) == static_cast<size_t>(EditKind::Import) + 1);

/// Before plug-ins come, or ask again.
uint32_t UseLanguage(Project& project, uint32_t lcid) {
    SetHostLanguage(lcid);
    project.SetTexts(TextsForPlugins());
    return lcid;
}

/// A line each, and no more than fit on a screen.
QString Lines(const std::vector<std::string>& texts) {
    constexpr size_t MOST = 20;
    QStringList lines;
    for (size_t i = 0; i < std::min(MOST, texts.size()); i++) lines += QString::fromStdString(texts[i]);
    if (texts.size() > MOST) lines += QStringLiteral("…");
    return lines.join(QLatin1Char('\n'));
}

}  // namespace

MainWindow::MainWindow(Project& project, Settings& settings, const std::filesystem::path& modules,
                       uint32_t lcid)
    : m_project(project), m_settings(settings), m_lcid(UseLanguage(project, lcid)),
      m_console(std::make_unique<Plugin>(modules / "mixconsole.so", project)),
      m_mix(new MixMenu(project, *this,
                        [this](const QString& title, const QString& text) { ShowProblem(title, text); })),
      m_transport(new TransportBar(project, this)),
      m_pageHost(new PageHost(nullptr, {[this](uint32_t command) { return RunHostCommand(command); },
                                        [this](const QString& text) { m_status = text; }})),
      m_keys(new KeyActions(project, settings, *this, *m_pageHost,
                            [this](uint32_t command) { RunRegistered(command); })) {
    LoadSurface(modules / "mixsurface.so");
    ForPlugins([lcid](Plugin& plugin) {
        plugin.SetLanguage(lcid);
        plugin.ProjectOpened();
    });
    setAcceptDrops(true);
    m_transport->SetTimeFormat(settings.TimeFormat());
    addToolBar(m_transport);
    m_transport->ShowTexts();
    MakeMenus();
    MakeStatusLine();

    setStyleSheet(QStringLiteral("QMainWindow::separator { width: 0; height: 0; }"));
    auto* dock = new QDockWidget(this);
    dock->setObjectName(QStringLiteral("console"));
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
    dock->setTitleBarWidget(new QWidget(dock));  // one page only: its name stands in the window's title
    dock->setWidget(m_pageHost);
    addDockWidget(Qt::TopDockWidgetArea, dock);
    OpenPage();

    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &MainWindow::Refresh);
    timer->start(REFRESH_MILLISECONDS);
    Refresh();
    m_pageHost->setFocus();
}

MainWindow::~MainWindow() {
    m_mix->CloseWindows();
    m_pageHost->Close();
    CloseSurface();
    ForPlugins([](Plugin& plugin) { plugin.ProjectClosing(); });
}

template <class F>
void MainWindow::ForPlugins(F call) {
    call(*m_console);
    if (m_surface) call(*m_surface);
}

void MainWindow::LoadSurface(const std::filesystem::path& module) {
    if (!m_project.Midi()) return;
    try {
        m_surface = std::make_unique<Plugin>(module, m_project, Project::Keeps::ForUser);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mixhost: %s\n", e.what());
    }
}

QWidget* MainWindow::ShowSurface() {
    if (!m_surface) return nullptr;
    if (!m_surfaceWindow) {
        m_surfaceWindow = new QDialog(this);
        m_surfaceHost = new PageHost(m_surfaceWindow);
        auto* layout = new QVBoxLayout(m_surfaceWindow);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(m_surfaceHost);
        m_surfaceWindow->resize(SURFACE_SIZE);
        if (!m_surfaceHost->Open(m_surface->MakePage(CLSID_SurfacePage), m_surface->Object())) {
            CloseSurface();
            return nullptr;
        }
        m_surfaceWindow->setWindowTitle(m_surfaceHost->Title());
    }
    m_surfaceWindow->show();
    m_surfaceWindow->raise();
    m_surfaceWindow->activateWindow();
    m_surfaceHost->setFocus();
    return m_surfaceWindow;
}

void MainWindow::CloseSurface() {
    if (!m_surfaceWindow) return;
    m_surfaceHost->Close();
    m_surfaceWindow->deleteLater();
    m_surfaceWindow = nullptr;
    m_surfaceHost = nullptr;
}

void MainWindow::OpenPage() {
    if (!m_pageHost->Open(m_console->MakePage(CLSID_ConsoleMixerPage), m_console->Object()))
        throw std::runtime_error("the console's page could not be opened");
}

/// What the console leaves to its host, by the numbers of the console's commands.
bool MainWindow::RunHostCommand(uint32_t command) {
    constexpr uint32_t CUT = 50090, COPY = 50091, PASTE = 50092, AUDIO_PROPERTIES = 50069;
    switch (command) {
    case CUT:
    case COPY:
        if (std::vector<Channel> copied = m_project.CopySelected(); !copied.empty()) {
            m_copied = std::move(copied);
            if (command == CUT)
                for (const Channel& channel : m_copied) m_project.RemoveChannel(channel.id);
        }
        return true;
    case PASTE:
        if (!m_copied.empty() && !m_project.PasteChannels(m_copied))
            ShowProblem(Text(IDS_TITLE_MIX), QString::fromStdString(m_project.Refusal()));
        return true;
    case AUDIO_PROPERTIES: ShowAudioProperties(); return true;
    default: return false;
    }
}

void MainWindow::ShowAudioProperties() {
    const Session session = m_project.Snapshot();
    const bool surround = session.mode == ChannelMode::Surround51;
    const QString rows[][2] = {
        {Text(IDS_PROPERTY_FILE), FromPath(m_project.Path())},
        {Text(IDS_PROPERTY_RATE), QStringLiteral("%L1 Hz").arg(session.sample_rate)},
        {Text(IDS_PROPERTY_MODE), Text(surround ? IDS_MODE_SURROUND : IDS_MODE_STEREO)},
        {Text(IDS_PROPERTY_CHANNELS), QString::number(session.channels.size())},
        {Text(IDS_PROPERTY_DEVICE), m_device->text()},
    };
    QDialog dialog(this);
    dialog.setWindowTitle(Text(IDS_TITLE_PROPERTIES));
    auto* form = new QFormLayout(&dialog);
    for (const auto& row : rows) {
        QLabel* value = MakePlainLabel(&dialog);
        value->setText(row[1]);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        form->addRow(row[0], value);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    form->addRow(buttons);
    dialog.exec();
}

QWidget* MainWindow::ConsolePage() const { return m_pageHost->PageWindow(); }

void MainWindow::MakeMenus() {
    // Clearing the bar leaves its menus alive.
    qDeleteAll(menuBar()->findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly));
    const auto add = [&](QMenu* menu, const char* name, HostTextId text, const QKeySequence& keys,
                         auto slot) {
        QAction* action = menu->addAction(Text(text));
        action->setObjectName(QLatin1String(name));
        action->setShortcut(keys);
        action->setShortcutContext(Qt::ApplicationShortcut);  // in the surface's window too
        connect(action, &QAction::triggered, this, slot);
    };
    QMenu* file = menuBar()->addMenu(Text(IDS_MENU_FILE));
    add(file, "File.Open", IDS_OPEN, QKeySequence::Open, [this] { OpenSession(); });
    add(file, "File.Save", IDS_SAVE, QKeySequence::Save, [this] { Save(); });
    add(file, "File.SaveAs", IDS_SAVE_AS, QKeySequence::SaveAs, [this] { SaveAs(); });
    file->addSeparator();
    add(file, "File.Import", IDS_IMPORT, Qt::CTRL | Qt::Key_I, [this] { Import(); });
    add(file, "File.Render", IDS_RENDER, Qt::CTRL | Qt::Key_R, [this] { RenderMix(); });
    file->addSeparator();
    add(file, "File.Quit", IDS_QUIT, QKeySequence::Quit, [this] { close(); });
    MakeEditMenu();
    m_mix->Fill(*menuBar()->addMenu(Text(IDS_MENU_MIX)));
    QMenu* transport = menuBar()->addMenu(Text(IDS_MENU_TRANSPORT));
    add(transport, "Transport.LocateTo", IDS_LOCATE_TO, Qt::CTRL | Qt::Key_G, [this] { LocateTo(); });
    MakeViewMenu();
    QMenu* options = menuBar()->addMenu(Text(IDS_MENU_OPTIONS));
    add(options, "Options.Keys", IDS_KEYS, {}, [this] { m_keys->ShowDialog(); });
    m_keys->TakeActions(*m_transport);
}

void MainWindow::MakeEditMenu() {
    QMenu* edit = menuBar()->addMenu(Text(IDS_MENU_EDIT));
    const auto add = [&](const char* name, HostTextId text, QKeySequence::StandardKey keys, auto step) {
        QAction* action = edit->addAction(QString());
        action->setObjectName(QLatin1String(name));
        action->setIconText(Text(text).remove(QLatin1Char('&')));  // whatever it would undo
        action->setShortcuts(keys);                                // redo has two in use
        action->setShortcutContext(Qt::ApplicationShortcut);       // in the effects' windows too
        connect(action, &QAction::triggered, this, [this, step] {
            step(m_project);
            Refresh();
        });
        return action;
    };
    m_undo = add("Edit.Undo", IDS_EFFECT_UNDO, QKeySequence::Undo, [](Project& p) { p.Undo(); });
    m_redo = add("Edit.Redo", IDS_EFFECT_REDO, QKeySequence::Redo, [](Project& p) { p.Redo(); });
    RefreshUndo();
}

void MainWindow::RefreshUndo() {
    const auto show = [](QAction* action, HostTextId text, HostTextId none, std::optional<EditKind> next) {
        action->setEnabled(next.has_value());
        action->setText(next ? Format(text, HostText(EDITS[static_cast<size_t>(*next)])) : Text(none));
    };
    show(m_undo, IDS_UNDO, IDS_EFFECT_UNDO, m_project.NextUndo());
    show(m_redo, IDS_REDO, IDS_EFFECT_REDO, m_project.NextRedo());
}

void MainWindow::MakeViewMenu() {
    QMenu* view = menuBar()->addMenu(Text(IDS_MENU_VIEW));
    const auto addChoice = [](QMenu* menu, QActionGroup* group, const QString& text, bool chosen) {
        QAction* action = menu->addAction(text);
        action->setCheckable(true);
        action->setChecked(chosen);
        group->addAction(action);
        return action;
    };
    QMenu* formats = view->addMenu(Text(IDS_MENU_TIME_FORMAT));
    auto* formatGroup = new QActionGroup(formats);
    for (const TimeFormatRow& row : TIME_FORMATS) {
        const bool chosen = m_transport->TimeFormat() == row.format;
        connect(addChoice(formats, formatGroup, Text(row.text), chosen), &QAction::triggered, this,
                [this, row] {
                    m_transport->SetTimeFormat(row.format);
                    m_settings.SetTimeFormat(row.format);
                });
    }
    QAction* surface = view->addAction(Text(IDS_CONTROL_SURFACE));
    surface->setObjectName(QStringLiteral("View.ControlSurface"));
    surface->setEnabled(m_surface != nullptr);
    connect(surface, &QAction::triggered, this, [this] { ShowSurface(); });
    QMenu* languages = view->addMenu(Text(IDS_MENU_LANGUAGE));
    auto* languageGroup = new QActionGroup(languages);
    const uint32_t translated = HostLanguages();
    for (size_t slot = 0; slot < Languages().size(); slot++) {
        if (!(translated >> slot & 1)) continue;
        const LanguageInfo& language = Languages()[slot];
        QAction* action =
            addChoice(languages, languageGroup, QString::fromUtf16(language.name), language.lcid == m_lcid);
        // The menu is made anew, and must not go while it is at work.
        connect(
            action, &QAction::triggered, this, [this, lcid = language.lcid] { ChangeLanguage(lcid); },
            Qt::QueuedConnection);
    }
}

void MainWindow::ChangeLanguage(uint32_t lcid) {
    m_lcid = lcid;
    m_settings.SetLanguage(lcid);
    m_pageHost->Close();  // its texts go with the old language
    CloseSurface();
    UseLanguage(m_project, lcid);
    ForPlugins([lcid](Plugin& plugin) { plugin.SetLanguage(lcid); });
    OpenPage();
    MakeMenus();
    m_mix->ShowTexts();
    m_transport->ShowTexts();
    Refresh();
}

void MainWindow::LocateTo() {
    const QString shown = m_transport->PositionText();
    bool chosen = false;
    const QString typed = QInputDialog::getText(this, Text(IDS_TITLE_LOCATE), Text(IDS_POSITION),
                                                QLineEdit::Normal, shown, &chosen);
    if (chosen && !m_transport->LocateTo(typed))
        ShowProblem(Text(IDS_TITLE_LOCATE), Format(IDS_NO_TIME, typed.toStdU16String().c_str()));
}

void MainWindow::MakeStatusLine() {
    const auto label = [this](int stretch) {
        QLabel* made = MakePlainLabel(this);
        statusBar()->addPermanentWidget(made, stretch);
        return made;
    };
    m_device = label(1);
    m_midi = label(0);
    m_problems = label(0);
    m_load = label(0);
    m_dropouts = label(0);
    statusBar()->setSizeGripEnabled(false);
    statusBar()->setContentsMargins(8, 0, 8, 0);
}

bool MainWindow::RunCommand(uint32_t command) {
    return m_pageHost->RunCommand(command) || RunHostCommand(command);
}

void MainWindow::RunRegistered(uint32_t command) {
    if (!RunCommand(command) && m_surfaceHost) m_surfaceHost->RunCommand(command);
}

void MainWindow::Refresh() {
    for (const uint32_t command : m_project.TakeCommandWishes()) RunRegistered(command);
    m_transport->Refresh();
    m_mix->Refresh();
    m_keys->Refresh();
    RefreshUndo();
    if (const uint64_t changes = m_project.UserPreferenceChanges(); changes != m_keptPreferences) {
        m_keptPreferences = changes;  // kept at once: nobody knows how a program ends
        m_settings.SetPluginPreferences(FormatPreferences(m_project.UserPreferences()));
    }
    RefreshMidi();
    ProjectStatus status = m_project.Status();
    const EngineStatus& engine = status.engine;
    const QString device =
        Format(IDS_DEVICE, Utf16FromUtf8(engine.device).c_str(), static_cast<int32_t>(engine.sampleRate),
               static_cast<int32_t>(engine.blockFrames));
    m_device->setText(m_status.isEmpty() ? device : m_status);  // what is pointed at, in its place
    m_device->setToolTip(PlainText(QString::fromStdString(engine.deviceProblem)));
    m_load->setText(Format(IDS_LOAD, double{engine.load} * 100));
    m_dropouts->setText(Format(IDS_DROPOUTS, static_cast<int64_t>(engine.diskUnderruns + engine.lateBlocks)));
    if (const MidiPorts* midi = m_project.Midi())
        for (std::string& line : midi->Problems()) status.problems.push_back(std::move(line));
    m_problems->setVisible(!status.problems.empty());
    if (!status.problems.empty()) {
        m_problems->setText(status.problems.size() == 1
                                ? QString::fromStdString(status.problems.front())
                                : Format(IDS_PROBLEMS, static_cast<int32_t>(status.problems.size())));
        m_problems->setToolTip(PlainText(Lines(status.problems)));
    }
    const std::filesystem::path path = m_project.Path();
    QString name = path.empty() ? Text(IDS_NEW_SESSION) : FromPath(path.stem());
    name.replace(QStringLiteral("[*]"),
                 QStringLiteral("[*][*]"));  // the mark of a changed session is another
    setWindowTitle(QStringLiteral("%1[*] - %2").arg(name, m_pageHost->Title()));
    setWindowModified(m_project.IsModified());
}

// What went in and out over MIDI last, as bytes: whoever connects a surface sees at once whether it is heard.
void MainWindow::RefreshMidi() {
    const MidiPorts* midi = m_project.Midi();
    m_midi->setVisible(midi);
    if (!midi) return;
    const auto show = [](HostTextId text, const MidiActivity& activity) {
        QStringList bytes;
        for (const uint8_t byte : activity.bytes)
            bytes += QStringLiteral("%1").arg(byte, 2, 16, QLatin1Char('0')).toUpper();
        return activity.messages ? Format(text, Utf16FromUtf8(activity.port).c_str(),
                                          bytes.join(QLatin1Char(' ')).toStdU16String().c_str())
                                 : QString();
    };
    QStringList parts = {show(IDS_MIDI_IN, midi->LastIn()), show(IDS_MIDI_OUT, midi->LastOut())};
    parts.removeAll(QString());
    m_midi->setText(parts.isEmpty() ? Text(IDS_MIDI_QUIET) : parts.join(QStringLiteral("   ")));
}

void MainWindow::ShowProblem(const QString& title, const QString& text) {
    QMessageBox::warning(this, title, PlainText(text));
}

QString MainWindow::StartFolder() const {
    return FromPath(m_project.Path().empty() ? m_settings.SessionFolder() : m_project.Path().parent_path());
}

// The dialog's own question whether to replace takes the file's name for rich text.
QString MainWindow::ChooseToWrite(HostTextId title, const QString& start, HostTextId filter) {
    QString chosen = QFileDialog::getSaveFileName(this, Text(title), start, Text(filter), nullptr,
                                                  QFileDialog::DontConfirmOverwrite);
    if (chosen.isEmpty() || !QFileInfo::exists(chosen)) return chosen;
    const QString ask = Format(IDS_ASK_REPLACE, QFileInfo(chosen).fileName().toStdU16String().c_str());
    const auto answer = QMessageBox::question(this, Text(title), PlainText(ask),
                                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    return answer == QMessageBox::Yes ? chosen : QString();
}

void MainWindow::OpenSession() {
    if (!MayDiscard()) return;
    const QString chosen =
        QFileDialog::getOpenFileName(this, Text(IDS_TITLE_OPEN), StartFolder(), Text(IDS_FILTER_SESSIONS));
    if (chosen.isEmpty()) return;
    ForPlugins([](Plugin& plugin) { plugin.ProjectClosing(); });
    m_copied.clear();
    try {
        m_project.Open(ToPath(chosen));
        m_settings.SetSessionFolder(ToPath(chosen).parent_path());
    } catch (const std::exception& e) {
        ShowProblem(Text(IDS_TITLE_OPEN), QString::fromUtf8(e.what()));
    }
    ForPlugins([](Plugin& plugin) { plugin.ProjectOpened(); });
}

bool MainWindow::Save() {
    if (m_project.Path().empty()) return SaveAs();
    try {
        m_project.Save();
        return true;
    } catch (const std::exception& e) {
        ShowProblem(Text(IDS_TITLE_SAVE), QString::fromUtf8(e.what()));
        return false;
    }
}

bool MainWindow::SaveAs() {
    const QString start = m_project.Path().empty() ? StartFolder() : FromPath(m_project.Path());
    const QString chosen = ChooseToWrite(IDS_TITLE_SAVE, start, IDS_FILTER_SESSIONS);
    if (chosen.isEmpty()) return false;
    try {
        m_project.SaveAs(ToPath(chosen));
        m_settings.SetSessionFolder(ToPath(chosen).parent_path());
        return true;
    } catch (const std::exception& e) {
        ShowProblem(Text(IDS_TITLE_SAVE), QString::fromUtf8(e.what()));
        return false;
    }
}

namespace {

/// All that plug-ins read, a row each.
QString ImportFilter(IQmFileIOMgrForApp& manager) {
    ComPtr<IQmFioFilterBuilder2> builder;
    std::u16string filter(1 << 14, 0);
    if (Failed(manager.GetFilterBuilder2(builder.Out())) ||
        Failed(builder->SetAllTypesName(HostText(IDS_FILTER_RECORDINGS))) || Failed(builder->AddReaders()) ||
        Failed(builder->AddAnyFile(HostText(IDS_FILTER_ANY))) ||
        Failed(builder->GetFilter(filter.data(), static_cast<uint32_t>(filter.size()))))
        return {};
    return QString::fromUtf16(filter.c_str());
}

std::vector<std::filesystem::path> LocalFiles(const QMimeData& dropped) {
    std::vector<std::filesystem::path> files;
    for (const QUrl& url : dropped.urls())
        if (url.isLocalFile()) files.push_back(ToPath(url.toLocalFile()));
    return files;
}

}  // namespace

void MainWindow::Import() try {
    const QStringList chosen = QFileDialog::getOpenFileNames(
        this, Text(IDS_TITLE_IMPORT), FromPath(m_settings.ImportFolder()), ImportFilter(FileManager()));
    if (chosen.isEmpty()) return;
    std::vector<std::filesystem::path> files;
    for (const QString& file : chosen) files.push_back(ToPath(file));
    m_settings.SetImportFolder(files.front().parent_path());
    ImportFiles(files);
} catch (const std::runtime_error& e) {
    ShowProblem(Text(IDS_TITLE_IMPORT), QString::fromUtf8(e.what()));
}

void MainWindow::ImportFiles(const std::vector<std::filesystem::path>& files) try {
    IQmFileIOMgrForApp& manager = FileManager();
    const double start = m_project.Transport().seconds;
    const bool isLong = std::ranges::any_of(files, [&](const std::filesystem::path& file) {
        return manager.IsOpenProgressNeeded(WideFromPath(file).c_str()) == S_OK;
    });
    const QString text = files.size() == 1
                             ? Format(IDS_IMPORTING, WideFromPath(files.front().filename()).c_str())
                             : Format(IDS_IMPORTING_FILES, static_cast<int32_t>(files.size()));
    ImportResult result;
    RunWithProgress(this, Text(IDS_TITLE_IMPORT), text, isLong, [&](const auto& progress) {
        result = ImportRecordings(m_project, manager, files, start, progress);
    });
    Refresh();
    if (!result.problems.empty())
        ShowProblem(Text(IDS_TITLE_IMPORT),
                    Text(IDS_NOT_ALL_IMPORTED) + QStringLiteral("\n\n") + Lines(result.problems));
} catch (const std::exception& e) {
    ShowProblem(Text(IDS_TITLE_IMPORT), QString::fromUtf8(e.what()));
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!LocalFiles(*event->mimeData()).empty()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    // What is dropped from waits until this returns.
    QTimer::singleShot(0, this, [this, files = LocalFiles(*event->mimeData())] { ImportFiles(files); });
}

void MainWindow::RenderMix() {
    RenderResult mix;
    try {
        IQmFileIOMgrForApp& manager = FileManager();
        const Session session = m_project.Snapshot();
        const bool surround = session.mode == ChannelMode::Surround51;
        _qmwaveformat format{};
        format.Init(static_cast<uint32_t>(session.sample_rate), QMSAMPLE_PCM24, surround ? 6 : 2,
                    surround ? 0x3F : 0, sizeof format);
        const std::filesystem::path path = m_project.Path(), last = m_settings.RenderFolder();
        const std::filesystem::path folder = !last.empty()  ? last
                                             : path.empty() ? std::filesystem::current_path()
                                                            : std::filesystem::absolute(path).parent_path();
        RenderDialog dialog(manager, folder / (path.empty() ? "mix" : path.stem()), format, this);
        if (dialog.exec() != QDialog::Accepted) return;
        const std::filesystem::path file = dialog.File();
        m_settings.SetRenderFolder(file.parent_path());
        RunWithProgress(
            this, Text(IDS_TITLE_RENDER), Format(IDS_RENDERING, WideFromPath(file.filename()).c_str()), true,
            [&](const auto& progress) {
                mix = RenderByTemplate(m_project, manager, file, *dialog.Template(), std::nullopt, progress);
            });
    } catch (const std::exception& e) {
        ShowProblem(Text(IDS_TITLE_RENDER), QString::fromUtf8(e.what()));
    }
    if (!mix.problems.empty())
        ShowProblem(Text(IDS_TITLE_RENDER),
                    Text(IDS_NOT_ALL_RENDERED) + QStringLiteral("\n\n") + Lines(mix.problems));
}

bool MainWindow::MayDiscard() {
    if (!m_project.IsModified()) return true;
    const auto answer = QMessageBox::question(this, Text(IDS_SESSION), Text(IDS_ASK_SAVE),
                                              QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    if (answer == QMessageBox::Save) return Save();
    return answer == QMessageBox::Discard;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!MayDiscard()) return event->ignore();
    m_settings.SetGeometry(saveGeometry());
    event->accept();
}

}  // namespace host
