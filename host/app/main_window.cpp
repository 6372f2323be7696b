#include "host/app/main_window.h"

#include "host/app/page_host.h"
#include "host/app/transport_bar.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDockWidget>
#include <QFileDialog>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressDialog>
#include <QStatusBar>
#include <QTimer>

namespace host {
namespace {

constexpr int REFRESH_MILLISECONDS = 50;
const QString SESSION_FILTER = QStringLiteral("Tarn sessions (*.tarn)");

QString FromPath(const std::filesystem::path& path) { return QString::fromStdString(path.string()); }
std::filesystem::path ToPath(const QString& path) { return path.toStdString(); }

}  // namespace

MainWindow::MainWindow(Project& project, const std::filesystem::path& consoleModule)
    : m_project(project), m_console(std::make_unique<Plugin>(consoleModule, project)),
      m_transport(new TransportBar(project, this)), m_pageHost(new PageHost) {
    m_console->ProjectOpened();
    addToolBar(m_transport);
    MakeMenus();
    MakeStatusLine();

    setStyleSheet(QStringLiteral("QMainWindow::separator { width: 0; height: 0; }"));
    auto* dock = new QDockWidget(this);
    dock->setObjectName(QStringLiteral("console"));
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
    dock->setTitleBarWidget(new QWidget(dock));  // one page only: its name stands in the window's title
    dock->setWidget(m_pageHost);
    addDockWidget(Qt::TopDockWidgetArea, dock);
    if (!m_pageHost->Open(m_console->MakePage(CLSID_ConsoleMixerPage), m_console->Object()))
        throw std::runtime_error("the console's page could not be opened");

    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &MainWindow::Refresh);
    timer->start(REFRESH_MILLISECONDS);
    Refresh();
    m_pageHost->setFocus();
}

MainWindow::~MainWindow() {
    m_pageHost->Close();
    m_console->ProjectClosing();
}

QWidget* MainWindow::ConsolePage() const { return m_pageHost->PageWindow(); }

void MainWindow::MakeMenus() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    const auto add = [&](const char* text, const QKeySequence& keys, auto slot) {
        QAction* action = file->addAction(QString::fromLatin1(text));
        action->setShortcut(keys);
        connect(action, &QAction::triggered, this, slot);
    };
    add("&Open Session...", QKeySequence::Open, [this] { OpenSession(); });
    add("&Save", QKeySequence::Save, [this] { Save(); });
    add("Save &As...", QKeySequence::SaveAs, [this] { SaveAs(); });
    file->addSeparator();
    add("&Render Mix...", Qt::CTRL | Qt::Key_R, [this] { RenderMix(); });
    file->addSeparator();
    add("&Quit", QKeySequence::Quit, [this] { close(); });
}

void MainWindow::MakeStatusLine() {
    const auto label = [this](int stretch) {
        auto* made = new QLabel(this);
        statusBar()->addPermanentWidget(made, stretch);
        return made;
    };
    m_device = label(1);
    m_problems = label(0);
    m_load = label(0);
    m_dropouts = label(0);
    statusBar()->setSizeGripEnabled(false);
    statusBar()->setContentsMargins(8, 0, 8, 0);
}

void MainWindow::Refresh() {
    m_transport->Refresh();
    const ProjectStatus status = m_project.Status();
    const EngineStatus& engine = status.engine;
    m_device->setText(QStringLiteral("%1, %2 Hz, %3 frames")
                          .arg(QString::fromStdString(engine.device))
                          .arg(engine.sampleRate)
                          .arg(engine.blockFrames));
    m_device->setToolTip(QString::fromStdString(engine.deviceProblem));
    m_load->setText(QStringLiteral("Load %1 %").arg(engine.load * 100.0, 0, 'f', 1));
    m_dropouts->setText(QStringLiteral("Dropouts %1").arg(engine.diskUnderruns + engine.lateBlocks));
    m_problems->setVisible(!status.problems.empty());
    if (!status.problems.empty()) {
        QStringList lines;
        for (const std::string& problem : status.problems) lines += QString::fromStdString(problem);
        m_problems->setText(lines.size() == 1 ? lines.front()
                                              : QStringLiteral("%1 problems").arg(lines.size()));
        m_problems->setToolTip(lines.join(QLatin1Char('\n')));
    }
    const std::filesystem::path path = m_project.Path();
    const QString name = path.empty() ? QStringLiteral("New session") : FromPath(path.stem());
    setWindowTitle(QStringLiteral("%1[*] - %2").arg(name, m_pageHost->Title()));
    setWindowModified(m_project.IsModified());
}

void MainWindow::ShowProblem(const QString& title, const QString& text) {
    QMessageBox::warning(this, title, text);
}

void MainWindow::OpenSession() {
    if (!MayDiscard()) return;
    const QString chosen = QFileDialog::getOpenFileName(
        this, QStringLiteral("Open Session"), FromPath(m_project.Path().parent_path()), SESSION_FILTER);
    if (chosen.isEmpty()) return;
    m_console->ProjectClosing();
    try {
        m_project.Open(ToPath(chosen));
    } catch (const SessionError& e) {
        ShowProblem(QStringLiteral("Open Session"), QString::fromUtf8(e.what()));
    }
    m_console->ProjectOpened();
}

bool MainWindow::Save() {
    if (m_project.Path().empty()) return SaveAs();
    try {
        m_project.Save();
        return true;
    } catch (const SessionError& e) {
        ShowProblem(QStringLiteral("Save"), QString::fromUtf8(e.what()));
        return false;
    }
}

bool MainWindow::SaveAs() {
    const QString chosen = QFileDialog::getSaveFileName(this, QStringLiteral("Save Session"),
                                                        FromPath(m_project.Path()), SESSION_FILTER);
    if (chosen.isEmpty()) return false;
    try {
        m_project.SaveAs(ToPath(chosen));
        return true;
    } catch (const SessionError& e) {
        ShowProblem(QStringLiteral("Save"), QString::fromUtf8(e.what()));
        return false;
    }
}

void MainWindow::RenderMix() {
    const QString chosen = QFileDialog::getSaveFileName(
        this, QStringLiteral("Render Mix"), QStringLiteral("mix.wav"), QStringLiteral("Wave files (*.wav)"));
    if (chosen.isEmpty()) return;
    constexpr int STEPS = 1000;
    QProgressDialog progress(QStringLiteral("Rendering %1").arg(chosen), QStringLiteral("Cancel"), 0, STEPS,
                             this);
    progress.setWindowModality(Qt::WindowModal);
    try {
        m_project.Render(ToPath(chosen), std::nullopt, [&](double done) {
            progress.setValue(static_cast<int>(done * STEPS));
            return !progress.wasCanceled();
        });
    } catch (const std::exception& e) {
        if (!progress.wasCanceled()) ShowProblem(QStringLiteral("Render Mix"), QString::fromUtf8(e.what()));
    }
}

bool MainWindow::MayDiscard() {
    if (!m_project.IsModified()) return true;
    const auto answer = QMessageBox::question(this, QStringLiteral("Session"),
                                              QStringLiteral("Save the changes to this session?"),
                                              QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    if (answer == QMessageBox::Save) return Save();
    return answer == QMessageBox::Discard;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (MayDiscard())
        event->accept();
    else
        event->ignore();
}

}  // namespace host
