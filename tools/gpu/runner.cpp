// SPDX-License-Identifier: Apache-2.0
#include "gpu/runner.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "common/failure.h"
#include "common/stopwatch.h"
#include "gpu/driver.h"

namespace upscale {
namespace {

using android::Fence;
using android::GraphicBuffer;
using android::sp;
using android::Upscaler;

constexpr char kProperty[] = "debug.vardi.display.ups.enable";
// The largest pictures take a software driver the better part of a minute.
constexpr int kFenceTimeoutMs = 300'000;
// No operation writes this alpha, so a pixel that still has it was not written.
constexpr std::uint8_t kUnwritten = 0;
// Of the pairs of buffers that one `Upscaler` gets to see. A pair alone may be larger.
constexpr std::size_t kMostBuffers = 8;
constexpr std::uint64_t kMostPixels = 64u << 20;

}  // namespace

void Runner::Teardown::operator()(Upscaler* upscaler) const {
    upscaler->clearOpenGLResources();
    upscaler->destroyEGL();
    delete upscaler;
}

Runner::Runner(const Operation& operation, LibraryLog& log) : mOperation(operation), mLog(log) {
    start();
}

Runner::~Runner() {
    discard();
}

void Runner::discard() {
    if (mStuck) {
        // Teardown would wait for the same work: keep everything to the end of the process.
        static auto& kept = *new std::vector<std::pair<Upscaler*, std::vector<Buffers>>>;
        kept.emplace_back(mUpscaler.release(), std::move(mBuffers));
    }
    mBuffers.clear();
    mUpscaler.reset();
    mStuck = false;
}

std::unique_ptr<Upscaler, Runner::Teardown> Runner::makeUpscaler() {
    try {
        return std::unique_ptr<Upscaler, Teardown>(new Upscaler);
    } catch (const std::logic_error&) {
        // What the conversion of the property's text throws.
        throw Failure(Exit::Usage, kProperty, "not a hexadecimal number");
    }
}

void Runner::start() {
    discard();
    mFailed = false;
    mUpscaler = makeUpscaler();
    const std::string error = mLog.takeError();
    if (eglGetCurrentContext() == EGL_NO_CONTEXT) {
        throw Failure(Exit::NoDriver, "no usable EGL and OpenGL ES 3 driver",
                      error.empty() ? "no context" : error);
    }
    mDriver = driverName();
    const std::string missing = missingFromDriver();
    if (!missing.empty()) throw Failure(Exit::NoDriver, mDriver, missing);
    if (!error.empty()) throw Failure(Exit::NoDriver, mDriver, error);
    GLint side = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &side);
    mLargestSide = static_cast<std::uint32_t>(side);
}

bool Runner::fits(Size size) const {
    return std::max(size.width, size.height) <= mLargestSide;
}

void Runner::expectFits(const std::string& name, Size size) const {
    if (fits(size)) return;
    throw Failure(Exit::Failed, name,
                  inPixels(size) + " is too large: the driver takes " +
                          std::to_string(mLargestSide) + " pixels a side");
}

Runner::Buffers& Runner::buffersFor(Size from, Size to) {
    std::uint64_t pixels = from.pixels() + to.pixels();
    for (Buffers& buffers : mBuffers) {
        if (buffers.from == from && buffers.to == to) return buffers;
        pixels += buffers.pixels();
    }
    if (!mBuffers.empty() && (mBuffers.size() >= kMostBuffers || pixels > kMostPixels)) start();
    return mBuffers.emplace_back(Buffers{from, to, sourceBuffer(from), destinationBuffer(to)});
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
    BufferView from(*buffers.source, BufferView::Write);
    for (std::size_t y = 0; y < source.height; ++y)
        std::copy_n(source.row(y), source.rowBytes(), from.row(y));
    from.end();
    markUnwritten(*buffers.destination);
    mTimes.upload += watch.lap();

    const sp<Fence> fence = draw(buffers.source, buffers.destination, sharpness);
    mTimes.call += watch.lap();
    finish(*fence);
    mTimes.gpu += watch.lap();

    const BufferView to(*buffers.destination, BufferView::Read);
    for (std::size_t y = 0; y < result.height; ++y)
        std::copy_n(to.row(y), result.rowBytes(), result.row(y));
    requireWritten(*buffers.destination, to);
    mTimes.download += watch.lap();
}

void Runner::import(sp<GraphicBuffer>& source, sp<GraphicBuffer>& destination) {
    sp<Fence> fence;
    mUpscaler->casSharpen(source, destination, 0.0f, &fence);
    finish(*checked(fence));
    markUnwritten(*destination);
}

sp<Fence> Runner::draw(sp<GraphicBuffer>& source, sp<GraphicBuffer>& destination, float sharpness) {
    sp<Fence> fence;
    (mUpscaler.get()->*mOperation.method)(source, destination, sharpness, &fence);
    return checked(fence);
}

sp<Fence> Runner::checked(const sp<Fence>& fence) const {
    const std::string error = mLog.takeError();
    if (!error.empty()) throw Failure(Exit::Failed, kDriver, error);
    if (fence == nullptr || !fence->isValid())
        throw Failure(Exit::Failed, kDriver, "no fence could be made");
    return fence;
}

void Runner::finish(Fence& fence) {
    const android::status_t status = fence.wait(kFenceTimeoutMs);
    if (status == android::NO_ERROR) return;
    mStuck = true;
    if (status == -ETIME) {
        throw DriverLost(Exit::Failed, kDriver,
                         "no result after " + std::to_string(kFenceTimeoutMs / 1000) + " seconds");
    }
    throw DriverLost(Exit::Failed, kDriver,
                     std::string("waiting failed: ") + std::strerror(-status));
}

void Runner::markUnwritten(GraphicBuffer& destination) {
    BufferView view(destination, BufferView::Write);
    for (std::size_t y = 0; y < destination.getHeight(); ++y)
        std::fill_n(view.row(y), destination.getWidth() * Picture::kChannels, kUnwritten);
    view.end();
}

void Runner::requireWritten(const GraphicBuffer& destination, const BufferView& view) {
    for (std::size_t y = 0; y < destination.getHeight(); ++y) {
        const std::uint8_t* alpha = view.row(y) + Picture::kChannels - 1;
        for (std::size_t x = 0; x < destination.getWidth(); ++x, alpha += Picture::kChannels) {
            if (*alpha == kUnwritten) {
                throw Failure(Exit::Failed, kDriver, "pixels of the result were left unwritten");
            }
        }
    }
}

}  // namespace upscale
