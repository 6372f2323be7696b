#include "host/app/template_dialog.h"

#include "fileio/convert/sample_source.h"
#include "fileio/template_list.h"
#include "host/app/texts.h"
#include "platform/ui/plain_text.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace tarn;

namespace host {
namespace {

constexpr int NAME_WIDTH = 320;

QString Number(HostTextId text, uint32_t number) { return Format(text, static_cast<int32_t>(number)); }

QString TypeText(uint32_t type) {
    const bool isFloat = type == QMSAMPLE_FLOAT32 || type == QMSAMPLE_FLOAT64;
    return Number(isFloat ? IDS_BITS_FLOAT : IDS_BITS,
                  QmAudio_BitsFromSampleType(static_cast<QMSAMPLETYPE>(type)));
}
QString RateText(uint32_t rate) { return rate ? Number(IDS_HERTZ, rate) : Text(IDS_AS_MIX); }
QString ChannelsText(uint32_t channels) {
    switch (channels) {
    case 0: return Text(IDS_AS_MIX);
    case 1: return Text(IDS_MONO);
    case 2: return Text(IDS_MODE_STEREO);
    case 6: return Text(IDS_MODE_SURROUND);
    default: return QString::number(channels);
    }
}
QString BitRateText(uint32_t rate) { return rate ? Number(IDS_KILOBITS, rate / 1000) : Text(IDS_VARIABLE); }
QString PlainNumber(uint32_t number) { return QString::number(number); }

struct FieldRow {
    uint32_t field;
    HostTextId label;
    QString (*text)(uint32_t value);
};
constexpr FieldRow FIELDS[] = {
    {FIO_FIELD_TYPE, IDS_FIELD_TYPE, TypeText},
    {FIO_FIELD_RATE, IDS_FIELD_RATE, RateText},
    {FIO_FIELD_CHANNELS, IDS_FIELD_CHANNELS, ChannelsText},
    {FIO_FIELD_BIT_RATE, IDS_FIELD_BIT_RATE, BitRateText},
    {FIO_FIELD_QUALITY, IDS_FIELD_QUALITY, PlainNumber},
    {FIO_FIELD_LEVEL, IDS_FIELD_LEVEL, PlainNumber},
};

OwnedTemplate CopyOf(const tagQMTEMPLATExV2& settings) {
    tagQMTEMPLATExV2* copy = nullptr;
    QmFio_CopyTemplate(&copy, &settings);
    return OwnedTemplate(copy);
}

std::vector<FIOTEMPLATEFIELD> FieldsOf(IQmRenderFileClass& renderer, const tagQMTEMPLATExV2& settings) {
    std::vector<FIOTEMPLATEFIELD> fields(std::size(FIELDS));
    uint32_t count = 0;
    const HRESULT hr =
        renderer.GetFields(&settings, static_cast<uint32_t>(fields.size()), fields.data(), &count);
    fields.resize(Succeeded(hr) ? std::min<size_t>(count, fields.size()) : 0);
    std::erase_if(fields, [](const FIOTEMPLATEFIELD& f) { return f.count > FIO_MOST_CHOICES; });
    return fields;
}

}  // namespace

TemplateDialog::TemplateDialog(IQmFileIOMgrForApp& manager, IQmRenderFileClass& renderer,
                               const tagQMTEMPLATExV2& settings, QWidget* parent)
    : QDialog(parent), m_manager(manager), m_renderer(renderer), m_settings(CopyOf(settings)),
      m_form(new QFormLayout), m_name(new QLineEdit(QString::fromStdU16String(TemplateName(settings)))) {
    setWindowTitle(Text(IDS_TITLE_TEMPLATE));
    m_name->setMinimumWidth(NAME_WIDTH);
    auto* name = new QFormLayout;
    name->addRow(Text(IDS_TEMPLATE_NAME), m_name);
    auto* buttons = new QDialogButtonBox;
    QPushButton* save = buttons->addButton(Text(IDS_TEMPLATE_SAVE), QDialogButtonBox::AcceptRole);
    buttons->addButton(Text(IDS_CANCEL), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &TemplateDialog::Save);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_name, &QLineEdit::textChanged, save,
            [this, save](const QString& text) { save->setEnabled(m_settings && !text.trimmed().isEmpty()); });
    auto* column = new QVBoxLayout(this);
    column->addLayout(name);
    column->addLayout(m_form);
    column->addWidget(buttons);
    if (m_settings)
        ShowFields();
    else
        save->setEnabled(false);
    m_name->selectAll();
    m_name->setFocus();
}

// Anew after each choice, since one may bring or take others.
void TemplateDialog::ShowFields() {
    while (m_form->rowCount()) m_form->removeRow(0);
    for (const FIOTEMPLATEFIELD& field : FieldsOf(m_renderer, *m_settings)) {
        const auto* row = std::ranges::find(FIELDS, field.field, &FieldRow::field);
        if (row == std::end(FIELDS)) continue;
        auto* combo = new QComboBox;
        combo->setObjectName(QStringLiteral("field%1").arg(field.field));
        combo->setAccessibleName(Text(row->label).remove(QLatin1Char('&')).remove(QLatin1Char(':')));
        for (size_t i = 0; i < std::min<size_t>(field.count, FIO_MOST_CHOICES); i++)
            combo->addItem(row->text(field.choices[i]), field.choices[i]);
        combo->setCurrentIndex(combo->findData(field.value));
        // The box must outlive what it tells.
        connect(
            combo, &QComboBox::activated, this,
            [this, combo, kind = field.field] { Choose(kind, combo->currentData().toUInt()); },
            Qt::QueuedConnection);
        m_form->addRow(Text(row->label), combo);
    }
}

void TemplateDialog::Choose(uint32_t field, uint32_t value) {
    // Of a copy, since a renderer may leave anything there.
    tagQMTEMPLATExV2* block = CopyOf(*m_settings).release();
    const bool isChanged = block && Succeeded(m_renderer.SetField(&block, field, value));
    OwnedTemplate changed(block);
    if (isChanged && IsSoundTemplate(block)) m_settings = std::move(changed);
    ShowFields();
    if (auto* combo = findChild<QComboBox*>(QStringLiteral("field%1").arg(field))) combo->setFocus();
}

void TemplateDialog::Save() {
    const std::u16string name = m_name->text().trimmed().toStdU16String();
    tagQMTEMPLATExV2* named = nullptr;
    const std::u16string notes = TemplateNotes(*m_settings);
    HRESULT hr = QmFio_MakeTemplate(&named, FIO_TEMPLATE_V2, m_settings.get(),
                                    FIO_TEMPLATE_AUDIO | FIO_TEMPLATE_VIDEO, 0, name.c_str(), notes.c_str());
    OwnedTemplate settings(named);
    const auto ask = [&](HostTextId text) { return PlainText(Format(text, name.c_str())); };
    if (Succeeded(hr) && (QmFio_IsTemplateAPreset(&m_manager, named) || name == FIO_DEFAULT_TEMPLATE)) {
        QMessageBox::information(this, windowTitle(), ask(IDS_TEMPLATE_IS_PRESET));
        return m_name->setFocus();
    }
    tagQMTEMPLATExV2* other = nullptr;
    const bool isThere = Succeeded(hr) && Succeeded(QmFio_GetTemplateByName(&m_manager, &m_settings->renderer,
                                                                            name.c_str(), &other));
    const OwnedTemplate owned(other);
    if (isThere && name != TemplateName(*m_settings) &&
        QMessageBox::question(this, windowTitle(), ask(IDS_ASK_REPLACE_TEMPLATE)) != QMessageBox::Yes)
        return m_name->setFocus();
    if (Succeeded(hr)) hr = QmFio_SaveUserTemplate(&m_manager, named);
    if (Failed(hr)) {
        const QString why = QString::fromStdString(ReasonOfStatus(hr));
        QMessageBox::warning(this, windowTitle(),
                             PlainText(Format(IDS_TEMPLATE_NOT_SAVED, why.toStdU16String().c_str())));
        return;
    }
    m_settings = std::move(settings);
    accept();
}

}  // namespace host
