#include "host/app/effect_window.h"

#include "host/app/effect_editor.h"
#include "host/app/texts.h"
#include "host/app/x11_window.h"

#include <QCheckBox>
#include <QGuiApplication>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr int IDLE_MS = 33;

bool IsX11() { return QGuiApplication::platformName() == QStringLiteral("xcb"); }

}  // namespace

EffectWindow::EffectWindow(Effect& effect, EffectEdits edits, const QString& title, QWidget* parent)
    : QWidget(parent, Qt::Window), m_effect(effect), m_edits(std::move(edits)),
      m_column(new QVBoxLayout(this)), m_own(new QCheckBox) {
    setWindowTitle(title);
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(0);
    m_column->addWidget(m_own);
    m_own->setVisible(IsX11() && effect.HasView());
    connect(m_own, &QCheckBox::toggled, this, &EffectWindow::ShowOwn);
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &EffectWindow::Idle);
    timer->start(IDLE_MS);
    m_own->setChecked(IsX11() && effect.HasView());
    if (!m_own->isChecked()) ShowOwn(false);
    ShowTexts();
}

EffectWindow::~EffectWindow() { m_view.reset(); }

void EffectWindow::ShowTexts() {
    m_own->setText(Text(IDS_EFFECT_OWN_VIEW));
    if (m_editor) m_editor->ShowTexts();
}

void EffectWindow::FitOwn(QSize pixels) {
    m_fitted = true;
    const double scale = devicePixelRatioF();
    const auto logical = [&](int length) { return std::max(1, static_cast<int>(std::ceil(length / scale))); };
    m_container->setFixedSize(logical(pixels.width()), logical(pixels.height()));
    adjustSize();
}

void EffectWindow::Idle() {
    if (!m_view) return;
    if (!m_view->Idle()) {
        close();
        return;
    }
    if (m_fitted || !m_view->Window()) return;
    // One that does not ask for a size has the one that it was made with.
    if (const QSize size = SizeOfX11Window(m_view->Window()); size.width() > 1 && size.height() > 1)
        FitOwn(size);
}

void EffectWindow::ShowOwn(bool own) {
    m_view.reset();
    m_fitted = false;
    delete std::exchange(m_container, nullptr);
    delete std::exchange(m_editor, nullptr);
    QString refusal;
    if (own) {
        m_container = new QWidget;
        m_container->setAttribute(Qt::WA_NativeWindow);
        m_column->addWidget(m_container, 1);
        const auto resize = [this](int width, int height) { FitOwn({width, height}); };
        try {
            m_view = m_effect.OpenView(m_container->winId(), m_edits, resize);
            return;
        } catch (const EffectError& e) {
            refusal = QString::fromUtf8(e.what());
            delete std::exchange(m_container, nullptr);
        }
    }
    m_editor = new EffectEditor(m_effect, m_edits);
    m_column->addWidget(m_editor, 1);
    if (refusal.isEmpty()) return;
    const QSignalBlocker quiet(m_own);
    m_own->setChecked(false);
    m_own->setEnabled(false);
    m_own->setToolTip(refusal);
}

}  // namespace host
