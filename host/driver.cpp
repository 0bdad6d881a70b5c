// SPDX-License-Identifier: Apache-2.0
#include "host/driver.h"

#include <dlfcn.h>

#include <string_view>

namespace android::host {
namespace {

const Driver* load() {
    // By handle and not by the global scope, where a test or a tracer may stand ahead.
    void* library = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) library = RTLD_DEFAULT;

    static Driver table;  // Has no destructor: threads use it until the process is gone.
#define HOST_LOAD_CORE(name) \
    table.name = reinterpret_cast<decltype(table.name)>(dlsym(library, #name));
    HOST_EGL_CORE_FUNCTIONS(HOST_LOAD_CORE)
#undef HOST_LOAD_CORE
#define HOST_LOAD(name) \
    table.name = reinterpret_cast<decltype(table.name)>(table.eglGetProcAddress(#name));
    HOST_EGL_EXTENSION_FUNCTIONS(HOST_LOAD)
    HOST_GL_FUNCTIONS(HOST_LOAD)
#undef HOST_LOAD
    return &table;
}

}  // namespace

bool Driver::hasExtension(EGLDisplay display, const char* name) const {
    const char* extensions = eglQueryString(display, EGL_EXTENSIONS);
    std::string_view rest = extensions == nullptr ? "" : extensions;
    while (!rest.empty()) {
        const size_t end = rest.find(' ');
        if (rest.substr(0, end) == name) return true;
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return false;
}

const Driver& driver() {
    static const Driver* const table = load();
    return *table;
}

}  // namespace android::host
