// SPDX-License-Identifier: Apache-2.0
#include "gpu/driver.h"

#include <EGL/egl.h>
#include <GLES3/gl32.h>
#include <sys/stat.h>

namespace upscale {
namespace {

constexpr int kMajor = 3;
constexpr int kMinor = 2;
constexpr char kNativeFences[] = "EGL_ANDROID_native_fence_sync";

struct Extension {
    enum { Gl, Egl } list;
    const char* name;
    bool needed;
    const char* purpose;
};

constexpr Extension kExtensions[] = {
        {Extension::Gl, "GL_OES_EGL_image", true, "buffers as textures"},
        {Extension::Gl, "GL_OES_EGL_image_external_essl3", true, "the source as a texture"},
        {Extension::Egl, "EGL_KHR_image_base", true, "buffers as images"},
        {Extension::Egl, "EGL_KHR_gl_texture_2D_image", true, "the pixels of buffers"},
        {Extension::Egl, "EGL_KHR_surfaceless_context", true, "nothing is shown"},
        {Extension::Egl, "EGL_KHR_fence_sync", true, "to know when the work is done"},
        {Extension::Egl, "EGL_KHR_no_config_context", false, "for machines without a display"},
        {Extension::Egl, kNativeFences, false, "fences of the driver's own"},
};

std::string text(const void* string) {
    return string ? static_cast<const char*>(string) : "?";
}

std::string glText(GLenum name) {
    return text(glGetString(name));
}

std::string eglText(EGLint name) {
    return text(eglQueryString(eglGetCurrentDisplay(), name));
}

bool has(const Extension& extension) {
    const std::string list =
            extension.list == Extension::Gl ? glText(GL_EXTENSIONS) : eglText(EGL_EXTENSIONS);
    return (" " + list + " ").find(" " + std::string(extension.name) + " ") != std::string::npos;
}

std::string version(int major, int minor) {
    return std::to_string(major) + "." + std::to_string(minor);
}

}  // namespace

std::string driverName() {
    return glText(GL_RENDERER) + ", " + glText(GL_VERSION);
}

std::vector<std::pair<std::string, std::string>> driverFacts() {
    GLint side = 0;
    GLint viewport[2] = {};
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &side);
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
    std::vector<std::pair<std::string, std::string>> facts = {
            {"renderer", glText(GL_RENDERER)},
            {"vendor", glText(GL_VENDOR)},
            {"OpenGL ES (" + version(kMajor, kMinor) + " is needed)", glText(GL_VERSION)},
            {"shading language", glText(GL_SHADING_LANGUAGE_VERSION)},
            {"EGL", eglText(EGL_VERSION) + ", " + eglText(EGL_VENDOR)},
            {"longest side of a texture", std::to_string(side)},
            {"longest sides of a viewport",
             std::to_string(viewport[0]) + "x" + std::to_string(viewport[1])},
    };
    for (const Extension& extension : kExtensions) {
        facts.emplace_back(extension.name, std::string(has(extension) ? "yes" : "no") + " (" +
                                                   (extension.needed ? "needed: " : "") +
                                                   extension.purpose + ")");
    }
    return facts;
}

std::string missingFromDriver() {
    GLint major = 0;
    GLint minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    if (major < kMajor || (major == kMajor && minor < kMinor)) {
        return "OpenGL ES " + version(major, minor) + "; " + version(kMajor, kMinor) + " is needed";
    }
    for (const Extension& extension : kExtensions) {
        if (extension.needed && !has(extension)) return "no " + std::string(extension.name);
    }
    return "";
}

std::string ownerOf(const android::Fence& fence) {
    struct stat status = {};
    const bool hosts = fstat(fence.get(), &status) == 0 && S_ISSOCK(status.st_mode);
    if (!hosts) return "the driver's own";
    for (const Extension& extension : kExtensions) {
        if (extension.name == kNativeFences && has(extension)) {
            return "signalled by a thread: the driver's own are not those of its work";
        }
    }
    return "signalled by a thread: the driver has none";
}

}  // namespace upscale
