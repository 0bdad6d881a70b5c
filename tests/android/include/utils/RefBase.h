// SPDX-License-Identifier: Apache-2.0
// libutils', as far as it is used.
#ifndef TESTS_ANDROID_UTILS_REFBASE_H
#define TESTS_ANDROID_UTILS_REFBASE_H

#include <stdint.h>
#include <utils/StrongPointer.h>

#include <atomic>

namespace android {

class RefBase {
  public:
    void incStrong(const void* id) const;
    void decStrong(const void* id) const;
    int32_t getStrongCount() const;

    RefBase(const RefBase& o) = delete;
    RefBase& operator=(const RefBase& o) = delete;

  protected:
    RefBase();
    virtual ~RefBase();

    virtual void onFirstRef();
    virtual void onLastStrongRef(const void* id);
    virtual bool onIncStrongAttempted(uint32_t flags, const void* id);
    virtual void onLastWeakRef(const void* id);

  private:
    class weakref_impl;
    weakref_impl* const mRefs;
};

template <class T>
class LightRefBase {
  public:
    LightRefBase() : mCount(0) {}
    void incStrong(const void* id) const;
    void decStrong(const void* id) const;
    int32_t getStrongCount() const;

  protected:
    ~LightRefBase() {}

  private:
    mutable std::atomic<int32_t> mCount;
};

}  // namespace android

#endif  // TESTS_ANDROID_UTILS_REFBASE_H
