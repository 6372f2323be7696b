// Play, stop, locate and loop of a project, with the position as time and as a slider.
#pragma once

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
    void Seek(int permille);

    Project& m_project;
    QAction* m_play;
    QAction* m_loop;
    QLabel* m_time;
    QSlider* m_position;
};

}  // namespace host
