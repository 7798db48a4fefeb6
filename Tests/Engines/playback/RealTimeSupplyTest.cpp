// What a device calls allocates nothing, takes no lock and makes no system call.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "Engines/playback/Renderer.h"

// The sanitizers take these functions for themselves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

thread_local bool isWatched = false;
thread_local int forbiddenCalls = 0;

void noteCall() {
    forbiddenCalls += isWatched;
}

}  // namespace

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) {
    noteCall();
    return __libc_malloc(size);
}
void* realloc(void* memory, std::size_t size) {
    noteCall();
    return __libc_realloc(memory, size);
}
void* calloc(std::size_t count, std::size_t size) {
    noteCall();
    return __libc_calloc(count, size);
}
void free(void* memory) {
    noteCall();
    __libc_free(memory);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static auto* const real =
        reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    noteCall();
    return real(mutex);
}
}

namespace TWQuickTime::playback {
namespace {

/// Lets a process do nothing but end.
bool forbidSystemCalls() {
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
    };
    const sock_fprog program{sizeof(rules) / sizeof(rules[0]), rules};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

constexpr int kCannotForbid = 77;

/// Runs something in a process that may make no system call.
/// @return its wait status
template <class Work>
int statusWithoutSystemCalls(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        if (!forbidSystemCalls()) {
            _exit(kCannotForbid);
        }
        syscall(SYS_exit_group, work() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

/// Everything that happens on a device's side: joins, the end, late sound, volume ramps.
class DevicesSide {
  public:
    DevicesSide() {
        renderer_.prepare({2, 48000}, nullptr);
        renderer_.publish(take(4096, 4096, Take::kAtOnce));
        next_ = take(2000, 9000, 300);
        last_ = take(100, 100, Take::kAtOnce);
    }
    bool run() {
        supply(20);
        renderer_.publish(std::move(next_));
        renderer_.setGain(0.25f);
        supply(40);
        renderer_.publish(std::move(last_));
        supply(20);
        renderer_.skip(1000);
        return renderer_.takePeak() > 0;
    }

  private:
    static std::unique_ptr<Take> take(std::size_t ready, std::int64_t length,
                                      std::int64_t joinFrame) {
        auto made = std::make_unique<Take>(PlayPlan{0, {0, length}, false, {1, 1}}, 8192, 2);
        made->joinFrame = joinFrame;
        made->ring.write(std::vector<float>(ready * 2, 0.5f));
        return made;
    }
    void supply(int times) {
        for (int i = 0; i < times; ++i) {
            renderer_.supply(std::span(buffer_).first(std::size_t(2 * (i % 3 + 1) * 64)));
        }
    }

    Renderer renderer_;
    std::unique_ptr<Take> next_, last_;
    std::vector<float> buffer_ = std::vector<float>(1024);
};

TEST(RealTimeSupply, AllocatesNothingAndTakesNoLock) {
    DevicesSide side;
    isWatched = true;
    const bool worked = side.run();
    isWatched = false;
    EXPECT_TRUE(worked);
    EXPECT_EQ(std::exchange(forbiddenCalls, 0), 0);

    // The watch itself sees what it is for.
    std::mutex mutex;
    isWatched = true;
    void* volatile memory = std::malloc(8);
    std::free(memory);
    mutex.lock();
    mutex.unlock();
    isWatched = false;
    EXPECT_EQ(std::exchange(forbiddenCalls, 0), 3);
}

TEST(RealTimeSupply, MakesNoSystemCall) {
    DevicesSide side;
    const int status = statusWithoutSystemCalls([&] { return side.run(); });
    if (WIFEXITED(status) && WEXITSTATUS(status) == kCannotForbid) {
        GTEST_SKIP() << "system calls cannot be forbidden here";
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;

    const int caught = statusWithoutSystemCalls([] { return syscall(SYS_getppid) > 0; });
    EXPECT_TRUE(WIFSIGNALED(caught)) << caught;
}

}  // namespace
}  // namespace TWQuickTime::playback

#endif
