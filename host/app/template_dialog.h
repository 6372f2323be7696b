// What of a render template can be chosen, and the name under which the user keeps it.
#pragma once

#include "fileio/manager.h"
#include "fileio/template.h"

#include <QDialog>

class QFormLayout;
class QLineEdit;

namespace host {

/// [ui-thread]
class TemplateDialog final : public QDialog {
public:
    /// Takes a copy. Both outlive the dialog.
    TemplateDialog(IQmFileIOMgrForApp& manager, IQmRenderFileClass& renderer,
                   const tagQMTEMPLATExV2& settings, QWidget* parent);

    /// With the choices and the name, once the dialog is accepted.
    tarn::OwnedTemplate Take() { return std::move(m_settings); }

private:
    void ShowFields();
    void Choose(uint32_t field, uint32_t value);
    void Save();

    IQmFileIOMgrForApp& m_manager;
    IQmRenderFileClass& m_renderer;
    tarn::OwnedTemplate m_settings;
    QFormLayout* m_form;
    QLineEdit* m_name;
};

}  // namespace host
