// SPDX-License-Identifier: Apache-2.0
// Takes the library by its path at run time; exits 0 if it sets itself up without an error line.
#include <android/log.h>
#include <dlfcn.h>
#include <err.h>
#include <upscaler/upscaler.h>

#include <cstdio>

static int gErrors = 0;

int main(int, char** arguments) {
    using android::Upscaler;
    __android_log_set_logger([](const __android_logger_data* data, const char* message) {
        if (data->priority >= ANDROID_LOG_ERROR) ++gErrors;
        fprintf(stderr, "%s\n", message);
    });
    void* const library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) errx(1, "%s", dlerror());
    alignas(Upscaler) static char storage[sizeof(Upscaler)];
    for (const char* name :
         {"_ZN7android8UpscalerC1Ev", "_ZN7android8Upscaler20clearOpenGLResourcesEv",
          "_ZN7android8Upscaler10destroyEGLEv", "_ZN7android8UpscalerD1Ev"}) {
        const auto member = reinterpret_cast<void (*)(void*)>(dlsym(library, name));
        if (member == nullptr) errx(1, "no %s", name);
        member(storage);
    }
    return gErrors == 0 ? 0 : 1;
}
