#include "kernel/ui/skin_images.h"

#include "kernel/codes.h"
#include "kernel/ui/theme.h"
#include "platform/guarded.h"
#include "platform/ui/paint.h"

#include <QDir>
#include <QFile>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace tarn;

namespace {
struct Pixels {
    tQMSKINBMP bmp{};
    Pixels() = default;
    ~Pixels() { QmSkin_Bmp_Free(&bmp); }
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;
};

std::map<QString, Pixels>& Pool() {
    static std::map<QString, Pixels> pool;
    return pool;
}

using ListKey = std::pair<std::vector<std::string>, std::pair<LONG, LONG>>;
std::map<ListKey, ImageList>& Lists() {
    static std::map<ListKey, ImageList> lists;
    return lists;
}

QString Name(const char16_t* name) { return name ? QString::fromUtf16(name) : QString(); }

HRESULT Read(tQMSKINBMP* bmp, const QString& folder, const QString& name) {
    // A name is no path: nothing outside the folder is read.
    if (name.isEmpty() || name.contains('/')) return QM_E_NO_RESOURCE;
    for (const char* suffix : {".png", ".jpg"}) {
        QFile file(QDir(folder).filePath(name + QLatin1String(suffix)));
        if (!file.open(QIODevice::ReadOnly)) continue;
        const QByteArray bytes = file.readAll();
        return QmSkin_Bmp_Load(bmp, bytes.data(), static_cast<size_t>(bytes.size()));
    }
    return QM_E_NO_RESOURCE;
}

const tQMSKINBMP* Kept(const QString& folder, const QString& name) {
    const auto [it, isNew] = Pool().try_emplace(folder + '/' + name);
    if (isNew) Read(&it->second.bmp, folder, name);
    return it->second.bmp.pixels ? &it->second.bmp : nullptr;
}

const QString kModule = QStringLiteral(":/skin");
}  // namespace

QImage ViewSkinBmp(const tQMSKINBMP& bmp) {
    if (!bmp.pixels) return {};
    return QImage(reinterpret_cast<const uchar*>(bmp.pixels), bmp.width, bmp.height,
                  static_cast<qsizetype>(bmp.stride) * 4, QImage::Format_ARGB32_Premultiplied);
}

void QmSkin_InitCache() { Pool().clear(); }

HRESULT QmSkin_Bmp_GetFromResource(tQMSKINBMP* bmp, const char16_t* name) {
    *bmp = {};
    return Guarded([&] { return Read(bmp, kModule, Name(name)); });
}

const tQMSKINBMP* QmSkin_Bmp_GetFromResPool(const char16_t* name) { return Kept(kModule, Name(name)); }

const tQMSKINBMP* QmSkin_Bmp_GetFromResContext(const char16_t* folder, const char16_t* name) {
    const tQMSKINBMP* own = folder && *folder ? Kept(Name(folder), Name(name)) : nullptr;
    return own ? own : QmSkin_Bmp_GetFromResPool(name);
}

const ImageList* QmSkin_GetImageLists(const char* const* names, uint32_t count, SIZE size) {
    const std::vector<std::string> key(names, names + count);
    const auto found = Lists().find({key, {size.cx, size.cy}});
    if (found != Lists().end()) return &found->second;
    const std::vector<std::string_view> views(key.begin(), key.end());
    return &Lists()
                .emplace(ListKey(key, {size.cx, size.cy}), ImageList(views, size, IconTones()))
                .first->second;
}

const ImageList* QmSkin_GetTrackIconImageLists() {
    constexpr const char* kKinds[] = {"kind_audio", "kind_bus",  "kind_master", "kind_fx",
                                      "kind_synth", "kind_midi", "kind_input"};
    return QmSkin_GetImageLists(kKinds, std::size(kKinds), {16, 16});
}

void QmSkin_RemoveImageListsItems() { Lists().clear(); }
