#include "fileio/call_queue.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace tarn {

CallQueue::CallQueue(kj::Function<HRESULT(const kj::Exception&)> failed)
    : m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_failed(kj::mv(failed)) {
    if (m_wake < 0) throw std::system_error(errno, std::generic_category());
}

CallQueue::~CallQueue() { ::close(m_wake); }

HRESULT CallQueue::Run(Work work) {
    Call call(work);
    Add({&call, nullptr});
    std::unique_lock lock(m_lock);
    call.done.wait(lock, [&] { return call.isDone; });
    return call.result;
}

void CallQueue::Drop(std::shared_ptr<void> kept) { Add({nullptr, std::move(kept)}); }

void CallQueue::Add(Entry entry) {
    const std::lock_guard lock(m_lock);
    m_entries.push_back(std::move(entry));
    ::eventfd_write(m_wake, 1);
}

void CallQueue::Stop() {
    const std::lock_guard lock(m_lock);
    m_isStopped = true;
    ::eventfd_write(m_wake, 1);
}

void CallQueue::Serve(kj::AsyncIoContext& io) {
    kj::UnixEventPort::FdObserver wake(io.unixEventPort, m_wake, kj::UnixEventPort::FdObserver::OBSERVE_READ);
    kj::TaskSet running(static_cast<kj::TaskSet::ErrorHandler&>(*this));
    for (;;) {
        // Only the change from zero is told, so that it is made zero before it is looked at what there is.
        eventfd_t count = 0;
        ::eventfd_read(m_wake, &count);
        std::vector<Entry> entries;
        bool isStopped = false;
        {
            const std::lock_guard lock(m_lock);
            entries.swap(m_entries);
            isStopped = m_isStopped;
        }
        for (Entry& entry : entries) {
            if (entry.call) running.add(Begin(*entry.call));
            entry.dropped.reset();
        }
        if (isStopped) return;
        wake.whenBecomesReadable().wait(io.waitScope);
    }
}

kj::Promise<void> CallQueue::Begin(Call& call) {
    return kj::evalNow([&] { return call.work(); })
        .then([&](HRESULT result) { Finish(call, result); },
              [&](kj::Exception&& e) { Finish(call, m_failed(e)); });
}

void CallQueue::Finish(Call& call, HRESULT result) {
    const std::lock_guard lock(m_lock);
    call.result = result;
    call.isDone = true;
    call.done.notify_one();  // still under the lock: the call goes with its thread's return
}

}  // namespace tarn
