// A window for any effect: a control for each of its parameters, and its presets. What automation or the
// effect itself moves is followed; every control has a name, and each can be worked from the keyboard.
#pragma once

#include "host/effects/effect.h"

#include <QWidget>

#include <memory>
#include <vector>

class QComboBox;
class QLabel;

namespace host {

/// One parameter's controls, of the kind that suits it.
class ParameterControl;

class EffectEditor final : public QWidget {
public:
    /// The effect stays longer. Changes go through `edits` and nowhere else.
    EffectEditor(Effect& effect, EffectEdits edits, QWidget* parent = nullptr);
    ~EffectEditor() override;

    /// Shows the values as they are now. Called some twenty times a second by the editor itself.
    void Refresh();
    /// Names everything in the host's language.
    void ShowTexts();

private:
    void LoadPreset(int row);

    Effect& m_effect;
    EffectEdits m_edits;
    QLabel* m_title;
    QLabel* m_presetLabel;
    QComboBox* m_presets;
    QLabel* m_complaint;
    QString m_refusal;  ///< of the preset that was asked for last
    std::vector<std::unique_ptr<ParameterControl>> m_controls;
};

}  // namespace host
