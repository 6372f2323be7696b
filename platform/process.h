// Another program, run to its end.
#pragma once

#include "platform/types.h"

#include <string>
#include <vector>

namespace tarn {

/// Runs arguments[0], found along PATH, with the arguments as they stand: no shell looks at them. It has no
/// input. Waits for its end; true when that was status 0, else `error` names the program, how it ended, and
/// the last line it wrote. [worker]
[[nodiscard]] QM_API bool RunProgram(const std::vector<std::string>& arguments, std::string& error);

}  // namespace tarn
