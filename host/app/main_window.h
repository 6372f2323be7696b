// The reference host's window: transport above, the console's page docked below it, and a status line.
#pragma once

#include "host/contract/plugin.h"
#include "host/contract/project.h"

#include <QMainWindow>

#include <memory>

class QLabel;

namespace host {

class PageHost;
class Settings;
class TransportBar;

class MainWindow final : public QMainWindow {
public:
    /// Loads the console onto the project, in the language. Throws std::runtime_error when it cannot be had.
    MainWindow(Project& project, Settings& settings, const std::filesystem::path& consoleModule,
               uint32_t lcid);
    ~MainWindow() override;

    /// The console's own window.
    QWidget* ConsolePage() const;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void MakeMenus();
    void MakeViewMenu();
    void OpenPage();
    void ChangeLanguage(uint32_t lcid);
    void LocateTo();
    QString StartFolder() const;
    void MakeStatusLine();
    void OpenSession();
    bool Save();
    bool SaveAs();
    void RenderMix();
    bool MayDiscard();
    void Refresh();
    void ShowProblem(const QString& title, const QString& text);

    Project& m_project;
    Settings& m_settings;
    uint32_t m_lcid;
    std::unique_ptr<Plugin> m_console;
    TransportBar* m_transport;
    PageHost* m_pageHost;
    QLabel* m_device;
    QLabel* m_load;
    QLabel* m_dropouts;
    QLabel* m_problems;
};

}  // namespace host
