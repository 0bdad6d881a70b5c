// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_SIGNAL_TIMES_H
#define UPSCALER_HOST_SIGNAL_TIMES_H

#include <sys/types.h>
#include <utils/Timers.h>

#include <deque>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace android::host {

/// When the host's own fences were signalled. A pipe keeps no such time, but all descriptors of one
/// share its inode number. Kept for the latest few thousand fences. Any thread.
class SignalTimes {
  public:
    static SignalTimes& get();

    /// The pipe behind `fd` is a new fence. Returns the fence's key.
    ino_t add(int fd);
    /// To be called before the pipe is signalled. @param time in ns of CLOCK_MONOTONIC.
    void signal(ino_t key, nsecs_t time);
    /// The time of the signalled fence behind `fd`; none if `fd` is not, or no longer, known.
    std::optional<nsecs_t> find(int fd);

  private:
    std::mutex mMutex;
    std::unordered_map<ino_t, nsecs_t> mTimes;
    std::deque<ino_t> mOldest;
};

/// What `Fence::getSignalTime` answers for any descriptor: the host's, a sync file, or another.
nsecs_t signalTime(int fd);

}  // namespace android::host

#endif  // UPSCALER_HOST_SIGNAL_TIMES_H
