// The latest of a few plain values, from a control thread to the audio thread. No locks; who reads while it
// is being written finds nothing new and sees it the next time.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace host {

template <class T>
class Mailbox {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) % sizeof(uint32_t) == 0);
    using Words = std::array<uint32_t, sizeof(T) / sizeof(uint32_t)>;

public:
    /// One control thread at a time.
    void Put(const T& value) {
        Words words;
        std::memcpy(words.data(), &value, sizeof value);
        const uint32_t version = m_version.load(std::memory_order_relaxed);
        if (version != 0 && words == m_last) return;
        m_last = words;
        m_version.store(version + 1, std::memory_order_relaxed);
        for (size_t i = 0; i < words.size(); i++) m_words[i].store(words[i], std::memory_order_release);
        m_version.store(version + 2, std::memory_order_release);
    }

    /// True and the value where one is there that has not been taken yet. [audio-thread]
    bool Take(T* value) {
        const uint32_t version = m_version.load(std::memory_order_acquire);
        if (version == m_taken || version % 2) return false;
        Words words;
        for (size_t i = 0; i < words.size(); i++) words[i] = m_words[i].load(std::memory_order_acquire);
        if (m_version.load(std::memory_order_relaxed) != version) return false;
        std::memcpy(static_cast<void*>(value), words.data(), sizeof *value);
        m_taken = version;
        return true;
    }

private:
    Words m_last{};  ///< the writer's
    std::array<std::atomic<uint32_t>, std::tuple_size_v<Words>> m_words{};
    std::atomic<uint32_t> m_version{0};
    uint32_t m_taken = 0;  ///< the reader's
};

}  // namespace host
