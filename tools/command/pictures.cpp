// SPDX-License-Identifier: Apache-2.0
#include "command/pictures.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <utility>

#include "command/inputs.h"
#include "command/picture_job.h"
#include "command/worker.h"
#include "gpu/library_log.h"
#include "gpu/scaler.h"
#include "pictures/formats.h"

namespace upscale {
namespace {

constexpr std::size_t kMostNamed = 10;

using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> identityOf(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return Identity{status.st_dev, status.st_ino};
}

void makeFolder(const std::string& path) {
    if (mkdir(path.c_str(), 0777) == 0) return;
    const int error = errno;
    std::error_code unknown;
    if (!std::filesystem::is_directory(path, unknown))
        throw Failure(Exit::Failed, path, error == EEXIST ? "not a folder" : std::strerror(error));
}

void makeTree(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) throw Failure(Exit::Failed, path, error.message());
}

// Many pictures, one after the other: while one is read and scaled, the one before is written.
class Batch {
  public:
    Batch(const Arguments& arguments, Report& report)
        : mArguments(arguments),
          mReport(report),
          mLog(arguments.verbose),
          mInputs(findInputs(arguments, report)) {
        for (const Input& input : mInputs) {
            if (const auto identity = identityOf(input.path)) mIdentities.insert(*identity);
        }
    }

    Exit run() {
        Scaler scaler(*mArguments.operation, mArguments.border, mLog);
        makeFolder(mArguments.output);
        mReport.startProgress("pictures", mInputs.size());
        for (const auto& [input, folder] : mInputs) {
            std::shared_ptr<PictureJob> job;
            const auto scale = [&, &file = input, &place = folder] {
                job = begin(file, place);
                if (job == nullptr) return;
                if (job->plan(scaler)) {
                    finishLast();
                    mWorker.start([job] { job->open(); });
                    mWorker.wait();
                }
                job->scale(scaler);
            };
            const std::exception_ptr error = errorOf(scale);
            finishLast();
            if (error || job == nullptr) {
                settle(input, error);
            } else {
                mLast = {input, job};
                mWorker.start([job] { job->write(); });
            }
            if (mStopped) break;
        }
        finishLast();
        mReport.endProgress();
        summarise();
        return mExit;
    }

  private:
    // Null if there is nothing to do.
    std::shared_ptr<PictureJob> begin(const std::string& input, const std::string& place) {
        expectNoFolder(input);
        auto job = std::make_shared<PictureJob>(mArguments, mReport, input);
        const std::string folder =
                place.empty() ? mArguments.output : within(mArguments.output, place);
        const std::string output =
                within(folder, outputName(input, job->format(), mArguments.suffix));
        expectUnused(input, output);
        if (mArguments.skipExisting && identityOf(output)) {
            ++mSkipped;
            return nullptr;
        }
        if (!place.empty()) makeTree(folder);
        job->setOutput(output);
        if (mArguments.changesShape(job->from())) ++mReshaped;
        if (reduces(job->from(), job->to())) ++mReduced;
        return job;
    }

    void expectUnused(const std::string& input, const std::string& output) {
        const auto [taken, isNew] = mOutputs.emplace(output, input);
        if (!isNew)
            throw Failure(Exit::Failed, output,
                          "is also the output of " + taken->second + ", which came first");
        const auto replaced = identityOf(output);
        if (replaced && replaced != identityOf(input) && mIdentities.count(*replaced) != 0)
            throw Failure(Exit::Failed, output, "is an input itself and is not replaced");
    }

    template <typename Work>
    static std::exception_ptr errorOf(const Work& work) {
        try {
            work();
        } catch (...) {
            return std::current_exception();
        }
        return nullptr;
    }

    void finishLast() {
        if (!mLast.second) return;
        const auto error = errorOf([this] { mWorker.wait(); });
        if (!error) mLast.second->reportTimes();
        settle(mLast.first, error);
        mLast = {};
    }

    // Counts a picture as done or failed.
    void settle(const std::string& input, const std::exception_ptr& error) {
        ++mSettled;
        if (error) {
            const auto [code, reason] = explain(error);
            // Its subject may be the output, or the driver.
            const bool named = reason.rfind(input + ":", 0) == 0;
            mReport.failure(named ? reason : input + ": " + reason);
            mFailed.push_back(input);
            if (mExit == Exit::Done || code != Exit::Failed) mExit = code;
        }
        mReport.progress(mSettled);
    }

    std::pair<Exit, std::string> explain(const std::exception_ptr& error) {
        try {
            std::rethrow_exception(error);
        } catch (const DriverLost& failure) {
            mStopped = true;
            return {failure.code(), failure.what()};
        } catch (const Failure& failure) {
            if (failure.code() != Exit::Failed) mStopped = true;
            return {failure.code(), failure.what()};
        } catch (const std::bad_alloc&) {
            return {Exit::Failed, "out of memory"};
        } catch (const std::exception& other) {
            return {Exit::Failed, other.what()};
        }
    }

    void summarise() const {
        const std::size_t all = mInputs.size();
        if (mSkipped > 0) {
            mReport.note(std::to_string(mSkipped) + " of " + std::to_string(all) +
                         " exist already and were skipped");
        }
        if (mReshaped > 0) {
            mReport.warning(std::to_string(mReshaped) + " of " + std::to_string(all) +
                            " pictures got " + kKeepShape);
        }
        if (mReduced > 0) {
            mReport.warning(std::to_string(mReduced) + " of " + std::to_string(all) +
                            " pictures became " + kAliases);
        }
        if (mFailed.empty() || all < 2) return;
        std::string names;
        for (std::size_t i = 0; i < std::min(mFailed.size(), kMostNamed); ++i) {
            names += (i == 0 ? "" : ", ") + mFailed[i];
        }
        if (mFailed.size() > kMostNamed)
            names += " and " + std::to_string(mFailed.size() - kMostNamed) + " more";
        if (mSettled < all) names += "; " + std::to_string(all - mSettled) + " more were not tried";
        mReport.note(std::to_string(mFailed.size()) + " of " + std::to_string(all) +
                     " failed: " + names);
    }

    const Arguments& mArguments;
    Report& mReport;
    LibraryLog mLog;
    const std::vector<Input> mInputs;
    std::set<Identity> mIdentities;               // of the inputs
    std::map<std::string, std::string> mOutputs;  // and what they are made from
    std::vector<std::string> mFailed;
    std::size_t mSettled = 0;
    std::size_t mSkipped = 0;
    std::size_t mReshaped = 0;
    std::size_t mReduced = 0;
    bool mStopped = false;
    Exit mExit = Exit::Done;
    std::pair<std::string, std::shared_ptr<PictureJob>> mLast;  // that the worker writes
    Worker mWorker;
};

}  // namespace

void scalePicture(const Arguments& arguments, Report& report) {
    if (arguments.skipExisting && identityOf(arguments.output)) {
        report.note(arguments.output + ": exists already");
        return;
    }
    PictureJob job(arguments, report, arguments.inputs.front());
    job.setOutput(arguments.output);
    if (arguments.changesShape(job.from())) {
        report.warning(arguments.inputs.front() + ": " + inPixels(job.from()) + " to " +
                       inPixels(job.to()) + " is " + kKeepShape);
    }
    if (reduces(job.from(), job.to())) {
        report.warning(arguments.inputs.front() + ": " + inPixels(job.to()) + " is " + kAliases);
    }
    LibraryLog log(arguments.verbose);
    Scaler scaler(*arguments.operation, arguments.border, log);
    if (job.plan(scaler)) job.open();
    job.scale(scaler);
    job.write();
    job.reportTimes();
}

Exit scalePictures(const Arguments& arguments, Report& report) {
    return Batch(arguments, report).run();
}

}  // namespace upscale
