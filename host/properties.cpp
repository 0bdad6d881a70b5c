// SPDX-License-Identifier: Apache-2.0
#include <cutils/properties.h>
#include <pthread.h>
#include <ui/HostExport.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <new>
#include <string>

#include "host/log.h"
#include "host/process_wide.h"

namespace {

class Properties {
  public:
    static Properties& get() { return android::host::processWide<Properties>(); }

    bool set(const char* key, const char* value) {
        const std::lock_guard<std::mutex> lock(mMutex);
        try {
            mValues.insert_or_assign(key, value);
        } catch (const std::bad_alloc&) {
            return false;
        }
        return true;
    }

    // Whether `key` was set: then `value`, of PROPERTY_VALUE_MAX bytes, gets what to.
    bool find(const char* key, char* value) {
        const std::lock_guard<std::mutex> lock(mMutex);
        const auto found = mValues.find(key);
        if (found == mValues.end()) return false;
        std::memcpy(value, found->second.c_str(), found->second.size() + 1);
        return true;
    }

    // Around a fork, so that the child finds neither the lock held nor the values half written.
    void lock() { mMutex.lock(); }
    void unlock() { mMutex.unlock(); }

  private:
    std::mutex mMutex;
    std::map<std::string, std::string, std::less<>> mValues;
};

[[gnu::constructor]] void keepForksOut() {
    Properties::get();
    pthread_atfork([] { Properties::get().lock(); }, [] { Properties::get().unlock(); },
                   [] { Properties::get().unlock(); });
}

// Nothing that whoever started a privileged program could have set. A client's logger is called
// with no lock held.
const char* fromEnvironment(const char* key) {
    const char* const value = secure_getenv(key);
    if (value == nullptr) return "";
    if (std::strlen(value) < PROPERTY_VALUE_MAX) return value;
    HOST_LOGE("environment variable %s is longer than the %d bytes of a property: ignored",
              android::host::OneLine(key).text, PROPERTY_VALUE_MAX - 1);
    return "";
}

}  // namespace

extern "C" {

UPSCALER_HOST_API int property_get(const char* key, char* value, const char* default_value) {
    char found[PROPERTY_VALUE_MAX] = "";
    if (key != nullptr && !Properties::get().find(key, found)) {
        std::strcpy(found, fromEnvironment(key));
    }
    if (*found == '\0' && default_value != nullptr) {
        std::strncat(found, default_value, sizeof(found) - 1);
    }
    const size_t length = std::strlen(found);
    std::memcpy(value, found, length + 1);  // The client may have no more room than for that.
    return static_cast<int>(length);
}

UPSCALER_HOST_API int property_set(const char* key, const char* value) {
    if (key == nullptr || *key == '\0') return -1;
    if (value == nullptr) value = "";
    if (std::strlen(value) >= PROPERTY_VALUE_MAX) return -1;
    return Properties::get().set(key, value) ? 0 : -1;
}

}  // extern "C"
