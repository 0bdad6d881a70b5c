// SPDX-License-Identifier: Apache-2.0
// Costs that are paid once or that add up over a long life: construction, the first import, a whole
// run of the command, 100,000 calls.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "bench/interleave.h"
#include "bench/operations.h"
#include "upscaler/shaders/shaders.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

void end(Upscaler& upscaler) {
    upscaler.clearOpenGLResources();
    upscaler.destroyEGL();
}

#define PROGRAM(name, text) {#name, android::text},
const std::pair<const char*, std::string> kPrograms[] = {UPSCALER_FRAGMENT_SHADERS(PROGRAM)};
#undef PROGRAM

// The shares of construction: a context and the programs, made again one by one. The rest is the
// library's own.
void construct(benchmark::State& state) {
    const sp<GraphicBuffer> keepsTheDriverLoaded = makeBuffer(1, 1);
    std::vector<double> whole, context;
    std::vector<double> programs[std::size(kPrograms)];
    for (auto _ : state) {
        std::unique_ptr<Upscaler> upscaler;
        whole.push_back(cpuSeconds([&] { upscaler = std::make_unique<Upscaler>(); }));
        state.SetIterationTime(whole.back());
        const EGLDisplay display = eglGetCurrentDisplay();
        const EGLContext own = eglGetCurrentContext();
        EGLContext again = EGL_NO_CONTEXT;
        context.push_back(cpuSeconds([&] {
            const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
            again = eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
            eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, again);
        }));
        for (size_t i = 0; i < std::size(kPrograms); ++i) {
            programs[i].push_back(cpuSeconds(
                    [&] { android::GfxShader(android::kFullScreenVertex, kPrograms[i].second); }));
        }
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, own);
        eglDestroyContext(display, again);
        end(*upscaler);
    }
    // Subtracted turn by turn, because the drivers' threads come and go.
    std::vector<double> rest = whole;
    const auto report = [&](const std::string& part, const std::vector<double>& times) {
        state.counters[part] = median(times) / median(whole);
        for (size_t i = 0; i < rest.size(); ++i)
            rest[i] -= times[i];
    };
    report("context", context);
    for (size_t i = 0; i < std::size(kPrograms); ++i)
        report(kPrograms[i].first, programs[i]);
    state.counters["rest"] = median(rest) / median(whole);
}

// The time of the first call with a pair of buffers over that of the next. The buffers are small,
// so that the GPU's work does not hide the difference.
void firstImport(benchmark::State& state) {
    Upscaler upscaler;
    sp<Fence> fence;
    sp<GraphicBuffer> src, dst;
    const auto call = [&] {
        const double time = seconds([&] { upscaler.casSharpen(src, dst, 1.0f, &fence); });
        fence->waitForever("benchmark");
        return time;
    };
    const auto first = [&] {
        src = makeBuffer(16, 16);
        dst = makeBuffer(16, 16);
        return call();
    };
    first();
    interleave(state, {{"", call}, {"first", first}});
    end(upscaler);
}

void commandsWholeRun(benchmark::State& state) {
    const std::string result = fs::temp_directory_path() / "upscaler_benchmark.png";
    const std::string command = UPSCALE " --op fsr --scale 2 --force " SAMPLE " " + result;
    for (auto _ : state) {
        state.SetIterationTime(seconds([&] {
            if (std::system(command.c_str()) != 0) state.SkipWithError("the command failed");
        }));
    }
    fs::remove(result);
}

size_t residentPages() {
    size_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident;
}

size_t descriptors() {
    const auto begin = fs::directory_iterator("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin, fs::directory_iterator()));
}

// Calls all operations in turn on a fixed pool of buffers. The counters give the median processor
// time of a call in the last tenth over that in the second tenth, and how far memory and
// descriptors grew in the second half.
void manyCalls(benchmark::State& state) {
    constexpr size_t kCalls = 100'000, kTenth = kCalls / 10;
    Upscaler upscaler;
    sp<Fence> fence;
    sp<GraphicBuffer> pool[6];
    for (sp<GraphicBuffer>& buffer : pool)
        buffer = makeBuffer(16, 16);
    const auto call = [&](size_t i) {
        const double time = cpuSeconds([&] {
            (upscaler.*kOperations[i % std::size(kOperations)].call)(
                    pool[i / 6 % 3], pool[3 + i / 18 % 3], 0.5f, &fence);
        });
        fence->waitForever("benchmark");
        return time;
    };
    for (auto _ : state) {
        std::vector<double> early(kTenth),
                late(kTenth);  // Allocated in advance, because memory is measured.
        size_t pages = residentPages(),
               files = descriptors();  // Called once so that their own memory exists.
        state.SetIterationTime(seconds([&] {
            for (size_t i = 0; i < kCalls; ++i) {
                const double time = call(i);
                if (i / kTenth == 1) early[i % kTenth] = time;
                if (i / kTenth == 9) late[i % kTenth] = time;
                if (i == 5 * kTenth) {
                    pages = residentPages();
                    files = descriptors();
                }
            }
        }));
        state.counters["time"] = median(late) / median(early);
        state.counters["KiB_more"] =
                4.0 * (static_cast<double>(residentPages()) - static_cast<double>(pages));
        state.counters["descriptors_more"] =
                static_cast<double>(descriptors()) - static_cast<double>(files);
    }
    end(upscaler);
}

const bool kRegistered = [] {
    struct Row {
        const char* name;
        void (*run)(benchmark::State&);
        int64_t iterations;
    };
    for (const auto& [name, run, iterations] :
         {Row{"construction", construct, 21}, Row{"first_import", firstImport, 101},
          Row{"command/fsr/sample", commandsWholeRun, 5}, Row{"calls_100000", manyCalls, 1}}) {
        benchmark::RegisterBenchmark(name, run)
                ->UseManualTime()
                ->Repetitions(1)
                ->Iterations(iterations)
                ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
}  // namespace bench
