// The mix as a file of any kind that a renderer writes.
#pragma once

#include "fileio/manager.h"
#include "fileio/template.h"
#include "host/contract/project.h"

#include <filesystem>
#include <string>

namespace host {

/// For a file: the template of that name, of any renderer for the file's ending; without a name what such a
/// renderer makes of the mix as it is. Throws RenderError.
tarn::OwnedTemplate TemplateFor(IQmFileIOMgrForApp& manager, const Session& session,
                                const std::filesystem::path& file, const std::string& name);

/// Renders the project as it stands, as Project::Render does. Rate, channels and type are the template's, or
/// the session's where it leaves them open; integers of less than 24 bits get noise of a step. Loudness and
/// peaks are those of the mix. The file appears under its name when it is whole. Throws SessionError and
/// RenderError, which has the file and the reason, also on cancel. [any-thread but audio]
RenderResult RenderByTemplate(Project& project, IQmFileIOMgrForApp& manager,
                              const std::filesystem::path& file, const tagQMTEMPLATExV2& settings,
                              std::optional<double> seconds,
                              const std::function<bool(double)>& progress = {});

}  // namespace host
