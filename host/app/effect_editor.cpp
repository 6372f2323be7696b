#include "host/app/effect_editor.h"

#include "host/app/parameter_scale.h"
#include "host/app/texts.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <limits>

namespace host {
namespace {

constexpr int REFRESH_MS = 50;
/// A float's value survives it, whatever its size.
constexpr int SPIN_DECIMALS = 40;

/// What an editor's controls share.
struct Desk {
    Effect& effect;
    EffectEdits& edits;
};

/// A number as it is typed, with its unit or the name that it has.
class ValueBox final : public QDoubleSpinBox {
public:
    ValueBox(const EffectParameter& parameter, QWidget* parent)
        : QDoubleSpinBox(parent), m_parameter(parameter), m_scale(parameter) {
        setDecimals(SPIN_DECIMALS);
        setRange(parameter.minimum, parameter.maximum);
        setKeyboardTracking(false);
        setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        connect(this, &QAbstractSpinBox::editingFinished, lineEdit(),
                [this] { lineEdit()->setModified(false); });
    }
    QString textFromValue(double value) const override {
        return TextOf(m_parameter, static_cast<float>(value), locale());
    }
    static QString TextOf(const EffectParameter& parameter, float value, const QLocale& locale) {
        const QString text = ParameterScale(parameter).Text(value, locale);
        const bool isName =
            std::ranges::any_of(parameter.points, [&](const auto& p) { return p.first == value; });
        return isName || parameter.unit.empty() ? text : text + ' ' + QString::fromStdString(parameter.unit);
    }
    double valueFromText(const QString& text) const override {
        // What is shown has fewer digits than what it stands for.
        if (text == textFromValue(value())) return value();
        return m_scale.Parse(text, locale()).value_or(static_cast<float>(value()));
    }
    QValidator::State validate(QString& text, int&) const override {
        return m_scale.Parse(text, locale()) ? QValidator::Acceptable : QValidator::Intermediate;
    }
    void fixup(QString& text) const override { text = textFromValue(value()); }
    void stepBy(int steps) override {
        setValue(m_scale.Stepped(static_cast<float>(value()), steps));
        selectAll();
    }
    /// Wide enough for its widest text, not for all the digits that it could hold.
    QSize sizeHint() const override {
        int widest = 0;
        for (const QString& text : {textFromValue(m_parameter.minimum), textFromValue(m_parameter.maximum),
                                    QStringLiteral("-0.00000 ") + QString::fromStdString(m_parameter.unit)})
            widest = std::max(widest, fontMetrics().horizontalAdvance(text));
        return {widest + 32, QAbstractSpinBox::sizeHint().height()};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }
    bool IsBeingTyped() const { return hasFocus() && lineEdit()->isModified(); }

protected:
    /// A text that is being typed takes its own steps back; else they are the host's.
    bool event(QEvent* event) override {
        if (event->type() == QEvent::ShortcutOverride && !IsBeingTyped()) {
            const auto* key = static_cast<QKeyEvent*>(event);
            if (key->matches(QKeySequence::Undo) || key->matches(QKeySequence::Redo)) {
                event->ignore();
                return true;
            }
        }
        return QDoubleSpinBox::event(event);
    }

private:
    const EffectParameter& m_parameter;
    ParameterScale m_scale;
};

}  // namespace

class ParameterControl : public QObject {
public:
    ParameterControl(const Desk& desk, size_t index)
        : m_parameter(desk.effect.Parameters()[index]), m_desk(desk), m_index(index) {}

    virtual void Show(float value) = 0;
    void Refresh() { Show(m_desk.effect.Value(m_index)); }
    void ShowTexts() {
        if (m_reset) m_reset->setText(Text(IDS_EFFECT_RESET));
    }

protected:
    void Begin() { m_desk.edits.begin(m_index); }
    void Move(float value) { m_desk.edits.change(m_index, value); }
    void End() { m_desk.edits.end(m_index); }
    void Set(float value) {
        Begin();
        Move(value);
        End();
        Refresh();
    }
    /// A widget of this control: it has the parameter's name, and a way back.
    void Adopt(QWidget* widget) {
        widget->setAccessibleName(QString::fromStdString(m_parameter.name));
        if (!m_reset) {
            m_reset = new QAction(this);
            m_reset->setShortcut(Qt::CTRL | Qt::Key_Delete);
            m_reset->setShortcutContext(Qt::WidgetWithChildrenShortcut);
            connect(m_reset, &QAction::triggered, this, [this] { Set(m_parameter.preset); });
        }
        widget->addAction(m_reset);
        widget->setContextMenuPolicy(Qt::ActionsContextMenu);
        widget->setFocusPolicy(Qt::StrongFocus);
        widget->installEventFilter(this);
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* widget = static_cast<QWidget*>(watched);
        // The wheel scrolls the page; it moves only what was chosen before.
        if (event->type() == QEvent::Wheel && !widget->hasFocus()) {
            event->ignore();
            return true;
        }
        if (event->type() != QEvent::MouseButtonDblClick || qobject_cast<QAbstractSpinBox*>(widget))
            return false;
        Set(m_parameter.preset);
        return true;
    }

    const EffectParameter& m_parameter;

private:
    Desk m_desk;
    size_t m_index;
    QAction* m_reset = nullptr;
};

namespace {

class SwitchControl final : public ParameterControl {
public:
    SwitchControl(const Desk& desk, size_t index, QGridLayout& grid, int row, QLabel*)
        : ParameterControl(desk, index), m_box(new QCheckBox) {
        Adopt(m_box);
        grid.addWidget(m_box, row, 1, 1, 2);
        connect(m_box, &QCheckBox::clicked, this, [this](bool on) { Set(on ? 1.f : 0.f); });
    }
    void Show(float value) override { m_box->setChecked(value > 0); }

private:
    QCheckBox* m_box;
};

class ChoiceControl final : public ParameterControl {
public:
    ChoiceControl(const Desk& desk, size_t index, QGridLayout& grid, int row, QLabel*)
        : ParameterControl(desk, index), m_list(new QComboBox) {
        for (const auto& [value, name] : m_parameter.points) m_list->addItem(QString::fromStdString(name));
        Adopt(m_list);
        grid.addWidget(m_list, row, 1, 1, 2);
        connect(m_list, &QComboBox::activated, this,
                [this](int at) { Set(m_parameter.points[static_cast<size_t>(at)].first); });
    }
    void Show(float value) override {
        const auto at = std::ranges::find(m_parameter.points, value, &std::pair<float, std::string>::first);
        m_list->setCurrentIndex(
            at == m_parameter.points.end() ? -1 : static_cast<int>(at - m_parameter.points.begin()));
    }

private:
    QComboBox* m_list;
};

class NumberControl final : public ParameterControl {
public:
    NumberControl(const Desk& desk, size_t index, QGridLayout& grid, int row, QLabel* label)
        : ParameterControl(desk, index), m_scale(m_parameter), m_slider(new QSlider(Qt::Horizontal)),
          m_box(new ValueBox(m_parameter, nullptr)) {
        m_slider->setRange(0, m_scale.Steps());
        m_slider->setSingleStep(std::max(1, m_scale.Steps() / 100));
        m_slider->setPageStep(std::max(1, m_scale.Steps() / 10));
        m_slider->setMinimumWidth(160);
        Adopt(m_slider);
        Adopt(m_box);
        label->installEventFilter(this);
        grid.addWidget(m_slider, row, 1);
        grid.addWidget(m_box, row, 2);
        connect(m_slider, &QSlider::sliderPressed, this, [this] { Begin(); });
        connect(m_slider, &QSlider::sliderReleased, this, [this] { End(); });
        connect(m_slider, &QSlider::valueChanged, this, [this](int position) {
            if (m_slider->isSliderDown())
                Move(m_scale.Value(position));
            else
                Set(m_scale.Value(position));
        });
        connect(m_box, &QDoubleSpinBox::valueChanged, this, [this](double v) { Set(static_cast<float>(v)); });
    }
    void Show(float value) override {
        if (!m_slider->isSliderDown()) {
            const QSignalBlocker quiet(m_slider);
            m_slider->setValue(m_scale.Position(value));
        }
        if (m_box->IsBeingTyped() || static_cast<float>(m_box->value()) == value) return;
        const QSignalBlocker quiet(m_box);
        m_box->setValue(value);
        // A slider's own value is a place; what it stands for is said with it.
        m_slider->setAccessibleDescription(m_box->text());
    }

private:
    ParameterScale m_scale;
    QSlider* m_slider;
    ValueBox* m_box;
};

/// What the effect tells.
class ReadOut final : public ParameterControl {
public:
    ReadOut(const Desk& desk, size_t index, QGridLayout& grid, int row, QLabel*)
        : ParameterControl(desk, index), m_text(new QLabel) {
        m_text->setTextInteractionFlags(Qt::TextSelectableByKeyboard | Qt::TextSelectableByMouse);
        m_text->setFocusPolicy(Qt::TabFocus);
        m_text->setTextFormat(Qt::PlainText);
        grid.addWidget(m_text, row, 1, 1, 2);
    }
    void Show(float value) override {
        const QString text = ValueBox::TextOf(m_parameter, value, m_text->locale());
        if (text == m_text->text()) return;
        m_text->setText(text);
        m_text->setAccessibleName(QString::fromStdString(m_parameter.name) + ' ' + text);
    }

private:
    QLabel* m_text;
};

template <class Control>
std::unique_ptr<ParameterControl> Make(const Desk& desk, size_t index, QGridLayout& grid, int row,
                                       QLabel* label) {
    return std::make_unique<Control>(desk, index, grid, row, label);
}

auto MakerFor(const EffectParameter& p) {
    if (p.shown) return Make<ReadOut>;
    if (p.toggled) return Make<SwitchControl>;
    return p.listed ? Make<ChoiceControl> : Make<NumberControl>;
}

}  // namespace

EffectEditor::EffectEditor(Effect& effect, EffectEdits edits, QWidget* parent)
    : QWidget(parent), m_effect(effect), m_edits(std::move(edits)), m_title(new QLabel),
      m_presetLabel(new QLabel), m_presets(new QComboBox), m_complaint(new QLabel) {
    const Desk desk{m_effect, m_edits};
    auto* page = new QWidget;
    auto* grid = new QGridLayout(page);
    grid->setColumnStretch(1, 1);
    const std::span<const EffectParameter> parameters = effect.Parameters();
    for (size_t i = 0; i < parameters.size(); i++) {
        const int row = static_cast<int>(i);
        auto* label = new QLabel(QString::fromStdString(parameters[i].name));
        label->setTextFormat(Qt::PlainText);
        grid->addWidget(label, row, 0);
        m_controls.push_back(MakerFor(parameters[i])(desk, i, *grid, row, label));
    }
    grid->setRowStretch(static_cast<int>(parameters.size()), 1);

    auto* scroll = new QScrollArea;
    scroll->setWidget(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setMinimumWidth(page->minimumSizeHint().width() +
                            scroll->verticalScrollBar()->sizeHint().width());

    QFont strong = font();
    strong.setBold(true);
    m_title->setFont(strong);
    for (QLabel* label : {m_title, m_complaint}) {
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
    }
    m_presetLabel->setBuddy(m_presets);
    auto* head = new QHBoxLayout;
    head->addWidget(m_presetLabel);
    head->addWidget(m_presets, 1);
    m_presets->addItem(QString());
    for (const std::string& name : effect.Presets()) m_presets->addItem(QString::fromStdString(name));
    m_presetLabel->setVisible(m_presets->count() > 1);
    m_presets->setVisible(m_presets->count() > 1);
    connect(m_presets, &QComboBox::activated, this, &EffectEditor::LoadPreset);

    auto* column = new QVBoxLayout(this);
    column->addWidget(m_title);
    column->addLayout(head);
    column->addWidget(scroll, 1);
    column->addWidget(m_complaint);

    ShowTexts();
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &EffectEditor::Refresh);
    timer->start(REFRESH_MS);
}

EffectEditor::~EffectEditor() = default;

void EffectEditor::ShowTexts() {
    const EffectInfo& info = m_effect.Info();
    const QString name = QString::fromStdString(info.name);
    m_title->setText(info.maker.empty()
                         ? name
                         : Format(IDS_EFFECT_BY, name.toStdU16String().c_str(),
                                  QString::fromStdString(info.maker).toStdU16String().c_str()));
    m_presetLabel->setText(Text(IDS_EFFECT_PRESET));
    m_presets->setAccessibleName(Text(IDS_EFFECT_PRESET));
    m_presets->setItemText(0, Text(IDS_EFFECT_NO_PRESET));
    for (const auto& control : m_controls) control->ShowTexts();
    Refresh();
}

void EffectEditor::LoadPreset(int row) {
    if (row <= 0) return;
    m_refusal.clear();
    try {
        m_edits.loadPreset(static_cast<size_t>(row - 1));
    } catch (const EffectError& e) {
        m_refusal = QString::fromUtf8(e.what());
    }
    Refresh();
}

void EffectEditor::Refresh() {
    for (const auto& control : m_controls) control->Refresh();
    const QString complaint = QString::fromStdString(m_effect.Complaint());
    const QString text = !m_refusal.isEmpty() || complaint.isEmpty()
                             ? m_refusal
                             : Format(IDS_EFFECT_COMPLAINT, complaint.toStdU16String().c_str());
    if (text != m_complaint->text()) m_complaint->setText(text);
    m_complaint->setVisible(!text.isEmpty());
}

}  // namespace host
