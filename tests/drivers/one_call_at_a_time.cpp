// SPDX-License-Identifier: Apache-2.0
// An EGL vendor for libglvnd, on x86-64: Mesa's, with one call of the process in it at a time.
//
// virgl's test transport, one socket that all contexts of a process share, has no lock: messages of
// two threads mingle, and the server drops the connection.
#include <dlfcn.h>
#include <glvnd/libeglabi.h>

#include <array>
#include <mutex>
#include <vector>

namespace {

void* (*gRealGetProcAddress)(const char* name) = nullptr;

std::recursive_mutex gMutex;
std::array<void*, 8192> gFunctions;
size_t gUsed = 0;
thread_local std::vector<void*> tReturnAddresses;

}  // namespace

extern "C" {

// Called by the code below.
__attribute__((visibility("hidden"))) void* enterCall(size_t slot, void* returnAddress) {
    gMutex.lock();
    tReturnAddresses.push_back(returnAddress);
    return gFunctions[slot];
}

__attribute__((visibility("hidden"))) void* leaveCall() {
    void* const returnAddress = tReturnAddresses.back();
    tReturnAddresses.pop_back();
    gMutex.unlock();
    return returnAddress;
}

extern const char firstStub[];
extern const char secondStub[];

}  // extern "C"

// A stub for each slot hands its number to what they share. That calls the slot's function with all
// its arguments, those on the stack too, in the place of the caller.
asm(R"(
    .text
    .balign 16
    .globl firstStub, secondStub
    .hidden firstStub, secondStub
firstStub:
    .set slot, 0
    .rept 8192
    .balign 16
    .if slot == 1
secondStub:
    .endif
    pushq $slot
    jmp callSlot
    .set slot, slot + 1
    .endr

callSlot:
    pushq %rdi
    pushq %rsi
    pushq %rdx
    pushq %rcx
    pushq %r8
    pushq %r9
    pushq %rax
    subq $136, %rsp  # With this the stack is aligned.
    movups %xmm0, (%rsp)
    movups %xmm1, 16(%rsp)
    movups %xmm2, 32(%rsp)
    movups %xmm3, 48(%rsp)
    movups %xmm4, 64(%rsp)
    movups %xmm5, 80(%rsp)
    movups %xmm6, 96(%rsp)
    movups %xmm7, 112(%rsp)
    movq 192(%rsp), %rdi
    movq 200(%rsp), %rsi
    call enterCall
    movq %rax, %r11
    movups (%rsp), %xmm0
    movups 16(%rsp), %xmm1
    movups 32(%rsp), %xmm2
    movups 48(%rsp), %xmm3
    movups 64(%rsp), %xmm4
    movups 80(%rsp), %xmm5
    movups 96(%rsp), %xmm6
    movups 112(%rsp), %xmm7
    addq $136, %rsp
    popq %rax
    popq %r9
    popq %r8
    popq %rcx
    popq %rdx
    popq %rsi
    popq %rdi
    addq $16, %rsp
    call *%r11
    pushq %rax
    pushq %rdx
    subq $16, %rsp
    movups %xmm0, (%rsp)
    call leaveCall
    movq %rax, %r11
    movups (%rsp), %xmm0
    addq $16, %rsp
    popq %rdx
    popq %rax
    jmp *%r11
)");

namespace {

// The stub that stands for a function of the driver; the same one whenever it is asked for.
void* getProcAddress(const char* name) {
    void* const function = gRealGetProcAddress(name);
    if (function == nullptr) return nullptr;
    const std::lock_guard<std::recursive_mutex> lock(gMutex);
    size_t slot = 0;
    while (slot < gUsed && gFunctions[slot] != function)
        ++slot;
    if (slot == gFunctions.size()) return nullptr;
    gFunctions[slot] = function;
    if (slot == gUsed) ++gUsed;
    return const_cast<char*>(firstStub + slot * static_cast<size_t>(secondStub - firstStub));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) EGLBoolean __egl_Main(
        uint32_t version, const __EGLapiExports* exports, __EGLvendorInfo* vendor,
        __EGLapiImports* imports) {
    void* const mesa = dlopen("libEGL_mesa.so.0", RTLD_NOW | RTLD_LOCAL);
    if (mesa == nullptr) return EGL_FALSE;
    const auto main = reinterpret_cast<decltype(&__egl_Main)>(dlsym(mesa, "__egl_Main"));
    if (main == nullptr || !main(version, exports, vendor, imports)) return EGL_FALSE;
    gRealGetProcAddress = imports->getProcAddress;
    imports->getProcAddress = getProcAddress;
    return EGL_TRUE;
}
