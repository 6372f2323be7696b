// Messages from a thread that must not wait to one that may.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace tarn {

/// One writer, one reader; messages stay whole.
class ByteRing {
public:
    explicit ByteRing(size_t capacity) : m_bytes(capacity) {}

    /// False when there is no room: the message is lost.
    bool Write(std::span<const uint8_t> message) {
        const size_t write = m_write.load(std::memory_order_relaxed);
        const size_t read = m_read.load(std::memory_order_acquire);
        const auto size = static_cast<uint32_t>(message.size());
        const size_t room = m_bytes.size() - (write - read);
        if (message.size() > UINT32_MAX || room < sizeof size || room - sizeof size < message.size())
            return false;
        Put(write, &size, sizeof size);
        Put(write + sizeof size, message.data(), message.size());
        m_write.store(write + sizeof size + message.size(), std::memory_order_release);
        return true;
    }
    /// False when there is none.
    bool Read(std::vector<uint8_t>& message) {
        const size_t read = m_read.load(std::memory_order_relaxed);
        if (read == m_write.load(std::memory_order_acquire)) return false;
        uint32_t size = 0;
        Get(read, &size, sizeof size);
        message.resize(size);
        Get(read + sizeof size, message.data(), size);
        m_read.store(read + sizeof size + size, std::memory_order_release);
        return true;
    }

private:
    // Positions count on for ever; a place is what is left by the capacity.
    void Put(size_t at, const void* from, size_t size) {
        const auto* bytes = static_cast<const uint8_t*>(from);
        for (size_t i = 0; i < size; i++) m_bytes[(at + i) % m_bytes.size()] = bytes[i];
    }
    void Get(size_t at, void* to, size_t size) const {
        auto* bytes = static_cast<uint8_t*>(to);
        for (size_t i = 0; i < size; i++) bytes[i] = m_bytes[(at + i) % m_bytes.size()];
    }

    std::vector<uint8_t> m_bytes;
    std::atomic<size_t> m_read{0}, m_write{0};
};

}  // namespace tarn
