// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_DESCRIPTOR_H
#define UPSCALER_HOST_DESCRIPTOR_H

#include <android-base/unique_fd.h>
#include <utils/Errors.h>

namespace android::host {

// The host's own descriptors are at least 3: in a client that has closed its standard error, a line
// that is meant for it would land in whatever had got its number. All are close-on-exec.

constexpr int kLowestDescriptor = 3;

/// `fd`, or a copy of it if its number is too low. -1 and errno on failure, or if it is -1.
base::unique_fd aboveStandardStreams(base::unique_fd fd);
/// A copy of a descriptor that stays somebody else's. -1 and errno on failure.
base::unique_fd duplicate(int fd);

/// Waits until `fd` is readable or hung up, whatever signals come.
/// @param timeout in milliseconds; -1 for no limit.
/// @return NO_ERROR; -ETIME; -EINVAL for a bad descriptor; another -errno if the kernel refused to
///     tell.
status_t waitReadable(int fd, int timeout);

}  // namespace android::host

#endif  // UPSCALER_HOST_DESCRIPTOR_H
