#include "host/effects/lv2_state.h"

#include "host/effects/lv2_urids.h"
#include "platform/user_folders.h"

#include <lv2/atom/atom.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <span>
#include <stdexcept>

using namespace tarn;

namespace host {
namespace {

using nlohmann::ordered_json;

constexpr char BASE64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string ToBase64(std::span<const uint8_t> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const size_t left = std::min<size_t>(3, bytes.size() - at);
        uint32_t bits = 0;
        for (size_t i = 0; i < 3; i++) bits = bits << 8 | (i < left ? bytes[at + i] : 0u);
        for (size_t i = 0; i < 4; i++) text += i <= left ? BASE64[bits >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

std::vector<uint8_t> FromBase64(std::string_view text) {
    const size_t end = std::min(text.find('='), text.size());
    if (text.size() % 4 != 0 || text.size() - end > 2) throw std::runtime_error("data is no base 64");
    std::vector<uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3);
    uint32_t bits = 0;
    for (size_t at = 0; at < text.size(); at++) {
        const char* digit = at < end ? std::strchr(BASE64, text[at]) : BASE64;
        if (!digit || !*digit || (at >= end && text[at] != '='))
            throw std::runtime_error("data is no base 64");
        bits = bits << 6 | static_cast<uint32_t>(digit - BASE64);
        if (at % 4 != 3) continue;
        for (int shift = 16; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(bits >> shift));
    }
    bytes.resize(bytes.size() - (text.size() - end));
    return bytes;
}

/// Goes through the numbers of URIs in an atom's body, and puts others in their place.
class UridWalk {
public:
    struct Number {
        uint32_t written;  ///< what stands there from now on
        uint32_t known;    ///< what it means in this process
    };
    /// Is asked about every number but 0, which means none; may throw.
    explicit UridWalk(std::function<Number(uint32_t)> exchange) : m_exchange(std::move(exchange)) {}

    /// Throws when the body is not what its type, a number of this process, says.
    void Body(uint32_t type, std::span<uint8_t> body, int depth = 0) {
        if (depth > DEEPEST) throw std::runtime_error("an atom is nested too deeply");
        const Lv2Ids& id = Ids();
        if (type == id.atomUrid) {
            Exchange(body, 0);
        } else if (type == id.atomLiteral) {
            Exchange(body, offsetof(LV2_Atom_Literal_Body, datatype));
            Exchange(body, offsetof(LV2_Atom_Literal_Body, lang));
        } else if (type == id.atomTuple) {
            Items(body, 0, 0, 0, depth);
        } else if (type == id.atomVector) {
            const uint32_t child = Exchange(body, offsetof(LV2_Atom_Vector_Body, child_type));
            if (child != id.atomUrid) return;
            for (size_t at = sizeof(LV2_Atom_Vector_Body); at < body.size(); at += sizeof(uint32_t))
                Exchange(body, at);
        } else if (type == id.atomSequence) {
            Exchange(body, offsetof(LV2_Atom_Sequence_Body, unit));
            Items(body, sizeof(LV2_Atom_Sequence_Body), sizeof(int64_t), 0, depth);
        } else if (type == id.atomObject || type == id.atomResource || type == id.atomBlank) {
            if (type != id.atomBlank) Exchange(body, offsetof(LV2_Atom_Object_Body, id));
            Exchange(body, offsetof(LV2_Atom_Object_Body, otype));
            Items(body, sizeof(LV2_Atom_Object_Body), 2 * sizeof(uint32_t), 2, depth);
        }
    }

private:
    static constexpr int DEEPEST = 32;

    static void Need(std::span<uint8_t> body, size_t at, size_t size) {
        if (at > body.size() || body.size() - at < size)
            throw std::runtime_error("an atom is shorter than it says");
    }
    uint32_t Exchange(std::span<uint8_t> body, size_t at) {
        Need(body, at, sizeof(uint32_t));
        uint32_t number = 0;
        std::memcpy(&number, &body[at], sizeof number);
        if (number == 0) return 0;
        const Number now = m_exchange(number);
        std::memcpy(&body[at], &now.written, sizeof now.written);
        return now.known;
    }
    /// Atoms behind one another, each behind a head that begins with so many numbers.
    void Items(std::span<uint8_t> body, size_t at, size_t head, size_t numbers, int depth) {
        while (at < body.size()) {
            Need(body, at, head + sizeof(LV2_Atom));
            for (size_t i = 0; i < numbers; i++) Exchange(body, at + i * sizeof(uint32_t));
            at += head;
            uint32_t size = 0;
            std::memcpy(&size, &body[at], sizeof size);
            const uint32_t type = Exchange(body, at + offsetof(LV2_Atom, type));
            at += sizeof(LV2_Atom);
            Need(body, at, size);
            Body(type, body.subspan(at, size), depth + 1);
            at += (size_t{size} + 7) & ~size_t{7};
        }
    }

    std::function<Number(uint32_t)> m_exchange;
};

const char* UriOf(uint32_t number) {
    const char* uri = Urids().Unmap(number);
    if (!uri) throw std::runtime_error("a number stands for no URI");
    return uri;
}

char* CopyOf(const std::string& text) { return ::strdup(text.c_str()); }

/// Carries properties through the plug-in's callbacks, which no exception may cross.
struct Store {
    std::vector<Lv2Property> properties;
    bool failed = false;
};

LV2_State_Status StoreOne(LV2_State_Handle handle, uint32_t key, const void* value, size_t size,
                          uint32_t type, uint32_t flags) {
    if (!(flags & LV2_STATE_IS_POD)) return LV2_STATE_ERR_BAD_FLAGS;
    if (!key || !type || (!value && size)) return LV2_STATE_ERR_UNKNOWN;
    auto& store = *static_cast<Store*>(handle);
    try {
        const auto* bytes = static_cast<const uint8_t*>(value);
        store.properties.push_back({key, type, flags, {bytes, bytes + size}});
        return LV2_STATE_SUCCESS;
    } catch (...) {
        store.failed = true;
        return LV2_STATE_ERR_NO_SPACE;
    }
}

const void* RetrieveOne(LV2_State_Handle handle, uint32_t key, size_t* size, uint32_t* type,
                        uint32_t* flags) {
    const auto& properties = *static_cast<const std::vector<Lv2Property>*>(handle);
    const auto found = std::ranges::find(properties, key, &Lv2Property::key);
    if (found == properties.end()) return nullptr;
    if (size) *size = found->value.size();
    if (type) *type = found->type;
    if (flags) *flags = found->flags;
    // A value of no bytes is there all the same.
    return found->value.empty() ? &properties : static_cast<const void*>(found->value.data());
}

}  // namespace

std::string FormatLv2State(const Lv2State& state) {
    ordered_json uris = ordered_json::array();
    std::map<uint32_t, uint32_t> places;
    UridWalk walk([&](uint32_t number) -> UridWalk::Number {
        const auto [place, isNew] = places.emplace(number, static_cast<uint32_t>(places.size() + 1));
        if (isNew) uris.push_back(UriOf(number));
        return {place->second, number};
    });
    ordered_json properties = ordered_json::array();
    for (const Lv2Property& property : state.properties) {
        std::vector<uint8_t> value = property.value;
        walk.Body(property.type, value);
        properties.push_back({{"key", UriOf(property.key)},
                              {"type", UriOf(property.type)},
                              {"flags", property.flags},
                              {"data", ToBase64(value)}});
    }
    ordered_json values = ordered_json::object();
    for (const auto& [symbol, value] : state.values) values[symbol] = value;
    ordered_json text{{"plugin", state.plugin}, {"values", std::move(values)}};
    if (!properties.empty()) {
        text["properties"] = std::move(properties);
        text["uris"] = std::move(uris);
    }
    return text.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

Lv2State ParseLv2State(std::string_view text) try {
    const ordered_json json = ordered_json::parse(text);
    Lv2State state;
    state.plugin = json.at("plugin").get<std::string>();
    for (const auto& [symbol, value] : json.at("values").items())
        state.values.emplace_back(symbol, value.get<float>());
    if (!json.contains("properties")) return state;
    const auto uris = json.at("uris").get<std::vector<std::string>>();
    UridWalk walk([&](uint32_t place) -> UridWalk::Number {
        if (place > uris.size()) throw std::runtime_error("a number stands for no URI");
        const uint32_t number = Urids().Map(uris[place - 1]);
        return {number, number};
    });
    for (const ordered_json& property : json.at("properties")) {
        Lv2Property& p = state.properties.emplace_back();
        p.key = Urids().Map(property.at("key").get<std::string>());
        p.type = Urids().Map(property.at("type").get<std::string>());
        p.flags = property.at("flags").get<uint32_t>();
        p.value = FromBase64(property.at("data").get<std::string>());
        walk.Body(p.type, p.value);
    }
    return state;
} catch (const nlohmann::json::exception& e) {
    throw std::runtime_error(e.what());
}

Lv2StateFiles::Lv2StateFiles() {
    const auto same = [](LV2_State_Map_Path_Handle, const char* path) { return CopyOf(path ? path : ""); };
    m_map = {this, same, same};
    m_make = {this, [](LV2_State_Make_Path_Handle handle, const char* path) {
                  return static_cast<Lv2StateFiles*>(handle)->Make(path);
              }};
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): a plug-in may free the path itself
    m_free = {this, [](LV2_State_Free_Path_Handle, char* path) { std::free(path); }};
}

char* Lv2StateFiles::Make(const char* path) try {
    const std::filesystem::path wanted = std::filesystem::path(path ? path : "").lexically_normal();
    // It asks for a place in a folder that it does not know; anything else is a fault of it.
    if (wanted.empty() || wanted.is_absolute() || *wanted.begin() == "..") return nullptr;
    const std::lock_guard lock(m_guard);
    if (m_folder.empty()) {
        if (UserDataFolder().empty()) return nullptr;
        std::random_device random;
        std::string name;
        for (int i = 0; i < 16; i++) name += "0123456789abcdef"[random() & 15];
        m_folder = UserDataFolder() / "tarn" / "effect-files" / name;
    }
    const std::filesystem::path file = m_folder / wanted;
    std::filesystem::create_directories(file.parent_path());
    return CopyOf(file.string());
} catch (...) {
    return nullptr;
}

std::vector<Lv2Property> SaveProperties(const LV2_State_Interface& plugin, LV2_Handle instance,
                                        const LV2_Feature* const* features, LV2_State_Status& status) {
    Store store;
    status = plugin.save(instance, StoreOne, &store, LV2_STATE_IS_POD, features);
    if (store.failed) status = LV2_STATE_ERR_NO_SPACE;
    return std::move(store.properties);
}

LV2_State_Status RestoreProperties(const LV2_State_Interface& plugin, LV2_Handle instance,
                                   const LV2_Feature* const* features,
                                   const std::vector<Lv2Property>& properties) {
    return plugin.restore(instance, RetrieveOne, const_cast<std::vector<Lv2Property>*>(&properties),
                          LV2_STATE_IS_POD, features);
}

const char* StatusText(LV2_State_Status status) {
    constexpr const char* TEXTS[] = {"nothing is wrong",
                                     "an error it does not name",
                                     "a value of a wrong type",
                                     "flags it can't take",
                                     "the host lacks a feature",
                                     "a value is missing",
                                     "no room"};
    return static_cast<size_t>(status) < std::size(TEXTS) ? TEXTS[status] : TEXTS[LV2_STATE_ERR_UNKNOWN];
}

}  // namespace host
