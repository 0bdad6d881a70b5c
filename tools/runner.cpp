// SPDX-License-Identifier: Apache-2.0
#include "runner.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "failure.h"
#include "stopwatch.h"

namespace upscale {
namespace {

using android::Fence;
using android::GraphicBuffer;
using android::sp;
using android::Upscaler;

constexpr char kProperty[] = "debug.vardi.display.ups.enable";
constexpr char kDriver[] = "the driver";
// The largest pictures take a software driver the better part of a minute.
constexpr int kFenceTimeoutMs = 300'000;
// No operation writes this alpha, so a pixel that still has it was not written.
constexpr std::uint8_t kUnwritten = 0;
// Of the pairs of buffers that one `Upscaler` gets to see. A pair alone may be larger.
constexpr std::size_t kMostBuffers = 8;
constexpr std::uint64_t kMostPixels = 64u << 20;

sp<GraphicBuffer> makeBuffer(Size size, std::uint64_t usage) {
    sp<GraphicBuffer> buffer = new GraphicBuffer(
            size.width, size.height, android::PIXEL_FORMAT_RGBA_8888, 1, usage, "upscale");
    if (buffer->initCheck() != android::NO_ERROR) {
        throw Failure(Exit::Failed, kDriver, "no memory for a buffer of " + inPixels(size));
    }
    return buffer;
}

// Calls `visit` with each row's index and address, under a lock.
template <typename Visit>
void forRows(GraphicBuffer& buffer, std::uint32_t usage, const Visit& visit) {
    void* address = nullptr;
    if (buffer.lock(usage, &address) != android::NO_ERROR || !address) {
        throw Failure(Exit::Failed, kDriver, "a buffer cannot be locked");
    }
    auto* row = static_cast<std::uint8_t*>(address);
    for (std::uint32_t y = 0; y < buffer.getHeight(); ++y) {
        visit(y, row);
        row += std::size_t{buffer.getStride()} * Picture::kChannels;
    }
    if (buffer.unlock() != android::NO_ERROR) {
        throw Failure(Exit::Failed, kDriver, "the pixels of a buffer cannot be reached");
    }
}

std::string glString(GLenum name) {
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    return text ? text : "?";
}

}  // namespace

void Runner::Teardown::operator()(Upscaler* upscaler) const {
    upscaler->clearOpenGLResources();
    upscaler->destroyEGL();
    delete upscaler;
}

Runner::Runner(const Operation& operation, LibraryLog& log) : mOperation(operation), mLog(log) {
    start();
}

Runner::~Runner() = default;

void Runner::start() {
    mBuffers.clear();
    mUpscaler.reset();
    mFailed = false;
    try {
        mUpscaler.reset(new Upscaler);
    } catch (const std::logic_error&) {
        // What the conversion of the property's text throws.
        throw Failure(Exit::Usage, kProperty, "not a hexadecimal number");
    }
    const std::string error = mLog.takeError();
    if (eglGetCurrentContext() == EGL_NO_CONTEXT) {
        throw Failure(Exit::NoDriver, "no usable EGL and OpenGL ES 3 driver",
                      error.empty() ? "no context" : error);
    }
    mDriver = glString(GL_RENDERER) + ", " + glString(GL_VERSION);
    if (!error.empty()) throw Failure(Exit::NoDriver, mDriver, error);
    GLint side = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &side);
    mLargestSide = static_cast<std::uint32_t>(side);
}

Runner::Buffers& Runner::buffersFor(Size from, Size to) {
    std::uint64_t pixels = from.pixels() + to.pixels();
    for (Buffers& buffers : mBuffers) {
        if (buffers.from == from && buffers.to == to) return buffers;
        pixels += buffers.pixels();
    }
    if (!mBuffers.empty() && (mBuffers.size() >= kMostBuffers || pixels > kMostPixels)) start();
    return mBuffers.emplace_back(Buffers{
            from, to,
            makeBuffer(from, GraphicBuffer::USAGE_SW_WRITE_OFTEN | GraphicBuffer::USAGE_HW_TEXTURE),
            makeBuffer(to, GraphicBuffer::USAGE_SW_READ_OFTEN |
                                   GraphicBuffer::USAGE_SW_WRITE_OFTEN |
                                   GraphicBuffer::USAGE_HW_RENDER)});
}

Picture Runner::run(const Picture& source, Size size, float sharpness) {
    if (mFailed) start();
    mFailed = true;
    Picture result(size.width, size.height);
    result.grey = source.grey;
    result.tags = source.tags;
    runOn(buffersFor({source.width, source.height}, size), source, result, sharpness);
    mFailed = false;
    return result;
}

void Runner::runOn(Buffers& buffers, const Picture& source, Picture& result, float sharpness) {
    Stopwatch watch;
    const std::size_t sourceBytes = source.rowBytes();
    forRows(*buffers.source, GraphicBuffer::USAGE_SW_WRITE_OFTEN,
            [&](std::size_t y, std::uint8_t* row) {
                std::copy_n(source.row(y), sourceBytes, row);
            });
    const std::size_t bytes = result.rowBytes();
    forRows(*buffers.destination, GraphicBuffer::USAGE_SW_WRITE_OFTEN,
            [&](std::size_t, std::uint8_t* row) { std::fill_n(row, bytes, kUnwritten); });
    mTimes.upload += watch.lap();

    sp<Fence> fence;
    (mUpscaler.get()->*mOperation.method)(buffers.source, buffers.destination, sharpness, &fence);
    mTimes.call += watch.lap();
    if (fence == nullptr || !fence->isValid()) {
        const std::string error = mLog.takeError();
        throw Failure(Exit::Failed, kDriver, error.empty() ? "no fence could be made" : error);
    }
    waitFor(*fence);
    mTimes.gpu += watch.lap();
    const std::string error = mLog.takeError();
    if (!error.empty()) throw Failure(Exit::Failed, kDriver, error);

    forRows(*buffers.destination, GraphicBuffer::USAGE_SW_READ_OFTEN,
            [&](std::size_t y, const std::uint8_t* row) {
                std::copy_n(row, bytes, result.row(y));
            });
    for (std::size_t i = 0; i < result.pixelCount(); ++i) {
        if (result.alpha(i) == kUnwritten) {
            throw Failure(Exit::Failed, kDriver, "pixels of the result were left unwritten");
        }
    }
    mTimes.download += watch.lap();
}

void Runner::waitFor(Fence& fence) {
    const android::status_t status = fence.wait(kFenceTimeoutMs);
    if (status == android::NO_ERROR) return;
    // Teardown would wait for the same work: keep everything to the end of the process.
    static auto& kept = *new std::vector<std::pair<Upscaler*, std::vector<Buffers>>>;
    kept.emplace_back(mUpscaler.release(), std::move(mBuffers));
    if (status == -ETIME) {
        throw DriverLost(Exit::Failed, kDriver,
                         "no result after " + std::to_string(kFenceTimeoutMs / 1000) + " seconds");
    }
    throw DriverLost(Exit::Failed, kDriver,
                     std::string("waiting failed: ") + std::strerror(-status));
}

}  // namespace upscale
