// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_THREAD_H
#define UPSCALER_HOST_THREAD_H

#include <chrono>
#include <functional>
#include <thread>

namespace android::host {

/// How long exit and fork wait for a driver that does not come back.
constexpr std::chrono::seconds kDriverPatience{3};

/// Starts a thread of the host's own: named for debuggers, with all signals blocked, so that the
/// client's handlers stay on the client's threads and a socket without a reader ends nothing, and
/// with the floating-point environment of a new process, whatever the caller's is.
/// @throws std::system_error if there is no thread to be had, std::bad_alloc.
std::thread startThread(const char* name, std::function<void()> body);

/// Held by a thread while it is in the driver on the host's account. Not to be nested. A fork waits
/// until none is, but not for ever, so that the child gets no lock of the driver's that nobody
/// would ever release.
class InDriver {
  public:
    InDriver();
    ~InDriver();
    InDriver(const InDriver&) = delete;
    InDriver& operator=(const InDriver&) = delete;
};

/// Held by a client's thread while it is in a part of the host that takes locks or starts threads.
/// Nothing waits for it; see `isForkedChild`.
class InHost {
  public:
    InHost();
    ~InHost();
    InHost(const InHost&) = delete;
    InHost& operator=(const InHost&) = delete;
};

/// Whether this process was forked from one with threads in the host, its own or a client's. They
/// are not here, and what they held stays held: such a child has to be refused before any lock.
bool isForkedChild();

/// As long as it lives, the calling thread is not cancelled. Held by a client's thread where others
/// know of it.
class Uncancelled {
  public:
    Uncancelled();
    ~Uncancelled();
    Uncancelled(const Uncancelled&) = delete;
    Uncancelled& operator=(const Uncancelled&) = delete;

  private:
    int mBefore = 0;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_THREAD_H
