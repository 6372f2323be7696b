// What the mix is rendered to: a file, and the template that says what kind of file it becomes.
#pragma once

#include "fileio/manager.h"
#include "fileio/template.h"

#include <QDialog>

#include <filesystem>
#include <vector>

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace host {

/// [ui-thread]
class RenderDialog final : public QDialog {
public:
    /// `start` is where the file would lie, with any ending; `mix` the format of the mix. The manager
    /// outlives the dialog.
    RenderDialog(IQmFileIOMgrForApp& manager, const std::filesystem::path& start, const _qmwaveformat& mix,
                 QWidget* parent);
    ~RenderDialog() override;

    std::filesystem::path File() const;
    /// Null where there is nothing to choose from.
    const tagQMTEMPLATExV2* Template() const;

    void accept() override;

private:
    struct Entry {
        tarn::OwnedTemplate settings;
        bool isOwn = false;
    };

    void FillKinds();
    void ShowTemplates(const std::u16string& chosen);
    void ShowChosen();
    void Edit();
    void Delete();
    void Browse();
    const Entry* Chosen() const;
    QStringList Endings() const;
    QString WithEnding(const QString& file) const;
    static HRESULT EditTemplate(uintptr_t self, IQmRenderFileClass* renderer, tagQMTEMPLATExV2** settings);

    IQmFileIOMgrForApp& m_manager;
    const _qmwaveformat m_mix;
    std::vector<FIOTYPEINFO> m_kinds;
    std::vector<Entry> m_entries;
    QLineEdit* m_file;
    QComboBox* m_kind;
    QListWidget* m_list;
    QLabel* m_about;
    QPushButton *m_edit, *m_delete, *m_render;
};

}  // namespace host
