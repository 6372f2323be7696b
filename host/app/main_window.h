// The reference host's window: transport above, the console's page docked below it, a status line, and the
// page of the control surface in a window of its own.
#pragma once

#include "host/app/text_ids.h"
#include "host/contract/plugin.h"
#include "host/contract/project.h"

#include <QMainWindow>

#include <memory>

class QAction;
class QDialog;
class QLabel;

namespace host {

class KeyActions;
class MixMenu;
class PageHost;
class Settings;
class TransportBar;

class MainWindow final : public QMainWindow {
public:
    /// Loads the plug-ins in the folder onto the project, in the language. Throws std::runtime_error when the
    /// console cannot be had; without a control surface the rest works.
    MainWindow(Project& project, Settings& settings, const std::filesystem::path& modules, uint32_t lcid);
    ~MainWindow() override;

    /// The console's own window.
    QWidget* ConsolePage() const;
    /// Opens the page of the control surface; its window, or null when there is none.
    QWidget* ShowSurface();
    /// Has the console carry out one of its commands; false when it does not take it.
    bool RunCommand(uint32_t command);
    /// New tracks of recordings, with what could not be read told at the end.
    void ImportFiles(const std::vector<std::filesystem::path>& files);

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void MakeMenus();
    void MakeEditMenu();
    void MakeViewMenu();
    void OpenPage();
    void LoadSurface(const std::filesystem::path& module);
    void CloseSurface();
    template <class F>
    void ForPlugins(F call);
    void RefreshMidi();
    void ChangeLanguage(uint32_t lcid);
    bool RunHostCommand(uint32_t command);
    /// Of the plug-ins: the one that has it carries it out.
    void RunRegistered(uint32_t command);
    void ShowAudioProperties();
    void LocateTo();
    QString StartFolder() const;
    void MakeStatusLine();
    QString ChooseToWrite(HostTextId title, const QString& start, HostTextId filter);
    void OpenSession();
    bool Save();
    bool SaveAs();
    void Import();
    void RenderMix();
    bool MayDiscard();
    void Refresh();
    void RefreshUndo();
    void ShowProblem(const QString& title, const QString& text);

    Project& m_project;
    Settings& m_settings;
    uint32_t m_lcid;
    std::unique_ptr<Plugin> m_console;
    std::unique_ptr<Plugin> m_surface;  ///< null when it cannot be had
    QDialog* m_surfaceWindow = nullptr;
    PageHost* m_surfaceHost = nullptr;
    MixMenu* m_mix;
    QAction* m_undo = nullptr;
    QAction* m_redo = nullptr;
    TransportBar* m_transport;
    PageHost* m_pageHost;
    KeyActions* m_keys;
    QLabel* m_device;
    QString m_status;  ///< what the console says of the command under the mouse
    uint64_t m_keptPreferences = 0;
    std::vector<Channel> m_copied;  ///< channels on the clipboard, of the session that is open
    QLabel* m_midi;
    QLabel* m_load;
    QLabel* m_dropouts;
    QLabel* m_problems;
};

}  // namespace host
