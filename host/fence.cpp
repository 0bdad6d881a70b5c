// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <linux/sync_file.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <ui/Fence.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "host/fence_waiter.h"
#include "host/log.h"
#include "host/signal_times.h"

namespace android {
namespace {

constexpr int kWarningTimeoutMs = 3000;

base::unique_fd duplicate(int fd) {
    return base::unique_fd(fcntl(fd, F_DUPFD_CLOEXEC, 0));
}

// Two sync files become one in the kernel; for any other pair the host waits.
base::unique_fd mergeDescriptors(const char* name, int first, int second) {
    sync_merge_data data{};
    std::strncpy(data.name, name, sizeof(data.name) - 1);
    data.fd2 = second;
    if (ioctl(first, SYNC_IOC_MERGE, &data) == 0) return base::unique_fd(data.fence);
    base::unique_fd firstCopy = duplicate(first);
    base::unique_fd secondCopy = duplicate(second);
    if (!firstCopy.ok() || !secondCopy.ok()) return {};
    return host::FenceWaiter::get().merge(std::move(firstCopy), std::move(secondCopy));
}

}  // namespace

const sp<Fence> Fence::NO_FENCE = sp<Fence>(new Fence);

Fence::Fence(int fenceFd) : mFenceFd(fenceFd) {}

Fence::Fence(base::unique_fd fenceFd) : mFenceFd(std::move(fenceFd)) {}

status_t Fence::wait(int timeout) {
    if (!isValid()) return NO_ERROR;
    if (mFenceFd.get() < 0) return -EINVAL;  // poll would pass over it, and wait all the same.
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeout);
    pollfd polled{mFenceFd.get(), POLLIN, 0};
    int left = timeout;
    while (true) {
        const int ready = poll(&polled, 1, left);
        if (ready > 0) return (polled.revents & (POLLERR | POLLNVAL)) != 0 ? -EINVAL : NO_ERROR;
        if (ready == 0) return -ETIME;
        if (errno != EINTR && errno != EAGAIN) return -errno;
        if (timeout >= 0) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            left = rest.count() > 0 ? static_cast<int>(rest.count()) : 0;
        }
    }
}

status_t Fence::waitForever(const char* logname) {
    const status_t status = wait(kWarningTimeoutMs);
    if (status != -ETIME) return status;
    HOST_LOGE("waitForever: %s: fence %d did not signal in %d ms", logname, mFenceFd.get(),
              kWarningTimeoutMs);
    return wait(TIMEOUT_NEVER);
}

sp<Fence> Fence::merge(const char* name, const sp<Fence>& f1, const sp<Fence>& f2) {
    if (!f1->isValid() && !f2->isValid()) return NO_FENCE;
    base::unique_fd merged = f1->isValid() && f2->isValid()
                                     ? mergeDescriptors(name, f1->get(), f2->get())
                                     : duplicate(f1->isValid() ? f1->get() : f2->get());
    if (!merged.ok()) {
        HOST_LOGE("merge: %s: fences %d and %d: %s", name, f1->get(), f2->get(),
                  std::strerror(errno));
        return NO_FENCE;
    }
    return new Fence(std::move(merged));
}

int Fence::dup() const {
    if (!isValid()) {
        errno = EBADF;
        return -1;
    }
    return duplicate(mFenceFd.get()).release();
}

nsecs_t Fence::getSignalTime() const {
    return host::signalTime(mFenceFd.get());
}

Fence::Status Fence::getStatus() {
    switch (wait(0)) {
        case NO_ERROR:
            return Status::Signaled;
        case -ETIME:
            return Status::Unsignaled;
        default:
            return Status::Invalid;
    }
}

}  // namespace android
