// Play, stop, locate and loop of a project, with the position as time and as a slider.
#pragma once

#include <QIcon>
#include <QToolBar>

class QAction;
class QLabel;
class QSlider;

namespace host {

class Project;

class TransportBar final : public QToolBar {
public:
    TransportBar(Project& project, QWidget* parent);
    /// Shows where the project plays. Called a few times a second.
    void Refresh();
    void TogglePlay();

private:
    void Seek(int step);

    Project& m_project;
    QIcon m_playIcon, m_stopIcon;
    QAction* m_play;
    QAction* m_loop;
    QLabel* m_time;
    QSlider* m_position;
};

}  // namespace host
