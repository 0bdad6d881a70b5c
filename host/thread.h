// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_THREAD_H
#define UPSCALER_HOST_THREAD_H

#include <functional>
#include <thread>

namespace android::host {

/// Starts a thread of the host's own: named for debuggers, and with all signals blocked, so that
/// the client's handlers stay on the client's threads and a pipe without a reader ends nothing.
/// @throws std::system_error if there is no thread to be had.
std::thread startThread(const char* name, std::function<void()> body);

/// Held by a thread of the host's own while it is in the driver. A fork waits until none is, so
/// that the child gets no lock of the driver's that nobody would ever release.
class InDriver {
  public:
    InDriver();
    ~InDriver();
    InDriver(const InDriver&) = delete;
    InDriver& operator=(const InDriver&) = delete;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_THREAD_H
