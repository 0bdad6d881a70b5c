// SPDX-License-Identifier: Apache-2.0
#include "host/descriptor.h"

#include <fcntl.h>
#include <poll.h>

#include <cerrno>
#include <chrono>

namespace android::host {

base::unique_fd aboveStandardStreams(base::unique_fd fd) {
    if (fd.get() >= kLowestDescriptor || fd.get() < 0) return fd;
    return duplicate(fd.get());
}

base::unique_fd duplicate(int fd) {
    return base::unique_fd(fcntl(fd, F_DUPFD_CLOEXEC, kLowestDescriptor));
}

status_t waitReadable(int fd, int timeout) {
    if (fd < 0) return -EINVAL;  // poll would pass over it, and wait all the same.
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeout);
    pollfd polled{fd, POLLIN, 0};
    int left = timeout;
    while (true) {
        const int ready = poll(&polled, 1, left);
        if (ready > 0) return (polled.revents & (POLLERR | POLLNVAL)) != 0 ? -EINVAL : NO_ERROR;
        if (ready == 0) return -ETIME;
        if (errno == EINVAL) return -EMFILE;  // RLIMIT_NOFILE has become less than one.
        if (errno != EINTR && errno != EAGAIN) return -errno;
        if (timeout >= 0) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            left = rest.count() > 0 ? static_cast<int>(rest.count()) : 0;
        }
    }
}

}  // namespace android::host
