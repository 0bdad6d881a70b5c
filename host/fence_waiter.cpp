// SPDX-License-Identifier: Apache-2.0
#include "host/fence_waiter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <ui/Fence.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <system_error>
#include <utility>

#include "host/log.h"
#include "host/signal_times.h"
#include "host/thread.h"

namespace android::host {
namespace {

using std::chrono::nanoseconds;

// The driver is asked again after an eighth of the fence's age, within these limits.
constexpr nanoseconds kShortestSleep = std::chrono::microseconds(50);
constexpr nanoseconds kLongestSleep = std::chrono::milliseconds(1);

// How long the end of a display or of the process waits for the GPU before it signals all the same.
constexpr nanoseconds kGrace = std::chrono::seconds(1);

}  // namespace

FenceWaiter& FenceWaiter::get() {
    static auto* const waiter = new FenceWaiter;  // Never freed: clients may ask after exit began.
    return *waiter;
}

base::unique_fd FenceWaiter::add(EGLDisplay display, std::function<bool()> done) {
    Pending pending;
    pending.display = display;
    pending.done = std::move(done);
    return start(std::move(pending));
}

base::unique_fd FenceWaiter::merge(base::unique_fd first, base::unique_fd second) {
    Pending pending;
    pending.inputs = {std::move(first), std::move(second)};
    return start(std::move(pending));
}

base::unique_fd FenceWaiter::start(Pending pending) {
    const pid_t owner = mOwner.load();
    if (owner != 0 && owner != getpid()) return {};  // A forked child does not have the thread.

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return {};
    base::unique_fd fence(ends[0]);
    pending.signal.reset(ends[1]);
    pending.key = SignalTimes::get().add(fence.get());

    const std::lock_guard<std::mutex> lock(mMutex);
    if (mStopping || !ensureThread()) return {};
    mNew.push_back(std::move(pending));
    wake();
    return fence;
}

bool FenceWaiter::ensureThread() {
    if (mThread.joinable()) return true;
    mWake.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!mWake.ok()) return false;
    try {
        mThread = host::startThread("upscaler-fence", [this] { threadMain(); });
    } catch (const std::system_error& error) {
        HOST_LOGE("no thread for native fences: %s", error.what());
        return false;
    }
    mOwner = getpid();
    std::atexit([] { get().stop(); });
    return true;
}

void FenceWaiter::finish(EGLDisplay display) {
    if (mOwner.load() != getpid()) return;
    std::unique_lock<std::mutex> lock(mMutex);
    if (mStopping) return;
    const auto request = mFinishing.insert(mFinishing.end(), {display, Clock::now() + kGrace});
    wake();
    mFinished.wait(lock, [&] { return request->done; });
    mFinishing.erase(request);
}

void FenceWaiter::stop() {
    if (mOwner.load() != getpid()) return;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
        mFinishing.push_back({EGL_NO_DISPLAY, Clock::now() + kGrace});
        wake();
    }
    mThread.join();
}

void FenceWaiter::threadMain() {
    std::vector<Pending> pending;
    std::vector<Finish*> finishing;
    std::unique_lock<std::mutex> lock(mMutex);
    while (true) {
        std::move(mNew.begin(), mNew.end(), std::back_inserter(pending));
        mNew.clear();
        finishing.clear();
        for (Finish& finish : mFinishing)
            finishing.push_back(&finish);
        lock.unlock();

        const bool driverWorks = std::any_of(pending.begin(), pending.end(),
                                             [](const Pending& each) { return !each.isMerged(); });
        const auto given = [&, now = Clock::now()](const Pending& each) {
            return std::any_of(finishing.begin(), finishing.end(), [&](const Finish* finish) {
                return finish->concerns(each) &&
                       (now >= finish->deadline || (each.isMerged() && !driverWorks));
            });
        };
        {
            const InDriver inDriver;
            const auto signalled =
                    std::partition(pending.begin(), pending.end(),
                                   [&](Pending& each) { return !isDone(&each) && !given(each); });
            std::for_each(signalled, pending.end(), [](Pending& each) { signal(&each); });
            pending.erase(signalled, pending.end());
        }

        lock.lock();
        for (Finish* finish : finishing) {
            finish->done = std::none_of(pending.begin(), pending.end(), [&](const Pending& each) {
                return finish->concerns(each);
            });
        }
        mFinished.notify_all();
        if (!mNew.empty()) continue;
        if (mStopping && pending.empty()) break;
        lock.unlock();
        sleep(pending);
        lock.lock();
    }
}

void FenceWaiter::sleep(const std::vector<Pending>& pending) {
    std::vector<pollfd> wakers{{mWake.get(), POLLIN, 0}};
    nanoseconds youngest = nanoseconds::max();
    for (const Pending& each : pending) {
        if (!each.isMerged()) youngest = std::min<nanoseconds>(youngest, Clock::now() - each.since);
        for (const base::unique_fd& input : each.inputs) {
            if (input.ok()) wakers.push_back({input.get(), POLLIN, 0});
        }
    }
    timespec limit{};
    limit.tv_nsec = std::clamp(youngest / 8, kShortestSleep, kLongestSleep).count();
    const bool timed = youngest != nanoseconds::max();
    ppoll(wakers.data(), wakers.size(), timed ? &limit : nullptr, nullptr);
    uint64_t count;
    [[maybe_unused]] const ssize_t drained = read(mWake.get(), &count, sizeof(count));
}

void FenceWaiter::wake() {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(mWake.get(), &one, sizeof(one));
}

bool FenceWaiter::isDone(Pending* pending) {
    if (!pending->isMerged()) return pending->done();
    bool done = true;
    for (base::unique_fd& input : pending->inputs) {
        if (!input.ok()) continue;
        const nsecs_t time = signalTime(input.get());
        if (time == Fence::SIGNAL_TIME_PENDING) {
            done = false;
            continue;
        }
        // A foreign one has no time but that at which it was seen.
        const bool timed = time != Fence::SIGNAL_TIME_INVALID;
        pending->inputTime =
                std::max(pending->inputTime, timed ? time : systemTime(SYSTEM_TIME_MONOTONIC));
        input.reset();
    }
    return done;
}

void FenceWaiter::signal(Pending* pending) {
    const bool timed = pending->inputTime != 0;
    SignalTimes::get().signal(pending->key,
                              timed ? pending->inputTime : systemTime(SYSTEM_TIME_MONOTONIC));
    // If no reader is left, this fails; the thread has the signal that it raises blocked.
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(pending->signal.get(), &byte, 1);
    pending->signal.reset();
}

}  // namespace android::host
