#include "mediafile/meta/ixml.h"

#include "mediafile/meta/broadcast.h"
#include "platform/guarded.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <sstream>

namespace tarn {

struct IxmlContent::Document {
    pugi::xml_document xml;
};

namespace {

constexpr const char *ROOT = "BWFXML", *NEWEST = "1.52";
constexpr unsigned MOST_INDEX = 10000;

constexpr const char* SPEED_FPS[] = {"24000/1001", "24/1",       "25/1", "30000/1001", "30/1",
                                     "48/1",       "48000/1001", "50/1", "60000/1001", "60/1"};
constexpr const char* TIME_CODES[] = {"NDF", "DF"};
constexpr const char* BOOLS[] = {"TRUE", "FALSE"};
constexpr const char* SYNC_TYPES[] = {"RELATIVE", "ABSOLUTE"};
constexpr const char* SYNC_FUNCTIONS[] = {
    "PRE_RECORD_SAMPLECOUNT", "SLATE_GENERIC",       "HEAD_SLATE",          "TAIL_SLATE",  "MARKER_GENERIC",
    "MARKER_AUTOPLAY",        "MARKER_AUTOPLAYSTOP", "MARKER_AUTOPLAYLOOP", "GROUP_OFFSET"};
constexpr const char* TRACK_FUNCTIONS[] = {
    "M-MID_SIDE",  "S-MID_SIDE",  "X-X_Y",       "Y-X_Y",       "L-MIX",  "R-MIX",   "MIX",
    "LEFT",        "RIGHT",       "CENTER",      "LFE",         "LS",     "RS",      "LEFT-DMS",
    "RIGHT-DMS",   "CENTER-DMS",  "LS-DMS",      "RS-DMS",      "L-LCRS", "C-LCRS",  "R-LCRS",
    "S-LCRS",      "L-5.1",       "C-5.1",       "R-5.1",       "LS-5.1", "RS-5.1",  "LFE-5.1",
    "W-AMBISONIC", "X-AMBISONIC", "Y-AMBISONIC", "Z-AMBISONIC", "HEIGHT", "FULL_MIX"};

constexpr IxmlNodeInfo NODES[] = {
    {"IXML_VERSION", IxmlType::Text},
    {"PROJECT", IxmlType::Text},
    {"SCENE", IxmlType::Text},
    {"SOUND_ROLL", IxmlType::Text},
    {"TAKE", IxmlType::Text},
    {"TAPE", IxmlType::Text},
    {"TAKE_TYPE", IxmlType::Text},
    {"NO_GOOD", IxmlType::Bool},
    {"FALSE_START", IxmlType::Bool},
    {"WILD_TRACK", IxmlType::Bool},
    {"CIRCLED", IxmlType::Bool},
    {"FILE_UID", IxmlType::Text},
    {"UBITS", IxmlType::Text},
    {"NOTE", IxmlType::Text},
    {"SPEED.NOTE", IxmlType::Text},
    {"SPEED.MASTER_SPEED", IxmlType::SpeedFps},
    {"SPEED.CURRENT_SPEED", IxmlType::SpeedFps},
    {"SPEED.TIMECODE_RATE", IxmlType::SpeedFps},
    {"SPEED.TIMECODE_FLAG", IxmlType::TimeCode},
    {"SPEED.FILE_SAMPLE_RATE", IxmlType::Number},
    {"SPEED.AUDIO_BIT_DEPTH", IxmlType::Number},
    {"SPEED.DIGITIZER_SAMPLE_RATE", IxmlType::Number},
    {"SPEED.TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI", IxmlType::Number},
    {"SPEED.TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO", IxmlType::Number},
    {"SPEED.TIMESTAMP_SAMPLE_RATE", IxmlType::Number},
    {"SYNC_POINT_LIST.SYNC_POINT_COUNT", IxmlType::Number},
    {"SYNC_POINT_LIST.SYNC_POINT.SYNC_POINT_TYPE", IxmlType::SyncType},
    {"SYNC_POINT_LIST.SYNC_POINT.SYNC_POINT_FUNCTION", IxmlType::SyncFunction},
    {"SYNC_POINT_LIST.SYNC_POINT.SYNC_POINT_COMMENT", IxmlType::Text},
    {"SYNC_POINT_LIST.SYNC_POINT.SYNC_POINT_LOW", IxmlType::Number},
    {"SYNC_POINT_LIST.SYNC_POINT.SYNC_POINT_HIGH", IxmlType::Number},
    {"SYNC_POINT_LIST.SYNC_POINT.SYNC_POINT_EVENT_DURATION", IxmlType::Number},
    {"HISTORY.ORIGINAL_FILENAME", IxmlType::Text},
    {"HISTORY.PARENT_FILENAME", IxmlType::Text},
    {"HISTORY.PARENT_UID", IxmlType::Text},
    {"FILE_SET.TOTAL_FILES", IxmlType::Number},
    {"FILE_SET.FAMILY_UID", IxmlType::Text},
    {"FILE_SET.FAMILY_NAME", IxmlType::Text},
    {"FILE_SET.FILE_SET_INDEX", IxmlType::Text},
    {"TRACK_LIST.TRACK_COUNT", IxmlType::Number},
    {"TRACK_LIST.TRACK.CHANNEL_INDEX", IxmlType::Number},
    {"TRACK_LIST.TRACK.INTERLEAVE_INDEX", IxmlType::Number},
    {"TRACK_LIST.TRACK.NAME", IxmlType::Text},
    {"TRACK_LIST.TRACK.FUNCTION", IxmlType::TrackFunction},
};

bool IsIndex(const std::string& name) {
    return !name.empty() && name.size() < 6 && name.find_first_not_of("0123456789") == name.npos;
}
/// The n-th node of a name, made where it is the next one.
pugi::xml_node Child(pugi::xml_node parent, const std::string& name, unsigned index, bool makes) {
    unsigned n = 0;
    for (pugi::xml_node node = parent.child(name.c_str()); node; node = node.next_sibling(name.c_str()))
        if (++n == index) return node;
    return makes && n + 1 == index ? parent.append_child(name.c_str()) : pugi::xml_node();
}

bool HasElements(pugi::xml_node node) {
    for (pugi::xml_node child : node.children())
        if (child.type() == pugi::node_element) return true;
    return false;
}

void Collect(pugi::xml_node parent, const std::string& before, std::vector<IxmlValue>& values,
             unsigned depth) {
    constexpr unsigned MOST_DEPTH = 64;
    std::map<std::string, unsigned> all, seen;
    for (pugi::xml_node node : parent.children()) all[node.name()]++;
    for (pugi::xml_node node : parent.children()) {
        if (node.type() != pugi::node_element || depth > MOST_DEPTH) continue;
        std::string path = before + node.name();
        const unsigned index = ++seen[node.name()];
        const bool isListed = before.ends_with("_LIST.") && HasElements(node);
        if (all[node.name()] > 1 || isListed) path.append(".").append(std::to_string(index));
        if (HasElements(node))
            Collect(node, path + ".", values, depth + 1);
        else
            values.push_back({path, node.text().get()});
    }
}

std::string WithoutNumbers(const std::string& path) {
    std::string plain;
    std::istringstream names(path);
    for (std::string name; std::getline(names, name, '.');)
        if (!IsIndex(name)) plain.append(plain.empty() ? "" : ".").append(name);
    return plain;
}

std::span<const char* const> WordsOf(IxmlType type) {
    switch (type) {
    case IxmlType::Bool: return BOOLS;
    case IxmlType::SpeedFps: return SPEED_FPS;
    case IxmlType::TimeCode: return TIME_CODES;
    case IxmlType::TrackFunction: return TRACK_FUNCTIONS;
    case IxmlType::SyncFunction: return SYNC_FUNCTIONS;
    case IxmlType::SyncType: return SYNC_TYPES;
    default: return {};
    }
}

struct BytesWriter : pugi::xml_writer {
    std::vector<uint8_t> bytes;
    void write(const void* data, size_t size) override {
        const auto* from = static_cast<const uint8_t*>(data);
        bytes.insert(bytes.end(), from, from + size);
    }
};

}  // namespace

std::span<const IxmlNodeInfo> GetTblIxmlInfo() { return NODES; }
std::span<const char* const> GetTblIxmlSpeedFPS() { return SPEED_FPS; }
std::span<const char* const> GetTblIxmlSpeedTimeCode() { return TIME_CODES; }
std::span<const char* const> GetTblIxmlTrackFuncts() { return TRACK_FUNCTIONS; }
std::span<const char* const> GetTblIxmlSyncPtFuncts() { return SYNC_FUNCTIONS; }
std::span<const char* const> GetTblIxmlSyncPtTypes() { return SYNC_TYPES; }
std::span<const char* const> GetTblIxmlBools() { return BOOLS; }

IxmlContent::IxmlContent() : m_document(std::make_unique<Document>()) {}
IxmlContent::~IxmlContent() = default;
IxmlContent::IxmlContent(IxmlContent&&) noexcept = default;

std::vector<IxmlValue> IxmlContent::Values() const {
    std::vector<IxmlValue> values;
    Collect(m_document->xml.document_element(), {}, values, 0);
    return values;
}

bool IxmlContent::Set(const std::string& path, const std::string& text) {
    pugi::xml_document& xml = m_document->xml;
    if (!xml.document_element()) {
        pugi::xml_node declaration = xml.prepend_child(pugi::node_declaration);
        declaration.append_attribute("version") = "1.0";
        declaration.append_attribute("encoding") = "UTF-8";
        xml.append_child(ROOT).append_child("IXML_VERSION").text().set(NEWEST);
    }
    pugi::xml_node node = xml.document_element();
    std::vector<std::string> names;
    std::istringstream all(path);
    for (std::string name; std::getline(all, name, '.');) names.push_back(name);
    for (size_t i = 0; i < names.size(); i++) {
        unsigned index = 1;
        const std::string& name = names[i];
        const bool isName =
            !name.empty() && !IsIndex(name.substr(0, 1)) && std::ranges::all_of(name, [](char c) {
                return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-';
            });
        if (!isName) return false;
        if (i + 1 < names.size() && IsIndex(names[i + 1]))
            index = static_cast<unsigned>(std::strtoul(names[++i].c_str(), nullptr, 10));
        if (index == 0 || index > MOST_INDEX) return false;
        node = Child(node, name, index, !text.empty());
        if (!node) return text.empty();
    }
    if (names.empty() || HasElements(node)) return false;
    return text.empty() ? node.parent().remove_child(node) : node.text().set(text.c_str());
}

std::vector<uint8_t> IxmlContent::Bytes() const {
    BytesWriter writer;
    if (!m_document->xml.document_element()) return {};
    pugi::xml_node declaration = m_document->xml.first_child();
    if (declaration.type() == pugi::node_declaration && declaration.attribute("encoding"))
        declaration.attribute("encoding") = "UTF-8";
    m_document->xml.save(
        writer, "",
        pugi::format_raw | (declaration.type() == pugi::node_declaration ? 0u : pugi::format_no_declaration),
        pugi::encoding_utf8);
    return writer.bytes;
}

bool ExtractIxmlContent(std::span<const uint8_t> payload, IxmlContent* content, std::string* error) {
    content->m_document = std::make_unique<IxmlContent::Document>();
    while (!payload.empty() && payload.back() == 0) payload = payload.first(payload.size() - 1);
    if (payload.empty()) return true;
    const unsigned how = pugi::parse_full | pugi::parse_ws_pcdata;
    const pugi::xml_parse_result result =
        content->m_document->xml.load_buffer(payload.data(), payload.size(), how);
    if (result && content->m_document->xml.document_element()) return true;
    *error =
        std::string(result ? "no element" : result.description()) + " at " + std::to_string(result.offset);
    return false;
}

std::vector<std::string> IxmlDeviations(const IxmlContent& content) {
    std::vector<std::string> found;
    unsigned tracks = 0;
    std::string told;
    for (const IxmlValue& value : content.Values()) {
        const std::string path = WithoutNumbers(value.path);
        if (path == "TRACK_LIST.TRACK.CHANNEL_INDEX") tracks++;
        if (path == "TRACK_LIST.TRACK_COUNT") told = value.text;
        const auto* node = std::ranges::find_if(NODES, [&](const IxmlNodeInfo& n) { return path == n.path; });
        if (node == std::end(NODES) || value.text.empty()) continue;
        const auto texts = WordsOf(node->type);
        const bool isKnown = std::ranges::any_of(texts, [&](const char* text) { return value.text == text; });
        if (node->type == IxmlType::Number && value.text.find_first_not_of("0123456789") != value.text.npos)
            found.push_back(value.path + " is no number: '" + value.text + "'");
        else if (!texts.empty() && !isKnown)
            found.push_back(value.path + " has a text that is not of its list: '" + value.text + "'");
    }
    if (!told.empty() && told != std::to_string(tracks))
        found.push_back("TRACK_COUNT tells of " + told + " tracks, " + std::to_string(tracks) + " are there");
    return found;
}

HRESULT BuildAndWriteRawIxmlChunk(HQMFILE file, const IxmlContent& content, uint32_t* added) {
    return Guarded([&] {
        const std::vector<uint8_t> bytes = content.Bytes();
        return bwfriff_UpdateStreamChunk(BWF_CHUNK_IXML, file, bytes.data(),
                                         static_cast<uint32_t>(bytes.size()), added);
    });
}

}  // namespace tarn
