#include "mediafile/meta/meta_carry.h"

#include "mediafile/meta/big_endian.h"
#include "mediafile/meta/broadcast.h"
#include "mediafile/meta/meta_records.h"
#include "mediafile/meta/meta_retime.h"
#include "mediafile/meta/meta_values.h"
#include "mediafile/meta/side_file.h"
#include "platform/guarded.h"

#include <algorithm>

namespace tarn {

namespace {

struct TextPair {
    const char *info, *aiff;
};
constexpr TextPair SHARED_TEXTS[] = {{"INAM", "NAME"}, {"IART", "AUTH"}, {"ICOP", "(c) "}, {"ICMT", "ANNO"}};
constexpr size_t MOST_AIFF_NAME = 255;

class Carrier {
public:
    Carrier(const MetaDocument& from, MediaContainer to) : m_from(from) { m_out.document.container = to; }

    MetaCarried Carry() {
        const bool fromAiff = IsAiff(m_from.container), toAiff = IsAiff(m_out.document.container);
        for (const MetaBlock& block : m_from.blocks) {
            if (fromAiff == toAiff)
                Keep(block);
            else if (toAiff)
                ToAiff(block);
            else
                FromAiff(block);
        }
        return std::move(m_out);
    }

private:
    void Lose(const MetaBlock& block, const std::string& reason) {
        m_out.losses.push_back({block.id, reason});
        if (m_out.lost.empty() || m_out.lost.back().id != block.id) m_out.lost.push_back(block);
    }
    void Add(const std::string& id, MetaBytes payload) {
        m_out.document.blocks.push_back({id, std::move(payload), MetaBlock::NEW, true});
    }
    void Keep(const MetaBlock& block) {
        if (m_from.container == MediaContainer::Rifx && !IsBigEndianKnown(block.id))
            return Lose(block, "where it has numbers in big-endian order is not known");
        const MetaBlock same{block.id, block.payload, MetaBlock::NEW, true};
        if (MetaChunkBytes(m_out.document.container, same).empty())
            return Lose(block,
                        "a label of Wave64 has no place in " + std::string(NameOf(m_out.document.container)));
        m_out.document.blocks.push_back(same);
    }

    void ToAiff(const MetaBlock& block) {
        if (block.id == "LIST:INFO") return Texts(block);
        if (block.id == "cue ") return Markers(block);
        if (block.id == "LIST:adtl") return;  // with the markers
        if (block.id == "inst") return Instrument(block);
        if (block.id == "id3 ") return Add("ID3 ", block.payload);
        if (block.id.starts_with("LIST:")) return Lose(block, "AIFF has no lists");
        Keep(block);
    }
    void Texts(const MetaBlock& block) {
        std::string others;
        ForEachChunk(block.payload, [&](uint32_t id, std::span<const uint8_t> payload) {
            for (const TextPair& pair : SHARED_TEXTS)
                if (std::memcmp(&id, pair.info, 4) == 0) {
                    const std::string text = AnsiUpToZero(payload);
                    return Add(pair.aiff, {text.begin(), text.end()});
                }
            others += (others.empty() ? "" : ", ") + std::string(reinterpret_cast<const char*>(&id), 4);
        });
        if (!others.empty()) Lose(block, "AIFF has no text for " + others);
    }
    void Markers(const MetaBlock& block) {
        const std::vector<MediaCue> cues = MetaCues(m_from);
        const MetaBlock* labels = m_from.Find("LIST:adtl");
        if (!cues.empty()) Add("MARK", AiffMarkerBytes(cues));
        const auto any = [&](auto is) { return std::ranges::any_of(cues, is); };
        std::string reason;
        if (any([](const MediaCue& c) { return c.length.has_value(); })) reason = "lengths of regions";
        if (any([](const MediaCue& c) { return !c.note.empty(); }))
            reason += (reason.empty() ? "" : ", ") + std::string("notes");
        if (any([](const MediaCue& c) { return c.label.size() > MOST_AIFF_NAME; }))
            reason += (reason.empty() ? "" : ", ") + std::string("what labels have beyond 255 bytes");
        if (reason.empty()) return;
        Lose(block, "AIFF has markers without " + reason);
        if (labels) m_out.lost.push_back(*labels);
    }
    void Instrument(const MetaBlock& block) {
        constexpr size_t INST = 7;
        if (block.payload.size() < INST) return Lose(block, "it is too short");
        const uint8_t* p = block.payload.data();
        MetaWriter inst;
        inst.Put(p[0]).Put(p[1]).Put(p[3]).Put(p[4]).Put(p[5]).Put(p[6]);
        inst.PutBig(static_cast<int16_t>(static_cast<int8_t>(p[2])));
        inst.Raw("\0\0\0\0\0\0\0\0\0\0\0\0", 12);  // no loops
        Add("INST", std::move(inst.Bytes()));
    }

    void FromAiff(const MetaBlock& block) {
        for (const TextPair& pair : SHARED_TEXTS)
            if (block.id == pair.aiff) return Text(block, pair.info);
        if (block.id == "MARK") return SetMetaCues(m_out.document, MetaCues(m_from));
        if (block.id == "INST") return AiffInstrument(block);
        if (block.id == "ID3 ") return Add("id3 ", block.payload);
        if (block.id == "COMT") return Lose(block, "comments with a time have no place in a wave");
        Keep(block);
    }
    void Text(const MetaBlock& block, const char* id) {
        MetaBytes list = m_out.document.PayloadOf("LIST:INFO");
        bool isThere = false;
        ForEachChunk(list, [&](uint32_t item, std::span<const uint8_t>) {
            isThere = isThere || std::memcmp(&item, id, 4) == 0;
        });
        if (isThere) return Lose(block, "the summary of a wave has one text of a kind");
        MetaBytes text = block.payload;
        text.push_back(0);
        MetaWriter item;
        item.Chunk(FromLittleEndian<uint32_t>(reinterpret_cast<const uint8_t*>(id)), text);
        list.insert(list.end(), item.Bytes().begin(), item.Bytes().end());
        m_out.document.Set("LIST:INFO", std::move(list));
    }
    void AiffInstrument(const MetaBlock& block) {
        constexpr size_t INST = 20;
        if (block.payload.size() < INST) return Lose(block, "it is too short");
        const uint8_t* p = block.payload.data();
        const auto gain = static_cast<int16_t>(FromBigEndian<uint16_t>(p + 6));
        const MetaBytes inst = {
            p[0], p[1], static_cast<uint8_t>(std::clamp<int16_t>(gain, -128, 127)), p[2], p[3], p[4], p[5]};
        Add("inst", inst);
        if (std::any_of(p + 8, p + INST, [](uint8_t b) { return b != 0; }))
            Lose(block, "the loops of an AIFF instrument have no place in 'inst'");
    }

    const MetaDocument& m_from;
    MetaCarried m_out;
};

}  // namespace

MetaCarried CarryMetadata(const MetaDocument& from, MediaContainer to) { return Carrier(from, to).Carry(); }

HRESULT CarryMetadata(HQMFILE from, HQMFILE to, std::vector<MetaLoss>* losses, std::string* refusal) {
    const FileSource source(from), target(to);
    const MediaContents there = InspectMedia(source), here = InspectMedia(target);
    MetaCarried carried = CarryMetadata(ReadMetaDocument(source, there), here.container);
    RetimeMetadata(carried.document, {there.format.format.sampleRate, here.format.format.sampleRate});
    *losses = std::move(carried.losses);
    const MetaEditPlan plan = PlanMetaEdit(target, here, carried.document);
    *refusal = plan.refusal;
    return plan.IsRefused() ? MEDIA_E_MALFORMED : ApplyMetaEdit(to, plan);
}

HRESULT WriteLostMetadata(const char16_t* targetPath, std::span<const MetaBlock> lost) {
    const auto write = [lost](HQMFILE file) {
        MetaForm form(file, false);
        for (const MetaBlock& block : lost) {
            const bool isList = block.id.starts_with("LIST:");
            const std::string id = isList ? block.id.substr(5) : block.id.substr(0, 4);
            const auto code = FromLittleEndian<uint32_t>(reinterpret_cast<const uint8_t*>(id.data()));
            // What an earlier run wrote there is out of date.
            while (Succeeded(riff_DeleteChunk(file, code, nullptr, isList))) {
            }
            // A label goes with its text before the bytes.
            MetaBytes payload = block.payload;
            if (block.id.size() == 38) payload.insert(payload.begin(), block.id.begin(), block.id.end());
            const HRESULT hr = form.Append(block.id.size() == 38 ? FourCC("guid") : code, isList, payload);
            if (Failed(hr)) return hr;
        }
        return S_OK;
    };
    return Guarded([&] { return RewriteSideFile(targetPath, write); });
}

}  // namespace tarn
