#include "mediafile/meta/meta_retime.h"

#include "mediafile/meta/broadcast.h"
#include "mediafile/meta/ixml.h"
#include "mediafile/meta/meta_values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <optional>

namespace tarn {

namespace {

using Bytes = std::span<const uint8_t>;

class Retimer {
public:
    Retimer(MetaDocument& document, const MetaRetiming& r)
        : m_document(document), m_r(r),
          m_factor(r.fromRate && r.toRate ? static_cast<double>(r.toRate) / r.fromRate : 1) {}

    void Run() {
        if (m_document.Find("MARK")) {
            std::vector<MediaCue> cues = MetaCues(m_document);
            std::erase_if(cues, [&](const MediaCue& cue) { return !IsInside(cue.position); });
            for (MediaCue& cue : cues) cue.position = Moved(cue.position);
            SetMetaCues(m_document, cues);
        }
        Replace("cue ", [&](const MetaBytes& bytes) { return Cues(bytes); });
        Replace("LIST:adtl", [&](const MetaBytes& bytes) { return Labels(bytes); });
        Replace("plst", [&](const MetaBytes& bytes) { return PlayList(bytes); });
        Replace("smpl", [&](const MetaBytes& bytes) { return Sampler(bytes); });
        Replace("bext", [&](const MetaBytes& bytes) { return Broadcast(bytes); });
        Replace("iXML", [&](const MetaBytes& bytes) { return Ixml(bytes); });
    }

private:
    template <class Change>
    void Replace(const char* id, Change change) {
        for (MetaBlock& block : m_document.blocks) {
            if (block.id != id) continue;
            MetaBytes payload = change(block.payload);
            block.isChanged = block.isChanged || payload != block.payload;
            block.payload = std::move(payload);
        }
        std::erase_if(m_document.blocks,
                      [&](const MetaBlock& block) { return block.id == id && block.payload.empty(); });
    }

    bool IsPart() const { return m_r.start != 0 || m_r.frames != UINT64_MAX; }
    bool IsInside(uint64_t position) const {
        return position >= m_r.start && position - m_r.start <= m_r.frames;
    }
    template <class Number>
    Number Scaled(Number value) const {
        if (m_factor == 1) return value;
        constexpr Number MOST = std::numeric_limits<Number>::max();
        const double scaled = std::floor(static_cast<double>(value) * m_factor + 0.5);
        return scaled < static_cast<double>(MOST) ? static_cast<Number>(scaled) : MOST;
    }
    uint32_t Moved(uint32_t position) const {
        return Scaled(static_cast<uint32_t>(position - std::min<uint64_t>(position, m_r.start)));
    }

    MetaBytes Cues(const MetaBytes& bytes) {
        constexpr size_t CUE = 24, POSITION = 4, SAMPLE = 20;
        if (bytes.size() < 4) return bytes;
        MetaBytes out(bytes.begin(), bytes.begin() + 4);
        uint32_t count = FromLittleEndian<uint32_t>(bytes.data()), kept = 0;
        size_t at = 4;
        for (; count > 0 && at + CUE <= bytes.size(); count--, at += CUE) {
            const auto id = FromLittleEndian<uint32_t>(&bytes[at]),
                       sample = FromLittleEndian<uint32_t>(&bytes[at + SAMPLE]);
            m_positions.emplace(id, sample);
            if (!IsInside(sample)) continue;
            out.insert(out.end(), &bytes[at], &bytes[at] + CUE);
            uint8_t* cue = &out[out.size() - CUE];
            ToLittleEndian(cue + POSITION, Moved(FromLittleEndian<uint32_t>(cue + POSITION)));
            ToLittleEndian(cue + SAMPLE, Moved(sample));
            kept++;
        }
        if (kept == 0) return {};
        ToLittleEndian(out.data(), kept + count);
        out.insert(out.end(), bytes.begin() + static_cast<ptrdiff_t>(at), bytes.end());
        return out;
    }

    /// Of a marker that is left out, or of none.
    bool IsGone(uint32_t cue) const {
        const auto found = m_positions.find(cue);
        return found != m_positions.end() && !IsInside(found->second);
    }
    uint32_t LengthOf(uint32_t cue, uint32_t length) const {
        const auto found = m_positions.find(cue);
        if (found == m_positions.end() || m_r.frames == UINT64_MAX) return Scaled(length);
        const uint64_t left = m_r.start + m_r.frames - found->second;
        return Scaled(static_cast<uint32_t>(std::min<uint64_t>(length, left)));
    }
    MetaBytes Labels(const MetaBytes& bytes) const {
        MetaWriter out;
        ForEachChunk(bytes, [&](uint32_t id, Bytes payload) {
            const bool isOfCue = id == FourCC("labl") || id == FourCC("note") || id == FourCC("ltxt");
            const uint32_t cue = payload.size() < 4 ? 0 : FromLittleEndian<uint32_t>(payload.data());
            if (isOfCue && payload.size() >= 4 && IsGone(cue)) return;
            MetaBytes item(payload.begin(), payload.end());
            if (id == FourCC("ltxt") && item.size() >= 8)
                ToLittleEndian(&item[4], LengthOf(cue, FromLittleEndian<uint32_t>(&item[4])));
            out.Chunk(id, item);
        });
        return std::move(out.Bytes());
    }

    MetaBytes PlayList(const MetaBytes& bytes) const {
        constexpr size_t ENTRY = 12, LENGTH = 4;
        if (bytes.size() < 4) return bytes;
        MetaBytes out(bytes.begin(), bytes.begin() + 4);
        uint32_t count = FromLittleEndian<uint32_t>(bytes.data()), kept = 0;
        for (size_t at = 4; count > 0 && at + ENTRY <= bytes.size(); count--, at += ENTRY) {
            const auto cue = FromLittleEndian<uint32_t>(&bytes[at]);
            if (IsGone(cue)) continue;
            out.insert(out.end(), &bytes[at], &bytes[at] + ENTRY);
            uint8_t* length = &out[out.size() - ENTRY + LENGTH];
            ToLittleEndian(length, LengthOf(cue, FromLittleEndian<uint32_t>(length)));
            kept++;
        }
        ToLittleEndian(out.data(), kept);
        return kept ? out : MetaBytes();
    }

    MetaBytes Sampler(const MetaBytes& bytes) const {
        constexpr size_t HEAD = 36, LOOP = 24, PERIOD = 8, COUNT = 28, START = 8, END = 12;
        constexpr uint32_t NANOSECONDS = 1'000'000'000;
        if (bytes.size() < HEAD) return bytes;
        MetaBytes out(bytes.begin(), bytes.begin() + HEAD);
        if (m_r.fromRate != m_r.toRate && m_r.toRate) ToLittleEndian(&out[PERIOD], NANOSECONDS / m_r.toRate);
        uint32_t count = FromLittleEndian<uint32_t>(&bytes[COUNT]), kept = 0;
        size_t at = HEAD;
        for (; count > 0 && at + LOOP <= bytes.size(); count--, at += LOOP) {
            const auto start = FromLittleEndian<uint32_t>(&bytes[at + START]),
                       end = FromLittleEndian<uint32_t>(&bytes[at + END]);
            if (!IsInside(start) || !IsInside(end)) continue;
            out.insert(out.end(), &bytes[at], &bytes[at] + LOOP);
            ToLittleEndian(&out[out.size() - LOOP + START], Moved(start));
            ToLittleEndian(&out[out.size() - LOOP + END], Moved(end));
            kept++;
        }
        ToLittleEndian(&out[COUNT], kept + count);
        out.insert(out.end(), bytes.begin() + static_cast<ptrdiff_t>(at), bytes.end());
        return out;
    }

    MetaBytes Broadcast(const MetaBytes& bytes) const {
        constexpr size_t TIME = 338, VERSION = 346, LOUDNESS = 412, VALUES = 5;
        MetaBytes out = bytes;
        if (out.size() < LOUDNESS + 2 * VALUES) return out;
        const auto time = FromLittleEndian<uint64_t>(&out[TIME]);
        // A first sample at no time of the day is at none afterwards.
        if (time != 0) ToLittleEndian(&out[TIME], Scaled(time + m_r.start));
        const bool isMeasured = FromLittleEndian<uint16_t>(&out[VERSION]) >= BroadcastInfo::VERSION;
        if (isMeasured && (m_r.changesLevel || IsPart()))
            for (size_t i = 0; i < VALUES; i++)
                ToLittleEndian(&out[LOUDNESS + 2 * i], static_cast<uint16_t>(BroadcastInfo::NO_LOUDNESS));
        return out;
    }

    MetaBytes Ixml(const MetaBytes& bytes) const {
        IxmlContent content;
        std::string error;
        if (!ExtractIxmlContent(bytes, &content, &error)) return bytes;
        const std::string speed = "SPEED.", midnight = speed + "TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_";
        std::map<std::string, uint64_t> numbers;
        for (const IxmlValue& value : content.Values()) {
            uint64_t number = 0;
            const char* end = value.text.data() + value.text.size();
            if (std::from_chars(value.text.data(), end, number).ptr == end) numbers[value.path] = number;
        }
        bool changes = false;
        const auto set = [&](const std::string& path, uint64_t number) {
            if (!numbers.contains(path) || numbers[path] == number) return;
            changes = content.Set(path, std::to_string(number)) || changes;
        };
        if (m_r.toRate && m_r.fromRate != m_r.toRate)
            for (const char* name : {"FILE_SAMPLE_RATE", "TIMESTAMP_SAMPLE_RATE"})
                set(speed + name, m_r.toRate);
        const uint64_t time = numbers[midnight + "HI"] << 32 | numbers[midnight + "LO"];
        if (time != 0) {
            const uint64_t moved = Scaled(time + m_r.start);
            set(midnight + "HI", moved >> 32);
            set(midnight + "LO", moved & UINT32_MAX);
        }
        return changes ? content.Bytes() : bytes;
    }

    MetaDocument& m_document;
    const MetaRetiming& m_r;
    const double m_factor;
    std::map<uint32_t, uint32_t> m_positions;  ///< of the markers as they were
};

}  // namespace

void RetimeMetadata(MetaDocument& document, const MetaRetiming& retiming) {
    Retimer(document, retiming).Run();
}

}  // namespace tarn
