#include "platform/ui/tips.h"

#include "platform/ui/paint.h"
#include "platform/ui/plain_text.h"

#include <QGuiApplication>
#include <QHelpEvent>
#include <QToolTip>
#include <QWidget>

#include <algorithm>

namespace {
constexpr int kHoverMilliseconds = 60000;
constexpr LONG kTrackedMargin = 8;  // at each side of the text

// A child of the window, not a window of its own, since it moves with every step of a drag.
QLabel* MakeTracked(QWidget& window) {
    QLabel* label = MakePlainLabel(&window);
    label->setFont(QToolTip::font());
    label->setPalette(QGuiApplication::palette());
    label->setAutoFillBackground(true);
    label->setForegroundRole(QPalette::ToolTipText);
    label->setBackgroundRole(QPalette::ToolTipBase);
    label->setAlignment(Qt::AlignCenter);
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    return label;
}
}  // namespace

POINT PlaceTip(POINT wanted, SIZE size, const RECT& area) {
    return {std::max(std::min(wanted.x, area.right - size.cx), area.left),
            std::max(std::min(wanted.y, area.bottom - size.cy), area.top)};
}

Tips::Tips(QWidget& window) : m_window(window) {}
Tips::~Tips() { delete m_tracked.data(); }

void Tips::SetHover(std::u16string_view text, const RECT& area) {
    if (text == m_text && area == m_area) return;
    if (!m_text.empty() && QToolTip::isVisible()) QToolTip::hideText();
    m_text = text;
    m_area = area;
}

void Tips::OnHelp(const QHelpEvent& event) {
    if (m_text.empty()) return;
    QToolTip::showText(event.globalPos(), PlainText(QString::fromStdU16String(m_text)), &m_window,
                       ToQRect(m_area), kHoverMilliseconds);
}

void Tips::Track(std::u16string_view text, POINT at) {
    if (text.empty()) {
        if (m_tracked) m_tracked->hide();
        return;
    }
    if (!m_tracked) m_tracked = MakeTracked(m_window);
    m_tracked->setText(QString(ViewText(text).constData(), static_cast<qsizetype>(text.size())));
    const QSize hint = m_tracked->sizeHint();
    const SIZE size{hint.width() + 2 * kTrackedMargin, hint.height() + kTrackedMargin};
    const QPoint local = m_window.mapFromGlobal(QPoint(at.x, at.y));
    const POINT place = PlaceTip({local.x(), local.y()}, size, FromQRect(m_window.rect()));
    m_tracked->setGeometry(place.x, place.y, size.cx, size.cy);
    m_tracked->raise();
    m_tracked->show();
}

bool Tips::IsTracking() const { return m_tracked && m_tracked->isVisible(); }
