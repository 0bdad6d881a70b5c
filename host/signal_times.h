// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_SIGNAL_TIMES_H
#define UPSCALER_HOST_SIGNAL_TIMES_H

#include <sys/types.h>
#include <utils/Timers.h>

#include <array>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace android::host {

/// When the host's own fences were signalled. A socket keeps no such time, but all descriptors of
/// one share its inode number. Kept for the latest few thousand fences. Any thread.
class SignalTimes {
  public:
    SignalTimes();
    static SignalTimes& get();

    /// The key of the fence behind `fd`; none if it cannot be one of the host's.
    static std::optional<ino_t> keyOf(int fd);
    /// A new fence, which has to be signalled in the end. @throws std::bad_alloc
    void add(ino_t key);
    /// To be called before the socket is shut down. @param time in ns of CLOCK_MONOTONIC.
    void signal(ino_t key, nsecs_t time);
    /// The time of the signalled fence behind `fd`; none if `fd` is not, or no longer, known.
    std::optional<nsecs_t> find(int fd);

  private:
    std::mutex mMutex;
    std::unordered_map<ino_t, nsecs_t> mTimes;
    // The signalled ones in their order. An array, so that a signal never fails for lack of memory.
    std::array<ino_t, 4096> mLatest{};
    size_t mOldest = 0;
};

/// What the kernel says of a sync file; SIGNAL_TIME_INVALID for any other descriptor.
nsecs_t syncFileTime(int fd);
/// What `Fence::getSignalTime` answers for any descriptor: the host's, a sync file, or another.
nsecs_t signalTime(int fd);
/// The same for one that is known to be signalled.
nsecs_t timeOfSignalled(int fd);

}  // namespace android::host

#endif  // UPSCALER_HOST_SIGNAL_TIMES_H
