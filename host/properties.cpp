// SPDX-License-Identifier: Apache-2.0
#include <cutils/properties.h>
#include <ui/HostExport.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>

#include "host/log.h"

namespace {

class Properties {
  public:
    static Properties& get() {
        static auto* const properties = new Properties;  // Never freed: read until the very end.
        return *properties;
    }

    void set(const char* key, const char* value) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mValues[key] = value;
    }

    std::string value(const char* key) {
        const std::lock_guard<std::mutex> lock(mMutex);
        const auto found = mValues.find(key);
        if (found != mValues.end()) return found->second;
        const char* fromEnvironment = std::getenv(key);
        if (fromEnvironment == nullptr) return {};
        if (std::strlen(fromEnvironment) >= PROPERTY_VALUE_MAX) {
            HOST_LOGE("environment variable %s is longer than the %d bytes of a property: ignored",
                      key, PROPERTY_VALUE_MAX - 1);
            return {};
        }
        return fromEnvironment;
    }

  private:
    std::mutex mMutex;
    std::unordered_map<std::string, std::string> mValues;
};

}  // namespace

extern "C" {

UPSCALER_HOST_API int property_get(const char* key, char* value, const char* default_value) {
    std::string found = key == nullptr ? std::string() : Properties::get().value(key);
    if (found.empty() && default_value != nullptr) {
        found.assign(default_value, strnlen(default_value, PROPERTY_VALUE_MAX - 1));
    }
    std::memcpy(value, found.c_str(), found.size() + 1);
    return static_cast<int>(found.size());
}

UPSCALER_HOST_API int property_set(const char* key, const char* value) {
    if (key == nullptr || *key == '\0') return -1;
    if (value == nullptr) value = "";
    if (std::strlen(value) >= PROPERTY_VALUE_MAX) return -1;
    Properties::get().set(key, value);
    return 0;
}

}  // extern "C"
