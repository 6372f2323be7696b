#include "host/engine/midi_whole.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace host {

namespace {

class WholeFile {
public:
    explicit WholeFile(std::string_view bytes) : m_bytes(bytes) {}

    bool Check() {
        std::string_view header;
        if (!Chunk("MThd", header) || header.size() != 6) return false;
        const auto byte = [&](size_t i) { return static_cast<uint8_t>(header[i]); };
        const int format = byte(0) << 8 | byte(1), tracks = byte(2) << 8 | byte(3);
        if (format > 1 || tracks < 1 || (format == 0 && tracks != 1)) return false;
        if (byte(4) >= 0x80 || (byte(4) | byte(5)) == 0) return false;
        for (int i = 0; i < tracks; i++) {
            std::string_view track;
            if (!Chunk("MTrk", track) || !WholeTrack(track).Check()) return false;
        }
        return m_bytes.empty();
    }

private:
    class WholeTrack {
    public:
        explicit WholeTrack(std::string_view bytes) : m_bytes(bytes) {}

        // Events up to the end that is the last of them.
        bool Check() {
            uint8_t running = 0;
            while (!m_bytes.empty()) {
                uint32_t delta = 0;
                if (!Number(delta) || (m_ticks += delta) > INT32_MAX || m_bytes.empty()) return false;
                auto status = static_cast<uint8_t>(m_bytes[0]);
                if (status >= 0x80)
                    m_bytes.remove_prefix(1);
                else
                    status = running;
                if (status == 0xFF) {
                    if (m_bytes.empty()) return false;
                    const auto type = static_cast<uint8_t>(m_bytes[0]);
                    m_bytes.remove_prefix(1);
                    uint32_t length = 0;
                    if (type >= 0x80 || !Number(length) || !Meta(type, length)) return false;
                    if (type == 0x2F) return m_bytes.empty();
                } else if (status == 0xF0) {
                    uint32_t length = 0;
                    if (!Number(length) || length == 0 || !Skip(length)) return false;
                } else if (status >= 0x80 && status < 0xF0) {
                    running = status;
                    if (!Data((status & 0xE0) == 0xC0 ? 1 : 2)) return false;
                } else {
                    return false;  // escapes (0xF7) too: the library stops at each
                }
            }
            return false;
        }

    private:
        bool Skip(size_t n) {
            if (m_bytes.size() < n) return false;
            m_bytes.remove_prefix(n);
            return true;
        }
        bool Data(size_t n) {
            if (m_bytes.size() < n) return false;
            for (size_t i = 0; i < n; i++)
                if (static_cast<uint8_t>(m_bytes[i]) >= 0x80) return false;
            return Skip(n);
        }
        // Those that the library looks into have their fixed lengths, and a tempo is above 0.
        bool Meta(uint8_t type, size_t length) {
            constexpr std::pair<uint8_t, size_t> fixed[] = {{0x2F, 0}, {0x51, 3}, {0x58, 4}, {0x59, 2}};
            for (const auto& [known, size] : fixed)
                if (type == known && length != size) return false;
            if (m_bytes.size() < length) return false;
            const std::string_view data = m_bytes.substr(0, length);
            if (type == 0x51 && data.find_first_not_of('\0') == std::string_view::npos) return false;
            if (type == 0x58 && static_cast<uint8_t>(data[1]) > 16) return false;
            return Skip(length);
        }
        bool Number(uint32_t& value) {
            for (size_t i = 0; i < 4 && i < m_bytes.size(); i++) {
                const auto byte = static_cast<uint8_t>(m_bytes[i]);
                value = value << 7 | (byte & 0x7F);
                if (byte < 0x80) return Skip(i + 1);
            }
            return false;
        }

        std::string_view m_bytes;
        uint64_t m_ticks = 0;
    };

    bool Chunk(std::string_view name, std::string_view& content) {
        if (m_bytes.size() < 8 || !m_bytes.starts_with(name)) return false;
        size_t length = 0;
        for (size_t i = 4; i < 8; i++) length = length << 8 | static_cast<uint8_t>(m_bytes[i]);
        if (m_bytes.size() - 8 < length) return false;
        content = m_bytes.substr(8, length);
        m_bytes.remove_prefix(8 + length);
        return true;
    }

    std::string_view m_bytes;
};

}  // namespace

bool IsWholeMidiFile(std::string_view bytes) { return WholeFile(bytes).Check(); }

}  // namespace host
