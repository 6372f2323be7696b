#include "mediafile/sample_extent.h"

#include "mediafile/chunk_chain.h"

namespace tarn {

namespace {

class ExtentFinder {
public:
    ExtentFinder(const ByteSource& source, const ChunkGrammar& g, const ExtentFacts& f)
        : m_source(source), m_g(g), m_f(f), m_length(source.Size()), m_there(m_length - f.samples) {}

    SampleExtent Find() {
        SampleExtent found = m_f.isSet && m_f.stored <= m_there ? FromStored() : WithoutStored();
        return m_f.counted == 0 ? found : WithCount(std::move(found));
    }

    SampleExtent UpTo(uint64_t bytes) const {
        bytes -= bytes % m_f.frame;
        const uint64_t end = EndOf(bytes);
        const ChunkChain behind = FollowChunks(m_source, m_g, end, m_length);
        const bool hasChunks = behind.kind == ChunkChain::Whole && behind.chunks > 0;
        return {bytes, hasChunks ? m_length : end, bytes != m_f.stored, {}};
    }

private:
    /// Behind the pad, if the file has one.
    uint64_t EndOf(uint64_t bytes) const { return std::min(m_f.samples + m_g.Padded(bytes), m_length); }

    SampleExtent ToEnd() const {
        const uint64_t bytes = m_there - m_there % m_f.frame;
        return {bytes, EndOf(bytes), bytes != m_f.stored, {}};
    }
    SampleExtent Kept(uint64_t formEnd) const { return {m_f.stored, formEnd, false, {}}; }
    SampleExtent Unclear(const std::string& why, uint64_t end) const {
        return {std::min(m_f.stored, m_there), m_f.formEnd, false,
                why + "; the samples end at " + std::to_string(end) + " or at " + std::to_string(m_length) +
                    ", the end of the file"};
    }

    /// The form reaches to the end of the file, with or without a last pad.
    bool FormIsWhole() const { return m_f.formEnd == m_length || m_f.formEnd == m_length + 1; }

    SampleExtent ToEndUnlessChunksTrail() const {
        if (FormIsWhole())
            if (const auto at = FindTrailingChunks(m_source, m_g, m_f.samples))
                return Unclear("what lies at " + std::to_string(*at) + " reads as chunks behind the samples",
                               *at);
        return ToEnd();
    }

    /// Never completed, or more than the file has.
    SampleExtent WithoutStored() const {
        if (m_there < m_f.frame) return {0, m_f.samples, m_f.stored != 0, {}};
        if (m_f.stored == 0)
            for (const uint64_t end : {m_length, m_f.formEnd}) {
                if (end <= m_f.samples || end > m_length) continue;
                if (FollowChunks(m_source, m_g, m_f.samples, end).kind == ChunkChain::Whole)
                    return Unclear("the header tells of no samples, and what follows reads as chunks",
                                   m_f.samples);
            }
        return ToEndUnlessChunksTrail();
    }

    /// The last frame is cut by the size and not by the file.
    bool CutsAFrame() const {
        const uint64_t part = m_f.stored % m_f.frame;
        return part != 0 && m_f.stored - part + m_f.frame <= m_there;
    }
    /// Behind what pads the samples; a pad that is not of zeros is none.
    uint64_t EndOfStored() const {
        const uint64_t from = m_f.samples + m_f.stored, end = EndOf(m_f.stored);
        uint8_t bytes[8] = {};
        if (!m_source.Read(from, bytes, static_cast<uint32_t>(end - from))) return end;
        return std::any_of(bytes, bytes + sizeof bytes, [](uint8_t b) { return b != 0; }) ? from : end;
    }
    /// The form ends where the chunks do.
    bool SizesAgree(uint64_t end) const {
        if (m_f.formEnd == m_f.samples + m_f.stored && end >= m_f.formEnd) return true;
        return m_f.formEnd >= end && m_f.formEnd <= m_length &&
               FollowChunks(m_source, m_g, end, m_f.formEnd).kind == ChunkChain::Whole;
    }

    SampleExtent FromStored() const {
        if (const uint64_t padded = EndOf(m_f.stored); SizesAgree(padded)) {
            const uint64_t left = m_length - std::max(m_f.formEnd, padded);
            if (left < std::max<uint64_t>(m_f.frame, m_g.multiple) && !(left && CutsAFrame()))
                return Kept(m_f.formEnd);
            return Unclear("the sizes agree with each other, and " + std::to_string(left) +
                               " bytes follow that they do not count",
                           m_f.formEnd);
        }
        const uint64_t end = EndOfStored(), behind = m_length - end;
        if (behind == 0 && !CutsAFrame()) return Kept(m_length);
        const ChunkChain chain = FollowChunks(m_source, m_g, end, m_length);
        if (behind && chain.kind == ChunkChain::Whole && chain.isConvincing) return Kept(m_length);
        // A file that was cut within the chunks behind the samples: its form's size is that of the whole.
        const bool isCutThere = chain.kind == ChunkChain::Cut &&
                                (chain.toldEnd == m_f.formEnd || m_g.Padded(chain.toldEnd) == m_f.formEnd);
        if (isCutThere) return Kept(chain.wholeEnd);
        if (CutsAFrame()) return ToEndUnlessChunksTrail();
        if (chain.kind == ChunkChain::Whole ||
            (chain.isConvincing && (chain.chunks || chain.kind == ChunkChain::Cut)))
            return Unclear("what follows the samples reads as chunks, and the sizes do not agree", end);
        if (m_there - m_f.stored < m_f.frame) return Kept(end);
        if (m_f.formEnd < m_length)
            return Unclear("what follows the samples is no chunk, and the sizes do not agree", end);
        if (m_f.formEnd > m_length && behind < m_g.header && BeginsAnId(end, behind))
            return Unclear("what follows the samples may be the beginning of a chunk", end);
        return ToEndUnlessChunksTrail();
    }

    /// The few bytes are those that a known id begins with.
    bool BeginsAnId(uint64_t at, uint64_t count) const {
        uint8_t header[24] = {};
        if (!m_source.Read(at, header, static_cast<uint32_t>(count))) return false;
        return count < 4 ? header[0] >= ' ' && header[0] <= '~' : m_g.IsKnown(header);
    }

    /// Where frames are counted, too: the count decides what the sizes leave open, and a contradiction
    /// between the two is not ours to decide.
    SampleExtent WithCount(SampleExtent found) const {
        const uint64_t counted = m_f.counted, bytes = found.bytes - found.bytes % m_f.frame;
        if (counted > m_there || (counted == bytes && found.unclear.empty())) return found;
        const uint64_t end = EndOf(counted);
        const ChunkChain chain = FollowChunks(m_source, m_g, end, m_length);
        const bool endsWell =
            m_length - end < m_f.frame || (chain.kind == ChunkChain::Whole && chain.isConvincing);
        const bool isKept = found.unclear.empty() && !found.isChanged;
        if (isKept && (counted < bytes || endsWell))
            return Unclear("the number of frames and the size of the samples' chunk do not agree",
                           m_f.samples + std::min(counted, bytes));
        if (!isKept && endsWell)
            return {counted, m_length - end < m_f.frame ? end : m_length, counted != m_f.stored, {}};
        return found;
    }

    const ByteSource& m_source;
    const ChunkGrammar& m_g;
    const ExtentFacts& m_f;
    const uint64_t m_length, m_there;
};

}  // namespace

SampleExtent FindSampleExtent(const ByteSource& source, const ChunkGrammar& g, const ExtentFacts& facts) {
    return ExtentFinder(source, g, facts).Find();
}

SampleExtent SampleExtentUpTo(const ByteSource& source, const ChunkGrammar& g, const ExtentFacts& facts,
                              uint64_t end) {
    end = std::clamp(end, facts.samples, source.Size());
    return ExtentFinder(source, g, facts).UpTo(end - facts.samples);
}

}  // namespace tarn
