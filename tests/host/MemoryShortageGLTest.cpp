// SPDX-License-Identifier: Apache-2.0
// One allocation of the host fails at a time, each of them in its turn: it says so and stays whole.
#include <cutils/properties.h>
#include <execinfo.h>
#include <gmock/gmock.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string>

#include "host/GlClient.h"
#include "support/process.h"

namespace {

enum class Whose { Clients, Hosts };  // Threads on which the host allocates.

constexpr long kNever = -1;
std::atomic<long> untilFailure{kNever};  // Allocations that still succeed.
std::atomic<long> counted{0};
std::atomic<Whose> failing{Whose::Clients};
thread_local bool isClient = false;

// Where a library's code is; asked often, and so not by dladdr.
struct Code {
    explicit Code(const char* name) : library(name) {
        dl_iterate_phdr(
                [](dl_phdr_info* info, size_t, void* code) {
                    static_cast<Code*>(code)->take(*info);
                    return 0;
                },
                this);
    }
    void take(const dl_phdr_info& info) {
        if (std::strstr(info.dlpi_name, library) == nullptr) return;
        for (const ElfW(Phdr)* each = info.dlpi_phdr; each < info.dlpi_phdr + info.dlpi_phnum;
             ++each) {
            if (each->p_type != PT_LOAD || (each->p_flags & PF_X) == 0) continue;
            begin = info.dlpi_addr + each->p_vaddr;
            size = each->p_memsz;
        }
    }
    bool has(void* address) const { return reinterpret_cast<uintptr_t>(address) - begin < size; }

    const char* const library;
    uintptr_t begin = 0;
    size_t size = 0;
};

const Code host("libupscaler_host.so"), standard("libstdc++.so");

// Whether the host calls, directly or by the standard library.
bool isOfHost(void* caller) {
    if (!standard.has(caller)) return host.has(caller);
    void* frames[32];
    void** const end = frames + backtrace(frames, static_cast<int>(std::size(frames)));
    void** const found = std::find_if(std::find(frames, end, caller), end,
                                      [](void* frame) { return !standard.has(frame); });
    return found != end && host.has(*found);
}

void* allocate(size_t size, void* caller) {
    thread_local bool isAsking = false;
    if (untilFailure != kNever && !isAsking && (failing == Whose::Clients) == isClient) {
        isAsking = true;
        const bool counts = isOfHost(caller);
        isAsking = false;
        if (counts && counted++ == untilFailure) return nullptr;
    }
    return std::malloc(std::max<size_t>(size, 1));
}

void* allocateOrThrow(size_t size, void* caller) {
    void* const memory = allocate(size, caller);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(size_t size) {
    return allocateOrThrow(size, __builtin_return_address(0));
}
void* operator new[](size_t size) {
    return allocateOrThrow(size, __builtin_return_address(0));
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, __builtin_return_address(0));
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, __builtin_return_address(0));
}
// Out of line, since a compiler that sees through only one of a pair takes it for a mismatch.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, size_t) noexcept {
    std::free(memory);
}

namespace android::test {
namespace {

using ::testing::AnyOf;

// Does the work with the allocation after `before` others failing. Returns whether there was one.
template <typename Work>
bool failOne(Whose whose, long before, const Work& work) {
    failing = whose;
    counted = 0;
    isClient = true;
    untilFailure = before;
    try {
        work();
    } catch (const std::exception& error) {
        ADD_FAILURE() << "thrown at the client: " << error.what();
    }
    untilFailure = kNever;
    return counted > before;
}

template <typename Work>
void failEach(Whose whose, const Work& work) {
    for (long before = 0; !::testing::Test::HasFailure(); ++before) {
        SCOPED_TRACE("after " + std::to_string(before) + " allocations");
        if (!failOne(whose, before, work)) break;
    }
}

bool worked(status_t status) {
    EXPECT_THAT(status, AnyOf(OK, NO_MEMORY));
    return status == OK;
}

// A lock counts if it is given, whatever becomes of its pixels.
void lockTwice(const sp<GraphicBuffer>& buffer) {
    int locks = 0;
    for (int i = 0; i < 2; ++i) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        close(ends[1]);
        void* address = nullptr;
        if (worked(buffer->lockAsync(kWrite, &address, ends[0]))) {
            std::memset(address, 1, buffer->getStride());
            ++locks;
        }
    }
    for (; locks > 0; --locks) {
        EXPECT_EQ(buffer->reallocate(1, 1, PIXEL_FORMAT_RGB_565, 1, kRead), INVALID_OPERATION);
        worked(buffer->unlock());
    }
    worked(buffer->reallocate(1, 1, PIXEL_FORMAT_RGB_565, 1, kRead));  // No lock is left.
}

void useBuffer(PixelFormat format) {
    const sp<GraphicBuffer> buffer = makeBuffer(3, 2, format, kSeldomUse);
    if (worked(buffer->initCheck())) lockTwice(buffer);
}

void useBuffers() {
    for (const PixelFormat format :
         {PIXEL_FORMAT_RGBA_8888, PIXEL_FORMAT_RGBX_8888, PIXEL_FORMAT_BGRA_8888,
          PIXEL_FORMAT_RGB_888, PIXEL_FORMAT_RGB_565, PIXEL_FORMAT_RGBA_1010102,
          PIXEL_FORMAT_RGBA_FP16}) {
        useBuffer(format);
    }
}

void useProperties() {
    constexpr char kName[] = "test.a_name_that_needs_memory";
    char value[PROPERTY_VALUE_MAX];
    const bool isSet = property_set(kName, "1") == 0;
    EXPECT_EQ(property_get(kName, value, "0"), 1);
    if (isSet) {
        EXPECT_STREQ(value, "1");
    }
}

bool gaveOrSaid(bool gave) {
    if (!gave) {
        EXPECT_EQ(eglGetError(), EGL_BAD_ALLOC);
    }
    return gave;
}

void useImages(EGLDisplay display) {
    const PFNEGLCREATEIMAGEKHRPROC createImage = EntryPoint{"eglCreateImageKHR"};
    const PFNEGLDESTROYIMAGEKHRPROC destroyImage = EntryPoint{"eglDestroyImageKHR"};
    const sp<GraphicBuffer> buffer = makeBuffer(3, 2);
    if (!worked(buffer->initCheck())) return;
    for (int i = 0; i < 3; ++i) {
        const EGLImageKHR image = createImage(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                                              buffer->getNativeBuffer(), nullptr);
        if (!gaveOrSaid(image != EGL_NO_IMAGE_KHR)) continue;
        bindNewTexture(GL_TEXTURE_2D, image);
        if (i == 0) {
            EXPECT_EQ(destroyImage(display, image), kTrue);
        }
    }
}

void useFences(EGLDisplay display) {
    const PFNEGLCREATESYNCKHRPROC createSync = EntryPoint{"eglCreateSyncKHR"};
    const PFNEGLDESTROYSYNCKHRPROC destroySync = EntryPoint{"eglDestroySyncKHR"};
    const PFNEGLDUPNATIVEFENCEFDANDROIDPROC dupFence = EntryPoint{"eglDupNativeFenceFDANDROID"};
    sp<Fence> merged = Fence::NO_FENCE;
    for (int i = 0; i < 3; ++i) {
        const EGLSyncKHR sync = createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
        if (!gaveOrSaid(sync != EGL_NO_SYNC_KHR)) continue;
        const sp<Fence> fence(new Fence(dupFence(display, sync)));
        gaveOrSaid(fence->isValid());
        merged = Fence::merge("test", merged, fence);
        if (i > 0) {
            EXPECT_EQ(destroySync(display, sync), kTrue);
        }
        EXPECT_EQ(fence->waitForever("test"), NO_ERROR);
    }
    EXPECT_EQ(merged->waitForever("test"), NO_ERROR);
}

// Leaves an image and a sync to the last terminate.
void useEgl() {
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (!gaveOrSaid(eglInitialize(display, nullptr, nullptr) == kTrue)) return;
    const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    const EGLContext context =
            eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
    EXPECT_EQ(eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context), kTrue);
    useImages(display);
    useFences(display);
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(display, context);
    EXPECT_EQ(eglTerminate(display), kTrue);
}

// The first use, in a process of its own for each allocation.
template <typename Work>
void failEachAtTheStart(Whose whose, const Work& work) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constexpr int kDone = 0, kNoneLeft = 2;
    int outcome = kDone;
    for (long before = 0; outcome == kDone; ++before) {
        SCOPED_TRACE("after " + std::to_string(before) + " allocations");
        EXPECT_EXIT(
                {
                    endIfItHangs(60);
                    exitWithFailures(failOne(whose, before, work) ? kDone : kNoneLeft);
                },
                [&outcome](int status) {
                    outcome = WIFEXITED(status) ? WEXITSTATUS(status) : status;
                    return outcome == kDone || outcome == kNoneLeft;
                },
                "");
    }
}

TEST(MemoryShortageGLTest, OfBuffersIsReported) {
    failEach(Whose::Clients, useBuffers);
    failEach(Whose::Hosts, useBuffers);
}

TEST(MemoryShortageGLTest, OfImagesAndFencesIsReported) {
    useEgl();
    const size_t descriptors = openDescriptors();
    failEach(Whose::Clients, useEgl);
    failEach(Whose::Hosts, useEgl);
    EXPECT_LE(settledDescriptors(descriptors), descriptors);
}

TEST(MemoryShortageGLTest, OfPropertiesIsReported) {
    failEach(Whose::Clients, useProperties);
}

// One for each kind of thread: the processes of a test are told apart by their number.
struct FirstUse {
    const char* name;
    Whose whose;
    void (*work)();
};

void PrintTo(const FirstUse& row, std::ostream* out) {
    *out << row.name;
}

class FirstUseMemoryShortageGLTest : public ::testing::TestWithParam<FirstUse> {};

TEST_P(FirstUseMemoryShortageGLTest, IsReported) {
    failEachAtTheStart(GetParam().whose, GetParam().work);
}

void useABuffer() {
    useBuffer(PIXEL_FORMAT_RGBX_8888);
}

INSTANTIATE_TEST_SUITE_P(, FirstUseMemoryShortageGLTest,
                         ::testing::Values(FirstUse{"BufferClientsThread", Whose::Clients,
                                                    useABuffer},
                                           FirstUse{"BufferHostsThread", Whose::Hosts, useABuffer},
                                           FirstUse{"EglClientsThread", Whose::Clients, useEgl},
                                           FirstUse{"EglHostsThread", Whose::Hosts, useEgl}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace android::test
