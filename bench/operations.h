// SPDX-License-Identifier: Apache-2.0
// What the benchmarks share: the operations as rows, and buffers.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

#include <cstdint>
#include <cstdio>

#include "upscaler/operations.h"
#include "upscaler/upscaler.h"

namespace bench {

using android::Fence;
using android::GraphicBuffer;
using android::sp;
using android::Upscaler;

struct Operation {
    const char* name;
    void (Upscaler::*call)(sp<GraphicBuffer>&, sp<GraphicBuffer>&, float, sp<Fence>*);
};

#define ROW(name) {#name, &Upscaler::name},
constexpr Operation kOperations[] = {UPSCALER_OPERATIONS(ROW)};
#undef ROW

inline void printOperations() {
    for (const Operation& operation : kOperations)
        std::puts(operation.name);
}

inline sp<GraphicBuffer> makeBuffer(uint32_t width, uint32_t height) {
    return sp<GraphicBuffer>(new GraphicBuffer(
            width, height, android::PIXEL_FORMAT_RGBA_8888, 1,
            GraphicBuffer::USAGE_SW_READ_OFTEN | GraphicBuffer::USAGE_SW_WRITE_OFTEN |
                    GraphicBuffer::USAGE_HW_TEXTURE | GraphicBuffer::USAGE_HW_RENDER,
            "benchmark"));
}

}  // namespace bench

#endif  // BENCH_OPERATIONS_H
