#include "host/app/transport_bar.h"

#include "host/app/icons.h"
#include "host/contract/project.h"

#include <QAction>
#include <QLabel>
#include <QSlider>

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr int SLIDER_STEPS = 10000;

QString TimeText(double seconds) {
    const auto milliseconds = static_cast<qint64>(std::floor(std::max(0.0, seconds) * 1000.0));
    return QStringLiteral("%1:%2.%3")
        .arg(milliseconds / 60000, 2, 10, QLatin1Char('0'))
        .arg(milliseconds / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'));
}

}  // namespace

TransportBar::TransportBar(Project& project, QWidget* parent)
    : QToolBar(QStringLiteral("Transport"), parent), m_project(project) {
    setMovable(false);
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    const QColor ink = palette().color(QPalette::ButtonText);
    m_playIcon = TransportIcon(TransportShape::Play, ink);
    m_stopIcon = TransportIcon(TransportShape::Stop, ink);

    QAction* start = addAction(TransportIcon(TransportShape::ToStart, ink), QStringLiteral("Go to start"));
    start->setShortcut(Qt::Key_Home | Qt::CTRL);
    connect(start, &QAction::triggered, this, [this] { m_project.Locate(0); });

    m_play = addAction(m_playIcon, QStringLiteral("Play"));
    m_play->setShortcut(Qt::Key_Space);
    m_play->setShortcutContext(Qt::ApplicationShortcut);
    connect(m_play, &QAction::triggered, this, &TransportBar::TogglePlay);

    m_loop = addAction(TransportIcon(TransportShape::Loop, ink), QStringLiteral("Loop"));
    m_loop->setCheckable(true);
    m_loop->setShortcut(Qt::CTRL | Qt::Key_L);
    connect(m_loop, &QAction::triggered, this, [this](bool on) {
        LoopRange loop = m_project.Transport().loop;
        loop.on = on;
        if (loop.end <= loop.start) loop.start = 0, loop.end = std::max(1.0, m_project.Length());
        m_project.SetLoop(loop);
    });

    m_time = new QLabel(TimeText(0), this);
    QFont digits = font();
    digits.setPixelSize(20);
    digits.setWeight(QFont::DemiBold);
    digits.setStyleHint(QFont::Monospace);
    m_time->setFont(digits);
    m_time->setMinimumWidth(m_time->fontMetrics().horizontalAdvance(QStringLiteral("00:00.000")) + 24);
    m_time->setAlignment(Qt::AlignCenter);
    m_time->setAccessibleName(QStringLiteral("Position"));
    addWidget(m_time);

    m_position = new QSlider(Qt::Horizontal, this);
    m_position->setRange(0, SLIDER_STEPS);
    m_position->setAccessibleName(QStringLiteral("Locate"));
    connect(m_position, &QSlider::sliderMoved, this, &TransportBar::Seek);
    connect(m_position, &QSlider::actionTriggered, this, [this] { Seek(m_position->sliderPosition()); });
    addWidget(m_position);
}

void TransportBar::TogglePlay() {
    if (m_project.Transport().playing)
        m_project.Stop();
    else
        m_project.Play();
    Refresh();
}

void TransportBar::Seek(int step) { m_project.Locate(m_project.Length() * step / SLIDER_STEPS); }

void TransportBar::Refresh() {
    const TransportState state = m_project.Transport();
    const double length = m_project.Length();
    m_play->setIcon(state.playing ? m_stopIcon : m_playIcon);
    m_play->setText(state.playing ? QStringLiteral("Stop") : QStringLiteral("Play"));
    m_loop->setChecked(state.loop.on);
    m_time->setText(TimeText(state.seconds));
    if (!m_position->isSliderDown() && length > 0)
        m_position->setValue(static_cast<int>(std::clamp(state.seconds / length, 0.0, 1.0) * SLIDER_STEPS));
}

}  // namespace host
