#include "platform/clipboard.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace tarn {

uint32_t RegisterClipboardFormat(const char16_t* name) {
    constexpr uint32_t FIRST_REGISTERED = 0xC000;  // numbers below are the window system's own formats
    static std::mutex lock;
    static std::vector<std::u16string> names;
    std::lock_guard guard(lock);
    auto at = std::find(names.begin(), names.end(), name);
    if (at == names.end()) at = names.emplace(at, name);
    return FIRST_REGISTERED + static_cast<uint32_t>(at - names.begin());
}

}  // namespace tarn
