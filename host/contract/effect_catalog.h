// What effects and registered commands there are, in the contract's terms.
#pragma once

#include "contract/host_contract.h"
#include "host/effects/effect.h"

#include <optional>
#include <string>
#include <string_view>

namespace host {

class ProjectCore;

/// The class id of an effect: the 128-bit FNV-1a hash of its URI in UTF-8, written as a GUID of the custom
/// version (8), so that it is the same in every run and on every machine.
GUID ClassOfUri(std::string_view uri);
/// The effect of the library with this class, or nothing.
std::optional<std::string> UriOfClass(const EffectLibrary* library, const GUID& effectClass);

/// The registered command that the catalog has under this number.
std::optional<uint32_t> CommandOfItem(const ProjectCore& core, uint32_t id);

}  // namespace host
