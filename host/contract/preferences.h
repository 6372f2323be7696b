// Preferences that plug-ins keep with the host.
#pragma once

#include "host/contract/project_core.h"

namespace host {

/// Gives the stored value when it is of the asked type; else the default stays in the record.
HRESULT GetPreference(ProjectCore& core, bool ofUser, MPPREFREC& pref);
HRESULT SetPreference(ProjectCore& core, bool ofUser, const MPPREFREC& pref);

}  // namespace host
