#include "host/effects/effect_scan.h"

#include "host/effects/lv2_description.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

using namespace tarn;

namespace host {
namespace {

using nlohmann::ordered_json;

struct TextMember {
    const char* name;
    std::string EffectInfo::*member;
};
constexpr TextMember TEXTS[] = {{"uri", &EffectInfo::uri},
                                {"name", &EffectInfo::name},
                                {"maker", &EffectInfo::maker},
                                {"family", &EffectInfo::family},
                                {"problem", &EffectInfo::problem}};

/// Of something that nothing is known about but where it is.
EffectInfo BareInfo(const std::string& where) {
    EffectInfo info;
    info.uri = where;
    info.name = std::filesystem::path(where).filename();
    info.family = OTHER_FAMILY;
    return info;
}

}  // namespace

ordered_json ToJson(const EffectInfo& info) {
    ordered_json json;
    for (const TextMember& text : TEXTS) json[text.name] = info.*text.member;
    json["inputs"] = info.inputs;
    json["outputs"] = info.outputs;
    json["midi"] = info.midiInput;
    json["instrument"] = info.instrument;
    return json;
}

EffectInfo EffectInfoFrom(const ordered_json& json) {
    EffectInfo info;
    for (const TextMember& text : TEXTS) info.*text.member = json.at(text.name).get<std::string>();
    info.inputs = json.at("inputs").get<uint32_t>();
    info.outputs = json.at("outputs").get<uint32_t>();
    info.midiInput = json.at("midi").get<bool>();
    info.instrument = json.at("instrument").get<bool>();
    return info;
}

EffectScan::EffectScan(EffectScanOrder order, Found found)
    : m_order(std::move(order)), m_found(std::move(found)) {
    for (const std::filesystem::path& path : m_order.examine) m_bundles.push_back({path, {}, {}, false});
}

void EffectScan::Cancel() {
    m_cancelled = true;
    const std::lock_guard lock(m_guard);
    if (m_child) m_child->Kill();
}

void EffectScan::Run() {
    // Each round either ends the work or finds one more thing that can't be used.
    while (!m_cancelled && std::ranges::any_of(m_bundles, [](const Bundle& b) { return !b.isDone; }))
        RunOnce();
}

std::string EffectScan::Request() const {
    ordered_json bundles = ordered_json::array(), examine = ordered_json::array();
    for (const std::filesystem::path& path : m_order.bundles)
        if (!m_unreadable.contains(path)) bundles.push_back(path.string());
    for (const Bundle& bundle : m_bundles)
        if (!bundle.isDone) examine.push_back({{"bundle", bundle.path.string()}, {"done", bundle.done}});
    return ordered_json{{"bundles", bundles}, {"examine", examine}}.dump();
}

void EffectScan::RunOnce() {
    ChildProcess child;
    std::string error;
    if (!child.Start(m_order.program, Request(), error)) throw std::runtime_error(error);
    {
        const std::lock_guard lock(m_guard);
        m_child = &child;
        if (m_cancelled) child.Kill();
    }
    m_at = {};
    auto answer = ChildProcess::Answer::Line;
    std::string line;
    while ((answer = child.ReadLine(line, m_order.patience)) == ChildProcess::Answer::Line) {
        const ordered_json message = line.starts_with(SCAN_MARK)
                                         ? ordered_json::parse(line.substr(1), nullptr, false)
                                         : ordered_json();
        if (message.is_object()) {
            Take(message);
        } else if (line.find_first_not_of(" \t\r") != std::string::npos) {
            if (m_at.firstPrinted.empty()) m_at.firstPrinted = line;
            m_at.lastPrinted = line;
        }
    }
    const bool hangs = answer == ChildProcess::Answer::Nothing;
    if (hangs) child.Kill();
    const std::string end = child.Wait();
    {
        const std::lock_guard lock(m_guard);
        m_child = nullptr;
    }
    if (m_cancelled || std::ranges::all_of(m_bundles, &Bundle::isDone)) return;
    if (hangs)
        Blame("hangs", "no answer for " +
                           std::to_string(std::chrono::ceil<std::chrono::seconds>(m_order.patience).count()) +
                           " seconds");
    else
        Blame("crashes", "the process " + (end.empty() ? "ended" : end));
}

void EffectScan::Take(const ordered_json& message) try {
    const auto [name, value] = *message.items().begin();
    if (name == "effect") {
        m_at.effect = EffectInfoFrom(value);
        m_at.uri = m_at.effect->uri;
        return;
    }
    Bundle* bundle = Find(m_at.bundle);
    if (name == "examined" && m_at.effect) {
        std::string problem = value.get<std::string>();
        // A description that can't be read leaves things out; the reader says where it stopped.
        if (!m_at.effect->problem.empty())
            problem = m_at.effect->problem + (m_at.firstPrinted.empty() ? "" : ": ") + m_at.firstPrinted;
        Add(bundle, *m_at.effect, problem);
        m_at = {"", m_at.bundle, "", {}, "", ""};
        return;
    }
    if (!m_at.reads.empty() && !m_at.firstPrinted.empty()) m_complaints[m_at.reads] = m_at.firstPrinted;
    const std::string before = m_at.bundle;
    m_at = {};
    if (name == "read") m_at.reads = value.get<std::string>();
    if (name == "bundle") m_at.bundle = value.get<std::string>();
    if (name == "describe") {
        m_at.bundle = before;
        m_at.uri = value.get<std::string>();
    }
    if (name == "finished" && bundle) {
        if (const auto complaint = m_complaints.find(before);
            complaint != m_complaints.end() && bundle->effects.empty())
            Add(bundle, BareInfo(before), "can't be read: " + complaint->second);
        Finish(*bundle);
    }
} catch (const ordered_json::exception&) {
    // Something that a plug-in printed, by chance with the mark.
}

void EffectScan::Add(Bundle* bundle, EffectInfo effect, const std::string& problem) {
    if (!bundle) return;
    effect.problem = problem;
    bundle->done.insert(effect.uri);
    bundle->effects.push_back(std::move(effect));
}

void EffectScan::Finish(Bundle& bundle) {
    bundle.isDone = true;
    m_found(bundle.path, bundle.effects);
}

void EffectScan::Blame(const std::string& verb, const std::string& reason) {
    const std::string why = ": " + reason + (m_at.lastPrinted.empty() ? "" : ": ") + m_at.lastPrinted;
    if (!m_at.reads.empty()) {
        m_unreadable.insert(m_at.reads);
        if (Bundle* bundle = Find(m_at.reads)) {
            Add(bundle, BareInfo(m_at.reads), verb + " the reader" + why);
            Finish(*bundle);
        }
        return;
    }
    Bundle* bundle = Find(m_at.bundle);
    if (!bundle) throw std::runtime_error("the search for effects " + verb + why);
    if (!m_at.uri.empty()) {
        Add(bundle, m_at.effect.value_or(BareInfo(m_at.uri)), verb + " when it is started" + why);
    } else {
        Add(bundle, BareInfo(m_at.bundle), verb + " the reader" + why);
        Finish(*bundle);
    }
}

EffectScan::Bundle* EffectScan::Find(const std::string& path) {
    const auto found = std::ranges::find(m_bundles, std::filesystem::path(path), &Bundle::path);
    return found == m_bundles.end() ? nullptr : &*found;
}

}  // namespace host
