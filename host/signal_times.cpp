// SPDX-License-Identifier: Apache-2.0
#include "host/signal_times.h"

#include <linux/sync_file.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <ui/Fence.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <utility>

#include "host/descriptor.h"
#include "host/process_wide.h"

namespace android::host {
nsecs_t syncFileTime(int fd) {
    sync_file_info info{};
    if (ioctl(fd, SYNC_IOC_FILE_INFO, &info) != 0) return Fence::SIGNAL_TIME_INVALID;
    if (info.status == 0) return Fence::SIGNAL_TIME_PENDING;
    if (info.status < 0) return Fence::SIGNAL_TIME_INVALID;
    const std::unique_ptr<sync_fence_info[]> fences(new (std::nothrow)
                                                            sync_fence_info[info.num_fences]);
    info.sync_fence_info = reinterpret_cast<uintptr_t>(fences.get());
    if (fences == nullptr || ioctl(fd, SYNC_IOC_FILE_INFO, &info) != 0) {
        return Fence::SIGNAL_TIME_INVALID;
    }
    nsecs_t latest = 0;
    for (uint32_t i = 0; i < info.num_fences; ++i) {
        latest = std::max(latest, static_cast<nsecs_t>(fences[i].timestamp_ns));
    }
    return latest;
}

SignalTimes& SignalTimes::get() {
    return processWide<SignalTimes>();
}

SignalTimes::SignalTimes() {
    // A forked child may ask as well, and has only the thread that forked.
    pthread_atfork([] { get().mMutex.lock(); }, [] { get().mMutex.unlock(); },
                   [] { get().mMutex.unlock(); });
}

std::optional<ino_t> SignalTimes::keyOf(int fd) {
    struct stat status;
    if (fstat(fd, &status) != 0 || !S_ISSOCK(status.st_mode)) return std::nullopt;
    return status.st_ino;
}

void SignalTimes::add(ino_t key) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mTimes[key] = Fence::SIGNAL_TIME_PENDING;  // In place of an older socket's of that number.
}

void SignalTimes::signal(ino_t key, nsecs_t time) {
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mTimes.find(key);
    if (found == mTimes.end()) return;
    found->second = time;
    const auto oldest = mTimes.find(std::exchange(mLatest[mOldest], key));
    mOldest = (mOldest + 1) % mLatest.size();
    // Its number may have gone to another that is still pending.
    const bool forgotten = oldest != mTimes.end() && oldest != found &&
                           oldest->second != Fence::SIGNAL_TIME_PENDING;
    if (forgotten) mTimes.erase(oldest);
}

std::optional<nsecs_t> SignalTimes::find(int fd) {
    const std::optional<ino_t> key = keyOf(fd);
    if (!key) return std::nullopt;
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mTimes.find(*key);
    if (found == mTimes.end()) return std::nullopt;
    return found->second;
}

nsecs_t signalTime(int fd) {
    switch (waitReadable(fd, 0)) {
        case NO_ERROR:
            return timeOfSignalled(fd);
        case -EINVAL:
            return Fence::SIGNAL_TIME_INVALID;
        default:
            return Fence::SIGNAL_TIME_PENDING;
    }
}

nsecs_t timeOfSignalled(int fd) {
    if (const auto time = SignalTimes::get().find(fd)) return *time;
    return syncFileTime(fd);
}

}  // namespace android::host
