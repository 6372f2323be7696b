// The audio thread must not allocate, free, lock, wait or touch files. This program replaces the functions
// that would do so and counts the calls that come from inside Render.
#include "tests/host/engine_fixture.h"
#include "tests/host/test_effects.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/types.h>

namespace {

thread_local bool t_rendering = false;
std::atomic<int> g_faults{0};
std::atomic<const char*> g_last{""};

void Note(const char* what) {
    if (!t_rendering) return;
    g_faults++;
    g_last = what;
}

template <class F>
F* Next(const char* name) {
    return reinterpret_cast<F*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void __libc_free(void*);

void* malloc(size_t n) {
    Note("malloc");
    return __libc_malloc(n);
}
void* calloc(size_t n, size_t size) {
    Note("calloc");
    return __libc_calloc(n, size);
}
void* realloc(void* p, size_t n) {
    Note("realloc");
    return __libc_realloc(p, n);
}
void free(void* p) {
    Note("free");
    __libc_free(p);
}
int pthread_mutex_lock(pthread_mutex_t* m) {
    Note("pthread_mutex_lock");
    static auto* const next = Next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    return next(m);
}
int pthread_cond_wait(pthread_cond_t* c, pthread_mutex_t* m) {
    Note("pthread_cond_wait");
    static auto* const next = Next<int(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
    return next(c, m);
}
int pthread_cond_signal(pthread_cond_t* c) {
    Note("pthread_cond_signal");
    static auto* const next = Next<int(pthread_cond_t*)>("pthread_cond_signal");
    return next(c);
}
int nanosleep(const timespec* t, timespec* left) {
    Note("nanosleep");
    static auto* const next = Next<int(const timespec*, timespec*)>("nanosleep");
    return next(t, left);
}
ssize_t read(int fd, void* to, size_t n) {
    Note("read");
    static auto* const next = Next<ssize_t(int, void*, size_t)>("read");
    return next(fd, to, n);
}
ssize_t write(int fd, const void* from, size_t n) {
    Note("write");
    static auto* const next = Next<ssize_t(int, const void*, size_t)>("write");
    return next(fd, from, n);
}
}

namespace host {
namespace {

using namespace test;

TEST(RealTime, TheWatchSeesWhatItShould) {
    t_rendering = true;
    free(malloc(10));
    std::mutex mutex;
    mutex.lock();
    t_rendering = false;
    mutex.unlock();
    EXPECT_EQ(g_faults.exchange(0), 3);
}

// Playing, loops, jumps, stops, changes of levels, of the graph and of the streams, meters, a late disk.
TEST(RealTime, RenderNeitherAllocatesNorLocks) {
    const TempFolder folder;
    for (ChannelId id : {10, 11, 12})
        WriteWave(folder / (std::to_string(id) + ".wav"), id == 12 ? 44100 : 48000, 2, 96000,
                  [](int64_t i, int) { return Mark(i); });
    EngineOptions options;
    options.effects = std::make_shared<TestEffects>();
    options.threads = 2;
    HandEngine engine(options);
    const auto pull = [&](size_t frames, bool wait = true) {
        static std::vector<float> left(4096), right(4096);
        if (wait) engine.WaitForData(frames);
        float* const sides[] = {left.data(), right.data()};
        DeviceClient* client = engine.Device()->Client();
        t_rendering = true;
        client->Render({}, sides, frames);
        t_rendering = false;
        EXPECT_EQ(g_faults.exchange(0), 0) << g_last.load();
    };
    engine->SetSession(TracksSession({10, 12}, 2), folder.Path());
    pull(512);
    engine->Play();
    for (int i = 0; i < 120; i++) {
        Session session =
            TracksSession(i % 2 ? std::vector<ChannelId>{10, 11, 12} : std::vector<ChannelId>{12, 10}, 2);
        session.channels[2].fader_db = -i;
        session.mode = i % 40 < 20 ? ChannelMode::Stereo : ChannelMode::Surround51;
        session.channels.push_back({.id = 30, .kind = ChannelKind::Fx, .output = kMaster});
        session.channels[2].sends = {{1, 30}};
        session.channels[2].inserts = {{2, i % 8 < 4 ? "urn:late:500" : "urn:nan"}};
        session.channels[3].automation_mode = AutomationMode::Read;
        session.channels[3].automation = {{{AutomationTarget::Volume}, {{0, 0}, {0.2, -20}}}};
        session.channels[3].solo = i % 3 == 0;
        session.loop = {0.1, 0.3, i % 10 < 5};
        if (i % 4 == 0)
            engine->SetSession(session, folder.Path());
        else
            engine->SetLevels(session.channels);
        if (i % 30 == 7) engine->Locate(0.5);
        if (i % 30 == 13) engine->Stop();
        if (i % 30 == 16) engine->Play();
        if (i % 5 == 0) engine.WaitForDisk();
        pull(512, i < 100);
        engine->TakeMeters();
    }
    EXPECT_GT(engine->Transport().frame, 0);
}

}  // namespace
}  // namespace host
