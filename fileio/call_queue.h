// What other threads have the connection's thread do, while they wait for what comes of it. The message
// library has an executor for that, whose lock the thread sanitizer does not see: to it, every call would be
// a race.
#pragma once

#include "platform/types.h"

#include <kj/async-io.h>
#include <kj/async-unix.h>
#include <kj/function.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace tarn {

class CallQueue final : private kj::TaskSet::ErrorHandler {
public:
    using Work = kj::Function<kj::Promise<HRESULT>()>;

    /// `failed` makes a code of what work throws, on the thread of Serve.
    explicit CallQueue(kj::Function<HRESULT(const kj::Exception&)> failed);
    ~CallQueue();
    CallQueue(const CallQueue&) = delete;
    CallQueue& operator=(const CallQueue&) = delete;

    /// Between the start of Serve and Stop: has `work` done in the order of the calls, and waits until what
    /// it promises is there. [any thread but that of Serve]
    HRESULT Run(Work work);

    /// Lets go of what belongs to the thread of Serve there, after the calls before it. The caller has no
    /// other reference, and does not wait. [any-thread]
    void Drop(std::shared_ptr<void> kept);

    /// Does what is asked for until it is stopped.
    void Serve(kj::AsyncIoContext& io);
    /// After the last call has come back, or where there is no Serve. [any-thread]
    void Stop();

private:
    struct Call {
        explicit Call(Work& given) : work(given) {}
        Work& work;
        HRESULT result = S_OK;
        bool isDone = false;
        std::condition_variable done;
    };
    struct Entry {  ///< one or the other
        Call* call;
        std::shared_ptr<void> dropped;
    };
    void Add(Entry entry);
    kj::Promise<void> Begin(Call& call);
    void Finish(Call& call, HRESULT result);
    void taskFailed(kj::Exception&&) override {}  // told by Begin

    const int m_wake;
    kj::Function<HRESULT(const kj::Exception&)> m_failed;
    std::mutex m_lock;
    std::vector<Entry> m_entries;  ///< under m_lock, as the calls themselves
    bool m_isStopped = false;      ///< under m_lock
};

}  // namespace tarn
