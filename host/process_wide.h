// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_PROCESS_WIDE_H
#define UPSCALER_HOST_PROCESS_WIDE_H

#include <new>

namespace android::host {

/// The one `T` of the process. Never destroyed, since other threads and exit handlers use it until
/// the process is gone; and no memory is asked for that there may not be.
template <typename T>
T& processWide() {
    alignas(T) static unsigned char storage[sizeof(T)];
    static T* const made = new (storage) T;
    return *made;
}

}  // namespace android::host

#endif  // UPSCALER_HOST_PROCESS_WIDE_H
