// SPDX-License-Identifier: Apache-2.0
#include <linux/sync_file.h>
#include <sys/ioctl.h>
#include <ui/Fence.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "host/descriptor.h"
#include "host/fence_waiter.h"
#include "host/log.h"
#include "host/signal_times.h"

namespace android {
namespace {

constexpr int kWarningTimeoutMs = 3000;

// Two sync files become one in the kernel; for any other pair the host waits.
base::unique_fd mergeDescriptors(const char* name, int first, int second) {
    sync_merge_data data{};
    std::strncpy(data.name, name, sizeof(data.name) - 1);
    data.fd2 = second;
    if (ioctl(first, SYNC_IOC_MERGE, &data) == 0) {
        return host::aboveStandardStreams(base::unique_fd(data.fence));
    }
    base::unique_fd firstCopy = host::duplicate(first);
    base::unique_fd secondCopy = host::duplicate(second);
    if (!firstCopy.ok() || !secondCopy.ok()) return {};
    return host::FenceWaiter::get().merge(std::move(firstCopy), std::move(secondCopy));
}

}  // namespace

const sp<Fence> Fence::NO_FENCE = sp<Fence>(new Fence);

Fence::Fence(int fenceFd) : mFenceFd(fenceFd) {}

Fence::Fence(base::unique_fd fenceFd) : mFenceFd(std::move(fenceFd)) {}

status_t Fence::wait(int timeout) {
    return isValid() ? host::waitReadable(mFenceFd.get(), timeout) : NO_ERROR;
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
                                     : host::duplicate(f1->isValid() ? f1->get() : f2->get());
    Fence* const fence = merged.ok() ? new (std::nothrow) Fence(std::move(merged)) : nullptr;
    if (fence == nullptr) {
        HOST_LOGE("merge: %s: fences %d and %d: %s", name, f1->get(), f2->get(),
                  std::strerror(errno));
        return NO_FENCE;
    }
    return sp<Fence>(fence);
}

int Fence::dup() const {
    if (!isValid()) {
        errno = EBADF;
        return -1;
    }
    return host::duplicate(mFenceFd.get()).release();
}

nsecs_t Fence::getSignalTime() const {
    return host::signalTime(mFenceFd.get());
}

Fence::Status Fence::getStatus() {
    switch (wait(0)) {
        case NO_ERROR:
            return Status::Signaled;
        case -EINVAL:
            return Status::Invalid;
        default:
            return Status::Unsignaled;
    }
}

size_t Fence::getFlattenedSize() const {
    return sizeof(uint32_t);
}

size_t Fence::getFdCount() const {
    return isValid() ? 1 : 0;
}

status_t Fence::flatten(void*& buffer, size_t& size, int*& fds, size_t& count) const {
    if (size < getFlattenedSize() || count < getFdCount()) return NO_MEMORY;
    FlattenableUtils::write(buffer, size, static_cast<uint32_t>(getFdCount()));
    if (isValid()) {
        *fds++ = mFenceFd.get();
        --count;
    }
    return NO_ERROR;
}

status_t Fence::unflatten(const void*& buffer, size_t& size, const int*& fds, size_t& count) {
    if (isValid()) return INVALID_OPERATION;
    if (size < getFlattenedSize()) return NO_MEMORY;
    uint32_t descriptors = 0;
    FlattenableUtils::read(buffer, size, descriptors);
    if (descriptors > 1) return BAD_VALUE;
    if (count < descriptors) return NO_MEMORY;
    if (descriptors == 1) {
        mFenceFd.reset(*fds++);
        --count;
    }
    return NO_ERROR;
}

}  // namespace android
