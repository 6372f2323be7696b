#include "fileio/extensions.h"

#include "platform/file.h"

#include <algorithm>

namespace tarn {

bool AreExtensions(std::string_view list) {
    const auto isFine = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '+';
    };
    return std::ranges::all_of(SplitList(list), [&](const std::string& extension) {
        return !extension.empty() && std::ranges::all_of(extension, isFine);
    });
}

std::vector<std::string> SplitList(std::string_view list) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const size_t end = std::min(list.find(';'), list.size());
        parts.emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return parts;
}

bool HasExtension(std::string_view list, std::string_view extension) {
    return !extension.empty() && std::ranges::count(SplitList(list), extension) > 0;
}

std::string ExtensionOf(std::u16string_view path, bool isEnding) {
    const std::filesystem::path name = PathFromWide(path);
    std::string extension = isEnding ? name.string() : name.extension().string();
    if (extension.starts_with('.')) extension.erase(0, 1);
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return extension;
}

}  // namespace tarn
