#include "surface/surface_form.h"

#include "controlmap/mixer_functions.h"
#include "kernel/print/print_text.h"
#include "platform/text.h"
#include "platform/ui/plain_text.h"
#include "surface/surface_texts.h"
#include "surface/transport.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>

#include <algorithm>

using namespace tarn;

namespace {
constexpr int REFRESH_MILLISECONDS = 60;

/// A line of the table. Functions of the whole surface have one cell.
struct FunctionRow {
    uint32_t group, function;
    bool ofStrip;
    SurfaceTextId text;
};
/// What people reach for first comes first.
constexpr FunctionRow FUNCTIONS[] = {
    {ECONTROL_GRP_INSERT, MIXFUNC_VOLUME, true, IDS_DO_VOLUME},
    {ECONTROL_GRP_INSERT, MIXFUNC_VOLUME_TOUCH, true, IDS_DO_VOLUME_TOUCH},
    {ECONTROL_GRP_INSERT, MIXFUNC_PAN, true, IDS_DO_PAN},
    {ECONTROL_GRP_INSERT, MIXFUNC_MUTE, true, IDS_DO_MUTE},
    {ECONTROL_GRP_INSERT, MIXFUNC_SOLO, true, IDS_DO_SOLO},
    {ECONTROL_GRP_INSERT, MIXFUNC_ARM, true, IDS_DO_ARM},
    {ECONTROL_GRP_INSERT, MIXFUNC_SELECT, true, IDS_DO_SELECT},
    {ECONTROL_GRP_INSERT, MIXFUNC_BANK_PREVIOUS, false, IDS_DO_BANK_PREVIOUS},
    {ECONTROL_GRP_INSERT, MIXFUNC_BANK_NEXT, false, IDS_DO_BANK_NEXT},
    {ECONTROL_GRP_INSERT, MIXFUNC_CHANNEL_PREVIOUS, false, IDS_DO_CHANNEL_PREVIOUS},
    {ECONTROL_GRP_INSERT, MIXFUNC_CHANNEL_NEXT, false, IDS_DO_CHANNEL_NEXT},
    {GROUP_TRANSPORT, TRANSPORT_PLAY, false, IDS_DO_PLAY},
    {GROUP_TRANSPORT, TRANSPORT_STOP, false, IDS_DO_STOP},
    {GROUP_TRANSPORT, TRANSPORT_PLAY_OR_STOP, false, IDS_DO_PLAY_OR_STOP},
    {GROUP_TRANSPORT, TRANSPORT_LOOP_SWITCH, false, IDS_DO_LOOP},
    {GROUP_TRANSPORT, TRANSPORT_TO_START, false, IDS_DO_TO_START},
    {GROUP_TRANSPORT, TRANSPORT_BACK, false, IDS_DO_BACK},
    {GROUP_TRANSPORT, TRANSPORT_FORWARD, false, IDS_DO_FORWARD},
    {ECONTROL_GRP_INSERT, MIXFUNC_SEND, true, IDS_DO_SEND},
    {ECONTROL_GRP_INSERT, MIXFUNC_SEND_SWITCH, true, IDS_DO_SEND_SWITCH},
    {ECONTROL_GRP_INSERT, MIXFUNC_SEND_TARGET, true, IDS_DO_SEND_TARGET},
    {ECONTROL_GRP_INSERT, MIXFUNC_AUX, true, IDS_DO_INPUT_VOLUME},
    {ECONTROL_GRP_INSERT, MIXFUNC_INPUT_ROUTE, true, IDS_DO_INPUT_ROUTE},
    {ECONTROL_GRP_INSERT, MIXFUNC_OUTPUT_ROUTE, true, IDS_DO_OUTPUT_ROUTE},
    {ECONTROL_GRP_INSERT, MIXFUNC_AUTOMATION_STEP, true, IDS_DO_AUTOMATION_STEP},
    {ECONTROL_GRP_ASSIGN, 1, false, IDS_DO_SHIFT},
    {ECONTROL_GRP_ASSIGN, 3, false, IDS_DO_ALT},
    {ECONTROL_GRP_ASSIGN, 5, false, IDS_DO_CTRL},
    {ECONTROL_GRP_ASSIGN, 7, false, IDS_DO_OPTION},
};
constexpr int FUNCTION_COUNT = static_cast<int>(std::size(FUNCTIONS));

QString ToQt(std::u16string_view text) { return QString::fromUtf16(text.data(), qsizetype(text.size())); }
QString Text(SurfaceTextId id) { return QString::fromUtf16(SurfaceText(id)); }
}  // namespace

SurfaceForm::SurfaceForm(ComPtr<CSurfacePlugin> plugin, QWidget* parent)
    : QWidget(parent), m_plugin(std::move(plugin)), m_maps(new QComboBox(this)), m_knob(new QComboBox(this)),
      m_commands(m_plugin->Catalog().Commands()), m_learn(new QPushButton(this)),
      m_forget(new QPushButton(Text(IDS_FORGET), this)), m_undo(new QPushButton(Text(IDS_UNDO), this)),
      m_delete(new QPushButton(Text(IDS_DELETE_MAP), this)), m_last(MakePlainLabel(this)),
      m_hint(MakePlainLabel(this)), m_problem(MakePlainLabel(this)) {
    setAutoFillBackground(true);
    m_ports[PORTS_INPUT] = MakePorts(PORTS_INPUT);
    m_ports[PORTS_OUTPUT] = MakePorts(PORTS_OUTPUT);
    MakeTable();
    for (const SurfaceTextId kind : {IDS_KNOB_ABSOLUTE, IDS_KNOB_SIGN, IDS_KNOB_TWOS, IDS_KNOB_OFFSET})
        m_knob->addItem(Text(kind));

    auto* grid = new QGridLayout(this);
    const auto place = [&](SurfaceTextId text, QComboBox* box, int row, int column) {
        auto* label = new QLabel(Text(text), this);
        label->setBuddy(box);
        box->setAccessibleName(Text(text).remove(QLatin1Char('&')));
        grid->addWidget(label, row, column);
        grid->addWidget(box, row, column + 1);
    };
    place(IDS_INPUT, m_ports[PORTS_INPUT], 0, 0);
    place(IDS_OUTPUT, m_ports[PORTS_OUTPUT], 0, 2);
    place(IDS_MAP, m_maps, 1, 0);
    place(IDS_KNOB, m_knob, 1, 2);
    grid->addWidget(m_table, 2, 0, 1, 4);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_learn);
    buttons->addWidget(m_forget);
    buttons->addWidget(m_undo);
    buttons->addWidget(m_hint, 1);
    buttons->addWidget(m_delete);
    grid->addLayout(buttons, 3, 0, 1, 4);
    grid->addWidget(m_last, 4, 0, 1, 4);
    grid->addWidget(m_problem, 5, 0, 1, 4);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    grid->setRowStretch(2, 1);
    for (QPushButton* button : {m_learn, m_forget, m_undo, m_delete})
        button->setAutoDefault(false);  // Enter is the table's
    m_problem->setWordWrap(true);

    // As they are read.
    QWidget* order[] = {m_ports[PORTS_INPUT],
                        m_ports[PORTS_OUTPUT],
                        m_maps,
                        m_knob,
                        m_table,
                        m_learn,
                        m_forget,
                        m_undo,
                        m_delete};
    for (size_t i = 1; i < std::size(order); i++) setTabOrder(order[i - 1], order[i]);

    connect(m_maps, &QComboBox::activated, this, [this](int index) {
        m_plugin->EndLearning();
        m_plugin->ChooseMap(m_maps->itemData(index).toInt());
        Refresh();
    });
    connect(m_learn, &QPushButton::clicked, this, [this] { ToggleLearning(); });
    connect(m_forget, &QPushButton::clicked, this, [this] { Forget(); });
    connect(m_undo, &QPushButton::clicked, this, [this] { Undo(); });
    connect(m_delete, &QPushButton::clicked, this, [this] { DeleteMap(); });
    connect(m_table, &QTableWidget::cellActivated, this, [this] { ToggleLearning(); });
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, [this] {
        if (isVisible()) Refresh();
    });
    timer->start(REFRESH_MILLISECONDS);
    Refresh();
}

SurfaceForm::~SurfaceForm() { m_plugin->EndLearning(); }

QComboBox* SurfaceForm::MakePorts(uint32_t isOutput) {
    auto* box = new QComboBox(this);
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    connect(box, &QComboBox::activated, this, [this, isOutput](int index) {
        m_plugin->PickPort(isOutput, m_ports[isOutput]->itemData(index).toULongLong());
    });
    return box;
}

void SurfaceForm::MakeTable() {
    m_table =
        new QTableWidget(FUNCTION_COUNT + static_cast<int>(m_commands.size()), SURFACE_STRIPS + 1, this);
    m_table->setAccessibleName(Text(IDS_ASSIGNMENTS));
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setTabKeyNavigation(false);
    m_table->setAlternatingRowColors(true);
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    for (int column = 0; column <= SURFACE_STRIPS; column++) {
        const int32_t strip = column == SURFACE_STRIPS ? STRIP_MASTER : column;
        m_table->setHorizontalHeaderItem(column, new QTableWidgetItem(ToQt(StripText(strip))));
    }
    for (int row = 0; row < m_table->rowCount(); row++) {
        m_table->setVerticalHeaderItem(row, new QTableWidgetItem(ToQt(FunctionText(Target(row, 0)))));
        const bool ofStrip = row < FUNCTION_COUNT && FUNCTIONS[row].ofStrip;
        if (!ofStrip) m_table->setSpan(row, 0, 1, SURFACE_STRIPS + 1);
        for (int column = 0; column <= (ofStrip ? SURFACE_STRIPS : 0); column++)
            m_table->setItem(row, column, new QTableWidgetItem);
    }
    m_table->setCurrentCell(0, 0);
}

// The page's window keeps Tab for itself; among widgets it goes from one to the next.
bool SurfaceForm::focusNextPrevChild(bool next) {
    QWidget* from = focusWidget() ? focusWidget() : this;
    for (QWidget* w = next ? from->nextInFocusChain() : from->previousInFocusChain(); w && w != from;
         w = next ? w->nextInFocusChain() : w->previousInFocusChain()) {
        if (!isAncestorOf(w) || !(w->focusPolicy() & Qt::TabFocus) || !w->isVisibleTo(this) ||
            !w->isEnabled())
            continue;
        w->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        return true;
    }
    return false;
}

// While a control is being learnt no other works; a page that nobody sees must not keep it so.
void SurfaceForm::hideEvent(QHideEvent* event) {
    m_plugin->EndLearning();
    QWidget::hideEvent(event);
}

void SurfaceForm::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && m_plugin->IsLearning()) {
        m_plugin->EndLearning();
        Refresh();
    } else if (event->key() == Qt::Key_Delete && m_table->hasFocus()) {
        Forget();
    } else if (event->matches(QKeySequence::Undo)) {
        Undo();
    } else {
        QWidget::keyPressEvent(event);
    }
}

LearnTarget SurfaceForm::Target(int row, int column) const {
    if (row >= FUNCTION_COUNT) {
        const CatalogCommand& command = m_commands[static_cast<size_t>(row - FUNCTION_COUNT)];
        return {0, 0, 0, 0, command.family, command.item};
    }
    const FunctionRow& function = FUNCTIONS[std::max(row, 0)];
    const int32_t strip = !function.ofStrip ? 0 : column == SURFACE_STRIPS ? STRIP_MASTER : column;
    return {function.group, function.function, strip, 0};
}

std::u16string SurfaceForm::FunctionText(const LearnTarget& target) const {
    for (const FunctionRow& row : FUNCTIONS)
        if (!target.hostFamily && row.group == target.group && row.function == target.function)
            return SurfaceText(row.text);
    const std::string name = target.hostFamily
                                 ? m_plugin->Names().HostFunctionName(target.hostFamily, target.hostFunction)
                                 : m_plugin->Names().FunctionName(target.group, target.function);
    const uint32_t number = target.hostFamily ? target.hostFunction : target.function;
    return name.empty() ? PrintText(u"%d", static_cast<int32_t>(number)) : Utf16FromUtf8(name);
}

std::u16string SurfaceForm::PlaceText(const LearnTarget& target) const {
    if (target.hostFamily) return SurfaceText(IDS_WHOLE);
    for (const FunctionRow& row : FUNCTIONS)
        if (row.group == target.group && row.function == target.function && !row.ofStrip)
            return SurfaceText(IDS_WHOLE);
    return StripText(target.channel);
}

void SurfaceForm::ToggleLearning() {
    if (m_plugin->IsLearning())
        m_plugin->EndLearning();
    else
        m_plugin->BeginLearning(Target(m_table->currentRow(), m_table->currentColumn()),
                                static_cast<ControlKind>(m_knob->currentIndex()));
    Refresh();
}

void SurfaceForm::Forget() {
    m_plugin->EndLearning();
    m_plugin->Forget(Target(m_table->currentRow(), m_table->currentColumn()));
    RefreshTable();
    Refresh();
}

void SurfaceForm::Undo() {
    m_plugin->EndLearning();
    m_plugin->Undo();
    RefreshTable();
    Refresh();
}

void SurfaceForm::DeleteMap() {
    m_plugin->EndLearning();
    const QString ask =
        ToQt(PrintText(SurfaceText(IDS_ASK_DELETE), m_maps->currentText().toStdU16String().c_str()));
    if (QMessageBox::question(this, Text(IDS_SURFACE), PlainText(ask)) == QMessageBox::Yes)
        m_plugin->DeleteOwnMap();
    Refresh();
}

void SurfaceForm::Refresh() {
    if (m_plugin->FinishLearning()) RefreshTable();
    RefreshPorts();
    RefreshMaps();
    RefreshLines();
}

void SurfaceForm::RefreshPorts() {
    for (const uint32_t isOutput : {PORTS_INPUT, PORTS_OUTPUT}) {
        QComboBox* box = m_ports[isOutput];
        const std::vector<CSurfacePlugin::Port> ports = m_plugin->Ports(isOutput);
        std::vector<uint64_t> ids = {0};
        for (const CSurfacePlugin::Port& port : ports) ids.push_back(port.id);
        if (ids != m_shownPorts[isOutput]) {
            box->clear();
            box->addItem(Text(IDS_NO_PORT), qulonglong{0});
            for (const CSurfacePlugin::Port& port : ports)
                box->addItem(ToQt(port.name), static_cast<qulonglong>(port.id));
            m_shownPorts[isOutput] = ids;
        }
        const int chosen = box->findData(static_cast<qulonglong>(m_plugin->GetPort(isOutput)));
        if (chosen >= 0 && chosen != box->currentIndex() && !box->view()->isVisible())
            box->setCurrentIndex(chosen);
    }
}

void SurfaceForm::RefreshMaps() {
    const std::vector<std::u16string> names = m_plugin->Maps();
    const int32_t current = m_plugin->Map()->CurrentMap();
    if (names == m_shownMaps && current == m_shownMap) return;
    m_maps->clear();
    if (current < 0) m_maps->addItem(Text(IDS_NO_MAP), -1);
    for (size_t i = 0; i < names.size(); i++) m_maps->addItem(ToQt(names[i]), static_cast<int>(i));
    m_maps->setCurrentIndex(m_maps->findData(current));
    m_shownMaps = names;
    m_shownMap = current;
    RefreshTable();
}

void SurfaceForm::RefreshTable() {
    const FunctionRows rows = m_plugin->CurrentRows();
    for (int row = 0; row < m_table->rowCount(); row++)
        for (int column = 0; column <= SURFACE_STRIPS; column++) {
            QTableWidgetItem* item = m_table->item(row, column);
            if (!item) continue;
            const LearnTarget target = Target(row, column);
            QStringList controls;
            for (const MPFUNCTIONMAP& r : rows.All())
                if (r.commandType == ECMDTYPE_RECIEVE && SameFunction(TargetOf(r), target))
                    controls += ToQt(ControlText(r.first));
            item->setText(controls.join(QStringLiteral(", ")));
            item->setData(Qt::AccessibleTextRole, controls.isEmpty() ? Text(IDS_NO_CHOICE) : item->text());
        }
}

void SurfaceForm::RefreshLines() {
    const bool learning = m_plugin->IsLearning();
    m_undo->setEnabled(m_plugin->CanUndo());
    m_delete->setEnabled(m_plugin->IsOwnMap());
    if (learning != m_shownLearning || m_learn->text().isEmpty()) {
        m_shownLearning = learning;
        m_learn->setText(Text(learning ? IDS_END_LEARNING : IDS_LEARN));
        const LearnTarget target = Target(m_table->currentRow(), m_table->currentColumn());
        m_hint->setText(learning ? ToQt(PrintText(SurfaceText(IDS_WAITING), FunctionText(target).c_str(),
                                                  PlaceText(target).c_str()))
                                 : Text(IDS_CHOOSE));
    }
    const CSurfacePlugin::Seen seen = m_plugin->LastSeen();
    if (seen.count != m_shownEvents) {
        m_shownEvents = seen.count;
        std::u16string line = SurfaceText(IDS_NO_EVENT);
        const std::u16string event = EventText(seen.event);
        if (seen.count && seen.match) {
            const LearnTarget target = TargetOf(*seen.match);
            line = PrintText(SurfaceText(IDS_MATCHED), event.c_str(), FunctionText(target).c_str(),
                             PlaceText(target).c_str());
        } else if (seen.count) {
            line = PrintText(SurfaceText(IDS_UNMATCHED), event.c_str());
        }
        m_last->setText(ToQt(line));
    }
    const QString problem = QString::fromStdString(m_plugin->Problem());
    if (problem != m_problem->text()) m_problem->setText(problem);
    m_problem->setVisible(!problem.isEmpty());
}
