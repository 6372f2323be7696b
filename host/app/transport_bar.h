// Play, stop, locate and loop of a project, with the position as time and as a slider.
#pragma once

#include "kernel/time/position.h"

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
    /// Names everything in the host's language.
    void ShowTexts();

    /// How positions are shown and typed, one of kernel/time/position.h.
    uint32_t TimeFormat() const { return m_timeFormat; }
    void SetTimeFormat(uint32_t format);
    QString PositionText() const;
    /// Goes to a position as it is typed in the time format; false when it is none.
    bool LocateTo(const QString& position);
    void TogglePlay();

private:
    void Seek(int step);
    _qmposfmt Notation() const;
    QString TimeText(double seconds) const;

    Project& m_project;
    QIcon m_playIcon, m_stopIcon;
    uint32_t m_timeFormat;
    QAction* m_start;
    QAction* m_play;
    QAction* m_loop;
    QLabel* m_time;
    QSlider* m_position;
};

}  // namespace host
