#include "platform/ui/mailbox.h"

#include <QCoreApplication>
#include <QEvent>

int Mailbox::WakeEvent() {
    static const int type = QEvent::registerEventType();
    return type;
}

// Under m_lock, which the window takes to close the box: the target cannot die in between.
void Mailbox::Wake() {
    if (m_wakeSent) return;
    m_wakeSent = true;
    QCoreApplication::postEvent(m_target, new QEvent(static_cast<QEvent::Type>(WakeEvent())));
}

bool Mailbox::Post(const PostedMessage& message) {
    std::lock_guard lock(m_lock);
    if (!m_target) return false;
    m_posted.push_back(message);
    Wake();
    return true;
}

void Mailbox::OnWake() {
    if (m_next == m_taken.size()) {
        m_taken.clear();
        m_next = 0;
    }
    std::lock_guard lock(m_lock);
    m_wakeSent = false;
    if (m_taken.empty()) {
        std::swap(m_taken, m_posted);
    } else {
        m_taken.insert(m_taken.end(), m_posted.begin(), m_posted.end());
        m_posted.clear();
    }
}

bool Mailbox::Take(PostedMessage& out) {
    if (m_next == m_taken.size()) return false;
    out = m_taken[m_next++];
    if (m_next < m_taken.size()) {
        std::lock_guard lock(m_lock);
        if (m_target) Wake();
    }
    return true;
}

void Mailbox::Close() {
    {
        std::lock_guard lock(m_lock);
        m_target = nullptr;
        m_posted.clear();
    }
    m_taken.clear();
    m_next = 0;
}
