// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_PICTURE_JOB_H
#define UPSCALER_TOOLS_COMMAND_PICTURE_JOB_H

#include <memory>
#include <string>
#include <vector>

#include "command/arguments.h"
#include "common/output_file.h"
#include "common/report.h"
#include "common/size.h"
#include "gpu/scaler.h"
#include "pictures/formats.h"

namespace upscale {

/// A picture on its way from file to file. Members throw `Failure`.
class PictureJob {
  public:
    /// Reads the header of the input. @param arguments and @param report outlive the job.
    PictureJob(const Arguments& arguments, Report& report, const std::string& input);

    const PictureFormat& format() const { return mFormat; }
    Size from() const { return mFrom; }
    Size to() const { return mTo; }

    /// Checks that there can be such a file.
    void setOutput(const std::string& path);
    void scale(Scaler& scaler);
    /// On any thread.
    void write();
    void reportTimes() const;

  private:
    const Arguments& mArguments;
    Report& mReport;
    std::string mInput;
    std::string mOutput;
    OpenPicture mPicture;
    const PictureFormat& mFormat;
    Size mFrom, mTo;
    ScalePlan mPlan = {};
    std::unique_ptr<OutputFile> mFile;
    Picture mResult;
    std::vector<std::string> mDropped;
    std::string mDriver;
    Times mTimes;
    double mReadTime = 0;
    double mWriteTime = 0;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_PICTURE_JOB_H
