// An effect's state of any bytes: refused with a reason, or it comes back as it was written.
#include "host/effects/lv2_state.h"

#include <cstdlib>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const std::string text =
            host::FormatLv2State(host::ParseLv2State({reinterpret_cast<const char*>(data), size}));
        if (host::FormatLv2State(host::ParseLv2State(text)) != text) std::abort();
    } catch (const std::runtime_error&) {
    }
    return 0;
}
