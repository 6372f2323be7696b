// A list of all effects of the host's catalog that gets shorter as one types. [page-thread]
#pragma once

#include "plugin/catalog.h"

#include <optional>
#include <vector>

class QWidget;

/// Shows it over the page and waits; nothing when the user leaves it.
std::optional<GUID> ChooseEffect(QWidget& page, const std::vector<EffectFamily>& families);
