// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_FENCE_WAITER_H
#define UPSCALER_HOST_FENCE_WAITER_H

#include <EGL/egl.h>
#include <android-base/unique_fd.h>
#include <poll.h>
#include <sys/types.h>
#include <utils/Timers.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace android::host {

class DriverSync;

/// The thread that signals the host's fences. Each is a pair of connected sockets, of which the
/// client gets one; the signal is the shutdown of the other. That is for good, and holds for every
/// copy of either, while a pipe stays open as long as any forked child has its writing end.
///
/// Fences complete in any order, so the thread blocks in none of the driver's waits. It asks again
/// and again, at times that grow with the fence's age up to a millisecond. Started by the first
/// fence; ended at exit. Any thread may call. Nothing throws.
class FenceWaiter {
  public:
    static FenceWaiter& get();

    /// A fence that is signalled once `sync` is.
    /// @return the descriptor, close-on-exec; -1 and errno if no more are to be had, exit has
    ///     begun, or this is a forked child, which does not have the thread.
    base::unique_fd add(std::shared_ptr<const DriverSync> sync);
    /// A fence that is signalled once both descriptors are readable: already, if they are now. As
    /// above, but that one is to be had in any process. Forgotten once no client has it.
    base::unique_fd merge(base::unique_fd first, base::unique_fd second);

    /// The driver's sync that the fence behind `fd` waits for; null if it is signalled, or another.
    std::shared_ptr<const DriverSync> pendingSync(int fd);

    /// Signals every fence of `display`: as its work ends, and after a second whatever has not.
    /// Ends the merged ones too, but leaves to other displays what may wait for their work.
    void finish(EGLDisplay display);

  private:
    using Clock = std::chrono::steady_clock;
    struct Ends {
        base::unique_fd client{};
        base::unique_fd host{};
        ino_t key = 0;
    };
    struct Pending {
        std::shared_ptr<const DriverSync> sync{};  // Null for a merged fence.
        std::array<base::unique_fd, 2> inputs{};   // Of a merged fence; closed once readable.
        nsecs_t inputTime = 0;                     // When the latest of those was signalled.
        Ends ends{};                               // The client's only until it is handed out.
        Clock::time_point since = Clock::now();
        std::atomic<bool> signalled{false};
        Clock::time_point deadline = Clock::time_point::max();  // When it is signalled anyway.
        // The thread's own: past that time, and to leave the list.
        bool overdue = false;
        bool ended = false;

        bool isMerged() const { return sync == nullptr; }
    };
    using Fences = std::list<Pending>;

    base::unique_fd start(std::shared_ptr<const DriverSync> sync, base::unique_fd first,
                          base::unique_fd second);
    bool ensureThread();
    void stop();
    void threadMain();
    void check(bool exiting);
    void sleep(Clock::time_point deadline);
    void wake();
    static Ends connect();

    // With mMutex held; EGL_NO_DISPLAY stands for all.
    template <typename Is>
    bool any(Is is) const;
    template <typename Done>
    bool waitForEnd(std::unique_lock<std::mutex>* lock, EGLDisplay display, Done done);
    static void signal(Pending* pending, nsecs_t time);

    std::atomic<pid_t> mOwner{0};
    base::unique_fd mWake;
    std::thread mThread;

    std::mutex mMutex;
    std::condition_variable mChanged;
    Fences mNew;  // On their way to the thread.
    // Changed by the thread alone, and under the mutex; so the thread reads it without.
    Fences mPending;
    Ends mSpare;           // Made by the thread, so that a frame does not wait for it.
    bool mEnding = false;  // Some have left mPending, and still hold their syncs.
    bool mStopping = false;
    bool mStopped = false;
    std::atomic<bool> mAbandoned{false};  // Exit goes on without the thread.
    std::vector<pollfd> mPolled;          // The thread's own.
};

}  // namespace android::host

#endif  // UPSCALER_HOST_FENCE_WAITER_H
