#include "host/engine/mix_graph.h"

#include <algorithm>
#include <unordered_map>

namespace host {

namespace {

// Tracks first; then whatever has all of its inputs placed, in the order of the session.
std::vector<size_t> ProcessingOrder(const std::vector<Channel>& channels,
                                    const std::unordered_map<ChannelId, size_t>& index) {
    std::vector<size_t> waiting(channels.size(), 0);
    for (const Channel& channel : channels)
        if (const auto it = index.find(channel.output); it != index.end()) waiting[it->second]++;
    std::vector<size_t> order;
    std::vector<bool> placed(channels.size(), false);
    const auto place = [&](size_t i) {
        placed[i] = true;
        order.push_back(i);
        if (const auto it = index.find(channels[i].output); it != index.end()) waiting[it->second]--;
    };
    for (size_t i = 0; i < channels.size(); i++)
        if (channels[i].kind == ChannelKind::AudioTrack) place(i);
    for (bool found = true; found;) {
        found = false;
        for (size_t i = 0; i < channels.size(); i++) {
            if (placed[i] || waiting[i] > 0) continue;
            place(i);
            found = true;
        }
    }
    return order;
}

}  // namespace

MixGraph::MixGraph(const std::vector<Channel>& channels, const std::vector<Part>& parts, int sampleRate,
                   bool withPreview)
    : m_inertia(sampleRate) {
    std::unordered_map<ChannelId, size_t> index;
    std::unordered_map<ChannelId, int> buffers;
    for (size_t i = 0; i < channels.size(); i++) {
        index.emplace(channels[i].id, i);
        if (channels[i].kind != ChannelKind::AudioTrack)
            buffers.emplace(channels[i].id, static_cast<int>(buffers.size()));
    }
    m_buffers.resize(buffers.size());
    for (size_t i : ProcessingOrder(channels, index)) {
        const Channel& channel = channels[i];
        Node node{.part = parts[i]};
        if (const auto own = buffers.find(channel.id); own != buffers.end()) node.input = own->second;
        if (channel.kind == ChannelKind::Master || (channel.kind == ChannelKind::PreviewBus && withPreview))
            node.output = kToDevice;
        else if (const auto target = buffers.find(channel.output); target != buffers.end())
            node.output = target->second;
        m_nodes.push_back(std::move(node));
    }
}

bool MixGraph::Mix(const StreamPlace& place, size_t n, float* left, float* right) {
    std::fill(left, left + n, 0.0f);
    std::fill(right, right + n, 0.0f);
    for (BusBuffer& buffer : m_buffers)
        for (auto& side : buffer.side) std::fill(side, side + n, 0.0f);

    bool intime = true;
    for (Node& node : m_nodes) {
        float* into[2] = {left, right};
        if (node.output != kToDevice) {
            BusBuffer& target = node.output >= 0 ? m_buffers[static_cast<size_t>(node.output)] : m_nothing;
            into[0] = target.side[0];
            into[1] = target.side[1];
        }
        ChannelStrip& strip = *node.part.strip;
        strip.Begin();
        if (node.input >= 0) {
            const BusBuffer& input = m_buffers[static_cast<size_t>(node.input)];
            const float* const from[2] = {input.side[0], input.side[1]};
            strip.Mix(from, into, n);
        } else if (node.part.stream && place.serial != 0) {
            intime &= MixTrack(node, place, n, into);
        } else {
            strip.Skip(n);
        }
        strip.End(n, m_inertia);
    }
    return intime;
}

bool MixGraph::MixTrack(Node& node, const StreamPlace& place, size_t n, float* const into[2]) {
    TrackStream& stream = *node.part.stream;
    bool intime = true;
    for (size_t done = 0; done < n;) {
        const auto span =
            stream.Take(place.ring, place.serial, place.at + static_cast<int64_t>(done), n - done);
        float* const to[2] = {into[0] + done, into[1] + done};
        if (span.side[0])
            node.part.strip->Mix(span.side, to, span.count);
        else
            node.part.strip->Skip(span.count);
        intime &= !span.late;
        done += span.count;
    }
    stream.Done(place.ring, place.serial, place.at + static_cast<int64_t>(n));
    return intime;
}

}  // namespace host
