// IMPPlugInCatalog: families and their effects, then groups of registered commands. Families are numbered
// from 1 in the library's order, items from ITEM_BASE in the same; groups and commands have numbers of their
// own, so that they keep them when effects are found.
#include "host/contract/effect_catalog.h"

#include "host/contract/host_object.h"
#include "platform/text.h"

#include <algorithm>

using namespace tarn;

namespace host {
namespace {

constexpr uint32_t ITEM_BASE = 0x10000, COMMAND_BASE = 0x40000000;
constexpr int GROUP_SHIFT = 16;  // above a command's number

struct Item {
    uint32_t id;
    uint32_t family;
    uint32_t subKind;
    std::string name, familyName;
    MPCATALOGITEM data;  ///< of an effect
    uint32_t command;
};

std::vector<Item> ItemsOf(const ProjectCore& core) {
    std::vector<Item> items;
    uint32_t family = 0;
    std::string before;
    for (EffectInfo& info : core.effects ? core.effects->List() : std::vector<EffectInfo>()) {
        if (items.empty() || before != info.family) family++;
        before = info.family;
        items.push_back({ITEM_BASE + static_cast<uint32_t>(items.size()),
                         family,
                         info.instrument ? CATALOG_INSTRUMENT : CATALOG_EFFECT,
                         std::move(info.name),
                         core.Texts()->Family(info.family),
                         {sizeof(MPCATALOGITEM), !info.problem.empty(), ClassOfUri(info.uri)},
                         0});
    }
    uint32_t group = 0;
    before.clear();
    for (RegisteredCommand& row : core.commands.All()) {
        if (before != row.group) group++;
        before = row.group;
        if (row.command >> GROUP_SHIFT) continue;
        items.push_back({COMMAND_BASE | group << GROUP_SHIFT | row.command,
                         COMMAND_BASE | group,
                         CATALOG_COMMAND,
                         std::move(row.name),
                         std::move(row.group),
                         {},
                         row.command});
    }
    return items;
}

void OneOfEachFamily(std::vector<Item>& items) {
    const auto alike = [](const Item& a, const Item& b) { return a.family == b.family; };
    items.erase(std::unique(items.begin(), items.end(), alike), items.end());
}

HRESULT FillRecord(uint32_t id, uint32_t subKind, const std::string& name, MPCATALOGREC* rec) {
    if (!rec) return S_OK;
    *rec = {};
    rec->id = id;
    rec->subKind = subKind;
    rec->name = CoTaskMemString(Utf16FromUtf8(name).c_str());
    return rec->name ? S_OK : E_OUTOFMEMORY;
}

HRESULT Fill(const Item& item, uint32_t level, MPCATALOGREC* rec) {
    if (level == LEVEL_SUB_OBJECT) return FillRecord(item.id, item.subKind, item.name, rec);
    return FillRecord(item.family, item.subKind == CATALOG_COMMAND ? CATALOG_COMMAND : 0, item.familyName,
                      rec);
}

}  // namespace

GUID ClassOfUri(std::string_view uri) {
    __extension__ using Wide = unsigned __int128;
    Wide hash = Wide{0x6C62272E07BB0142} << 64 | 0x62B821756295C58D;
    constexpr Wide PRIME = Wide{0x0000000001000000} << 64 | 0x000000000000013B;
    for (const char c : uri) hash = (hash ^ static_cast<uint8_t>(c)) * PRIME;
    uint8_t bytes[16];
    for (int i = 15; i >= 0; i--, hash >>= 8) bytes[i] = static_cast<uint8_t>(hash);
    bytes[7] = static_cast<uint8_t>((bytes[7] & 0x0F) | 0x80);  // the high byte of data3: the version
    bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);
    GUID guid;
    static_assert(sizeof guid == sizeof bytes);
    std::memcpy(&guid, bytes, sizeof guid);
    return guid;
}

std::optional<std::string> UriOfClass(const EffectLibrary* library, const GUID& effectClass) {
    if (!library) return std::nullopt;
    for (EffectInfo& info : library->List())
        if (ClassOfUri(info.uri) == effectClass) return std::move(info.uri);
    return std::nullopt;
}

std::optional<uint32_t> CommandOfItem(const ProjectCore& core, uint32_t id) {
    for (const Item& item : ItemsOf(core))
        if (item.id == id && item.subKind == CATALOG_COMMAND) return item.command;
    return std::nullopt;
}

/// The place-th of the level.
HRESULT PlugInCatalogPart::Give(uint32_t level, uint32_t parent, size_t place, uint32_t* id,
                                MPCATALOGREC* rec, uint32_t* more) {
    std::vector<Item> items = ItemsOf(Core());
    if (level == LEVEL_SUB_OBJECT)
        std::erase_if(items, [parent](const Item& item) { return item.family != parent; });
    else
        OneOfEachFamily(items);
    if (place >= items.size()) return S_FALSE;
    const Item& item = items[place];
    *more = place + 1 < items.size();
    *id = level == LEVEL_SUB_OBJECT ? item.id : item.family;
    return Fill(item, level, rec);
}

HRESULT PlugInCatalogPart::First(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more, uint32_t) {
    if (!id || !more) return E_POINTER;
    *more = 0;
    if (level != LEVEL_CHANNEL && level != LEVEL_SUB_OBJECT) return S_FALSE;
    return Guarded([&] { return Give(level, *id, 0, id, rec, more); });
}

HRESULT PlugInCatalogPart::Next(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more, uint32_t) {
    if (!id || !more) return E_POINTER;
    *more = 0;
    if (level != LEVEL_CHANNEL && level != LEVEL_SUB_OBJECT) return S_FALSE;
    return Guarded([&] {
        std::vector<Item> items = ItemsOf(Core());
        if (level == LEVEL_CHANNEL) {
            OneOfEachFamily(items);
            const auto at = std::ranges::find(items, *id, &Item::family);
            return at == items.end()
                       ? S_FALSE
                       : Give(level, 0, static_cast<size_t>(at - items.begin()) + 1, id, rec, more);
        }
        const auto at = std::ranges::find(items, *id, &Item::id);
        if (at == items.end()) return S_FALSE;
        const auto before = std::ranges::count(items.begin(), at, at->family, &Item::family);
        return Give(level, at->family, static_cast<size_t>(before) + 1, id, rec, more);
    });
}

HRESULT PlugInCatalogPart::Get(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t) {
    if (!id || !rec) return E_POINTER;
    return Guarded([&] {
        for (const Item& item : ItemsOf(Core())) {
            if ((level == LEVEL_SUB_OBJECT && item.id == *id) ||
                (level == LEVEL_CHANNEL && item.family == *id))
                return Fill(item, level, rec);
        }
        return S_FALSE;
    });
}

HRESULT PlugInCatalogPart::GetItemData(uint32_t* id, void* out) {
    if (!id || !out) return E_POINTER;
    return Guarded([&] {
        for (const Item& item : ItemsOf(Core())) {
            if (item.id != *id || item.subKind == CATALOG_COMMAND) continue;
            std::memcpy(out, &item.data, sizeof item.data);
            return S_OK;
        }
        return S_FALSE;
    });
}

}  // namespace host
