// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_UI_FENCE_H
#define UPSCALER_HOST_UI_FENCE_H

#include <android-base/unique_fd.h>
#include <ui/HostExport.h>
#include <utils/Errors.h>
#include <utils/Flattenable.h>
#include <utils/LightRefBase.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

#include <cstddef>
#include <cstdint>

namespace android {

/// The end of some GPU work, as a descriptor that becomes readable then and stays so. Held by `sp`.
/// Nothing but `unflatten` changes a fence, so any thread may call any other member.
class UPSCALER_HOST_API Fence : public LightRefBase<Fence>, public Flattenable<Fence> {
  public:
    /// A fence without a descriptor, on which no wait is needed.
    static const sp<Fence> NO_FENCE;
    /// Timeout of `wait` that never ends.
    static constexpr int TIMEOUT_NEVER = -1;
    /// `getSignalTime` without an answer: no such time, and not yet.
    /// @{
    static constexpr nsecs_t SIGNAL_TIME_INVALID = -1;
    static constexpr nsecs_t SIGNAL_TIME_PENDING = INT64_MAX;
    /// @}
    /// Whether `time` is an answer.
    static constexpr bool isValidTimestamp(nsecs_t time) {
        return time >= 0 && time < SIGNAL_TIME_PENDING;
    }

    /// What `getStatus` tells.
    enum class Status {
        Invalid,     ///< The descriptor is bad.
        Unsignaled,  ///< The work is not done.
        Signaled,    ///< The work is done, or there is no descriptor.
    };

    Fence() = default;
    /// Owns `fenceFd` and closes it; -1 makes a fence without a descriptor.
    explicit Fence(int fenceFd);
    /// The same.
    explicit Fence(base::unique_fd fenceFd);
    Fence(const Fence&) = delete;
    Fence& operator=(const Fence&) = delete;

    /// Whether there is a descriptor.
    bool isValid() const { return mFenceFd != -1; }

    /// Waits for the signal. @param timeout in milliseconds; TIMEOUT_NEVER for no limit.
    /// @return NO_ERROR, at once if there is no descriptor; -ETIME; -EINVAL for a bad descriptor.
    status_t wait(int timeout);
    /// As `wait` without a limit, but after three seconds logs that `logname` still waits.
    status_t waitForever(const char* logname);

    /// A new fence that signals when both have. One without a descriptor counts as signalled; if
    /// both are, or on an error (which is logged), the result is NO_FENCE. `f1` and `f2` are not
    /// null.
    /// @param name for the kernel's and the log's use.
    static sp<Fence> merge(const char* name, const sp<Fence>& f1, const sp<Fence>& f2);

    /// The descriptor, which stays the fence's: do not close it. -1 if there is none.
    int get() const { return mFenceFd.get(); }
    /// A copy of the descriptor, which is the caller's to close; -1 and errno (EBADF if there is
    /// none) on failure.
    int dup() const;

    /// When the work was done, in nanoseconds of CLOCK_MONOTONIC. SIGNAL_TIME_PENDING if it is not
    /// done; SIGNAL_TIME_INVALID if there is no descriptor, or one without a time. For the host's
    /// own fences it is the time at which the host saw the end of the work, and the host remembers
    /// the times of the latest few thousand fences of the process.
    nsecs_t getSignalTime() const;
    /// What a `wait` of no length finds.
    Status getStatus();

    /// The protocol of `Flattenable`: a uint32_t, which counts the descriptors, and these: none or
    /// one. NO_MEMORY if there is less room, or less to read.
    /// @{
    size_t getFlattenedSize() const;
    size_t getFdCount() const;
    /// The descriptor that it writes stays the fence's.
    status_t flatten(void*& buffer, size_t& size, int*& fds, size_t& count) const;
    /// Owns the descriptor that it reads. INVALID_OPERATION if there is one already, and BAD_VALUE
    /// if there is more than one to read.
    status_t unflatten(const void*& buffer, size_t& size, const int*& fds, size_t& count);
    /// @}

  private:
    friend class LightRefBase<Fence>;
    ~Fence() = default;

    base::unique_fd mFenceFd;
};

}  // namespace android

#endif  // UPSCALER_HOST_UI_FENCE_H
