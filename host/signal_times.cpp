// SPDX-License-Identifier: Apache-2.0
#include "host/signal_times.h"

#include <linux/sync_file.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <ui/Fence.h>

#include <algorithm>
#include <vector>

namespace android::host {
namespace {

constexpr size_t kMostTimes = 4096;

std::optional<ino_t> pipeInode(int fd) {
    struct stat status;
    if (fstat(fd, &status) != 0 || !S_ISFIFO(status.st_mode)) return std::nullopt;
    return status.st_ino;
}

nsecs_t syncFileTime(int fd) {
    sync_file_info info{};
    if (ioctl(fd, SYNC_IOC_FILE_INFO, &info) != 0) return Fence::SIGNAL_TIME_INVALID;
    if (info.status == 0) return Fence::SIGNAL_TIME_PENDING;
    if (info.status < 0) return Fence::SIGNAL_TIME_INVALID;
    std::vector<sync_fence_info> fences(info.num_fences);
    info.sync_fence_info = reinterpret_cast<uintptr_t>(fences.data());
    if (ioctl(fd, SYNC_IOC_FILE_INFO, &info) != 0) return Fence::SIGNAL_TIME_INVALID;
    nsecs_t latest = 0;
    for (const sync_fence_info& fence : fences) {
        latest = std::max(latest, static_cast<nsecs_t>(fence.timestamp_ns));
    }
    return latest;
}

}  // namespace

SignalTimes& SignalTimes::get() {
    static auto* const times = new SignalTimes;  // Never freed: asked until the process is gone.
    return *times;
}

ino_t SignalTimes::add(int fd) {
    const ino_t key = pipeInode(fd).value_or(0);
    const std::lock_guard<std::mutex> lock(mMutex);
    mTimes.erase(key);  // Of an older pipe that had the same number.
    return key;
}

void SignalTimes::signal(ino_t key, nsecs_t time) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mTimes[key] = time;
    mOldest.push_back(key);
    if (mOldest.size() > kMostTimes) {
        mTimes.erase(mOldest.front());
        mOldest.pop_front();
    }
}

std::optional<nsecs_t> SignalTimes::find(int fd) {
    const std::optional<ino_t> key = pipeInode(fd);
    if (!key) return std::nullopt;
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mTimes.find(*key);
    if (found == mTimes.end()) return std::nullopt;
    return found->second;
}

nsecs_t signalTime(int fd) {
    pollfd polled{fd, POLLIN, 0};
    if (fd < 0 || poll(&polled, 1, 0) < 0 || (polled.revents & (POLLNVAL | POLLERR)) != 0) {
        return Fence::SIGNAL_TIME_INVALID;
    }
    if (polled.revents == 0) return Fence::SIGNAL_TIME_PENDING;
    if (const auto time = SignalTimes::get().find(fd)) return *time;
    return syncFileTime(fd);
}

}  // namespace android::host
