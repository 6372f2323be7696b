#include "host/app/render_dialog.h"

#include "fileio/convert/sample_source.h"
#include "fileio/template_list.h"
#include "host/app/template_dialog.h"
#include "host/app/texts.h"
#include "platform/file.h"
#include "platform/text.h"
#include "platform/ui/plain_text.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

using namespace tarn;

namespace host {
namespace {

constexpr QSize RENDER_SIZE{560, 480};

QString FromWide(const char16_t* text) { return QString::fromUtf16(text); }

/// The list goes with its blocks.
class TemplateList {
public:
    TemplateList(IQmFileIOMgrForApp& manager, const GUID& renderer) {
        QmList_CreateExZ(&m_list, 0, -1, -1, QMLIST_HEAP | QMLIST_IN_PLACE, 0, 0, 0);
        QmFio_GetTemplateList(&manager, &renderer, m_list);
    }
    ~TemplateList() { QmList_Destroy(m_list); }
    TemplateList(const TemplateList&) = delete;
    TemplateList& operator=(const TemplateList&) = delete;
    auto Items() const { return QmList_Pointers<tagQMTEMPLATExV2>(m_list); }

private:
    tQMLIST m_record{};
    HQMLIST m_list = &m_record;
};

OwnedTemplate Named(const tagQMTEMPLATExV2& settings, const char16_t* name) {
    tagQMTEMPLATExV2* made = nullptr;
    QmFio_MakeTemplate(&made, FIO_TEMPLATE_V2, &settings, FIO_TEMPLATE_AUDIO | FIO_TEMPLATE_VIDEO, 0, name,
                       u"");
    return OwnedTemplate(made);
}

}  // namespace

RenderDialog::RenderDialog(IQmFileIOMgrForApp& manager, const std::filesystem::path& start,
                           const _qmwaveformat& mix, QWidget* parent)
    : QDialog(parent), m_manager(manager), m_mix(mix), m_file(new QLineEdit), m_kind(new QComboBox),
      m_list(new QListWidget), m_about(MakePlainLabel(this)),
      m_edit(new QPushButton(Text(IDS_TEMPLATE_EDIT))), m_delete(new QPushButton(Text(IDS_TEMPLATE_DELETE))) {
    setWindowTitle(Text(IDS_TITLE_RENDER));
    resize(RENDER_SIZE);
    m_file->setText(QString::fromStdString(start.string()));
    m_file->setObjectName(QStringLiteral("file"));
    m_list->setObjectName(QStringLiteral("templates"));
    m_list->setAccessibleName(Text(IDS_RENDER_TEMPLATE).remove(QLatin1Char('&')).remove(QLatin1Char(':')));
    m_about->setWordWrap(true);
    m_about->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* browse = new QPushButton(Text(IDS_RENDER_BROWSE));
    auto* fileLabel = new QLabel(Text(IDS_RENDER_FILE));
    fileLabel->setBuddy(m_file);
    auto* kindLabel = new QLabel(Text(IDS_RENDER_KIND));
    kindLabel->setBuddy(m_kind);
    auto* listLabel = new QLabel(Text(IDS_RENDER_TEMPLATE));
    listLabel->setBuddy(m_list);
    auto* buttons = new QDialogButtonBox;
    m_render = buttons->addButton(Text(IDS_RENDER_START), QDialogButtonBox::AcceptRole);
    buttons->addButton(Text(IDS_CANCEL), QDialogButtonBox::RejectRole);
    for (QPushButton* button : {browse, m_edit, m_delete}) button->setAutoDefault(false);
    m_render->setDefault(true);

    auto* rows = new QGridLayout;
    rows->addWidget(fileLabel, 0, 0);
    rows->addWidget(m_file, 0, 1);
    rows->addWidget(browse, 0, 2);
    rows->addWidget(kindLabel, 1, 0);
    rows->addWidget(m_kind, 1, 1, 1, 2);
    auto* change = new QHBoxLayout;
    change->addWidget(m_about, 1);
    change->addWidget(m_edit, 0, Qt::AlignTop);
    change->addWidget(m_delete, 0, Qt::AlignTop);
    auto* column = new QVBoxLayout(this);
    column->addLayout(rows);
    column->addWidget(listLabel);
    column->addWidget(m_list, 1);
    column->addLayout(change);
    column->addWidget(buttons);

    connect(browse, &QPushButton::clicked, this, &RenderDialog::Browse);
    connect(m_kind, &QComboBox::activated, this, [this] { ShowTemplates({}); });
    connect(m_list, &QListWidget::currentRowChanged, this, &RenderDialog::ShowChosen);
    connect(m_list, &QListWidget::itemActivated, m_render, &QPushButton::click);
    connect(m_edit, &QPushButton::clicked, this, &RenderDialog::Edit);
    connect(m_delete, &QPushButton::clicked, this, &RenderDialog::Delete);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    m_manager.SetTemplateEditor(EditTemplate, reinterpret_cast<uintptr_t>(this));
    FillKinds();
    m_file->setFocus();
}

RenderDialog::~RenderDialog() { m_manager.SetTemplateEditor(nullptr, 0); }

void RenderDialog::FillKinds() {
    ComPtr<IQmFileIOTypeEnum> kinds;
    if (Failed(m_manager.GetRendererEnum(kinds.Out()))) return;
    uint32_t got = 0;
    for (FIOTYPEINFO info{}; kinds->Next(1, &info, &got) == S_OK;) m_kinds.push_back(info);
    for (const FIOTYPEINFO& kind : m_kinds) m_kind->addItem(FromWide(kind.name));
    tagQMTEMPLATExV2* last = nullptr;
    QmFio_LoadAppLastUsedTemplate(&m_manager, &last);
    const OwnedTemplate used(last);
    const auto at =
        std::ranges::find_if(m_kinds, [&](const auto& k) { return used && k.id == used->renderer; });
    if (at != m_kinds.end()) m_kind->setCurrentIndex(static_cast<int>(at - m_kinds.begin()));
    ShowTemplates(at != m_kinds.end() ? TemplateName(*used) : std::u16string());
}

void RenderDialog::ShowTemplates(const std::u16string& chosen) {
    m_list->clear();
    m_entries.clear();
    const int which = m_kind->currentIndex();
    if (which < 0) return ShowChosen();
    const FIOTYPEINFO& kind = m_kinds[static_cast<size_t>(which)];
    ComPtr<IQmRenderFileClass> renderer;
    tagQMTEMPLATExV2* plain = nullptr;
    const std::u16string endings(kind.extensions);
    if (Succeeded(m_manager.GetRendererClass(kind.id, renderer.Out())) &&
        Succeeded(renderer->GetDefault(endings.substr(0, endings.find(u';')).c_str(), &m_mix, &plain))) {
        const OwnedTemplate made(plain);
        OwnedTemplate named = IsSoundTemplate(plain) ? Named(*made, HostText(IDS_AS_MIX)) : nullptr;
        if (named) m_entries.push_back({std::move(named), false});
    }
    const TemplateList all(m_manager, kind.id);
    for (const tagQMTEMPLATExV2* t : all.Items()) {
        tagQMTEMPLATExV2* copy = nullptr;
        if (Failed(QmFio_CopyTemplate(&copy, t))) continue;
        m_entries.push_back({OwnedTemplate(copy), !QmFio_IsTemplateAPreset(&m_manager, t)});
    }
    int row = 0;
    for (size_t i = 0; i < m_entries.size(); i++) {
        const std::u16string name = TemplateName(*m_entries[i].settings);
        m_list->addItem(m_entries[i].isOwn ? Format(IDS_OWN_TEMPLATE, name.c_str())
                                           : QString::fromStdU16String(name));
        if (name == chosen) row = static_cast<int>(i);
    }
    m_list->setCurrentRow(m_entries.empty() ? -1 : row);
    ShowChosen();
}

const RenderDialog::Entry* RenderDialog::Chosen() const {
    const int row = m_list->currentRow();
    return row < 0 || row >= static_cast<int>(m_entries.size()) ? nullptr
                                                                : &m_entries[static_cast<size_t>(row)];
}

void RenderDialog::ShowChosen() {
    const Entry* entry = Chosen();
    char16_t about[256] = {};
    if (entry) QmFio_GetTemplateInfoText(entry->settings.get(), about, std::size(about));
    m_about->setText(FromWide(about));
    m_list->setAccessibleDescription(FromWide(about));
    m_edit->setEnabled(entry);
    m_delete->setEnabled(entry && entry->isOwn);
    m_render->setEnabled(entry);
    if (entry) m_file->setText(WithEnding(m_file->text()));
}

QStringList RenderDialog::Endings() const {
    const Entry* entry = Chosen();
    ComPtr<IQmRenderFileClass> renderer;
    char16_t endings[512] = {};
    if (!entry || Failed(m_manager.GetRendererClass(entry->settings->renderer, renderer.Out())) ||
        Failed(renderer->GetExtensions(entry->settings.get(), endings, std::size(endings) - 1)))
        return {};
    return FromWide(endings).split(QLatin1Char(';'));
}

/// The ending of another kind of file gives way; what else stands behind a point belongs to the name.
QString RenderDialog::WithEnding(const QString& file) const {
    const QStringList endings = Endings();
    const QString suffix = QFileInfo(file).suffix();
    if (endings.isEmpty() || endings.contains(suffix, Qt::CaseInsensitive)) return file;
    const bool isOfOther = std::ranges::any_of(m_kinds, [&](const FIOTYPEINFO& kind) {
        return FromWide(kind.extensions).split(QLatin1Char(';')).contains(suffix, Qt::CaseInsensitive);
    });
    const QString stem = isOfOther ? file.chopped(suffix.size() + 1) : file;
    return stem + QLatin1Char('.') + endings.front();
}

void RenderDialog::Browse() {
    ComPtr<IQmFioFilterBuilder> builder;
    std::u16string filter(1 << 12, 0);
    if (Failed(m_manager.GetFilterBuilder(builder.Out())) || Failed(builder->AddRenderers()) ||
        Failed(builder->GetFilter(filter.data(), static_cast<uint32_t>(filter.size()))))
        filter.clear();
    const QString chosen =
        QFileDialog::getSaveFileName(this, windowTitle(), m_file->text(), FromWide(filter.c_str()), nullptr,
                                     QFileDialog::DontConfirmOverwrite);
    if (!chosen.isEmpty()) m_file->setText(WithEnding(chosen));
}

HRESULT RenderDialog::EditTemplate(uintptr_t self, IQmRenderFileClass* renderer,
                                   tagQMTEMPLATExV2** settings) {
    auto* own = reinterpret_cast<RenderDialog*>(self);
    TemplateDialog dialog(own->m_manager, *renderer, **settings, own);
    if (dialog.exec() != QDialog::Accepted) return S_FALSE;
    CoTaskMemFree(std::exchange(*settings, dialog.Take().release()));
    return S_OK;
}

void RenderDialog::Edit() {
    const Entry* entry = Chosen();
    if (!entry) return;
    tagQMTEMPLATExV2* block = nullptr;
    if (Failed(QmFio_CopyTemplate(&block, entry->settings.get()))) return;
    const HRESULT hr = m_manager.EditTemplate(block->renderer, &block);
    const OwnedTemplate edited(block);
    if (hr == S_OK) ShowTemplates(TemplateName(*edited));
    if (Failed(hr))
        QMessageBox::warning(this, windowTitle(), PlainText(QString::fromStdString(ReasonOfStatus(hr))));
}

void RenderDialog::Delete() {
    const Entry* entry = Chosen();
    if (!entry || !entry->isOwn) return;
    const std::u16string name = TemplateName(*entry->settings);
    if (QMessageBox::question(this, windowTitle(),
                              PlainText(Format(IDS_ASK_DELETE_TEMPLATE, name.c_str()))) != QMessageBox::Yes)
        return;
    const HRESULT hr = QmFio_DeleteUserTemplate(&entry->settings->renderer, name.c_str());
    if (Failed(hr)) {
        const std::u16string why = Utf16FromUtf8(ReasonOfStatus(hr));
        QMessageBox::warning(this, windowTitle(), PlainText(Format(IDS_DELETE_FAILED, why.c_str())));
    }
    ShowTemplates({});
}

std::filesystem::path RenderDialog::File() const { return m_file->text().toStdString(); }
const tagQMTEMPLATExV2* RenderDialog::Template() const {
    const Entry* entry = Chosen();
    return entry ? entry->settings.get() : nullptr;
}

void RenderDialog::accept() {
    const Entry* entry = Chosen();
    if (!entry || m_file->text().trimmed().isEmpty()) return m_file->setFocus();
    m_file->setText(WithEnding(m_file->text()));
    const QFileInfo info(m_file->text());
    const QString ask = Format(IDS_ASK_REPLACE, info.fileName().toStdU16String().c_str());
    if (info.exists() &&
        QMessageBox::question(this, windowTitle(), PlainText(ask), QMessageBox::Yes | QMessageBox::No,
                              QMessageBox::No) != QMessageBox::Yes)
        return m_file->setFocus();
    QmFio_SaveAppLastUsedTemplate(&m_manager, entry->settings.get());
    m_manager.SetLastUsedRenderer(entry->settings->renderer);
    QDialog::accept();
}

}  // namespace host
