// SPDX-License-Identifier: Apache-2.0
#include "host/displays.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "host/driver.h"
#include "host/egl_error.h"
#include "host/process_wide.h"
#include "host/thread.h"

namespace android::host {
namespace {

// Of EGL_ANGLE_platform_angle and EGL_ANGLE_feature_control, which the EGL headers leave out.
constexpr EGLenum kPlatformAngle = 0x3202;
constexpr EGLAttrib kNativePlatformType = 0x348F;
constexpr EGLAttrib kFeatureOverridesDisabled = 0x3467;

bool initializes(EGLDisplay display) {
    return display != EGL_NO_DISPLAY &&
           driver().eglInitialize(display, nullptr, nullptr) == EGL_TRUE;
}

// The attributes end with EGL_NONE.
EGLDisplay openPlatform(EGLenum platform, void* native, const EGLAttrib* attributes) {
    if (driver().eglGetPlatformDisplay == nullptr) return EGL_NO_DISPLAY;
    const EGLDisplay display = driver().eglGetPlatformDisplay(platform, native, attributes);
    return initializes(display) ? display : EGL_NO_DISPLAY;
}

// The driver's own default display or, where that cannot be initialised, as without a display
// server, one that needs none.
EGLDisplay openDrivers() {
    const EGLDisplay display = driver().eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (initializes(display)) return display;
    return openPlatform(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
}

// ANGLE tells displays apart by their native display, which on this platform nobody reads.
EGLDisplay openAngle() {
    if (!driver().hasExtension(EGL_NO_DISPLAY, "EGL_ANGLE_platform_angle")) return EGL_NO_DISPLAY;
    static char native;
    // With it, the GPU waits for ever if one context reads what another's commands, recorded but
    // not yet submitted, use: as in a lock of the source during an operation.
    static const char* const deadlocks[] = {"useVkEventForImageBarrier", nullptr};
    const bool hasFeatures = driver().hasExtension(EGL_NO_DISPLAY, "EGL_ANGLE_feature_control");
    const EGLAttrib attributes[] = {kNativePlatformType, EGL_PLATFORM_SURFACELESS_MESA,
                                    hasFeatures ? kFeatureOverridesDisabled : EGL_NONE,
                                    reinterpret_cast<EGLAttrib>(deadlocks), EGL_NONE};
    return openPlatform(kPlatformAngle, &native, attributes);
}

bool isSoftware(EGLAttrib device) {
    if (driver().eglQueryDeviceStringEXT == nullptr) return false;
    const char* const extensions = driver().eglQueryDeviceStringEXT(
            reinterpret_cast<EGLDeviceEXT>(device), EGL_EXTENSIONS);
    return extensions != nullptr && std::strstr(extensions, "EGL_MESA_device_software") != nullptr;
}

// A display on the device of `display`.
EGLDisplay openDevice(EGLDisplay display) {
    EGLAttrib device = 0;
    if (display == EGL_NO_DISPLAY || driver().eglQueryDisplayAttribEXT == nullptr ||
        !driver().hasExtension(EGL_NO_DISPLAY, "EGL_EXT_platform_device") ||
        driver().eglQueryDisplayAttribEXT(display, EGL_DEVICE_EXT, &device) != EGL_TRUE) {
        return EGL_NO_DISPLAY;
    }
    // Mesa 25 crashes on a display of a DRM device without a driver of its own, such as a virtual
    // machine's, if it is told to use software.
    const char* const forced = getenv("LIBGL_ALWAYS_SOFTWARE");
    if (forced != nullptr && *forced != '\0' && !isSoftware(device)) return EGL_NO_DISPLAY;
    // Mesa makes a difference between an empty list and none, which is what most programs give.
    constexpr EGLAttrib empty[] = {EGL_NONE};
    return openPlatform(EGL_PLATFORM_DEVICE_EXT, reinterpret_cast<void*>(device), empty);
}

// The driver's own extensions and those that the host makes of them.
std::string extensionsOf(EGLDisplay display) {
    const Driver& egl = driver();
    constexpr struct {
        const char* name;
        const char* madeOf;
    } kHosts[] = {{"EGL_ANDROID_image_native_buffer", "EGL_KHR_gl_texture_2D_image"},
                  {"EGL_ANDROID_native_fence_sync", "EGL_KHR_fence_sync"}};
    const char* const drivers = egl.eglQueryString(display, EGL_EXTENSIONS);
    std::string all = drivers == nullptr ? "" : drivers;
    for (const auto& each : kHosts) {
        if (!egl.hasExtension(display, each.madeOf) || egl.hasExtension(display, each.name))
            continue;
        if (!all.empty() && all.back() != ' ') all += ' ';
        all += each.name;
    }
    return all;
}

}  // namespace

Displays& Displays::get() {
    return processWide<Displays>();
}

EGLDisplay Displays::openDefault() {
    if (isForkedChild()) return mDefault;
    const InHost inHost;
    const std::lock_guard<std::mutex> lock(mDefaultMutex);
    if (mDefault != EGL_NO_DISPLAY) return mDefault;
    EGLDisplay display = openAngle();
    if (display == EGL_NO_DISPLAY) {
        // It stays initialised: whether a program has done so too cannot be told.
        const EGLDisplay drivers = openDrivers();
        display = openDevice(drivers);
        if (display == EGL_NO_DISPLAY) display = drivers;
    }
    mDefault = display;
    return display;
}

EGLDisplay Displays::getDisplay(EGLNativeDisplayType native) {
    if (native == EGL_DEFAULT_DISPLAY) {
        const EGLDisplay display = openDefault();
        if (display != EGL_NO_DISPLAY || isForkedChild()) {
            setEglSuccess();
            return display;
        }
    }
    return driver().eglGetDisplay(native);
}

EGLBoolean Displays::initialize(EGLDisplay display, EGLint* major, EGLint* minor) {
    if (isForkedChild()) return eglFailure(EGL_NOT_INITIALIZED, EGLBoolean{EGL_FALSE});
    const InHost inHost;
    const std::lock_guard<std::mutex> lock(mClientMutex);
    const auto client = mClients.try_emplace(display, 0).first;  // First, since it may throw.
    const InDriver inDriver;
    if (isDefault(display)) driver().eglBindAPI(EGL_OPENGL_ES_API);
    const EGLBoolean done = driver().eglInitialize(display, major, minor);
    if (done == EGL_TRUE) {
        ++client->second;
        if (isDefault(display)) mUsableDefault = display;
    }
    if (client->second == 0) mClients.erase(client);
    return done;
}

EGLBoolean Displays::terminate(EGLDisplay display, EndUses* endUses) {
    if (isForkedChild()) return eglFailure(EGL_NOT_INITIALIZED, EGLBoolean{EGL_FALSE});
    const InHost inHost;
    const auto succeed = [] {
        const InDriver inDriver;
        setEglSuccess();
        return EGLBoolean{EGL_TRUE};
    };
    const std::lock_guard<std::mutex> lock(mClientMutex);
    const auto client = mClients.find(display);
    if (client != mClients.end()) {
        if (client->second > 1) {
            --client->second;
            return succeed();
        }
        if (isDefault(display)) mUsableDefault = EGL_NO_DISPLAY;
        endUses(display);
        mClients.erase(client);
    }
    if (isDefault(display)) return succeed();
    const InDriver inDriver;
    return driver().eglTerminate(display);
}

const char* Displays::queryString(EGLDisplay display, EGLint name) {
    if (!isDefault(display)) return driver().eglQueryString(display, name);
    const EGLint usable = check(display);
    if (usable != EGL_SUCCESS) return eglFailure<const char*>(usable, nullptr);
    if (name != EGL_EXTENSIONS) return driver().eglQueryString(display, name);
    static const auto* const extensions = new std::string(extensionsOf(display));
    setEglSuccess();
    return extensions->c_str();
}

EGLint Displays::check(EGLDisplay display) {
    if (display == EGL_NO_DISPLAY) return EGL_BAD_DISPLAY;
    if (isForkedChild()) return EGL_NOT_INITIALIZED;
    if (display == mUsableDefault) return EGL_SUCCESS;
    const std::lock_guard<std::mutex> lock(mClientMutex);
    if (mClients.count(display) != 0) return EGL_SUCCESS;
    if (isDefault(display)) return EGL_NOT_INITIALIZED;
    // The client may have initialised a display of its own without asking the host.
    driver().eglGetError();
    if (driver().eglQueryString(display, EGL_VERSION) != nullptr) return EGL_SUCCESS;
    return driver().eglGetError();
}

bool Displays::isDefault(EGLDisplay display) const {
    return display != EGL_NO_DISPLAY && display == mDefault;
}

}  // namespace android::host
