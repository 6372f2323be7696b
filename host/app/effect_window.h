// An effect's window: the interface that its maker drew, where there is one and the window system is X11,
// else plain controls.
#pragma once

#include "host/effects/effect.h"

#include <QSize>
#include <QWidget>

#include <memory>

class QCheckBox;
class QVBoxLayout;

namespace host {

class EffectEditor;

class EffectWindow final : public QWidget {
public:
    /// A window of its own; the effect stays longer.
    EffectWindow(Effect& effect, EffectEdits edits, const QString& title, QWidget* parent = nullptr);
    ~EffectWindow() override;
    /// Names everything in the host's language.
    void ShowTexts();

private:
    void ShowOwn(bool own);
    void FitOwn(QSize pixels);
    void Idle();

    Effect& m_effect;
    EffectEdits m_edits;
    QVBoxLayout* m_column;
    QCheckBox* m_own;
    EffectEditor* m_editor = nullptr;
    QWidget* m_container = nullptr;
    std::unique_ptr<EffectView> m_view;
    bool m_fitted = false;  ///< the window has the size of the effect's own
};

}  // namespace host
