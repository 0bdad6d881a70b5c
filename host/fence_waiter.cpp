// SPDX-License-Identifier: Apache-2.0
#include "host/fence_waiter.h"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <ui/Fence.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

#include "host/descriptor.h"
#include "host/log.h"
#include "host/native_sync.h"
#include "host/process_wide.h"
#include "host/signal_times.h"
#include "host/thread.h"

namespace android::host {
namespace {

using std::chrono::nanoseconds;

// The driver is asked again after an eighth of the fence's age, within these limits.
constexpr nanoseconds kShortestSleep = std::chrono::microseconds(50);
constexpr nanoseconds kLongestSleep = std::chrono::milliseconds(1);

// How long the end of a display or of the process waits for the GPU before it signals all the same;
// and then again for the thread, which a driver may never have let go.
constexpr nanoseconds kGrace = std::chrono::seconds(1);

// Closes the inputs that are readable. Whether none is left, or no client has the fence any more.
bool isMergeDone(std::array<base::unique_fd, 2>* inputs, int hostEnd, nsecs_t* latest) {
    pollfd polled[] = {
            {(*inputs)[0].get(), POLLIN, 0}, {(*inputs)[1].get(), POLLIN, 0}, {hostEnd, 0, 0}};
    // Asked again later if it is interrupted or refused, which tells nothing of the inputs.
    if (poll(polled, std::size(polled), 0) <= 0) return false;
    for (size_t i = 0; i < inputs->size(); ++i) {
        base::unique_fd& input = (*inputs)[i];
        if (polled[i].revents == 0) continue;
        // A foreign one has no time but that at which it was seen.
        const nsecs_t time = timeOfSignalled(input.get());
        *latest = std::max(
                *latest, Fence::isValidTimestamp(time) ? time : systemTime(SYSTEM_TIME_MONOTONIC));
        input.reset();
    }
    const bool dropped = polled[2].revents != 0;
    return dropped || (!(*inputs)[0].ok() && !(*inputs)[1].ok());
}

}  // namespace

FenceWaiter& FenceWaiter::get() {
    return processWide<FenceWaiter>();
}

base::unique_fd FenceWaiter::add(std::shared_ptr<const DriverSync> sync) {
    return start(std::move(sync), {}, {});
}

base::unique_fd FenceWaiter::merge(base::unique_fd first, base::unique_fd second) {
    return start(nullptr, std::move(first), std::move(second));
}

base::unique_fd FenceWaiter::start(std::shared_ptr<const DriverSync> sync, base::unique_fd first,
                                   base::unique_fd second) {
    try {
        Fences fresh;
        Pending& pending = fresh.emplace_back();
        pending.sync = std::move(sync);
        pending.inputs = {std::move(first), std::move(second)};
        if (pending.isMerged()) {
            pending.ends = connect();
            if (!pending.ends.client.ok()) return {};
            if (isMergeDone(&pending.inputs, pending.ends.host.get(), &pending.inputTime)) {
                SignalTimes::get().add(pending.ends.key);
                signal(&pending, pending.inputTime);
                return std::move(pending.ends.client);
            }
        }

        errno = ESRCH;  // If there is no thread.
        if (isForkedChild()) return {};
        const InHost inHost;
        const std::lock_guard<std::mutex> lock(mMutex);
        if (mStopping || !ensureThread()) return {};
        if (!pending.ends.client.ok()) {
            pending.ends = mSpare.client.ok() ? std::exchange(mSpare, {}) : connect();
        }
        if (!pending.ends.client.ok()) return {};
        SignalTimes::get().add(pending.ends.key);
        base::unique_fd fence = std::move(pending.ends.client);
        mNew.splice(mNew.end(), fresh);
        wake();
        return fence;
    } catch (const std::exception& error) {  // The lock is released by now.
        HOST_LOGE("no native fence: %s", error.what());
        errno = ENOMEM;
        return {};
    }
}

bool FenceWaiter::ensureThread() {
    if (mThread.joinable()) return true;
    mWake = aboveStandardStreams(base::unique_fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)));
    if (!mWake.ok()) return false;
    static const bool stopsAtExit = std::atexit([] { get().stop(); }) == 0;
    if (!stopsAtExit) throw std::bad_alloc();
    mThread = host::startThread("upscaler-fence", [this] { threadMain(); });
    mOwner = getpid();
    return true;
}

std::shared_ptr<const DriverSync> FenceWaiter::pendingSync(int fd) {
    const std::optional<ino_t> key = SignalTimes::keyOf(fd);
    if (!key || mOwner.load() != getpid()) return nullptr;
    const std::lock_guard<std::mutex> lock(mMutex);
    for (const Fences* fences : {&mPending, &mNew}) {
        for (const Pending& each : *fences) {
            if (each.ends.key == *key && !each.signalled.load()) return each.sync;
        }
    }
    return nullptr;
}

template <typename Is>
bool FenceWaiter::any(Is is) const {
    return std::any_of(mPending.begin(), mPending.end(), is) ||
           std::any_of(mNew.begin(), mNew.end(), is);
}

// Has the fences of `display` signalled, and waits until `done`: false if it did not come to that.
template <typename Done>
bool FenceWaiter::waitForEnd(std::unique_lock<std::mutex>* lock, EGLDisplay display, Done done) {
    const bool all = display == EGL_NO_DISPLAY;
    const bool othersWork = !all && any([&](const Pending& each) {
        return !each.isMerged() && each.sync->display() != display;
    });
    const Clock::time_point deadline = Clock::now() + kGrace;
    for (Fences* fences : {&mPending, &mNew}) {
        for (Pending& each : *fences) {
            const bool concerned =
                    each.isMerged() ? !othersWork : all || each.sync->display() == display;
            if (concerned) each.deadline = std::min(each.deadline, deadline);
        }
    }
    wake();
    if (mChanged.wait_until(*lock, deadline + kGrace, done)) return true;
    // The thread hangs in the driver.
    for (Fences* fences : {&mPending, &mNew}) {
        for (Pending& each : *fences) {
            if (each.deadline <= deadline) signal(&each, systemTime(SYSTEM_TIME_MONOTONIC));
        }
    }
    return false;
}

void FenceWaiter::finish(EGLDisplay display) {
    if (mOwner.load() != getpid()) return;
    std::unique_lock<std::mutex> lock(mMutex);
    if (mStopping) return;
    waitForEnd(&lock, display, [&] {
        return !mEnding && !any([&](const Pending& each) {
            return each.deadline != Clock::time_point::max() &&
                   (each.isMerged() || each.sync->display() == display);
        });
    });
}

void FenceWaiter::stop() {
    if (mOwner.load() != getpid()) return;
    std::unique_lock<std::mutex> lock(mMutex);
    mStopping = true;
    if (waitForEnd(&lock, EGL_NO_DISPLAY, [this] { return mStopped; })) {
        lock.unlock();
        mThread.join();
        return;
    }
    mAbandoned = true;
    mThread.detach();
}

void FenceWaiter::threadMain() {
    std::unique_lock<std::mutex> lock(mMutex);
    while (true) {
        mPending.splice(mPending.end(), mNew);
        Clock::time_point nextDeadline = Clock::time_point::max();
        for (Pending& each : mPending) {
            each.overdue = each.deadline <= Clock::now();
            nextDeadline = std::min(nextDeadline, each.deadline);
        }
        const bool exiting = mStopping;
        const bool stock = !mSpare.client.ok() && !exiting;
        lock.unlock();
        Ends spare = stock ? connect() : Ends();
        check(exiting);
        lock.lock();
        if (mAbandoned) return;
        if (stock) mSpare = std::move(spare);

        Fences ended;
        for (auto each = mPending.begin(); each != mPending.end();) {
            const auto next = std::next(each);
            if (each->ended) ended.splice(ended.end(), mPending, each);
            each = next;
        }
        if (!ended.empty()) {
            mEnding = true;
            lock.unlock();
            {
                const InDriver inDriver;
                ended.clear();
            }
            lock.lock();
            mEnding = false;
            mChanged.notify_all();
        }
        if (!mNew.empty()) continue;
        if (mStopping && mPending.empty()) break;
        lock.unlock();
        sleep(nextDeadline);
        lock.lock();
    }
    mStopped = true;
    mChanged.notify_all();
}

// In the list's order, in which a merged fence comes after its inputs: so it is signalled with
// them.
void FenceWaiter::check(bool exiting) {
    bool driverWorks = false;
    {
        const InDriver inDriver;
        for (Pending& each : mPending) {
            if (each.isMerged()) continue;
            if (mAbandoned) return;
            each.ended = each.overdue || each.sync->isSignalled();
            if (!each.ended) driverWorks = true;
        }
    }
    for (Pending& each : mPending) {
        const bool merged =
                each.isMerged() && isMergeDone(&each.inputs, each.ends.host.get(), &each.inputTime);
        const bool given = each.isMerged() && (each.overdue || (exiting && !driverWorks));
        each.ended = each.ended || merged || given;
        if (!each.ended) continue;
        signal(&each, merged ? each.inputTime : systemTime(SYSTEM_TIME_MONOTONIC));
    }
}

void FenceWaiter::sleep(Clock::time_point deadline) {
    nanoseconds limit = nanoseconds::max();
    const Clock::time_point now = Clock::now();
    if (deadline != Clock::time_point::max()) {
        limit = std::max<nanoseconds>(deadline - now, nanoseconds::zero());
    }
    bool refused = false;
    mPolled.clear();
    try {
        mPolled.push_back({mWake.get(), POLLIN, 0});
        for (const Pending& each : mPending) {
            if (!each.isMerged()) {
                limit = std::min(limit, std::clamp<nanoseconds>((now - each.since) / 8,
                                                                kShortestSleep, kLongestSleep));
                continue;
            }
            mPolled.push_back({each.ends.host.get(), 0, 0});
            for (const base::unique_fd& input : each.inputs)
                mPolled.push_back({input.get(), POLLIN, 0});
        }
    } catch (const std::bad_alloc&) {
        refused = true;
    }
    if (!refused) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
        const timespec timeout{seconds.count(), (limit - seconds).count()};
        refused = ppoll(mPolled.data(), mPolled.size(), &timeout, nullptr) < 0 && errno != EINTR;
    }
    // Without memory, or with more descriptors than RLIMIT_NOFILE allows to ask for.
    if (refused) std::this_thread::sleep_for(std::min(limit, kLongestSleep));
    uint64_t count;
    [[maybe_unused]] const ssize_t drained = read(mWake.get(), &count, sizeof(count));
}

FenceWaiter::Ends FenceWaiter::connect() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return {};
    Ends made{base::unique_fd(ends[0]), base::unique_fd(ends[1])};
    // The first pair keeps the low numbers meanwhile, so that the next one does not get them.
    if (std::min(ends[0], ends[1]) < kLowestDescriptor) return connect();
    made.key = SignalTimes::keyOf(made.client.get()).value_or(0);
    // So a client cannot write to its end: unread bytes would make the signal look like an error.
    shutdown(made.host.get(), SHUT_RD);
    return made;
}

void FenceWaiter::wake() {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(mWake.get(), &one, sizeof(one));
}

void FenceWaiter::signal(Pending* pending, nsecs_t time) {
    if (pending->signalled.exchange(true)) return;
    SignalTimes::get().signal(pending->ends.key, time);
    shutdown(pending->ends.host.get(), SHUT_RDWR);
}

}  // namespace android::host
