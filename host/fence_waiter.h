// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_FENCE_WAITER_H
#define UPSCALER_HOST_FENCE_WAITER_H

#include <EGL/egl.h>
#include <android-base/unique_fd.h>
#include <sys/types.h>
#include <utils/Timers.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

namespace android::host {

/// The thread that signals the host's fences. Each is a pipe whose reading end the client gets; the
/// signal is one byte and the end of the file, so it stays for every copy of the descriptor.
///
/// Fences complete in any order, so the thread blocks in none of the driver's waits. It asks again
/// and again, at times that grow with the fence's age up to a millisecond. Started by the first
/// fence; ended at exit. Any thread may call.
class FenceWaiter {
  public:
    static FenceWaiter& get();

    /// A fence that is signalled once `done` says so, which the thread asks without blocking.
    /// @param display what `finish` knows it by.
    /// @return the descriptor, close-on-exec; -1 if no more are to be had or exit has begun.
    base::unique_fd add(EGLDisplay display, std::function<bool()> done);
    /// A fence that is signalled once both descriptors are readable. As above.
    base::unique_fd merge(base::unique_fd first, base::unique_fd second);

    /// Signals every fence of `display`: as its work ends, and after a second whatever has not.
    void finish(EGLDisplay display);

  private:
    using Clock = std::chrono::steady_clock;
    struct Pending {
        EGLDisplay display = EGL_NO_DISPLAY;
        std::function<bool()> done;               // Null for a merged fence.
        std::array<base::unique_fd, 2> inputs{};  // Of a merged fence; closed once readable.
        nsecs_t inputTime = 0;                    // When the latest of those was signalled.
        base::unique_fd signal{};
        ino_t key = 0;
        Clock::time_point since = Clock::now();

        bool isMerged() const { return done == nullptr; }
    };
    struct Finish {
        EGLDisplay display;  // EGL_NO_DISPLAY for all fences.
        Clock::time_point deadline;
        bool done = false;

        bool concerns(const Pending& pending) const {
            return display == EGL_NO_DISPLAY || display == pending.display;
        }
    };

    base::unique_fd start(Pending pending);
    bool ensureThread();
    void stop();
    void threadMain();
    void sleep(const std::vector<Pending>& pending);
    void wake();
    static bool isDone(Pending* pending);
    static void signal(Pending* pending);

    std::atomic<pid_t> mOwner{0};
    base::unique_fd mWake;
    std::thread mThread;

    std::mutex mMutex;
    std::condition_variable mFinished;
    std::vector<Pending> mNew;     // On their way to the thread.
    std::list<Finish> mFinishing;  // What its callers wait for; an entry goes when it is done.
    bool mStopping = false;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_FENCE_WAITER_H
