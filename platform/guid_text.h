// GUIDs as texts. [any-thread]
#pragma once

#include "platform/com.h"

#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// "{0958ECA1-6709-4267-9696-33D56FEC4F6A}"
QM_API std::string GuidText(const GUID& guid);
/// Of that form, digits in either case; nothing for any other text.
QM_API std::optional<GUID> GuidFromText(std::string_view text);

}  // namespace tarn
