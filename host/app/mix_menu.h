// The menu of channels and their effects: what is added to the mix, and the chains of the selected channel
// with their windows.
#pragma once

#include "host/contract/project.h"

#include <QObject>

#include <functional>
#include <map>
#include <memory>

class QMenu;
class QWidget;

namespace host {

class EffectWindow;

class MixMenu final : public QObject {
public:
    using ShowProblem = std::function<void(const QString& title, const QString& text)>;

    /// `window` is what the effects' windows belong to.
    MixMenu(Project& project, QWidget& window, ShowProblem showProblem);
    ~MixMenu() override;

    /// Fills the menu, which is made anew in another language.
    void Fill(QMenu& menu);
    /// Closes the windows of effects that are gone. Called now and then.
    void Refresh();
    void ShowTexts();  ///< in the windows
    void CloseWindows();

private:
    struct OpenWindow {
        std::shared_ptr<Effect> effect;  ///< stays longer than its window
        std::unique_ptr<EffectWindow> window;

        OpenWindow(std::shared_ptr<Effect> shown, std::unique_ptr<EffectWindow> in);
        ~OpenWindow();
        OpenWindow(OpenWindow&&) = default;
        OpenWindow& operator=(OpenWindow&&) = delete;
    };
    using Key = std::pair<ChannelId, SubId>;

    void AddChannel(ChannelKind kind);
    void RemoveSelected();
    void FillInserts(QMenu& menu);
    void FillEffect(QMenu& menu, const Channel& channel, const Insert& insert, std::optional<size_t> place);
    void FillNewEffect(QMenu& menu, const Channel& channel);
    void Insert(ChannelId channel, const std::string& uri);
    void Edit(ChannelId channel, SubId effect);

    Project& m_project;
    QWidget& m_window;
    const ShowProblem m_showProblem;
    std::map<Key, OpenWindow> m_windows;
};

}  // namespace host
