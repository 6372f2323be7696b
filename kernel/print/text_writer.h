// Output of the print engine: a place that takes as many characters as there is room for.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

class TextWriter {
public:
    /// `capacity` counts the terminator; with 0 nothing is ever written.
    TextWriter(char16_t* out, size_t capacity)
        : m_out(out), m_room(capacity ? capacity - 1 : 0), m_terminate(capacity != 0) {}

    /// Without a bound.
    static constexpr size_t UNBOUNDED = SIZE_MAX / 4;

    bool IsFull() const { return m_room == m_length; }
    size_t Room() const { return m_room - m_length; }
    size_t Length() const { return m_length; }

    void Put(char16_t c) {
        if (m_length < m_room) m_out[m_length++] = c;
    }
    void Put(std::u16string_view text) {
        const size_t count = std::min(text.size(), Room());
        if (count) std::memcpy(m_out + m_length, text.data(), count * sizeof(char16_t));
        m_length += count;
    }
    void Put(std::string_view ascii) {
        const size_t count = std::min(ascii.size(), Room());
        for (size_t i = 0; i < count; i++)
            m_out[m_length + i] = static_cast<char16_t>(static_cast<unsigned char>(ascii[i]));
        m_length += count;
    }
    void Fill(char16_t c, size_t count) {
        count = std::min(count, Room());
        std::fill_n(m_out + m_length, count, c);
        m_length += count;
    }
    /// Terminates what was written and returns its length.
    int32_t Finish() {
        if (m_terminate) m_out[m_length] = 0;
        return static_cast<int32_t>(std::min<size_t>(m_length, INT32_MAX));
    }

private:
    char16_t* m_out;
    size_t m_room;
    size_t m_length = 0;
    bool m_terminate;
};
