#include "host/engine/mix_graph.h"

#include "host/session/routes.h"

#include <algorithm>
#include <set>

namespace host {

namespace {

constexpr double kDefaultTempo = 120;
// One stereo track counts 1, an effect as much as many of them; a job is worth about this much.
constexpr size_t kJobWeight = 16, kEffectWeight = 8;

}  // namespace

// The steps from a session to nodes in jobs.
class MixGraph::Builder {
public:
    Builder(MixGraph& graph, const Session& session, std::vector<ChannelPart>& parts, bool withPreview)
        : m_graph(graph), m_session(session), m_channels(session.channels), m_parts(parts),
          m_withPreview(withPreview), m_places(PlacesOf(m_channels)) {}

    void Build() {
        m_graph.m_nodes.resize(m_channels.size());
        for (size_t i = 0; i < m_channels.size(); i++) {
            FillNode(i);
            if (m_channels[i].monitor && m_channels[i].input.source == InputSource::Channel)
                m_listening.push_back(i);
        }
        for (size_t i = 0; i < m_channels.size(); i++) FillRoutes(i);
        FindLevels();
        MakeJobs();
        MakeUpForLatency();
        GatherInputs();
    }

private:
    static constexpr size_t kDevice = SIZE_MAX;

    /// A route and the node it leads to.
    struct Edge {
        size_t target;
        NodeRoute route;
        ChannelPart::DelayKey key;
        bool isOutput;
    };

    bool Mixes(size_t i) const { return m_channels[i].kind != ChannelKind::MidiTrack; }

    size_t SidesOf(const Channel& c) const {
        const bool wide = c.kind == ChannelKind::Master || c.kind == ChannelKind::AudioBus;
        return wide && m_session.mode == ChannelMode::Surround51 ? kMaxSides : kStereoSides;
    }

    std::shared_ptr<DelayLine> Delay(size_t i, ChannelPart::DelayKey key, size_t sides, size_t frames) {
        std::shared_ptr<DelayLine>& line = m_parts[i].delays[key];
        if (!line || line->Frames() != frames || line->Sides() != sides)
            line = std::make_shared<DelayLine>(sides, frames);
        m_used[i].insert(key);
        return line;
    }

    NodeInsert MakeInsert(size_t i, const Insert& insert) {
        const auto& slot = m_parts[i].effects.at(insert.id);
        m_graph.m_hasEffects = true;
        return {
            insert.id, slot,
            Delay(i, {ChannelPart::DelayOf::Effect, insert.id}, m_graph.m_nodes[i].sides, slot->Latency())};
    }

    void FillNode(size_t i) {
        const Channel& c = m_channels[i];
        MixNode& node = m_graph.m_nodes[i];
        node.strip = m_parts[i].strip;
        node.stream = m_parts[i].stream;
        node.lanes = m_parts[i].lanes;
        node.sides = SidesOf(c);
        if (!Mixes(i)) {
            m_graph.m_meteredAside.push_back(node.strip);
            return;
        }
        const bool track = c.kind == ChannelKind::AudioTrack;
        node.source = track                             ? NodeSource::Clips
                      : c.kind == ChannelKind::Synth    ? NodeSource::Instrument
                      : c.kind == ChannelKind::InputBus ? NodeSource::Device
                                                        : NodeSource::Targeted;
        if (track && c.monitor && c.input.source != InputSource::None)
            node.source = c.input.source == InputSource::Device ? NodeSource::Device : NodeSource::Targeted;
        node.fx = c.kind == ChannelKind::Fx;
        node.firstInput = c.input.source == InputSource::Device ? c.input.first : kMaxDeviceInputs;
        node.inputStep = c.input.mono ? 0 : 1;
        if (c.instrument) node.instrument = MakeInsert(i, *c.instrument);
        for (const Insert& insert : c.inserts)
            (insert.post_fader ? node.behind : node.before).push_back(MakeInsert(i, insert));
        for (size_t k = 0; c.kind == ChannelKind::Synth && k < m_channels.size(); k++)
            if (m_parts[k].midi && m_channels[k].output == c.id)
                node.midi.push_back({m_parts[k].midi, m_parts[k].strip, m_parts[k].lanes});
        node.left = m_parts[i].left;
        FillEffectLanes(node, m_parts[i]);
    }

    static void FillEffectLanes(MixNode& node, const ChannelPart& part) {
        if (!part.lanes) return;
        for (const ChannelLanes::OfEffect& of : part.lanes->effects)
            if (const auto slot = part.effects.find(of.lane->Key().sub); slot != part.effects.end())
                node.effectLanes.push_back({of.lane.get(), slot->second.get(), of.parameter});
    }

    void FillRoutes(size_t i) {
        using Of = ChannelPart::DelayOf;
        const Channel& c = m_channels[i];
        if (!Mixes(i)) return;
        const auto add = [&](size_t target, size_t sides, SubId id, std::shared_ptr<SendStrip> send,
                             ChannelPart::DelayKey key) {
            m_edges[i].push_back(
                {target, {id, std::move(send), nullptr, sides, nullptr}, key, key.of == Of::Output});
        };
        const bool toDevice = c.kind == ChannelKind::Master || c.kind == ChannelKind::PreviewBus;
        const size_t target = toDevice ? kDevice : m_places.at(c.output);
        add(target, toDevice ? m_graph.m_sides : m_graph.m_nodes[target].sides, kNoSub, nullptr,
            {Of::Output, 0});
        for (const Send& send : c.sends) {
            const size_t to = m_places.at(send.target);
            add(to, m_graph.m_nodes[to].sides, send.id, m_parts[i].sends.at(send.id), {Of::Send, send.id});
        }
        for (size_t k : m_listening)
            if (m_channels[k].input.channel == c.id)
                add(k, m_graph.m_nodes[k].sides, kNoSub, m_parts[i].listeners.at(m_channels[k].id),
                    {Of::Listener, m_channels[k].id});
    }

    // Of each node, how many others must be done one after the other before it.
    void FindLevels() {
        std::vector<size_t> waiting(m_channels.size(), 0);
        for (const auto& edges : m_edges)
            for (const Edge& edge : edges)
                if (edge.target != kDevice) waiting[edge.target]++;
        for (size_t i = 0; i < m_channels.size(); i++)
            if (Mixes(i) && waiting[i] == 0) m_order.push_back(i);
        for (size_t k = 0; k < m_order.size(); k++)
            for (const Edge& edge : m_edges[m_order[k]])
                if (edge.target != kDevice) {
                    m_level[edge.target] = std::max(m_level[edge.target], m_level[m_order[k]] + 1);
                    if (--waiting[edge.target] == 0) m_order.push_back(edge.target);
                }
        std::ranges::sort(m_order, [&](size_t a, size_t b) {
            return m_level[a] != m_level[b] ? m_level[a] < m_level[b] : a < b;
        });
    }

    void MakeJobs() {
        size_t weight = 0, level = 0;
        for (size_t i : m_order) {
            if (m_graph.m_jobs.empty() || weight >= kJobWeight || m_level[i] != level) {
                m_graph.m_jobs.push_back(std::make_unique<Job>());
                weight = 0;
                level = m_level[i];
            }
            m_job[i] = m_graph.m_jobs.size() - 1;
            Job& job = *m_graph.m_jobs.back();
            job.nodes.push_back(i);
            const MixNode& node = m_graph.m_nodes[i];
            weight += m_edges[i].size() + kEffectWeight * (node.before.size() + node.behind.size());
            if (node.instrument.slot) weight += kJobWeight;
            for (Edge& edge : m_edges[i]) edge.route.into = BufferFor(m_job[i], edge.target, i);
        }
    }

    // The preview bus's own way out leads nowhere that is heard, in a mix without it.
    MixBuffer* BufferFor(size_t job, size_t target, size_t from) {
        const bool unheard =
            target == kDevice && m_channels[from].kind == ChannelKind::PreviewBus && !m_withPreview;
        const size_t place = unheard ? kDevice - 1 : target;
        const auto [at, isNew] = m_buffers.try_emplace({place, job}, nullptr);
        if (isNew) {
            m_graph.m_buffers.push_back(std::make_unique<MixBuffer>());
            at->second = m_graph.m_buffers.back().get();
            m_graph.m_jobs[job]->buffers.push_back(at->second);
        }
        return at->second;
    }

    // What comes in on different ways meets at the time of the latest.
    void MakeUpForLatency() {
        std::vector<size_t> out(m_channels.size(), 0);
        std::vector<size_t> in(m_channels.size(), 0), preOut(m_channels.size(), 0);
        size_t device = 0;
        const auto leaves = [&](size_t i, const Edge& edge) {
            return !edge.isOutput && edge.key.of == ChannelPart::DelayOf::Send && IsBefore(i, edge.route.id)
                       ? preOut[i]
                       : out[i];
        };
        const auto latencyOf = [](const std::vector<NodeInsert>& inserts) {
            size_t frames = 0;
            for (const NodeInsert& insert : inserts) frames += insert.dry->Frames();
            return frames;
        };
        for (size_t i : m_order) {
            MixNode& node = m_graph.m_nodes[i];
            node.latency = in[i] + (node.instrument.dry ? node.instrument.dry->Frames() : 0);
            preOut[i] = node.faderLatency = node.latency + latencyOf(node.before);
            out[i] = node.faderLatency + latencyOf(node.behind);
            for (const Edge& edge : m_edges[i]) {
                size_t& at = edge.target == kDevice ? device : in[edge.target];
                at = std::max(at, leaves(i, edge));
            }
        }
        m_graph.m_latency = device;
        for (size_t i : m_order) {
            MixNode& node = m_graph.m_nodes[i];
            for (Edge& edge : m_edges[i]) {
                const size_t behind = (edge.target == kDevice ? device : in[edge.target]) - leaves(i, edge);
                if (behind > 0) edge.route.delay = Delay(i, edge.key, edge.route.sides, behind);
                if (edge.isOutput)
                    node.output = edge.route;
                else
                    node.sends.push_back(edge.route);
            }
        }
        for (size_t i = 0; i < m_channels.size(); i++)
            std::erase_if(m_parts[i].delays,
                          [&](const auto& line) { return !m_used[i].contains(line.first); });
    }

    bool IsBefore(size_t i, SubId send) const { return FindSend(m_channels[i], send)->pre_fader; }

    void GatherInputs() {
        std::vector<std::set<size_t>> after(m_graph.m_jobs.size());
        for (const auto& [key, buffer] : m_buffers) {
            const auto [target, job] = key;
            if (target == kDevice)
                m_graph.m_output.push_back(buffer);
            else if (target < m_channels.size()) {
                m_graph.m_nodes[target].inputs.push_back(buffer);
                after[m_job[target]].insert(job);
            }
        }
        for (size_t j = 0; j < after.size(); j++)
            m_graph.m_jobs[j]->after.assign(after[j].begin(), after[j].end());
    }

    MixGraph& m_graph;
    const Session& m_session;
    const std::vector<Channel>& m_channels;
    std::vector<ChannelPart>& m_parts;
    const bool m_withPreview;
    const std::unordered_map<ChannelId, size_t> m_places;
    std::vector<size_t> m_listening;  ///< tracks that hear another channel
    std::vector<std::vector<Edge>> m_edges = std::vector<std::vector<Edge>>(m_channels.size());
    std::vector<std::set<ChannelPart::DelayKey>> m_used =
        std::vector<std::set<ChannelPart::DelayKey>>(m_channels.size());
    std::vector<size_t> m_order;
    std::vector<size_t> m_level = std::vector<size_t>(m_channels.size(), 0);
    std::vector<size_t> m_job = std::vector<size_t>(m_channels.size(), 0);
    /// By target and job: in the order in which a target adds them up.
    std::map<std::pair<size_t, size_t>, MixBuffer*> m_buffers;
};

MixGraph::MixGraph(const Session& session, std::vector<ChannelPart>& parts, int sampleRate, bool withPreview)
    : m_sides(session.mode == ChannelMode::Surround51 ? kMaxSides : kStereoSides), m_sampleRate(sampleRate),
      m_tempo(session.tempo.value_or(kDefaultTempo)), m_inertia(sampleRate) {
    Builder(*this, session, parts, withPreview).Build();
}

void MixGraph::RunJob(Job& job, const StreamPlace& place, size_t n) {
    for (size_t j : job.after)
        for (unsigned turn = 0; m_jobs[j]->donePass.load(std::memory_order_acquire) != m_pass; turn++)
            Relax(turn);
    for (MixBuffer* buffer : job.buffers)
        for (size_t s = 0; s < m_sides; s++) std::fill_n(buffer->side[s].data(), n, 0.0f);
    bool intime = true;
    for (size_t i : job.nodes) intime &= m_nodes[i].Run(place, n, m_tempo, m_sampleRate, m_inertia);
    job.late = !intime;
    job.donePass.store(m_pass, std::memory_order_release);
}

bool MixGraph::Mix(const StreamPlace& place, size_t n, float* const* out, MixPool& pool) {
    m_pass++;
    pool.Run(m_jobs.size(), [&](size_t i) { RunJob(*m_jobs[i], place, n); });
    for (size_t s = 0; s < m_sides; s++) {
        std::fill_n(out[s], n, 0.0f);
        for (const MixBuffer* buffer : m_output) Add(buffer->side[s].data(), out[s], n);
    }
    for (const auto& strip : m_meteredAside) strip->PostLevels(n, kStereoSides, m_inertia);
    return std::ranges::none_of(m_jobs, [](const auto& job) { return job->late; });
}

}  // namespace host
