#include "host/app/transport_bar.h"

#include "host/app/icons.h"
#include "host/app/texts.h"
#include "host/contract/project.h"

#include "kernel/time/time_parse.h"
#include "kernel/time/time_text.h"

#include <QAction>
#include <QLabel>
#include <QSlider>

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr int SLIDER_STEPS = 10000;

int64_t NanosOf(double seconds) {
    return static_cast<int64_t>(std::floor(std::clamp(seconds, 0.0, 1e9) * NANO_TIME_PER_SECOND));
}

}  // namespace

TransportBar::TransportBar(Project& project, QWidget* parent)
    : QToolBar(parent), m_project(project), m_timeFormat(POSITION_TIME) {
    setMovable(false);
    setLayoutDirection(Qt::LeftToRight);  // time runs to the right in every language, and so do these signs
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    const QColor ink = palette().color(QPalette::ButtonText);
    m_playIcon = TransportIcon(TransportShape::Play, ink);
    m_stopIcon = TransportIcon(TransportShape::Stop, ink);

    m_start = addAction(TransportIcon(TransportShape::ToStart, ink), QString());
    m_start->setObjectName(QStringLiteral("Transport.ToStart"));
    m_start->setShortcut(Qt::Key_Home | Qt::CTRL);
    m_start->setShortcutContext(Qt::ApplicationShortcut);
    connect(m_start, &QAction::triggered, this, [this] { m_project.Locate(0); });

    m_play = addAction(m_playIcon, QString());
    m_play->setObjectName(QStringLiteral("Transport.PlayOrStop"));
    m_play->setShortcut(Qt::Key_Space);
    m_play->setShortcutContext(Qt::ApplicationShortcut);
    connect(m_play, &QAction::triggered, this, &TransportBar::TogglePlay);

    m_loop = addAction(TransportIcon(TransportShape::Loop, ink), QString());
    m_loop->setObjectName(QStringLiteral("Transport.Loop"));
    m_loop->setCheckable(true);
    m_loop->setShortcut(Qt::CTRL | Qt::Key_L);
    m_loop->setShortcutContext(Qt::ApplicationShortcut);
    connect(m_loop, &QAction::triggered, this, [this](bool on) {
        LoopRange loop = m_project.Transport().loop;
        loop.on = on;
        if (loop.end <= loop.start) loop.start = 0, loop.end = std::max(1.0, m_project.Length());
        m_project.SetLoop(loop);
    });

    m_time = new QLabel(this);
    QFont digits = font();
    digits.setPixelSize(20);
    digits.setWeight(QFont::DemiBold);
    digits.setStyleHint(QFont::Monospace);
    m_time->setFont(digits);
    m_time->setAlignment(Qt::AlignCenter);
    addWidget(m_time);

    m_position = new QSlider(Qt::Horizontal, this);
    m_position->setRange(0, SLIDER_STEPS);
    connect(m_position, &QSlider::sliderMoved, this, &TransportBar::Seek);
    connect(m_position, &QSlider::actionTriggered, this, [this] { Seek(m_position->sliderPosition()); });
    addWidget(m_position);
    SetTimeFormat(m_timeFormat);
    ShowTexts();
}

void TransportBar::ShowTexts() {
    setWindowTitle(Text(IDS_TRANSPORT));
    m_start->setText(Text(IDS_TO_START));
    m_loop->setText(Text(IDS_LOOP));
    m_time->setAccessibleName(Text(IDS_POSITION));
    m_position->setAccessibleName(Text(IDS_LOCATE));
    Refresh();
}

_qmposfmt TransportBar::Notation() const {
    _qmposfmt format{};
    format.format = m_timeFormat;
    format.rate = static_cast<uint32_t>(m_project.Status().engine.sampleRate);
    return format;
}

QString TransportBar::TimeText(double seconds) const {
    const _qmposfmt format = Notation();
    char16_t text[64];
    const int32_t length = QmNanoTimeToText(text, &format, NanosOf(seconds), 0);
    return QString(reinterpret_cast<const QChar*>(text), length);
}

void TransportBar::SetTimeFormat(uint32_t format) {
    m_timeFormat = format;
    // As wide as the longest session shows, so that nothing moves while it plays.
    constexpr double LONG_SESSION = 24 * 3600 - 1;
    m_time->setFixedWidth(m_time->fontMetrics().horizontalAdvance(TimeText(LONG_SESSION)) + 24);
    Refresh();
}

QString TransportBar::PositionText() const { return TimeText(m_project.Transport().seconds); }

bool TransportBar::LocateTo(const QString& position) {
    const _qmposfmt format = Notation();
    const std::u16string text = position.toStdU16String();
    const char16_t* end = nullptr;
    const int64_t nanos = QmTextToNanoTimeTokenEx(-1, text.c_str(), &format, 0, INT64_MAX, &end);
    if (nanos < 0 || !QString::fromUtf16(end).trimmed().isEmpty()) return false;
    m_project.Locate(std::min(static_cast<double>(nanos) / NANO_TIME_PER_SECOND, m_project.Length()));
    Refresh();
    return true;
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
    m_play->setText(Text(state.playing ? IDS_STOP : IDS_PLAY));
    m_loop->setChecked(state.loop.on);
    m_time->setText(TimeText(state.seconds));
    if (!m_position->isSliderDown() && length > 0)
        m_position->setValue(static_cast<int>(std::clamp(state.seconds / length, 0.0, 1.0) * SLIDER_STEPS));
}

}  // namespace host
