// SPDX-License-Identifier: Apache-2.0
// Rules: the programs are warm and the buffers imported before anything is timed. "call" is the
// time until the operation returns, "frame" the time until its fence has signalled. Each frame is
// waited for before the next starts: a driver that gets to see several at once may drop overdrawn
// work. Absolute times mean little on a shared machine: compare rows of one run.
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>

#include "upscaler/upscaler.h"

namespace {

using android::Fence;
using android::GraphicBuffer;
using android::sp;
using android::Upscaler;

struct OperationRow {
    const char* name;
    void (Upscaler::*call)(sp<GraphicBuffer>&, sp<GraphicBuffer>&, float, sp<Fence>*);
};

constexpr OperationRow kOperations[] = {
        {"fsrResize", &Upscaler::fsrResize},     {"neaResize", &Upscaler::neaResize},
        {"casSharpen", &Upscaler::casSharpen},   {"casResize", &Upscaler::casResize},
        {"casvUpscale", &Upscaler::casvUpscale}, {"casTUpscale", &Upscaler::casTUpscale},
};

struct SizeRow {
    const char* name;
    uint32_t srcWidth, srcHeight, dstWidth, dstHeight;
};

constexpr SizeRow kSizes[] = {
        {"540p_to_1080p", 960, 540, 1920, 1080},
        {"720p_to_1080p", 1280, 720, 1920, 1080},
        {"720p_to_1440p", 1280, 720, 2560, 1440},
        {"1080p_to_4K", 1920, 1080, 3840, 2160},
};

sp<GraphicBuffer> makeBuffer(uint32_t width, uint32_t height) {
    return new GraphicBuffer(width, height, android::PIXEL_FORMAT_RGBA_8888, 1,
                             GraphicBuffer::USAGE_SW_WRITE_OFTEN | GraphicBuffer::USAGE_HW_TEXTURE |
                                     GraphicBuffer::USAGE_HW_RENDER,
                             "benchmark");
}

// A source that gives the filters something to do everywhere.
sp<GraphicBuffer> makeNoise(uint32_t width, uint32_t height) {
    sp<GraphicBuffer> buffer = makeBuffer(width, height);
    void* address = nullptr;
    if (buffer->lock(GraphicBuffer::USAGE_SW_WRITE_OFTEN, &address) != android::OK) return buffer;
    uint32_t state = 1;
    for (uint32_t i = 0; i < buffer->getStride() * height; ++i) {
        state = state * 1664525u + 1013904223u;
        static_cast<uint32_t*>(address)[i] = 0xFF000000u | state >> 8;
    }
    buffer->unlock();
    return buffer;
}

enum class Until { Return, Fence };

void run(benchmark::State& state, const OperationRow& operation, const SizeRow& size, Until until) {
    using Clock = std::chrono::steady_clock;
    auto upscaler = std::make_unique<Upscaler>();
    sp<GraphicBuffer> src = makeNoise(size.srcWidth, size.srcHeight);
    sp<GraphicBuffer> dst = makeBuffer(size.dstWidth, size.dstHeight);
    sp<Fence> fence;
    const auto frame = [&] {
        const Clock::time_point start = Clock::now();
        ((*upscaler).*operation.call)(src, dst, 0.5f, &fence);
        const Clock::time_point returned = Clock::now();
        if (!fence->isValid() || fence->waitForever("benchmark") != android::OK)
            state.SkipWithError("no fence");
        const Clock::time_point end = until == Until::Return ? returned : Clock::now();
        return std::chrono::duration<double>(end - start).count();
    };
    frame();
    frame();
    for (auto _ : state)
        state.SetIterationTime(frame());
    upscaler->clearOpenGLResources();
    upscaler->destroyEGL();
}

void construct(benchmark::State& state) {
    for (auto _ : state) {
        Upscaler upscaler;
        upscaler.clearOpenGLResources();
        upscaler.destroyEGL();
    }
}

const bool kRegistered = [] {
    benchmark::RegisterBenchmark("construct_and_tear_down", construct)
            ->Unit(benchmark::kMillisecond);
    for (const SizeRow& size : kSizes) {
        for (const OperationRow& operation : kOperations) {
            for (const Until until : {Until::Return, Until::Fence}) {
                const std::string name = std::string(until == Until::Return ? "call/" : "frame/") +
                                         operation.name + "/" + size.name;
                benchmark::RegisterBenchmark(name.c_str(), run, operation, size, until)
                        ->UseManualTime()
                        ->Unit(benchmark::kMillisecond);
            }
        }
    }
    return true;
}();

}  // namespace
