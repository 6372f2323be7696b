// A file as it is after a plan, which stays as it is meanwhile.
#pragma once

#include "mediafile/byte_source.h"
#include "mediafile/repair.h"

namespace tarn {

class EditedSource : public ByteSource {
public:
    /// Both outlive this.
    EditedSource(const ByteSource& source, const std::vector<MediaEdit>& edits) : m_source(source) {
        uint64_t from = 0;
        for (const MediaEdit& edit : edits) {
            Add({&edit, from, edit.offset - from});
            from = edit.offset + edit.removed;
        }
        Add({nullptr, from, source.Size() - std::min(from, source.Size())});
    }
    uint64_t Size() const override { return m_size; }
    uint32_t ReadSome(uint64_t at, void* bytes, uint32_t count) const override {
        auto* out = static_cast<uint8_t*>(bytes);
        uint32_t done = 0;
        for (const Piece& piece : m_pieces) {
            if (done < count && at < piece.length) {
                const auto part = static_cast<uint32_t>(std::min<uint64_t>(piece.length - at, count - done));
                const uint32_t got = m_source.ReadSome(piece.from + at, out + done, part);
                done += got;
                if (got < part) return done;
            }
            at -= std::min(at, piece.length);
            const uint64_t literal = piece.edit ? piece.edit->bytes.size() : 0;
            if (done < count && at < literal) {
                const auto part = static_cast<uint32_t>(std::min<uint64_t>(literal - at, count - done));
                std::copy_n(piece.edit->bytes.begin() + static_cast<ptrdiff_t>(at), part, out + done);
                done += part;
            }
            at -= std::min(at, literal);
        }
        return done;
    }

private:
    /// Bytes of the file and then those of an edit.
    struct Piece {
        const MediaEdit* edit;
        uint64_t from, length;
    };
    void Add(const Piece& piece) {
        m_pieces.push_back(piece);
        m_size += piece.length + (piece.edit ? piece.edit->bytes.size() : 0);
    }

    const ByteSource& m_source;
    std::vector<Piece> m_pieces;
    uint64_t m_size = 0;
};

}  // namespace tarn
