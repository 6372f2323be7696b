// Posts to a window from any thread. Messages wait in a vector of our own; one payload-free event wakes the
// window, so that thousands of posts between two turns of the event loop cost one event.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

class QObject;

struct PostedMessage {
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
};

class Mailbox {
public:
    /// `target` receives an event of type WakeEvent() in its thread whenever something may wait.
    explicit Mailbox(QObject* target) : m_target(target) {}

    static int WakeEvent();

    /// False when the window is gone. [any-thread]
    bool Post(const PostedMessage& message);

    /// On the wake event: makes what was posted until now ready for Take. [window's thread]
    void OnWake();
    /// Takes the oldest message; messages are taken in the order of their posts, in nested event loops too,
    /// for a wake event is on its way whenever more wait after this one. [window's thread]
    bool Take(PostedMessage& out);

    /// The window is going away: what waits is dropped, and later posts are refused. [window's thread]
    void Close();

private:
    void Wake();

    std::mutex m_lock;
    QObject* m_target;                    // under m_lock
    std::vector<PostedMessage> m_posted;  // under m_lock
    bool m_wakeSent = false;              // under m_lock

    std::vector<PostedMessage> m_taken;  // window's thread only, consumed from m_next on
    size_t m_next = 0;
};

/// What another thread holds instead of a window: stays valid, and harmless, after the window's death.
/// [any-thread]
class MessagePoster {
public:
    MessagePoster() = default;
    explicit MessagePoster(std::shared_ptr<Mailbox> box) : m_box(std::move(box)) {}

    /// False when there is no window, or no longer.
    bool Post(uint32_t message, uintptr_t wparam = 0, intptr_t lparam = 0) const {
        return m_box && m_box->Post({message, wparam, lparam});
    }

private:
    std::shared_ptr<Mailbox> m_box;
};
