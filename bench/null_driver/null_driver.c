// SPDX-License-Identifier: Apache-2.0
// A driver that does nothing, fast, so that only the cost of the library itself is left. These
// functions have to return something for the library and the host to go on. All others are
// generated.
#define EGL_EGLEXT_PROTOTYPES
#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
#include <dlfcn.h>
#include <stddef.h>
#include <stdint.h>

static uintptr_t lastHandle = 0;

static void* newHandle(void) {
    return (void*)++lastHandle;
}

static void newNames(GLsizei count, GLuint* names) {
    for (GLsizei i = 0; i < count; ++i)
        names[i] = (GLuint)++lastHandle;
}

EGLDisplay eglGetDisplay(EGLNativeDisplayType native) {
    (void)native;
    return (EGLDisplay)-1;
}
EGLBoolean eglInitialize(EGLDisplay display, EGLint* major, EGLint* minor) {
    (void)display, (void)major, (void)minor;
    return EGL_TRUE;
}
EGLBoolean eglTerminate(EGLDisplay display) {
    (void)display;
    return EGL_TRUE;
}
EGLBoolean eglBindAPI(EGLenum api) {
    (void)api;
    return EGL_TRUE;
}
EGLBoolean eglChooseConfig(EGLDisplay display, const EGLint* attributes, EGLConfig* configs,
                           EGLint size, EGLint* count) {
    (void)display, (void)attributes, (void)configs, (void)size;
    *count = 0;
    return EGL_TRUE;
}
EGLContext eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext share,
                            const EGLint* attributes) {
    (void)display, (void)config, (void)share, (void)attributes;
    return newHandle();
}
EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read,
                          EGLContext context) {
    (void)display, (void)draw, (void)read, (void)context;
    return EGL_TRUE;
}
EGLint eglGetError(void) {
    return EGL_SUCCESS;
}
// The driver claims native fences, so that the host passes them on. -1 means that no fence is
// needed.
const char* eglQueryString(EGLDisplay display, EGLint name) {
    (void)display, (void)name;
    return "EGL_ANDROID_native_fence_sync";
}
EGLSyncKHR eglCreateSyncKHR(EGLDisplay display, EGLenum type, const EGLint* attributes) {
    (void)display, (void)type, (void)attributes;
    return newHandle();
}
EGLint eglDupNativeFenceFDANDROID(EGLDisplay display, EGLSyncKHR sync) {
    (void)display, (void)sync;
    return -1;
}
EGLImageKHR eglCreateImageKHR(EGLDisplay display, EGLContext context, EGLenum target,
                              EGLClientBuffer buffer, const EGLint* attributes) {
    (void)display, (void)context, (void)target, (void)buffer, (void)attributes;
    return newHandle();
}
__eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
    return (__eglMustCastToProperFunctionPointerType)dlsym(RTLD_DEFAULT, name);
}

GLenum glCheckFramebufferStatus(GLenum target) {
    (void)target;
    return GL_FRAMEBUFFER_COMPLETE;
}
void glGetIntegerv(GLenum name, GLint* value) {
    (void)name;
    *value = 16384;
}
void glGetShaderiv(GLuint shader, GLenum name, GLint* value) {
    (void)shader, (void)name;
    *value = GL_TRUE;
}
void glGetProgramiv(GLuint program, GLenum name, GLint* value) {
    (void)program, (void)name;
    *value = GL_TRUE;
}
GLuint glCreateShader(GLenum type) {
    (void)type;
    return (GLuint)++lastHandle;
}
GLuint glCreateProgram(void) {
    return (GLuint)++lastHandle;
}
void glGenTextures(GLsizei count, GLuint* names) {
    newNames(count, names);
}
void glGenFramebuffers(GLsizei count, GLuint* names) {
    newNames(count, names);
}
void glGenBuffers(GLsizei count, GLuint* names) {
    newNames(count, names);
}
void glGenVertexArrays(GLsizei count, GLuint* names) {
    newNames(count, names);
}
