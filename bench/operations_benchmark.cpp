// SPDX-License-Identifier: Apache-2.0
// Rules: the programs are warm and the buffers imported before anything is timed. "call" is the
// time until the operation returns, "frame" the time until its fence has signalled. Each frame is
// waited for before the next starts: a driver that gets to see several at once may drop overdrawn
// work. Absolute times mean little on a shared machine: compare rows of one run, or the ratios
// within a row, whose parts took turns.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "bench/bare_gl.h"
#include "bench/interleave.h"
#include "bench/operations.h"

namespace bench {
namespace {

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
// The size at which the share of the call besides the GPU's work is largest.
constexpr SizeRow kTiny = {"16p_to_32p", 16, 16, 32, 32};
constexpr SizeRow kScales[] = {
        {"1MP", 512, 512, 1024, 1024},
        {"4MP", 1024, 1024, 2048, 2048},
        {"16MP", 2048, 2048, 4096, 4096},
        {"64MP", 4096, 4096, 8192, 8192},
};

// Noise gives the filters something to do everywhere.
void fillWithNoise(const sp<GraphicBuffer>& buffer) {
    void* address = nullptr;
    if (buffer->lock(GraphicBuffer::USAGE_SW_WRITE_OFTEN, &address) != android::OK) return;
    uint32_t state = 1;
    for (uint32_t i = 0; i < buffer->getStride() * buffer->getHeight(); ++i) {
        state = state * 1664525u + 1013904223u;
        static_cast<uint32_t*>(address)[i] = 0xFF000000u | state >> 8;
    }
    buffer->unlock();
}

// An object with a pair of imported buffers.
struct Rig {
    Rig(benchmark::State& benchmarkState, const SizeRow& size)
        : state(benchmarkState),
          src(makeBuffer(size.srcWidth, size.srcHeight)),
          dst(makeBuffer(size.dstWidth, size.dstHeight)) {
        if (src->initCheck() != android::OK || dst->initCheck() != android::OK) {
            state.SkipWithError("no buffers of this size");
            return;
        }
        fillWithNoise(src);
        upscaler.casSharpen(src, dst, 1.0f, &fence);
        wait();
    }
    ~Rig() {
        upscaler.clearOpenGLResources();
        upscaler.destroyEGL();
    }
    void call(const Operation& operation) { (upscaler.*operation.call)(src, dst, 0.5f, &fence); }
    void wait() {
        if (!fence->isValid() || fence->wait(60'000) != android::OK)
            state.SkipWithError("no fence");
    }
    double frame(const Operation& operation) {
        return seconds([&] {
            call(operation);
            wait();
        });
    }

    benchmark::State& state;
    Upscaler upscaler;
    sp<GraphicBuffer> src, dst;
    sp<Fence> fence;
};

void timeCall(benchmark::State& state, const Operation& operation, const SizeRow& size) {
    Rig rig(state, size);
    rig.frame(operation);
    for (auto _ : state) {
        state.SetIterationTime(seconds([&] { rig.call(operation); }));
        rig.wait();
    }
}

void timeFrame(benchmark::State& state, const Operation& operation, const SizeRow& size) {
    Rig rig(state, size);
    rig.frame(operation);
    for (auto _ : state)
        state.SetIterationTime(rig.frame(operation));
}

// The cost of a pixel of the destination.
void timePixel(benchmark::State& state, const Operation& operation, const SizeRow& size) {
    Rig rig(state, size);
    rig.frame(operation);
    std::vector<double> times;
    for (auto _ : state) {
        times.push_back(cpuSeconds([&] { rig.frame(operation); }));
        state.SetIterationTime(times.back());
    }
    state.counters["ns_per_pixel"] = 1e9 * best(times) / size.dstWidth / size.dstHeight;
}

// The library's frames of fsrResize over those of the same calls made without it.
template <double (*clock)(const std::function<void()>&)>
void compareWithBareGl(benchmark::State& state, const Operation& operation, const SizeRow& size) {
    Rig rig(state, size);
    BareGl bare;
    const auto bareFrame = [&] {
        rig.fence = sp<Fence>(new Fence(bare.fsrResize(rig.src, rig.dst, 0.5f)));
        rig.wait();
    };
    const auto frame = [&] {
        rig.call(operation);
        rig.wait();
    };
    interleave(state,
               {{"", [&] { return clock(bareFrame); }}, {"library", [&] { return clock(frame); }}});
}

// What a user of the host waits for in each frame, as shares of the whole.
void splitHostFrame(benchmark::State& state, const Operation& operation, const SizeRow& size) {
    Rig rig(state, size);
    std::vector<uint32_t> picture(size_t{size.srcWidth} * size.srcHeight, 0xFF808080u);
    std::vector<uint32_t> result(size_t{size.dstWidth} * size.dstHeight);
    std::vector<double> upload, gpu, readBack;
    for (auto _ : state) {
        void* address = nullptr;
        upload.push_back(seconds([&] {
            rig.src->lock(GraphicBuffer::USAGE_SW_WRITE_OFTEN, &address);
            std::memcpy(address, picture.data(), picture.size() * 4);
            rig.src->unlock();
        }));
        gpu.push_back(rig.frame(operation));
        readBack.push_back(seconds([&] {
            rig.dst->lock(GraphicBuffer::USAGE_SW_READ_OFTEN, &address);
            std::memcpy(result.data(), address, result.size() * 4);
            rig.dst->unlock();
        }));
        state.SetIterationTime(upload.back() + gpu.back() + readBack.back());
    }
    const double whole = median(upload) + median(gpu) + median(readBack);
    state.counters["upload_share"] = median(upload) / whole;
    state.counters["gpu_share"] = median(gpu) / whole;
    state.counters["read_back_share"] = median(readBack) / whole;
}

template <typename Run>
benchmark::internal::Benchmark* add(const std::string& name, Run run, const Operation& operation,
                                    const SizeRow& size) {
    return benchmark::RegisterBenchmark((name + "/" + operation.name + "/" + size.name).c_str(),
                                        run, operation, size)
            ->UseManualTime()
            ->ComputeStatistics("best", best)
            ->Unit(benchmark::kMillisecond);
}

const bool kRegistered = [] {
    // Rows whose parts take turns need no repetitions.
    const auto addOnce = [](auto... row) { return add(row...)->Repetitions(1); };
    for (const Operation& operation : kOperations) {
        for (const SizeRow& size : kSizes) {
            add("call", timeCall, operation, size)->Iterations(7);
            add("frame", timeFrame, operation, size)->Iterations(7);
        }
        for (const SizeRow& size : kScales)
            addOnce("scaling", timePixel, operation, size)->Iterations(3);
        addOnce("host", splitHostFrame, operation, kSizes[0])->Iterations(21);
    }
    for (const auto& [size, iterations] : {std::pair(kSizes[0], 41), std::pair(kTiny, 1001)}) {
        const Operation fsrResize = {"fsrResize", &Upscaler::fsrResize};
        addOnce("over_bare_gl", compareWithBareGl<seconds>, fsrResize, size)
                ->Iterations(iterations);
        addOnce("cpu_over_bare_gl", compareWithBareGl<cpuSeconds>, fsrResize, size)
                ->Iterations(iterations);
    }
    return true;
}();

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    // Without the cache every compile is a real one.
    setenv("MESA_SHADER_CACHE_DISABLE", "true", 0);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
