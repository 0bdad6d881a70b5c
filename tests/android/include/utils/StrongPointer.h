// SPDX-License-Identifier: Apache-2.0
// As far as used here, ANDROID_RELEASE being the release, 10 or later. EXPLICIT_SP is ours.
#ifndef TESTS_ANDROID_UTILS_STRONGPOINTER_H
#define TESTS_ANDROID_UTILS_STRONGPOINTER_H

#include <cstddef>

namespace android {

template <typename T>
class sp {
  public:
    sp() : m_ptr(nullptr) {}

#if ANDROID_RELEASE >= 12
    template <typename... Args>
    static sp<T> make(Args&&... args);
    static sp<T> fromExisting(T* other);
#endif
// A module may give up what else it could do with a pointer.
#if ANDROID_RELEASE >= 12 && defined(ANDROID_UTILS_REF_BASE_DISABLE_IMPLICIT_CONSTRUCTION)
    sp(std::nullptr_t) : sp() {}
#elif defined(EXPLICIT_SP)
    explicit sp(T* other);
    sp& operator=(T* other) = delete;
#else
    sp(T* other);
    template <typename U>
    sp(U* other);
    sp& operator=(T* other);
    template <typename U>
    sp& operator=(U* other);
#endif

    sp(const sp<T>& other);
    sp(sp<T>&& other) noexcept;
    template <typename U>
    sp(const sp<U>& other);
    template <typename U>
    sp(sp<U>&& other);
    ~sp();

    sp& operator=(const sp<T>& other);
    sp& operator=(sp<T>&& other) noexcept;
    template <typename U>
    sp& operator=(const sp<U>& other);
    template <typename U>
    sp& operator=(sp<U>&& other);

    void clear();
    T& operator*() const {
        return *m_ptr;
    }
    T* operator->() const {
        return m_ptr;
    }
    T* get() const {
        return m_ptr;
    }
    explicit operator bool() const {
        return m_ptr != nullptr;
    }

  private:
    T* m_ptr;
};

template <typename T, typename U>
bool operator==(const sp<T>& t, const sp<U>& u);
template <typename T, typename U>
bool operator==(const T* t, const sp<U>& u);
template <typename T, typename U>
bool operator==(const sp<T>& t, const U* u);
template <typename T>
bool operator==(const sp<T>& t, std::nullptr_t);
template <typename T>
bool operator==(std::nullptr_t, const sp<T>& t);
template <typename T, typename U>
bool operator!=(const sp<T>& t, const sp<U>& u);
template <typename T, typename U>
bool operator!=(const T* t, const sp<U>& u);
template <typename T, typename U>
bool operator!=(const sp<T>& t, const U* u);
template <typename T>
bool operator!=(const sp<T>& t, std::nullptr_t);
template <typename T>
bool operator!=(std::nullptr_t, const sp<T>& t);

}  // namespace android

#endif  // TESTS_ANDROID_UTILS_STRONGPOINTER_H
