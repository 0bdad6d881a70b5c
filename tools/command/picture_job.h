// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_PICTURE_JOB_H
#define UPSCALER_TOOLS_COMMAND_PICTURE_JOB_H

#include <cstdio>
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
    /// @return whether `scale` writes, too: the picture is large, and only some rows of it are
    /// kept.
    bool plan(const Scaler& scaler);
    /// Creates the file, before `scale` if that writes.
    void open();
    void scale(Scaler& scaler);
    /// What is left of the writing. On any thread.
    void write();
    void reportTimes() const;

  private:
    void expectWritable(bool transparent) const;
    void scaleRows(Scaler& scaler);

    const Arguments& mArguments;
    Report& mReport;
    std::string mInput;
    std::string mOutput;
    OpenPicture mPicture;
    const PictureFormat& mFormat;
    Size mFrom, mTo;
    float mSharpness;
    ScalePlan mPlan = {};
    bool mByRows = false;
    std::unique_ptr<OutputFile> mFile;
    std::FILE* mStream = nullptr;  // of mFile
    Picture mResult;
    bool mTransparent = false;
    std::vector<std::string> mDropped;
    std::string mDriver;
    Times mTimes;
    double mReadTime = 0;
    double mWriteTime = 0;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_PICTURE_JOB_H
