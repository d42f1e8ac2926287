// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "capture/recording/recorder.h"
#include "capture/recording/recording_job.h"
#include "support/recorder_rig.h"

namespace lumivastor {

/// Recording jobs of any kind; keeps what they report.
class RecordingRig : public RecorderRig {
  protected:
    void listenTo(capture::RecordingJob& job);
    /// The job's final result.
    capture::RecordingJob::Outcome stopped(capture::RecordingJob& job);
    /// The error of the start in the background, or "no error".
    std::string backgroundStartError(capture::RecordingJob& job);

    /// Fails the test when it is an error.
    static capture::RecordingJob::Stats statsOf(const capture::RecordingJob::Outcome& outcome);
    /// "no error" when it is none.
    static std::string errorOf(const capture::RecordingJob::Outcome& outcome);

    /// The default camera from now on.
    std::shared_ptr<synthetic::SyntheticDevice> plugInCamera();
    /// In the recording's folder.
    bool exists(const char* name) const { return std::filesystem::exists(folder_ / name); }

    std::vector<std::string> streamErrors_;
    std::vector<std::string> notices_;
};

/// A recorder of the desktop: of the main display, unless the test says otherwise.
class DesktopRecordingRig : public RecordingRig {
  protected:
    DesktopRecordingRig();

    capture::Recorder& make();
    capture::Recorder& start();
    /// Starts with a display so large that no encoder keeps up with it.
    void startLarge();
    capture::RecordingJob::Outcome stopped() { return RecordingRig::stopped(*recorder_); }
    /// Makes a recorder and starts it; returns the error, or "no error".
    std::string startError();
    std::string backgroundStartError() { return RecordingRig::backgroundStartError(make()); }

    /// The camera is recorded, too.
    std::shared_ptr<synthetic::SyntheticDevice> useCamera();
    /// Emits pictures of the large display, faster than any encoder, until there is no room for one. Returns their
    /// number; the last one waits.
    int emitUntilOneWaits();
    /// The same until one is dropped.
    int emitUntilOneIsDropped();
    static platform::SoundBuffer sound(double seconds, int channels, std::size_t frames = 480);

    capture::Recorder::Options options_;
    std::unique_ptr<capture::Recorder> recorder_;

  private:
    void emitLarge(int index);

    std::shared_ptr<const imaging::BgraPremultipliedBuffer> dark_ = picture(1920, 1080, 10);
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> bright_ = picture(1920, 1080, 200);
};

}  // namespace lumivastor
