// Whatever bytes a session file holds: it is refused, or it comes back the same after a write.
#include "host/session/session.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const host::Session session = host::ParseSession({reinterpret_cast<const char*>(data), size});
        if (host::ParseSession(host::FormatSession(session)) != session) std::abort();
    } catch (const host::SessionError&) {
    }
    return 0;
}
