// SPDX-License-Identifier: Apache-2.0
#include "host/thread.h"

#include <pthread.h>
#include <signal.h>

#include <shared_mutex>
#include <utility>

namespace android::host {
namespace {

class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &mBefore);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t mBefore;
};

std::shared_mutex& forkGate() {
    static auto* const gate = [] {
        pthread_atfork([] { forkGate().lock(); }, [] { forkGate().unlock(); },
                       [] { forkGate().unlock(); });
        return new std::shared_mutex;  // Never freed: a fork may come after exit began.
    }();
    return *gate;
}

}  // namespace

InDriver::InDriver() {
    forkGate().lock_shared();
}

InDriver::~InDriver() {
    forkGate().unlock_shared();
}

std::thread startThread(const char* name, std::function<void()> body) {
    const BlockedSignals inherited;
    return std::thread([name, body = std::move(body)] {
        pthread_setname_np(pthread_self(), name);
        body();
    });
}

}  // namespace android::host
