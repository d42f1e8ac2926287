// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "capture/capture_services.h"
#include "platform/synthetic/synthetic_desktop.h"
#include "platform/synthetic/synthetic_devices.h"
#include "platform/synthetic/synthetic_sound.h"
#include "support/manual_main_loop.h"
#include "support/temporary_folder.h"

namespace lumivastor {

/// The services of a recorder, all driven by hand, and a folder to record into.
class RecorderRig : public testing::Test {
  protected:
    RecorderRig();

    /// A second display of 640 × 360 points with two pixels a point, at (1000, 100); the main one has 320 × 240.
    static platform::ShareableContent content();
    static platform::Display mainDisplay() { return content().displays[0]; }
    static platform::Display otherDisplay() { return content().displays[1]; }
    /// On the other display.
    static platform::Window window() { return content().windows[0]; }

    /// A picture in one grey.
    static std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture(int width, int height, int grey = 128);
    static platform::SystemCursor cursor(std::uint64_t serial, int width, int height, int grey = 0,
                                         double hotspotX = 1);

    /// Emits two pictures a second for `seconds` and moves the clock accordingly, as fast as the writer accepts them:
    /// none is dropped even on a slow machine.
    void record(double seconds, int width, int height);

    /// The log's lines, without their time stamps, since the rig was made.
    std::vector<std::string> log() const;
    bool logged(const std::string& line) const;

    TemporaryFolder temporary_;
    std::filesystem::path folder_ = temporary_ / "recording";
    ManualMainLoop loop_;
    synthetic::SyntheticDesktop desktop_;
    synthetic::SyntheticSoundSystem sound_;
    synthetic::SyntheticCaptureDevices devices_;
    std::optional<capture::FreeSpace> freeSpace_ = capture::FreeSpace{1'000'000'000'000, 2'000'000'000'000};
    capture::CaptureServices services_;

    /// The encoding jobs requested so far.
    std::vector<media::EncodingJob> encodingJobs() const;

  private:
    mutable std::mutex encodingJobsLock_;
    std::vector<media::EncodingJob> encodingJobs_;
    std::size_t logStart_ = 0;
};

}  // namespace lumivastor
