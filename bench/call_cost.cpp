// SPDX-License-Identifier: Apache-2.0
// call_cost --list: prints the names of the operations.
//
// call_cost [OPERATION [CALLS [BUFFERS]]]: makes CALLS calls of one operation with BUFFERS cached
// buffers. Prints how often a call allocated memory, how long it took, and how long construction
// took. Run it with the null driver, so that only the library and the host are measured. Callgrind
// counts the instructions of `measured`.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "bench/operations.h"

// The host asks the kernel whether a fence of the driver's is real, and believes this one.
extern "C" __attribute__((visibility("default"))) int ioctl(int, unsigned long, ...) {
    return 0;  // With the answer as it was, all zeros: a pending sync file.
}

namespace {

bool counts = false;
unsigned long allocations = 0;

}  // namespace

// These serve the library and the host, too. They are not inlined, because GCC would see malloc and
// delete as a mismatched pair.
[[gnu::noinline]] void* operator new(size_t size) {
    if (counts) ++allocations;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

namespace bench {
namespace {

using Buffers = std::vector<sp<GraphicBuffer>>;

// Uses the last two buffers, which a cache that is searched in order would find last.
[[gnu::noinline]] void measured(Upscaler& upscaler, const Operation& operation, Buffers& buffers,
                                unsigned calls, sp<Fence>* fence) {
    sp<GraphicBuffer>& src = buffers[buffers.size() - 2];
    sp<GraphicBuffer>& dst = buffers[buffers.size() - 1];
    for (unsigned i = 0; i < calls; ++i)
        (upscaler.*operation.call)(src, dst, 0.5f, fence);
}

int run(const Operation& operation, unsigned calls, size_t count) {
    using Clock = std::chrono::steady_clock;
    using Nanoseconds = std::chrono::duration<double, std::nano>;
    const Clock::time_point begin = Clock::now();
    Upscaler upscaler;
    const Nanoseconds construction = Clock::now() - begin;
    Buffers buffers;
    sp<Fence> fence;
    for (size_t i = 0; i < count; i += 2) {
        buffers.push_back(makeBuffer(16, 16));
        buffers.push_back(makeBuffer(16, 16));
        upscaler.casSharpen(buffers[i], buffers[i + 1], 1.0f, &fence);
    }
    (upscaler.*operation.call)(buffers[count - 2], buffers[count - 1], 0.5f, &fence);

    const Clock::time_point start = Clock::now();
    counts = true;
    measured(upscaler, operation, buffers, calls, &fence);
    counts = false;
    const Nanoseconds time = Clock::now() - start;
    std::printf("%s buffers %zu allocations %g nanoseconds %.0f construction %.0f\n",
                operation.name, count, static_cast<double>(allocations) / calls,
                time.count() / calls, construction.count());
    upscaler.clearOpenGLResources();
    upscaler.destroyEGL();
    return 0;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    const char* name = argc > 1 ? argv[1] : "fsrResize";
    if (std::strcmp(name, "--list") == 0) {
        bench::printOperations();
        return 0;
    }
    const auto calls = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : 1000U;
    const size_t buffers = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 2;
    for (const bench::Operation& operation : bench::kOperations) {
        if (std::strcmp(operation.name, name) == 0) return bench::run(operation, calls, buffers);
    }
    std::fprintf(stderr, "call_cost: no operation %s\n", name);
    return 2;
}
