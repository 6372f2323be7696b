#include "host/app/skin.h"

#include <QImageReader>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <stdexcept>
#include <string_view>

using namespace tarn;

namespace host {

namespace {

constexpr const char* STATES[] = {"", "-hot", "-disabled"};
constexpr uint32_t LARGEST_IMAGE = 256;  // pixels a side; a strip may have that many images

[[noreturn]] void Refuse(const std::filesystem::path& file, const std::string& reason) {
    throw std::runtime_error(file.string() + ": " + reason);
}

/// Whether the strip is made of images of that size, each pixel of theirs one or several.
bool Fits(const QImage& strip, uint32_t width, uint32_t height) {
    const auto wide = static_cast<uint32_t>(strip.width()), high = static_cast<uint32_t>(strip.height());
    if (high % height) return false;
    const uint32_t image = width * (high / height);
    return wide >= image && wide % image == 0 && wide / image <= LARGEST_IMAGE;
}

}  // namespace

Skin::Skin(const std::filesystem::path& folder) {
    if (!is_directory(folder)) Refuse(folder, "there is no such folder");
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().stem().string();
        unsigned role = 0, width = 0, height = 0;
        int end = 0;
        if (entry.path().extension() != ".png" ||
            std::sscanf(name.c_str(), "%5u-%5ux%5u%n", &role, &width, &height, &end) != 3)
            continue;
        const auto* state =
            std::ranges::find(STATES, std::string_view(name).substr(static_cast<size_t>(end)));
        if (state == std::end(STATES)) continue;
        if (!width || !height || width > LARGEST_IMAGE || height > LARGEST_IMAGE)
            Refuse(entry.path(), "images are 1 to 256 pixels wide and high");
        Role& images = m_roles[role];
        if (images.width && (images.width != width || images.height != height))
            Refuse(entry.path(), "there are images of another size for the same role");
        images.width = width;
        images.height = height;
        Strip& strip = images.states[state - std::begin(STATES)];
        QImageReader reader(QString::fromStdString(entry.path().string()), "png");
        const QImage read = reader.read();
        if (read.isNull()) Refuse(entry.path(), reader.errorString().toStdString());
        if (!Fits(read, width, height)) Refuse(entry.path(), "is no row of images of the size it names");
        strip.image = read.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        strip.record = {sizeof strip.record, static_cast<uint32_t>(strip.image.width()),
                        static_cast<uint32_t>(strip.image.height()),
                        static_cast<uint32_t>(strip.image.bytesPerLine() / 4),
                        reinterpret_cast<const uint32_t*>(strip.image.constBits())};
    }
    for (const auto& [role, images] : m_roles)
        if (images.states[0].image.isNull())
            Refuse(folder, "images of role " + std::to_string(role) + " lack the ordinary ones");
}

HRESULT Skin::Get(MPIMAGES& images) const {
    if (images.size != sizeof images) return E_INVALIDARG;
    const auto found = m_roles.find(images.role);
    if (found == m_roles.end()) return S_FALSE;
    const auto record = [&](size_t state) {
        const Strip& strip = found->second.states[state];
        return strip.image.isNull() ? nullptr : &strip.record;
    };
    images.normal = record(0);
    images.hot = record(1);
    images.disabled = record(2);
    images.width = found->second.width;
    images.height = found->second.height;
    return S_OK;
}

}  // namespace host
