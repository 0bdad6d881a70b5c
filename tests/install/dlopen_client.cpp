// SPDX-License-Identifier: Apache-2.0
// Takes the library by its path at run time, in a program that has EGL already, and then a plugin
// that draws with it.
#include <dlfcn.h>
#include <err.h>

int main(int, char** arguments) {
    void* plugin = nullptr;
    for (char** path = arguments + 1; *path != nullptr; ++path) {
        plugin = dlopen(*path, RTLD_NOW | RTLD_LOCAL);
        if (plugin == nullptr) errx(1, "%s", dlerror());
    }
    return reinterpret_cast<int (*)()>(dlsym(plugin, "_Z4drawv"))();
}
