// SPDX-License-Identifier: Apache-2.0
#include "host/entry_points.h"

#include <cstring>

#include "host/displays.h"
#include "host/egl_error.h"
#include "host/egl_wrap.h"
#include "host/native_fence.h"
#include "host/native_image.h"
#include "host/pixel_store.h"
#include "host/thread.h"

namespace android::host {
namespace {

EGLImageKHR EGLAPIENTRY createImage(EGLDisplay display, EGLContext context, EGLenum target,
                                    EGLClientBuffer buffer, const EGLint* attributes) {
    if (target == EGL_NATIVE_BUFFER_ANDROID) {
        return NativeImages::get().create(display, context, buffer, attributes);
    }
    if (driver().eglCreateImageKHR == nullptr) {
        return eglFailure(EGL_BAD_PARAMETER, EGL_NO_IMAGE_KHR);
    }
    return driver().eglCreateImageKHR(display, context, target, buffer, attributes);
}

EGLBoolean EGLAPIENTRY destroyImage(EGLDisplay display, EGLImageKHR image) {
    return NativeImages::get().destroy(display, image);
}

void EGLAPIENTRY bindImage(GLenum target, GLeglImageOES image) {
    if (isForkedChild()) return;
    // Before the driver, whose GL errors are the client's: a bind that fails was still seen.
    NativeImages::get().bind(target, image);
    driver().glEGLImageTargetTexture2DOES(target, image);
}

EGLSyncKHR EGLAPIENTRY createSync(EGLDisplay display, EGLenum type, const EGLint* attributes) {
    if (type == EGL_SYNC_NATIVE_FENCE_ANDROID) return createNativeFence(display, attributes);
    if (driver().eglCreateSyncKHR == nullptr) return eglFailure(EGL_BAD_ATTRIBUTE, EGL_NO_SYNC_KHR);
    return driver().eglCreateSyncKHR(display, type, attributes);
}

// EGL 1.5 has the same by names without KHR. Its syncs and the extension's are one kind of handle.

EGLSync EGLAPIENTRY createCoreSync(EGLDisplay display, EGLenum type, const EGLAttrib* attributes) {
    if (type == EGL_SYNC_NATIVE_FENCE_ANDROID) return createNativeFence(display, attributes);
    static const auto create =
            reinterpret_cast<decltype(&eglCreateSync)>(driver().eglGetProcAddress("eglCreateSync"));
    if (create == nullptr) return eglFailure(EGL_BAD_ATTRIBUTE, EGL_NO_SYNC);
    return create(display, type, attributes);
}

EGLBoolean EGLAPIENTRY waitCoreSync(EGLDisplay display, EGLSync sync, EGLint flags) {
    return static_cast<EGLBoolean>(waitSync(display, sync, flags));
}

}  // namespace

EntryPoint findEntryPoint(const char* name) {
    using Function = EntryPoint;
    static const struct {
        const char* name;
        Function function;
    } answered[] = {
            {"eglCreateImageKHR", reinterpret_cast<Function>(createImage)},
            {"eglDestroyImageKHR", reinterpret_cast<Function>(destroyImage)},
            {"eglCreateSyncKHR", reinterpret_cast<Function>(createSync)},
            {"eglDestroySyncKHR", reinterpret_cast<Function>(destroySync)},
            {"eglDupNativeFenceFDANDROID", reinterpret_cast<Function>(dupNativeFence)},
            {"eglClientWaitSyncKHR", reinterpret_cast<Function>(clientWaitSync)},
            {"eglWaitSyncKHR", reinterpret_cast<Function>(waitSync)},
            {"eglGetSyncAttribKHR",
             reinterpret_cast<Function>(
                     static_cast<decltype(eglGetSyncAttribKHR)*>(getSyncAttribute))},
            {"eglCreateSync", reinterpret_cast<Function>(createCoreSync)},
            {"eglDestroySync", reinterpret_cast<Function>(destroySync)},
            {"eglClientWaitSync", reinterpret_cast<Function>(clientWaitSync)},
            {"eglWaitSync", reinterpret_cast<Function>(waitCoreSync)},
            {"eglGetSyncAttrib",
             reinterpret_cast<Function>(
                     static_cast<decltype(eglGetSyncAttrib)*>(getSyncAttribute))},
            {"eglGetDisplay", reinterpret_cast<Function>(__wrap_eglGetDisplay)},
            {"eglGetError", reinterpret_cast<Function>(__wrap_eglGetError)},
            {"eglGetProcAddress", reinterpret_cast<Function>(__wrap_eglGetProcAddress)},
            {"eglInitialize", reinterpret_cast<Function>(__wrap_eglInitialize)},
            {"eglQueryString", reinterpret_cast<Function>(__wrap_eglQueryString)},
            {"eglTerminate", reinterpret_cast<Function>(__wrap_eglTerminate)},
    };
    for (const auto& each : answered) {
        if (std::strcmp(each.name, name) == 0) return each.function;
    }
    if (std::strcmp(name, "glEGLImageTargetTexture2DOES") == 0) {
        const bool known = driver().glEGLImageTargetTexture2DOES != nullptr;
        return known ? reinterpret_cast<Function>(bindImage) : nullptr;
    }
    // Its other ways to bind an image, as a renderbuffer or with storage, are not watched.
    if (std::strncmp(name, "glEGLImageTarget", 16) == 0) PixelStore::expectUnseenBinds();
    return driver().eglGetProcAddress(name);
}

}  // namespace android::host
