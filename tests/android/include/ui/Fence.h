// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_ANDROID_UI_FENCE_H
#define TESTS_ANDROID_UI_FENCE_H

#include <android-base/unique_fd.h>
#include <utils/Flattenable.h>
#include <utils/RefBase.h>
#include <utils/Timers.h>

namespace android {

class Fence : public LightRefBase<Fence>, public Flattenable<Fence> {
  public:
    enum class Status { Invalid, Unsignaled, Signaled };
    static const sp<Fence> NO_FENCE;

    Fence() = default;
    explicit Fence(int fenceFd);
    explicit Fence(base::unique_fd fenceFd);
    Fence(const Fence& rhs) = delete;
    Fence& operator=(const Fence& rhs) = delete;

    bool isValid() const;
    status_t wait(int timeout);
    status_t waitForever(const char* logname);
    int get() const;
    int dup() const;
    Status getStatus();

  private:
    friend class LightRefBase<Fence>;
    ~Fence() = default;

    base::unique_fd mFenceFd;
};

}  // namespace android

#endif  // TESTS_ANDROID_UI_FENCE_H
